#include "conformance/faults.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace qnips::conformance
{

namespace
{

constexpr std::size_t too_long = 600;

struct Fault {
    std::string name;
    Change::Kind kind = Change::Kind::text;
    std::string text{};
};

std::string capitals(std::string text)
{
    for (char& letter : text)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    return text;
}

std::vector<Fault> faults_of_text(const std::string& text)
{
    return {{"empty", Change::Kind::empty_text},
            {"empty", Change::Kind::no_text},
            {"with a blank at an end", Change::Kind::text, text + ' '},
            {"with a blank at an end", Change::Kind::text, ' ' + text},
            {"with a `?`", Change::Kind::text, text + '?'},
            {"too long", Change::Kind::text, std::string(too_long, text.empty() ? 'x' : text.back())}};
}

std::vector<Fault> faults_of_value(const std::string& text, const SchemaFacts& facts)
{
    std::vector<Fault> faults{{"not one of its values", Change::Kind::text, "neither-of-them"},
                              {"not one of its values", Change::Kind::text, "-1"},
                              {"not one of its values", Change::Kind::text, "1a"}};
    if (capitals(text) != text && !facts.is_free())
        faults.push_back({"not one of its values", Change::Kind::text, capitals(text)});
    if (!facts.range || facts.range->least > 0)
        faults.push_back({"not one of its values", Change::Kind::text, "0"});
    if (facts.range) {
        faults.push_back({"not one of its values", Change::Kind::text, std::to_string(facts.range->most + 1)});
        if (facts.range->least > 0)
            faults.push_back({"not one of its values", Change::Kind::text, std::to_string(facts.range->least - 1)});
        faults.push_back(
            {"`" + std::to_string(facts.range->least) + '`', Change::Kind::text, std::to_string(facts.range->least)});
        faults.push_back(
            {"`" + std::to_string(facts.range->most) + '`', Change::Kind::text, std::to_string(facts.range->most)});
    }
    for (const std::string& word : facts.words)
        faults.push_back({'`' + word + '`', Change::Kind::text, word});
    if (facts.words.empty() && !facts.range) {
        for (const char* word : {"all", "public", "default"})
            faults.push_back({'`' + std::string(word) + '`', Change::Kind::text, word});
        faults.push_back({"of the other family", Change::Kind::text,
                          text.find(':') == std::string::npos ? "2001:db8::99" : "10.9.9.9"});
    }
    return faults;
}

std::string leaf_name(Workbench& bench, const Sample& sample, ElementId leaf, ElementId target)
{
    if (leaf == target)
        return own_value;
    const std::string name = last_step(sample.path_of(leaf));
    const auto parent = sample.parent(leaf);
    const bool key_above = bench.facts(sample, leaf).key && parent != target;
    if (!key_above && (parent == target || parent == sample.parent(target)))
        return '`' + name + '`';
    return '`' + last_step(sample.path_of(*parent)) + '/' + name + '`';
}

std::vector<Fault> faults_of(const std::string& text, const SchemaFacts& facts, bool own)
{
    std::vector<Fault> faults = faults_of_text(text);
    for (Fault& fault : faults_of_value(text, facts))
        faults.push_back(std::move(fault));
    for (const std::string& name : facts.other_cases)
        faults.push_back({"beside `" + name + "` in one edit", Change::Kind::joined, name});
    if (!own)
        faults.push_back({"missing", Change::Kind::gone});
    return faults;
}

// The variables, and what the callbacks have asked the server for: keys, too.
std::set<ElementId> leaves_looked_at(const Combinations& combinations)
{
    const Sample& sample = *combinations.sample;
    std::set<ElementId> leaves;
    for (const Variable& variable : combinations.variables)
        leaves.insert(variable.element);
    for (const Combination& one : combinations.all) {
        for (const test::KeyLookup& lookup : one.reply.lookups) {
            std::optional<ElementId> above = combinations.target;
            for (int level = 0; level < lookup.level && above; ++level)
                above = sample.parent(*above);
            if (const auto leaf = above ? sample.child(*above, lookup.name) : std::nullopt)
                leaves.insert(*leaf);
        }
    }
    return leaves;
}

bool is_variable(const Combinations& combinations, ElementId leaf)
{
    return std::ranges::any_of(combinations.variables, [&](const Variable& one) { return one.element == leaf; });
}

// An edit without a fault. Some leaves are only looked at when others have certain values, so every single choice is
// one.
struct Start {
    std::optional<ElementId> leaf;
    std::vector<Change> changes;
    Reply reply;
};

std::vector<Start> starts_of(Workbench& bench, const ModuleNode& node, const Combinations& combinations,
                             const Situation& situation)
{
    std::vector<Start> starts(1);
    for (const Variable& variable : combinations.variables) {
        for (const Choice& choice : variable.choices)
            starts.push_back({variable.element, choice.changes, {}});
    }
    for (Start& start : starts)
        start.reply =
            call_node(bench.server(), node, {combinations.sample, combinations.target, &situation, start.changes});
    return starts;
}

} // namespace

void add_errors(const Reply& reply, const Cause& cause, std::map<ErrorKey, ErrorReport>& errors)
{
    if (reply.refused && reply.errors.empty())
        errors[{0, ""}].causes.insert(cause);
    for (const test::ClientError& error : reply.errors) {
        ErrorReport& report = errors[{error.code, error.message.value_or("")}];
        report.causes.insert(cause);
        report.sent_all_the_same = report.sent_all_the_same || !reply.lines.empty();
    }
}

void add_faults(Workbench& bench, const ModuleNode& node, const Combinations& combinations, const Situation& situation,
                std::map<ErrorKey, ErrorReport>& errors)
{
    const Sample& sample = *combinations.sample;
    const std::vector<Start> starts = starts_of(bench, node, combinations, situation);
    for (const ElementId leaf : leaves_looked_at(combinations)) {
        for (const Fault& fault :
             faults_of(sample.text_of(leaf), bench.facts(sample, leaf), leaf == combinations.target)) {
            const Cause cause{leaf_name(bench, sample, leaf, combinations.target), fault.name};
            for (const Start& start : starts) {
                // Names of entries around the node are read whatever else the edit holds.
                if (start.leaf == leaf || (start.leaf && !is_variable(combinations, leaf)))
                    continue;
                Edit edit{&sample, combinations.target, &situation, start.changes};
                edit.changes.push_back({leaf, fault.kind, fault.text});
                const Reply reply = call_node(bench.server(), node, edit);
                if (reply.errors != start.reply.errors)
                    add_errors(reply, cause, errors);
            }
        }
    }
}

} // namespace qnips::conformance
