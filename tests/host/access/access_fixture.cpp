#include "access_fixture.h"

#include <filesystem>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "server/edit_request.h"

namespace qnips::test
{

namespace
{

// Elements of access-test get its namespace.
std::string in_namespace(std::string_view roots)
{
    std::string text;
    int depth = 0;
    for (std::size_t i = 0; i < roots.size(); ++i) {
        const bool opens = roots[i] == '<' && roots[i + 1] != '/';
        depth -= roots[i] == '<' && !opens ? 1 : 0;
        if (opens && depth++ == 0) {
            const std::size_t end = roots.find_first_of(" />", i + 1);
            text += fmt::format("{} xmlns='urn:quorin:test:access' xmlns:am='urn:quorin:test:access-more' "
                                "xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0' "
                                "xmlns:yang='urn:ietf:params:xml:ns:yang:1'",
                                roots.substr(i, end - i));
            i = end;
        }
        depth -= roots[i] == '/' && roots[i + 1] == '>' ? 1 : 0;
        text += roots[i];
    }
    return text;
}

void append_lines(const lyd_node* first, Lines& lines)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0)
            lines.push_back(fmt::format("{}={}", instance_path(node), lyd_get_value(node)));
        else if (lyd_child(node) == nullptr)
            lines.push_back(instance_path(node));
        else
            append_lines(lyd_child(node), lines);
    }
}

} // namespace

const YangSchema& access_schema()
{
    static const std::filesystem::path ietf = QN_IPS_IETF_YANG_DIR;
    static const YangSchema schema(
        {QN_IPS_TEST_DATA, ietf, ietf.parent_path() / "ietf-derived", ietf.parent_path() / "netconfcentral"},
        "access-test", {"ietf-netconf-acm", "access-more", "ietf-netconf-monitoring", "nc-notifications"});
    return schema;
}

AccessRules rules_of(std::string_view nacm_content)
{
    const TreePtr tree = access_schema().parse_configuration(
        fmt::format("<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm' xmlns:at='urn:quorin:test:access' "
                    "xmlns:am='urn:quorin:test:access-more' xmlns:n='urn:ietf:params:xml:ns:yang:ietf-netconf-acm' "
                    "xmlns:nc='urn:ietf:params:xml:ns:netconf:base:1.0'>{}</nacm>",
                    nacm_content));
    return read_access_rules(tree.get());
}

std::string rule(std::string_view target, std::string_view operations, std::string_view action)
{
    std::string name = fmt::format("{} {} {}", target, operations, action);
    for (char& c : name) // only to be different from the others
        c = c == '<' || c == '>' ? ' ' : c;
    return fmt::format("<rule><name>{}</name>{}{}<action>{}</action></rule>", name, target,
                       operations.empty() ? "" : fmt::format("<access-operations>{}</access-operations>", operations),
                       action);
}

std::string staff_rules(std::string_view rules)
{
    return fmt::format("<groups><group><name>staff</name><user-name>ann</user-name></group></groups>"
                       "<rule-list><name>of staff</name><group>staff</group>{}</rule-list>",
                       rules);
}

AccessRules staff_only(std::string_view rules)
{
    return rules_of(staff_rules(rules));
}

AccessUser user(std::string_view name)
{
    return AccessUser{.name = std::string(name), .groups = {}, .is_recovery = false};
}

TreePtr tree_of(std::string_view roots)
{
    if (roots.empty())
        return nullptr;
    lyd_node* tree = nullptr;
    const LY_ERR result = lyd_parse_data_mem(access_schema().context(), in_namespace(roots).c_str(), LYD_XML,
                                             LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0, &tree);
    EXPECT_EQ(result, LY_SUCCESS) << ly_errmsg(access_schema().context()) << "\n" << roots;
    return TreePtr(tree);
}

Lines lines_of(const lyd_node* first)
{
    Lines lines;
    append_lines(first, lines);
    return lines;
}

Lines read_lines(const AccessRules& rules, std::string_view who, std::string_view roots)
{
    const TreePtr tree = AccessControl(rules).readable(user(who), tree_of(roots));
    Lines lines = lines_of(tree.get());
    for (std::string& line : lines)
        if (line.starts_with("/at:"))
            line.erase(0, 4);
    return lines;
}

std::string write_result(const AccessRules& rules, std::string_view who, std::string_view before, std::string_view edit)
{
    ConfigTree tree(tree_of(before));
    const AppliedEdit applied(tree, parse_edit_request(access_schema(), in_namespace(edit)));
    try {
        AccessControl(rules).check_writes(user(who), applied.changes());
    } catch (const RpcError& error) {
        return fmt::format("{} {}: {}", error.tag(), error.path(), error.what());
    }
    return {};
}

const lysc_node* top_node(std::string_view name)
{
    const lysc_node* node = lys_find_path(access_schema().context(), nullptr, fmt::format("/{}", name).c_str(), 0);
    EXPECT_NE(node, nullptr) << name;
    return node;
}

} // namespace qnips::test
