// Which modules the closure of an edit can speak for, and which lists it needs whole.
#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/edit_validation.h"
#include "server/expression_reach.h"
#include "server/libyang_memory.h"

namespace qnips
{

namespace
{

[[noreturn]] void refuse(const lysc_node* node, const std::string& reason)
{
    throw std::runtime_error(fmt::format("the edit engine cannot validate {}: {}", schema_path(node), reason));
}

bool is_instance_kind(const lysc_node* node)
{
    return (node->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

bool is_at_or_above(const lysc_node* ancestor, const lysc_node* node)
{
    while (node != nullptr && node != ancestor)
        node = lysc_data_parent(node);
    return node != nullptr;
}

class RuleReader
{
public:
    explicit RuleReader(SchemaNodeSet& watched) : watched_(watched) {}

    void read_all(const lysc_node* parent, const lysc_module* module)
    {
        const lysc_node* node = nullptr;
        while ((node = lys_getnext(node, parent, module, LYS_GETNEXT_WITHCHOICE)) != nullptr)
            read(node);
    }

private:
    void read(const lysc_node* node)
    {
        if ((node->nodetype & (LYS_RPC | LYS_ACTION | LYS_NOTIF)) != 0 || (node->flags & LYS_CONFIG_R) != 0)
            return;
        if (lysc_node_when(node) != nullptr)
            refuse(node, "it has a when");
        if ((node->nodetype & LYS_ANYDATA) != 0)
            refuse(node, "it is an anydata or anyxml");
        if (is_instance_kind(node) && lysc_data_parent(node) == nullptr)
            refuse(node, "it is a list or leaf-list without a parent");
        if (node->nodetype == LYS_CHOICE) {
            read_cases(node);
            return;
        }
        read_type(node);
        read_counts(node);
        const lysc_must* musts = lysc_node_musts(node);
        for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(musts); ++i)
            read_must(node, musts[i]);
        if ((node->nodetype & (LYS_CONTAINER | LYS_LIST)) != 0)
            read_all(node, nullptr);
    }

    void read_cases(const lysc_node* choice)
    {
        const lysc_node_case* branch = reinterpret_cast<const lysc_node_choice*>(choice)->cases;
        for (; branch != nullptr; branch = reinterpret_cast<const lysc_node_case*>(branch->next)) {
            if (lysc_node_when(reinterpret_cast<const lysc_node*>(branch)) != nullptr)
                refuse(choice, "one of its cases has a when");
            read_all(reinterpret_cast<const lysc_node*>(branch), nullptr);
        }
    }

    static void read_type(const lysc_node* node)
    {
        if ((node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) == 0)
            return;
        // Of a leaf-list the member in question stands at the same place.
        const lysc_type* type = reinterpret_cast<const lysc_node_leaf*>(node)->type;
        if (refers(type))
            refuse(node, "its type refers to other nodes");
    }

    static bool refers(const lysc_type* type)
    {
        if (type->basetype == LY_TYPE_LEAFREF || type->basetype == LY_TYPE_INST)
            return true;
        if (type->basetype != LY_TYPE_UNION)
            return false;
        const lysc_type* const* members = reinterpret_cast<const lysc_type_union*>(type)->types;
        return std::any_of(members, members + LY_ARRAY_COUNT(members), refers);
    }

    // What counts or compares the entries of a list needs them all.
    void read_counts(const lysc_node* node)
    {
        const auto unlimited = static_cast<std::uint32_t>(-1);
        bool all = false;
        if (node->nodetype == LYS_LIST) {
            const auto* list = reinterpret_cast<const lysc_node_list*>(node);
            all = list->min > 0 || list->max != unlimited || list->uniques != nullptr;
        } else if (node->nodetype == LYS_LEAFLIST) {
            const auto* list = reinterpret_cast<const lysc_node_leaflist*>(node);
            all = list->min > 0 || list->max != unlimited;
        }
        if (all)
            watched_.insert(node);
    }

    void read_must(const lysc_node* context, const lysc_must& must)
    {
        check_text(context, lyxp_get_expr(must.cond));
        ly_set* raw_atoms = nullptr;
        if (lys_find_expr_atoms(context, context->module, must.cond, must.prefixes, 0, &raw_atoms) != LY_SUCCESS)
            refuse(context, "its must cannot be understood");
        const SetPtr atoms(raw_atoms);
        for (std::uint32_t i = 0; i < atoms->count; ++i)
            read_atom(context, atoms->snodes[i]);
    }

    // Other entries of a list that the context is part of are not in the closure; nothing else would do but the whole
    // tree.
    static void check_text(const lysc_node* context, const char* expression)
    {
        const ExpressionReach reach = reach_of(expression);
        if (!reach.unbounded.empty())
            refuse(context, fmt::format("its must uses {}: {}", reach.unbounded, expression));
        for (const lysc_node* node = context; node != nullptr; node = lysc_data_parent(node)) {
            const bool named =
                std::find(reach.child_steps.begin(), reach.child_steps.end(), node->name) != reach.child_steps.end();
            if (is_instance_kind(node) && named)
                refuse(context,
                       fmt::format("its must may look at other entries of \"{}\": {}", node->name, expression));
        }
    }

    void read_atom(const lysc_node* context, const lysc_node* atom)
    {
        const lysc_node* common = atom;
        for (; common != nullptr && !is_at_or_above(common, context); common = lysc_data_parent(common))
            if (is_instance_kind(common))
                watched_.insert(common);
        // Ancestors are there whatever happens, and keys never change.
        if (common == atom || lysc_is_key(atom))
            return;
        for (const lysc_node* node = context; node != common; node = lysc_data_parent(node))
            if (is_instance_kind(node))
                watched_.insert(node);
    }

    SchemaNodeSet& watched_;
};

} // namespace

ValidationRules::ValidationRules(const YangSchema& schema) : schema_(schema)
{
    RuleReader(watched_).read_all(nullptr, schema.module()->compiled);
}

} // namespace qnips
