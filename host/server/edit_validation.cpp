#include "server/edit_validation.h"

#include <vector>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

namespace
{

// The copy that is validated. Every node of it counts as new to libyang, so it deletes nothing by itself.
class Projection
{
public:
    void enter(const lyd_node* node)
    {
        lyd_node* copy = nullptr;
        if (!lysc_is_key(node->schema)) { // an entry is copied with its keys
            check(lyd_dup_single(node, nullptr, LYD_DUP_NO_META, &copy), node, "copy");
            tree_.insert(path_.empty() ? nullptr : path_.back(), copy);
        }
        path_.push_back(copy);
    }

    void leave() { path_.pop_back(); }

    TreePtr release() { return tree_.release(); }

private:
    ConfigTree tree_;
    std::vector<lyd_node*> path_;
};

// The schema node at a path that also has steps for choices and cases.
const lysc_node* schema_node_at(const YangSchema& schema, std::string_view path)
{
    const lysc_node* parent = nullptr;
    while (!path.empty()) {
        path.remove_prefix(1);
        std::string_view step = path.substr(0, path.find('/'));
        path.remove_prefix(step.size());
        step.remove_prefix(step.find(':') + 1); // npos + 1 is 0: no prefix
        const lysc_node* node = nullptr;
        do {
            node = lys_getnext(node, parent, schema.module()->compiled, LYS_GETNEXT_WITHCHOICE | LYS_GETNEXT_WITHCASE);
        } while (node != nullptr && step != node->name);
        if (node == nullptr)
            return nullptr;
        parent = node;
    }
    return parent;
}

bool lacks(const lyd_node* parent, const lysc_node* missing)
{
    const bool is_choice = missing->nodetype == LYS_CHOICE;
    const lysc_node* schema = is_choice ? lys_getnext(nullptr, missing, nullptr, 0) : missing;
    for (; schema != nullptr; schema = is_choice ? lys_getnext(schema, missing, nullptr, 0) : nullptr) {
        lyd_node* found = nullptr;
        lyd_find_sibling_val(lyd_child(parent), schema, nullptr, 0, &found);
        if (found != nullptr)
            return false;
    }
    return true;
}

// Of a node that is missing libyang names the schema node only. The first instance of its parent that lacks it is where
// a client has to look.
std::string missing_path(const YangSchema& schema, const lyd_node* tree, const std::string& schema_path)
{
    const lysc_node* missing = schema_node_at(schema, schema_path);
    if (missing == nullptr)
        return {};
    const lysc_node* parent = lysc_data_parent(missing);
    for (const lyd_node* root = tree; root != nullptr; root = root->next) {
        const lyd_node* node = nullptr;
        LYD_TREE_DFS_BEGIN(root, node)
        {
            if (node->schema == parent && lacks(node, missing))
                return missing->nodetype == LYS_CHOICE ? instance_path(node)
                                                       : fmt::format("{}/{}", instance_path(node), missing->name);
            LYD_TREE_DFS_END(root, node)
        }
    }
    return {};
}

RpcError violation(const YangSchema& schema, const lyd_node* tree)
{
    LibyangMessage message = last_message(schema.context());
    if (message.path.empty() && !message.schema_path.empty())
        message.path = missing_path(schema, tree, message.schema_path);
    const bool missing = message.app_tag == "missing-choice" || message.text.starts_with("Mandatory node");
    return {missing ? "data-missing" : "operation-failed", std::move(message.path), message.text,
            std::move(message.app_tag)};
}

void validate(const YangSchema& schema, TreePtr tree)
{
    lyd_node* first = tree.release();
    const LY_ERR result = lyd_validate_module(&first, schema.module(), LYD_VALIDATE_NO_STATE, nullptr);
    tree.reset(first);
    if (result != LY_SUCCESS)
        throw violation(schema, tree.get());
}

} // namespace

void validate_edit(const ValidationRules& rules, const ChangeSet& changes)
{
    if (changes.empty())
        return;
    Projection projection;
    const ScopeRules scope{.watched = &rules.watched()};
    walk_scope(
        changes, View::after, scope, [&](const lyd_node* node, const Change*) { projection.enter(node); },
        [&](const lyd_node*) { projection.leave(); });
    validate(rules.schema(), projection.release());
}

void validate_tree(const YangSchema& schema, const ConfigTree& tree)
{
    lyd_node* copy = nullptr;
    if (tree.first() != nullptr)
        check(lyd_dup_siblings(tree.first(), nullptr, LYD_DUP_RECURSIVE | LYD_DUP_NO_META, &copy), tree.first(),
              "copy");
    validate(schema, TreePtr(copy));
}

} // namespace qnips
