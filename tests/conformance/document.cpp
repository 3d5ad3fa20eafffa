#include "conformance/document.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "conformance/error_text.h"

namespace qnips::conformance
{

namespace
{

// A group of nodes with a section of its own: the outermost container or list entry that its nodes share.
struct Group {
    std::string title;
    std::string path;
};

const std::vector<Group>& groups()
{
    static const std::string vsys = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys";
    static const std::string profile = vsys + "/qn-ips:profiles/qn-ips:profile";
    static const std::string signature = vsys + "/qn-ips:user-defined-signatures/qn-ips:signature";
    static const std::string information = signature + "/qn-ips:signature-rule-information";
    static const std::string rule = information + "/qn-ips:protocol-rules/qn-ips:rules/qn-ips:signature-rule";
    // The innermost group that holds a node has it.
    static const std::vector<Group> all{
        {"Virtual systems", vsys},
        {"Profiles", profile},
        {"Signature sets", profile + "/qn-ips:signature-sets/qn-ips:signature-set"},
        {"Exception signatures", profile + "/qn-ips:exception-signatures/qn-ips:exception-signature"},
        {"Protocol controls", profile + "/qn-ips:protocol-controlling"},
        {"User-defined signatures", signature},
        {"Rules of basic signatures", rule},
        {"Basic conditions", rule + "/qn-ips:basic-conditions/qn-ips:rule-condition"},
        {"Rules of associated signatures", information + "/qn-ips:associated-rule"},
        {"Predefined signatures", "/qn-ips:ips-config/qn-ips:predefined-signatures/qn-ips:signature"},
        {"Global settings", "/qn-ips:ips-config/qn-ips:global-config"}};
    return all;
}

const Group& group_of(const std::string& path)
{
    const Group* found = nullptr;
    for (const Group& group : groups()) {
        const bool holds = path == group.path || is_below(path, group.path);
        if (holds && (found == nullptr || group.path.size() > found->path.size()))
            found = &group;
    }
    return found == nullptr ? groups().front() : *found;
}

// A path without prefixes.
std::string short_path(const std::string& path)
{
    std::string text;
    for (const std::string& step : path_steps(path))
        text += '/' + step;
    return text;
}

std::string anchor(const std::string& title)
{
    std::string text;
    for (const char letter : title) {
        if (letter == ' ')
            text += '-';
        else if (letter != '/' && letter != '`')
            text += static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter);
    }
    return text;
}

std::string callbacks_text(const ModuleNode& node)
{
    std::string text = fmt::format("`{}` {}", node.set.name, node.set.priority);
    if (node.removal)
        text += fmt::format(", `{}` {}", node.removal->name, node.removal->priority);
    return text;
}

std::string place_text(const LineFormat& line)
{
    std::string text = fmt::format("view `{}`", line.view);
    if (!line.view_type.empty())
        text += fmt::format(" of type `{}`", line.view_type);
    return text + (line.vsys.empty() ? ", no virtual system" : fmt::format(", virtual system `{}`", line.vsys));
}

// Where the lines of a node go, when all go to one place.
std::string common_place(const NodeReport& report)
{
    std::string place;
    for (const SituationReport& situation : report.situations) {
        for (const ReportRow& row : situation.rows) {
            for (const LineFormat& line : row.outcome.lines) {
                if (!place.empty() && place != place_text(line))
                    return {};
                place = place_text(line);
            }
        }
    }
    return place;
}

std::string joined(const std::vector<std::string>& texts, const std::string& between)
{
    std::string text;
    for (const std::string& one : texts)
        text += (text.empty() ? "" : between) + one;
    return text;
}

std::string outcome_text(const Conformance& conformance, const NodeReport& report, const SituationReport& situation,
                         const ReportRow& row, bool with_places)
{
    const Outcome& outcome = row.outcome;
    std::vector<std::string> texts;
    for (const LineFormat& line : outcome.lines)
        texts.push_back(fmt::format("`{}`{}", shown(line.words), with_places ? " in " + place_text(line) : ""));
    for (const auto& [code, text] : outcome.errors)
        texts.push_back(outcome.refused ? "refused: " + error_text({code, text})
                                        : "and the client is told: " + error_text({code, text}));
    if (outcome.refused && outcome.errors.empty())
        texts.push_back("refused: " + error_text({0, ""}));
    // Two callbacks may say the same.
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    if (!texts.empty())
        return joined(texts, "<br>");
    const std::string reason = reason_of_silence(conformance, report, situation.names.front());
    if (!reason.empty())
        return "nothing: " + reason;
    return row.when.empty() ? "nothing: no line carries it" : "nothing";
}

std::string commit_text(const Outcome& outcome)
{
    if (!outcome.operation)
        return "";
    return *outcome.operation == API_CMD_DEL ? "delete" : "add";
}

// The rows of all situations, equal ones as one.
std::vector<std::pair<SituationReport, ReportRow>> merged_rows(const NodeReport& report)
{
    std::vector<std::pair<SituationReport, ReportRow>> rows;
    for (const SituationReport& situation : report.situations) {
        for (const ReportRow& row : situation.rows) {
            const auto same = std::ranges::find(rows, row, &std::pair<SituationReport, ReportRow>::second);
            if (same == rows.end())
                rows.emplace_back(situation, row);
            else
                same->first.names.insert(same->first.names.end(), situation.names.begin(), situation.names.end());
        }
    }
    return rows;
}

std::string lines_table(const Conformance& conformance, const NodeReport& report)
{
    const bool with_places = common_place(report).empty();
    std::string text = "| Node is | When | Command lines | Commit |\n|---|---|---|---|\n";
    for (const auto& [situation, row] : merged_rows(report))
        text += fmt::format("| {} | {} | {} | {} |\n", joined(situation.names, ", "), row.when,
                            outcome_text(conformance, report, situation, row, with_places), commit_text(row.outcome));
    return text;
}

std::string section(const Conformance& conformance, const NodeReport& report, const SharedErrors& shared)
{
    std::string text = fmt::format("### {}\n\n{}. {}", heading(report.node), callbacks_text(report.node),
                                   report.facts.accepts.starts_with('`') ? "Accepts " : "Schema: ");
    text += report.facts.accepts + '.';
    for (const std::string& demand : report.facts.demands)
        text += " The schema refuses with *" + demand + '*';
    if (const std::string place = common_place(report); !place.empty())
        text += "\nLines go to " + place + '.';
    return text + "\n\n" + lines_table(conformance, report) + '\n' + errors_table(report, shared);
}

std::string contents()
{
    std::string text = "## Contents\n\n- [How to read it](#how-to-read-it)\n- [Types of text](#types-of-text)\n"
                       "- [Errors of many nodes](#errors-of-many-nodes)\n";
    for (const Group& group : groups())
        text += fmt::format("- [{}](#{})\n", group.title, anchor(group.title));
    return text + "- [Nodes without effect](#nodes-without-effect)\n- [State](#state)\n\n";
}

std::string introduction(const Conformance& conformance)
{
    std::string text = "# What the module sends and refuses, node by node\n\n"
                       "For whoever integrates the module into a server or drives it as a client: which command lines "
                       "a device's CLI\nreceives for a node of `quorin-intrusion-prevention`, and what the client can "
                       "be told.\n\n"
                       "Generated by `make docs` from the tables that the module exports, from its YANG module, and "
                       "from calling every\ncallback in sample configurations (`tests/conformance`). Do not edit.\n\n";
    text += fmt::format("{} rows are registered for {} nodes: {} nodes act, {} of the configuration and {} of the "
                        "state have callbacks that do\nnothing.\n\n",
                        module_row_count(),
                        conformance.speaking.size() + conformance.silent.size() + conformance.state.size(),
                        conformance.speaking.size(), conformance.silent.size(), conformance.state.size());
    return text + contents();
}

std::string reading()
{
    return fmt::format(
        "## How to read it\n\n"
        "- **Callbacks** stand with their priorities; a higher number is called first. The second one acts on "
        "removals.\n"
        "- **Node is**: *added* (alone, in entries that are there), *changed* (a leaf has another value), *changed "
        "below* (something\n  in the entry or container has changed), *moved* (only its place in the list has "
        "changed), *removed* (alone). Removed\n  together with an entry or a container around it, a node sends "
        "nothing, unless its table says otherwise.\n"
        "- **When** names what else the lines depend on; several conditions hold together. *given* and *no* speak of "
        "a leaf that\n  is there or not. The conditions cover all combinations, also those that the YANG module "
        "excludes.\n"
        "- **Command lines**: `<x>` is the value of the leaf `x`, or for a leaf further up the key of the entry `x`. "
        "`[…]` is left\n  out when the leaf in it is absent. `{}` is a blank at the end of the line. "
        "`<x:address>` and `<x:mask>` are the parts of a\n  value before and behind its slash. `{{a,b}}` is one of "
        "these, in the order of the values under *When*.\n"
        "- **Commit** is the operation that the line's script is committed with.\n"
        "- **Refused with** gives the number that the module reports, the error-tag that a client sees, and the "
        "text. The causes are\n  what was tried: each fault in one leaf at a time. A value that the YANG module "
        "excludes reaches the module only from a\n  server with another schema.\n\n",
        visible_blank);
}

std::string types_section(const Conformance& conformance, const YangSchema& schema)
{
    std::string text = "## Types of text\n\n";
    for (const NamedType& type : named_types(schema)) {
        const auto uses = [&](const SchemaFacts& facts) {
            return facts.type_name == type.name && facts.is_free() && !facts.range;
        };
        const auto report_uses = [&](const NodeReport& report) { return uses(report.facts); };
        if (std::ranges::any_of(conformance.speaking, report_uses) ||
            std::ranges::any_of(conformance.silent_facts, uses))
            text += fmt::format("- <a id=\"type-{0}\"></a>`{0}`: {1}\n", type.name, type.description);
    }
    return text + '\n';
}

std::string silent_sections(const Conformance& conformance)
{
    std::string text = "## Nodes without effect\n\nContainers, keys and leaves that the callbacks of other nodes read. "
                       "Their own do nothing.\n\n| Node | Callbacks | Accepts |\n|---|---|---|\n";
    for (std::size_t at = 0; at < conformance.silent.size(); ++at)
        text += fmt::format("| `{}` | {} | {} |\n", short_path(conformance.silent[at].path),
                            callbacks_text(conformance.silent[at]), conformance.silent_facts[at].accepts);
    text += "\n## State\n\nThe state is read as a whole. Its nodes are registered, and their callbacks do nothing.\n\n"
            "| Node | Callback |\n|---|---|\n";
    for (const ModuleNode& node : conformance.state)
        text += fmt::format("| `{}` | {} |\n", short_path(node.path), callbacks_text(node));
    return text;
}

// Nodes below that send lines in the same situation.
std::string senders_below(const Conformance& conformance, const NodeReport& report, const std::string& situation)
{
    std::vector<std::string> senders;
    for (const NodeReport& other : conformance.speaking) {
        const bool sends = std::ranges::any_of(other.situations, [&](const SituationReport& one) {
            const auto same = [&](const std::string& name) { return situation.starts_with(name); };
            return one.sends() && std::ranges::any_of(one.names, same);
        });
        if (sends && is_below(other.node.path, report.node.path) && senders.size() < 4)
            senders.push_back(senders.size() < 3 ? '`' + last_step(other.node.path) + '`' : "…");
    }
    return senders.empty() ? "" : "what is in it speaks (" + joined(senders, ", ") + ')';
}

bool names_leaf(const NodeReport& report, const std::string& leaf)
{
    for (const SituationReport& situation : report.situations) {
        for (const ReportRow& row : situation.rows) {
            for (const LineFormat& line : row.outcome.lines) {
                if (shown(line.words).find('<' + leaf + '>') != std::string::npos)
                    return true;
            }
        }
    }
    return false;
}

} // namespace

