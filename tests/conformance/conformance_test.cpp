// The conformance table in docs/ is what the module does today, and says all of it: every line that a run has recorded
// is matched against what stands in the document, read back from its text.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "conformance/document.h"
#include "conformance/error_text.h"

namespace qnips::conformance
{

namespace
{

struct Examined {
    Workbench bench{QN_IPS_SAMPLES};
    Conformance conformance = examine(bench);
    std::string text = document(conformance, bench.schema());
};

// Made once: it takes far longer than all checks of it.
Examined& examined()
{
    static Examined made;
    return made;
}

std::string file_text(const std::string& file)
{
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// The lines of two texts between their common beginning and end: "- " before what is kept, "+ " before what is made
// now.
std::string difference(const std::string& kept, const std::string& made)
{
    const std::vector<std::string> old_lines = lines_of(kept);
    const std::vector<std::string> new_lines = lines_of(made);
    const auto first = std::ranges::mismatch(old_lines, new_lines);
    const auto last = std::mismatch(old_lines.rbegin(), std::make_reverse_iterator(first.in1), new_lines.rbegin(),
                                    std::make_reverse_iterator(first.in2));
    std::string text = "from line " + std::to_string(first.in1 - old_lines.begin() + 1) + ":\n";
    for (auto line = first.in1; line != last.first.base(); ++line)
        text += "- " + *line + '\n';
    for (auto line = first.in2; line != last.second.base(); ++line)
        text += "+ " + *line + '\n';
    return text;
}

// The text of a node's section.
std::string section_of(const ModuleNode& node)
{
    const std::string& text = examined().text;
    const std::string start = "### " + heading(node) + "\n";
    const std::size_t at = text.find(start);
    if (at == std::string::npos)
        return {};
    return text.substr(at + start.size(), text.find("\n## ", at) - at).substr(0, text.find("\n### ", at) - at);
}

// What stands between backticks in the rows of the table of lines.
std::vector<std::string> shown_lines(const std::string& section)
{
    std::vector<std::string> lines;
    std::istringstream rows(section);
    for (std::string row; std::getline(rows, row) && !row.starts_with("| Refused");) {
        static const std::regex cells("^\\| .* \\| .* ?\\| (.*) \\| [a-z]* ?\\|$");
        std::smatch found;
        if (!std::regex_match(row, found, cells))
            continue;
        const std::string cell = found[1];
        for (std::size_t open = cell.find('`'); open != std::string::npos;) {
            const std::size_t close = cell.find('`', open + 1);
            lines.push_back(cell.substr(open + 1, close - open - 1));
            open = cell.find('`', close + 1);
        }
    }
    return lines;
}

// A shown line as a regular expression of the lines it stands for.
std::regex pattern_of(const std::string& shown)
{
    std::string pattern = std::regex_replace(shown, std::regex("[.*+?^$()|]"), "\\$&");
    pattern = std::regex_replace(pattern, std::regex("<[^<>]*>"), "(.+)");
    pattern = std::regex_replace(pattern, std::regex(" \\[([^\\]]*)\\]"), "(?: $1)?");
    pattern = std::regex_replace(pattern, std::regex("\\{"), "(?:");
    pattern = std::regex_replace(pattern, std::regex("\\}"), ")");
    pattern = std::regex_replace(pattern, std::regex(","), "|");
    return std::regex(std::regex_replace(pattern, std::regex(visible_blank), " "));
}

std::vector<std::regex> patterns_of(const std::string& section)
{
    std::vector<std::regex> patterns;
    for (const std::string& line : shown_lines(section))
        patterns.push_back(pattern_of(line));
    return patterns;
}

const std::set<std::string>& paths_with_handlers()
{
    static const std::set<std::string> paths{
#define QN_IPS_PAIR(set_entry, set_priority, remove_entry, remove_priority, handler, path) path,
#define QN_IPS_PAIR_FLAG QN_IPS_PAIR
#define QN_IPS_PAIR_RANGE QN_IPS_PAIR
#include "quorin-intrusion-prevention-nodes.def"
    };
    return paths;
}

TEST(Conformance, DocumentIsUpToDate)
{
    const std::string kept = file_text(QN_IPS_DOCUMENT);
    // Not EXPECT_EQ, which would print both texts whole.
    EXPECT_TRUE(kept == examined().text) << "docs/conformance.md is stale; write it anew with `make docs`\n"
                                         << difference(kept, examined().text);
}

TEST(Conformance, ExactlyTheNodesWithAHandlerAct)
{
    std::set<std::string> acting;
    for (const NodeReport& report : examined().conformance.speaking)
        acting.insert(report.node.path);
    EXPECT_EQ(acting, paths_with_handlers());
}

TEST(Conformance, EveryCallbackStandsInTheDocumentWithItsPriority)
{
    int rows = 0;
    for (const ModuleNode& node : module_nodes()) {
        const std::string set = "`" + node.set.name + "` " + std::to_string(node.set.priority);
        EXPECT_NE(examined().text.find(set), std::string::npos) << set;
        ++rows;
        if (!node.removal)
            continue;
        const std::string removal = "`" + node.removal->name + "` " + std::to_string(node.removal->priority);
        EXPECT_NE(examined().text.find(removal), std::string::npos) << removal;
        ++rows;
    }
    EXPECT_EQ(rows, module_row_count());
}

// In a line, a value is taken for the leaf that has it: each may only be that of one leaf, and no word of a type.
TEST(Conformance, FreeValuesOfASampleAreDistinct)
{
    Workbench& bench = examined().bench;
    const Sample& sample = bench.samples().front();
    std::map<std::string, std::string> leaf_of;
    for (const ModuleNode& node : module_nodes()) {
        for (const std::string& word : bench.facts(node.path).words)
            leaf_of.emplace(word, "a type");
    }
    for (const ModuleNode& node : module_nodes()) {
        if (!bench.facts(node.path).is_free())
            continue;
        for (const ElementId element : sample.instances(node.path)) {
            const auto [other, is_new] = leaf_of.emplace(sample.text_of(element), node.path);
            EXPECT_TRUE(is_new) << sample.text_of(element) << " of " << node.path << " and " << other->second;
        }
    }
}

TEST(Conformance, FormatsWithTheirValuesAreTheRecordedLines)
{
    std::size_t count = 0;
    for (const NodeReport& report : examined().conformance.speaking) {
        for (const Sighting& sighting : report.sightings) {
            ASSERT_EQ(filled(sighting.words, sighting.values), sighting.line.line) << report.node.path;
            ++count;
        }
    }
    EXPECT_GT(count, 1000U);
}

TEST(Conformance, EveryRecordedLineStandsInTheNodesSection)
{
    for (const NodeReport& report : examined().conformance.speaking) {
        const std::vector<std::regex> patterns = patterns_of(section_of(report.node));
        std::set<std::string> seen;
        for (const Sighting& sighting : report.sightings) {
            const std::string& line = sighting.line.line;
            if (!seen.insert(line).second)
                continue;
            EXPECT_TRUE(
                std::ranges::any_of(patterns, [&](const std::regex& one) { return std::regex_match(line, one); }))
                << report.node.path << " sends \"" << line << "\"";
        }
    }
}

// And the other way round: nothing stands in the document that no run has shown.
TEST(Conformance, EveryLineInANodesSectionHasBeenRecorded)
{
    for (const NodeReport& report : examined().conformance.speaking) {
        const std::string section = section_of(report.node);
        for (const std::string& shown : shown_lines(section)) {
            const std::regex pattern = pattern_of(shown);
            const bool is_leaf_name = shown.find(' ') == std::string::npos; // in the reason of a silence
            EXPECT_TRUE(is_leaf_name || std::ranges::any_of(report.sightings,
                                                            [&](const Sighting& sighting) {
                                                                return std::regex_match(sighting.line.line, pattern);
                                                            }))
                << report.node.path << " is said to send \"" << shown << "\"";
        }
    }
}

// The short name of an error that the document tells once for many nodes; empty when it does not.
std::string short_name(const ErrorKey& error)
{
    std::istringstream rows(examined().text);
    for (std::string row; std::getline(rows, row);) {
        const std::size_t name = row.find("</a>E");
        if (row.find("| " + error_text(error) + " |") != std::string::npos && name != std::string::npos)
            return row.substr(name + 4, row.find(' ', name) - name - 4);
    }
    return {};
}

TEST(Conformance, EveryErrorOfARunStandsInTheNodesSection)
{
    for (const NodeReport& report : examined().conformance.speaking) {
        const std::string section = section_of(report.node);
        ASSERT_FALSE(section.empty()) << report.node.path;
        for (const auto& [error, found] : report.errors) {
            EXPECT_NE(error.code, 0) << report.node.path << " is refused without a word";
            const std::string name = short_name(error);
            std::string wanted = "| " + error_text(error) + " |";
            if (!name.empty())
                wanted = std::string("[").append(name).append("](#").append(name).append(")");
            EXPECT_NE(section.find(wanted), std::string::npos) << report.node.path << ": " << error_text(error);
        }
    }
}

// A node that sends no line when it is added or removed says why, unless a condition in the row does.
TEST(Conformance, SilenceHasAReason)
{
    for (const NodeReport& report : examined().conformance.speaking) {
        std::istringstream rows(section_of(report.node));
        for (std::string row; std::getline(rows, row);)
            EXPECT_FALSE(row.find("|  | nothing |") != std::string::npos) << report.node.path << ": " << row;
    }
}

TEST(Conformance, TheModuleKeepsToTheContract)
{
    EXPECT_EQ(examined().bench.misuses(), std::vector<std::string>{});
}

} // namespace

} // namespace qnips::conformance
