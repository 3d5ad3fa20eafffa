// The rows against the YANG module, in both directions: clients reach every node that has a callback, and every node
// that they reach has one.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <libyang/libyang.h>

#include "module/node_table.h"

namespace
{

using namespace qnips::test;

struct SchemaNode {
    std::string path; // as the rows spell it
    bool is_state;
    bool is_leaf;
    bool is_key;
};

class Schema
{
public:
    Schema()
    {
        ly_ctx* context = nullptr;
        if (ly_ctx_new(QN_IPS_YANG_DIR ":" QN_IPS_IETF_YANG_DIR, 0, &context) != LY_SUCCESS)
            throw std::runtime_error("no libyang context");
        context_.reset(context);
        const lys_module* module = ly_ctx_load_module(context, "quorin-intrusion-prevention", nullptr, nullptr);
        if (module == nullptr)
            throw std::runtime_error("the YANG module does not load");
        lysc_module_dfs_full(module, add_node, &nodes_);
    }

    // In document order.
    [[nodiscard]] const std::vector<SchemaNode>& nodes() const { return nodes_; }

    [[nodiscard]] bool contains(const std::string& path) const
    {
        for (const SchemaNode& node : nodes_) {
            if (node.path == path)
                return true;
        }
        return false;
    }

private:
    struct ContextDeleter {
        void operator()(ly_ctx* context) const noexcept { ly_ctx_destroy(context); }
    };

    // "/qn-ips:a/qn-ips:b", choices and cases left out.
    static std::string row_path(const lysc_node* node)
    {
        std::string path;
        for (; node != nullptr; node = lysc_data_parent(node))
            path = "/qn-ips:" + std::string(node->name) + path;
        return path;
    }

    static LY_ERR add_node(lysc_node* node, void* data, ly_bool* /*skip_children*/)
    {
        constexpr unsigned data_nodes = LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST | LYS_ANYDATA;
        if ((node->nodetype & data_nodes) == 0)
            return LY_SUCCESS;
        static_cast<std::vector<SchemaNode>*>(data)->push_back({row_path(node), (node->flags & LYS_CONFIG_R) != 0,
                                                                (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0,
                                                                lysc_is_key(node) != 0});
        return LY_SUCCESS;
    }

    std::unique_ptr<ly_ctx, ContextDeleter> context_;
    std::vector<SchemaNode> nodes_;
};

const Schema& schema()
{
    static const Schema loaded;
    return loaded;
}

TEST(SchemaRows, EveryRowsPathIsInTheSchema)
{
    for (const TableNode& node : node_table())
        EXPECT_TRUE(schema().contains(node.path)) << node.path;
}

TEST(SchemaRows, EveryNodeOfTheSchemaStandsOnceInTheTable)
{
    std::map<std::string, int> uses;
    for (const TableNode& node : node_table())
        ++uses[node.path];
    for (const SchemaNode& node : schema().nodes()) {
        // The root of the configuration has no row: rows begin at its three parts.
        const int promised = node.path == "/qn-ips:ips-config" ? 0 : 1;
        EXPECT_EQ(uses[node.path], promised) << node.path;
    }
}

TEST(SchemaRows, StandInTheOrderOfTheSchema)
{
    std::vector<std::string> in_schema;
    std::vector<std::string> in_table;
    for (const SchemaNode& node : schema().nodes()) {
        if (node.path != "/qn-ips:ips-config")
            in_schema.push_back(node.path);
    }
    for (const TableNode& node : node_table())
        in_table.push_back(node.path);
    EXPECT_EQ(in_table, in_schema);
}

TEST(SchemaRows, SeventyThreeStateNodesAreNoOpOfPriorityZero)
{
    std::map<std::string, TableNode> table;
    for (const TableNode& node : node_table())
        table[node.path] = node;
    int count = 0;
    for (const SchemaNode& node : schema().nodes()) {
        EXPECT_EQ(node.is_state, node.path.starts_with("/qn-ips:ips-state")) << node.path;
        if (!node.is_state)
            continue;
        ++count;
        const TableNode& row = table[node.path];
        EXPECT_EQ(row.kind, NodeKind::noop) << node.path;
        EXPECT_EQ(row.set.priority, 0) << node.path;
        EXPECT_TRUE(row.set.name.starts_with("callback_State")) << row.set.name;
    }
    EXPECT_EQ(count, 73);
}

TEST(SchemaRows, EveryWritableLeafActsOrSpeaksThroughItsParent)
{
    std::map<std::string, TableNode> table;
    for (const TableNode& node : node_table())
        table[node.path] = node;
    std::set<std::string> silent;
    for (const SchemaNode& node : schema().nodes()) {
        if (node.is_leaf && !node.is_state && !node.is_key && !table[node.path].is_pair())
            silent.insert(node.path);
    }
    const std::string vsys = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys";
    const std::string signature = vsys + "/qn-ips:user-defined-signatures/qn-ips:signature";
    EXPECT_EQ(silent, (std::set<std::string>{
                          signature + "/qn-ips:associated-enable",
                          signature + "/qn-ips:signature-rule-information/qn-ips:protocol-rules/qn-ips:protocol",
                          vsys + "/qn-ips:profiles/qn-ips:profile/qn-ips:signature-sets/qn-ips:signature-set"
                                 "/qn-ips:category/qn-ips:specifed-category/qn-ips:all-sub-category"}));
}

} // namespace
