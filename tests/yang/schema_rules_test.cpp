// Rules that the YANG module as a whole keeps, because the host's edit engine and its clients rely on them: what may
// depend on what, which containers exist by themselves, and which value stands for an absent leaf.
#include "yang_context.h"

#include <libyang/libyang.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

const yang_test::YangContext& yang()
{
    static const yang_test::YangContext context;
    return context;
}

using Visit = std::function<void(const lysc_node&)>;

void walk(const lysc_node* first, const Visit& visit)
{
    for (const lysc_node* node = first; node != nullptr; node = node->next) {
        visit(*node);
        walk(lysc_node_child(node), visit);
    }
}

void for_each_node(const Visit& visit)
{
    walk(yang().module()->compiled->data, visit);
}

// The data path of a schema node, without prefixes: "/ips-config/user-defined-ips/vsys".
std::string path_of(const lysc_node& node)
{
    std::string path;
    for (const lysc_node* step = &node; step != nullptr; step = step->parent) {
        if ((step->nodetype & (LYS_CHOICE | LYS_CASE)) == 0) {
            path.insert(0, std::string("/").append(step->name));
        }
    }
    return path;
}

const lysc_node* closest_list(const lysc_node* node)
{
    while (node != nullptr && node->nodetype != LYS_LIST) {
        node = node->parent;
    }
    return node;
}

bool is_below_or_same(const lysc_node* node, const lysc_node* top)
{
    while (node != nullptr && node != top) {
        node = node->parent;
    }
    return node != nullptr;
}

// Whether a condition of an entry of `list` may look at `node`: at what is inside the entry, at what the entry is
// inside of, or at a leaf beside one of those. A condition outside of all lists may look at what is outside of them,
// too.
bool is_in_reach(const lysc_node* list, const lysc_node* node)
{
    if (list == nullptr) {
        return closest_list(node) == nullptr;
    }
    const lysc_node* const holder = node->nodetype == LYS_LEAF ? node->parent : node;
    const bool holds_the_entry = is_below_or_same(list, holder);
    return holds_the_entry || is_below_or_same(node, list);
}

struct SetDeleter {
    void operator()(ly_set* set) const { ly_set_free(set, nullptr); }
};
using SetPtr = std::unique_ptr<ly_set, SetDeleter>;

SetPtr nodes_in(const lysc_node& node, const lysc_must& must)
{
    ly_set* raw = nullptr;
    lys_find_expr_atoms(&node, node.module, must.cond, must.prefixes, 0, &raw);
    return SetPtr(raw);
}

TEST(SchemaRules, roots_are_configuration_and_state)
{
    std::vector<std::string> roots;
    for (const lysc_node* node = yang().module()->compiled->data; node != nullptr; node = node->next) {
        roots.emplace_back(node->name);
    }
    EXPECT_EQ(roots, (std::vector<std::string>{"ips-config", "ips-state"}));
    EXPECT_EQ(yang().module()->compiled->rpcs, nullptr);
    EXPECT_EQ(yang().module()->compiled->notifs, nullptr);
}

TEST(SchemaRules, state_has_its_73_nodes_and_all_of_them_are_read_only)
{
    int state_nodes = 0;
    for_each_node([&](const lysc_node& node) {
        const bool is_state = path_of(node).starts_with("/ips-state");
        state_nodes += is_state ? 1 : 0;
        EXPECT_EQ((node.flags & LYS_CONFIG_R) != 0, is_state) << path_of(node);
    });
    EXPECT_EQ(state_nodes, 73);
}

TEST(SchemaRules, every_node_is_described)
{
    for_each_node([](const lysc_node& node) { EXPECT_NE(node.dsc, nullptr) << path_of(node); });
}

TEST(SchemaRules, the_module_is_announced_to_clients_of_yang_1_0)
{
    EXPECT_NE(yang().module()->parsed->version, LYS_VERSION_1_1);
}