std::string reason_of_silence(const Conformance& conformance, const NodeReport& report, const std::string& situation)
{
    if (!report.facts.is_value())
        return senders_below(conformance, report, situation);
    if (situation.starts_with("removed"))
        return {};
    const std::string parent = report.node.path.substr(0, report.node.path.rfind('/'));
    std::vector<std::string> senders;
    for (const NodeReport& other : conformance.speaking) {
        const bool near = other.node.path == parent || is_below(other.node.path, parent);
        if (near && other.node.path != report.node.path && names_leaf(other, last_step(report.node.path)))
            senders.push_back('`' + last_step(other.node.path) + '`');
    }
    return senders.empty() ? "" : "it goes with the line of " + joined(senders, ", ");
}

std::string heading(const ModuleNode& node)
{
    const Group& group = group_of(node.path);
    const std::string outer = group.path.substr(0, group.path.rfind('/'));
    return '`' + short_path(node.path.substr(outer.size())).substr(1) + '`';
}

Conformance examine(Workbench& bench)
{
    Conformance conformance;
    for (const ModuleNode& node : module_nodes()) {
        if (path_steps(node.path).front() == "ips-state") {
            conformance.state.push_back(node);
            continue;
        }
        NodeReport report = bench.report(node);
        if (report.does_something()) {
            conformance.speaking.push_back(std::move(report));
        } else {
            conformance.silent.push_back(node);
            conformance.silent_facts.push_back(report.facts);
        }
    }
    return conformance;
}

std::string document(const Conformance& conformance, const YangSchema& schema)
{
    const SharedErrors shared(conformance.speaking);
    std::string text = introduction(conformance) + reading() + types_section(conformance, schema) + shared.section();
    for (const Group& group : groups()) {
        text += fmt::format("## {}\n\nBelow `{}`.\n\n", group.title,
                            short_path(group.path.substr(0, group.path.rfind('/'))));
        for (const NodeReport& report : conformance.speaking) {
            if (&group_of(report.node.path) == &group)
                text += section(conformance, report, shared);
        }
    }
    return text + silent_sections(conformance);
}

} // namespace qnips::conformance
