#include "conformance/error_text.h"

#include <algorithm>

#include <fmt/format.h>

#include "server/callback_record.h"

namespace qnips::conformance
{

namespace
{

// With this many nodes an error stands in the common section.
constexpr std::size_t many_nodes = 10;

// Once these faults lead to an error, others that are not accepted values either say no more.
const std::string not_accepted = "not one of its values";
// Faults that have nothing to do with what the leaf means.
const std::set<std::string> faults_of_text{"empty", "missing", "too long", "with a `?`", "with a blank at an end"};
const std::vector<std::string> covered_faults{"too long", "with a `?`", "`all`",
                                              "`public`", "`default`",  "of the other family"};

std::string joined(const std::set<std::string>& texts, const std::string& between)
{
    std::string text;
    for (const std::string& one : texts)
        text += (text.empty() ? "" : between) + one;
    return text;
}

std::set<std::string> without_covered(std::set<std::string> faults)
{
    if (faults.contains(not_accepted)) {
        for (const std::string& fault : covered_faults)
            faults.erase(fault);
    }
    return faults;
}

std::string causes_text(const std::set<Cause>& causes)
{
    std::map<std::string, std::set<std::string>> by_leaf;
    for (const Cause& cause : causes)
        by_leaf[cause.leaf].insert(cause.fault);
    // A fault in a leaf says more than the combination that shows the same.
    if (by_leaf.size() > 1 && by_leaf.contains("")) {
        by_leaf[""].erase("a combination of the table");
        if (by_leaf[""].empty())
            by_leaf.erase("");
    }
    std::set<std::string> texts;
    for (const auto& [leaf, faults] : by_leaf)
        texts.insert((leaf.empty() ? "" : leaf + ' ') + joined(without_covered(faults), ", "));
    return joined(texts, "; ");
}

} // namespace

std::string error_text(const ErrorKey& error)
{
    if (error.code == 0)
        return "without a text";
    return fmt::format("{} ({}) “{}”", error.code, error_tag(static_cast<NC_ERR>(error.code)), error.text);
}

SharedErrors::SharedErrors(const std::vector<NodeReport>& reports)
{
    for (const NodeReport& report : reports) {
        for (const auto& [error, found] : report.errors) {
            Shared& shared = errors_[error];
            ++shared.nodes;
            for (const Cause& cause : found.causes) {
                shared.leaves.insert(cause.leaf);
                shared.faults.insert(cause.fault);
            }
        }
    }
    std::erase_if(errors_, [](const auto& one) {
        const Shared& shared = one.second;
        return shared.nodes < many_nodes || !std::ranges::includes(faults_of_text, shared.faults);
    });
    std::size_t number = 0;
    for (auto& [error, shared] : errors_)
        shared.name = fmt::format("E{}", ++number);
}

std::string SharedErrors::name(const ErrorKey& error) const
{
    const auto found = errors_.find(error);
    return found == errors_.end() ? "" : found->second.name;
}

std::string SharedErrors::section() const
{
    std::string text =
        "## Errors of many nodes\n\nWhat is wrong with the text of a leaf, or that it is not there. The nodes "
        "refer to these by their short names.\n\n"
        "| | Refused with | Because of | Nodes |\n|---|---|---|---|\n";
    for (const auto& [error, shared] : errors_) {
        const bool of_one = shared.leaves.size() == 1;
        text += fmt::format("| <a id=\"{0}\"></a>{0} | {1} | {2} {3} | {4} |\n", shared.name, error_text(error),
                            of_one ? *shared.leaves.begin() : "the value, or a leaf that is read with it:",
                            joined(shared.faults, ", "), shared.nodes);
    }
    return text + '\n';
}

std::string errors_table(const NodeReport& report, const SharedErrors& shared)
{
    std::string rows;
    std::string references;
    for (const auto& [error, found] : report.errors) {
        const std::string name = shared.name(error);
        if (!name.empty())
            references += fmt::format("{0}[{1}](#{1})", references.empty() ? "" : ", ", name);
        else
            rows += fmt::format("| {} | {}{} |\n", error_text(error), causes_text(found.causes),
                                found.sent_all_the_same ? " (lines are sent all the same)" : "");
    }
    std::string text;
    if (!rows.empty())
        text += "| Refused with | Because of |\n|---|---|\n" + rows + '\n';
    if (!references.empty())
        text += (rows.empty() ? "Refused with " : "Also refused with ") + references + ".\n\n";
    return text;
}

} // namespace qnips::conformance