// An edit is validated with the entries that it touches, not with the whole configuration. That is exact as long as no
// condition needs anything else. (Other entries of the same list are the same nodes of the schema: this cannot see
// them.)
TEST(SchemaRules, conditions_stay_within_their_list_entry)
{
    int conditions = 0;
    for_each_node([&](const lysc_node& node) {
        const lysc_must* const musts = lysc_node_musts(&node);
        LY_ARRAY_COUNT_TYPE index = 0;
        LY_ARRAY_FOR(musts, index)
        {
            ++conditions;
            const SetPtr atoms = nodes_in(node, musts[index]);
            ASSERT_NE(atoms, nullptr) << path_of(node);
            const lysc_node* const list = closest_list(&node);
            for (uint32_t i = 0; i < atoms->count; ++i) {
                EXPECT_TRUE(is_in_reach(list, atoms->snodes[i]))
                    << path_of(node) << " looks at " << path_of(*atoms->snodes[i]);
            }
        }
    });
    EXPECT_GT(conditions, 0);
}

TEST(SchemaRules, every_condition_tells_the_client_what_is_wrong)
{
    for_each_node([](const lysc_node& node) {
        const lysc_must* const musts = lysc_node_musts(&node);
        LY_ARRAY_COUNT_TYPE index = 0;
        LY_ARRAY_FOR(musts, index)
        {
            EXPECT_NE(musts[index].emsg, nullptr) << path_of(node);
            EXPECT_NE(musts[index].eapptag, nullptr) << path_of(node);
        }
    });
}

TEST(SchemaRules, nothing_depends_on_the_number_of_entries_or_on_other_entries)
{
    for_each_node([](const lysc_node& node) {
        EXPECT_EQ(lysc_node_when(&node), nullptr) << path_of(node);
        if (node.nodetype == LYS_LIST) {
            const auto& list = reinterpret_cast<const lysc_node_list&>(node);
            EXPECT_EQ(list.uniques, nullptr) << path_of(node);
            EXPECT_EQ(list.min, 0U) << path_of(node);
            EXPECT_EQ(list.max, UINT32_MAX) << path_of(node);
        } else if (node.nodetype == LYS_LEAFLIST) {
            const auto& list = reinterpret_cast<const lysc_node_leaflist&>(node);
            EXPECT_EQ(list.min, 0U) << path_of(node);
            EXPECT_EQ(list.max, UINT32_MAX) << path_of(node);
            EXPECT_NE(list.type->basetype, LY_TYPE_LEAFREF) << path_of(node);
        } else if (node.nodetype == LYS_LEAF) {
            const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(node);
            EXPECT_NE(leaf.type->basetype, LY_TYPE_LEAFREF) << path_of(node);
        }
    });
}

