#include "engine_fixture.h"

#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>
#include <libyang/libyang.h>

namespace qnips::test
{

namespace
{

std::string operation_text(unsigned bits)
{
    static constexpr std::pair<unsigned, const char*> names[] = {{XMLDIFF_ADD, "ADD"},
                                                                 {XMLDIFF_REM, "REM"},
                                                                 {XMLDIFF_MOD, "MOD"},
                                                                 {XMLDIFF_SIBLING, "SIBLING"},
                                                                 {XMLDIFF_CHAIN, "CHAIN"}};
    std::string text;
    for (const auto& [bit, name] : names)
        if ((bits & bit) != 0)
            text += (text.empty() ? "" : "|") + std::string(name);
    return text;
}

void append_lines(const std::vector<Change*>& changes, std::vector<std::string>& lines)
{
    for (const Change* change : changes) {
        std::string line = fmt::format("{} {}", operation_text(change->bits), instance_path(change->node));
        if ((change->bits & XMLDIFF_MOD) != 0)
            line += " was " + change->old_value;
        lines.push_back(std::move(line));
        append_lines(change->children, lines);
    }
}

void append_exact(const lyd_node* first, std::string& text)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        text += fmt::format("{} {:#x} {}\n", instance_path(node), node->flags,
                            (node->schema->nodetype & LYD_NODE_TERM) != 0 ? lyd_get_value(node) : "");
        if (node->priv != nullptr)
            text += "  still marked\n";
        append_exact(lyd_child(node), text);
    }
}

} // namespace

const YangSchema& engine_schema()
{
    static const YangSchema schema({QN_IPS_TEST_DATA, QN_IPS_IETF_YANG_DIR}, "engine-test");
    return schema;
}

std::string top(std::string_view content)
{
    return fmt::format(R"(<top xmlns="urn:quorin:test:engine" xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0")"
                       R"( xmlns:yang="urn:ietf:params:xml:ns:yang:1">{}</top>)",
                       content);
}

ConfigTree config(std::string_view top_content)
{
    return ConfigTree(engine_schema().parse_configuration(top_content.empty() ? "" : top(top_content)));
}

EditRequest edit_of(std::string_view top_content)
{
    return parse_edit_request(engine_schema(), top(top_content));
}

EditRequest request_of(std::string_view default_operation, std::string_view config_content)
{
    return parse_edit_request(engine_schema(),
                              fmt::format(R"(<edit-config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0">)"
                                          "<target><running/></target><default-operation>{}</default-operation>"
                                          "<config>{}</config></edit-config>",
                                          default_operation, config_content));
}

std::string text_of(const ConfigTree& tree)
{
    char* text = nullptr;
    lyd_print_mem(&text, tree.first(), LYD_XML,
                  LYD_PRINT_WITHSIBLINGS | LYD_PRINT_KEEPEMPTYCONT | LYD_PRINT_SHRINK | LYD_PRINT_WD_ALL);
    std::string result = text != nullptr ? text : "";
    std::free(text);
    return result;
}

std::string exact_text_of(const ConfigTree& tree)
{
    std::string text;
    append_exact(tree.first(), text);
    return text;
}

std::vector<std::string> lines_of(const ChangeSet& changes)
{
    std::vector<std::string> lines;
    append_lines(changes.roots(), lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace qnips::test