TEST(SchemaRules, only_signature_sets_are_ordered_by_the_user)
{
    std::set<std::string> ordered;
    for_each_node([&](const lysc_node& node) {
        const bool is_list = (node.nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
        if (is_list && (node.flags & LYS_CONFIG_W) != 0 && (node.flags & LYS_ORDBY_USER) != 0) {
            ordered.insert(path_of(node));
        }
    });
    EXPECT_EQ(ordered, (std::set<std::string>{
                           "/ips-config/user-defined-ips/vsys/profiles/profile/signature-sets/signature-set"}));
}

// RFC 7950, 7.6.5: a mandatory node in a container without presence is required wherever the container's parent exists.
TEST(SchemaRules, containers_with_mandatory_content_mean_something_by_their_presence)
{
    for_each_node([](const lysc_node& node) {
        if (node.nodetype == LYS_CONTAINER && (node.flags & LYS_PRESENCE) == 0) {
            EXPECT_EQ(node.flags & LYS_MAND_TRUE, 0) << path_of(node);
        }
    });
}

TEST(SchemaRules, defaults_are_what_the_device_returns_to)
{
    const std::string vsys = "/ips-config/user-defined-ips/vsys/";
    const std::string profile = vsys + "profiles/profile/";
    const std::string signature = vsys + "user-defined-signatures/signature/";
    const std::string rule = signature + "signature-rule-information/protocol-rules/rules/signature-rule/";
    const std::string correlated =
        signature + "signature-rule-information/associated-rule/signature-rule/associated-condition/";
    const std::map<std::string, std::string> expected{
        {vsys + "ips-enable", "true"},
        {profile + "collect-attack-evidence-enable", "false"},
        {profile + "associated-check-enable", "false"},
        {profile + "signature-sets/signature-set/target", "both"},
        {profile + "exception-signatures/exception-signature/action", "allow"},
        {profile + "protocol-controlling/dns-check/request-type-default-action", "allow"},
        {signature + "severity", "medium"},
        {signature + "action", "alert"},
        {rule + "scope", "message"},
        {rule + "sequence", "random-order"},
        {rule + "basic-conditions/rule-condition/direction", "both"},
        {correlated + "threshold", "30"},
        {correlated + "interval", "60"},
        {correlated + "block-time", "5"},
        {correlated + "correlation", "source-destination"},
        {"/ips-config/predefined-signatures/signature/config-state", "enable"},
        {"/ips-config/global-config/global-max-session-number/default-session-number", "10"},
        {"/ips-config/global-config/regular-expression-unlimit", "false"},
        {"/ips-config/global-config/engine-log-switch", "false"},
        {"/ips-config/global-config/log-merge-switch", "false"},
    };
    std::map<std::string, std::string> found;
    for_each_node([&](const lysc_node& node) {
        if (node.nodetype != LYS_LEAF) {
            return;
        }
        const auto& leaf = reinterpret_cast<const lysc_node_leaf&>(node);
        if (leaf.dflt != nullptr) {
            found[path_of(node)] = lyd_value_get_canonical(yang().get(), leaf.dflt);
        }
    });
    EXPECT_EQ(found, expected);
}

bool takes(const std::string& path, const std::string& value)
{
    const lysc_node* const node = lys_find_path(yang().get(), nullptr, path.c_str(), 0);
    return node != nullptr &&
           lyd_value_validate(yang().get(), node, value.c_str(), value.size(), nullptr, nullptr, nullptr) == LY_SUCCESS;
}

TEST(State, percentages_end_at_a_hundred)
{
    const std::string path = "/quorin-intrusion-prevention:ips-state/engine/memory-usage";
    EXPECT_TRUE(takes(path, "0"));
    EXPECT_TRUE(takes(path, "100"));
    EXPECT_FALSE(takes(path, "101"));
}

TEST(State, times_are_those_of_rfc_3339)
{
    const std::string path = "/quorin-intrusion-prevention:ips-state/engine/start-time";
    for (const char* time : {"2026-11-21T08:30:00Z", "2026-11-21T08:30:00.25Z", "2026-11-21T08:30:00-01:00"}) {
        EXPECT_TRUE(takes(path, time)) << time;
    }
    for (const char* time : {"", "2026-11-21", "2026-11-21 08:30:00Z", "2026-11-21T08:30:00", "21.11.2026T08:30:00Z"}) {
        EXPECT_FALSE(takes(path, time)) << time;
    }
}

// A document that holds every state node is valid state, so that whoever renders it finds each node in its place.
TEST(State, a_document_with_every_node_is_valid)
{
    const std::ifstream stream(QN_IPS_YANG_CASES "/state/everything.xml", std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    lyd_node* tree = nullptr;
    ASSERT_EQ(
        lyd_parse_data_mem(yang().get(), text.str().c_str(), LYD_XML, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree),
        LY_SUCCESS)
        << ly_errmsg(yang().get()) << " " << ly_errpath(yang().get());

    lyd_node* root = nullptr;
    ASSERT_EQ(lyd_find_path(tree, "/quorin-intrusion-prevention:ips-state", 0, &root), LY_SUCCESS);
    std::set<std::string> present;
    lyd_node* node = nullptr;
    LYD_TREE_DFS_BEGIN(root, node)
    {
        if ((node->flags & LYD_DEFAULT) == 0) {
            present.insert(path_of(*node->schema));
        }
        LYD_TREE_DFS_END(root, node);
    }
    EXPECT_EQ(present.size(), 73U);
    lyd_free_all(tree);
}

} // namespace
