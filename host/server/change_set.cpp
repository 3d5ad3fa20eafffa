#include "server/change_set.h"

#include <string_view>
#include <utility>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

void append_predicate(std::string& path, std::string_view name, std::string_view value)
{
    const char quote = value.find('\'') == std::string_view::npos ? '\'' : '"';
    path.append("[").append(name).append("=").append(1, quote).append(value).append(1, quote).append("]");
}

} // namespace

const SharedText& Change::path() const
{
    if (!path_.empty())
        return path_;
    std::string path = parent != nullptr ? parent->path().str() : std::string();
    path += '/';
    if (parent == nullptr || parent->schema->module != schema->module)
        path.append(schema->module->prefix).append(":");
    path += schema->name;
    if (schema->nodetype == LYS_LEAFLIST)
        append_predicate(path, ".", lyd_get_value(node));
    for (const lyd_node* key = lyd_child(node); key != nullptr && lysc_is_key(key->schema); key = key->next)
        append_predicate(path, key->schema->name, lyd_get_value(key));
    path_ = std::move(path);
    return path_;
}

Change& ChangeSet::touch(lyd_node* node)
{
    if (Change* known = find(node))
        return *known;

    Change& change = changes_.emplace_back();
    change.schema = node->schema;
    change.node = node;
    change.index = changes_.size() - 1;
    node->priv = &change;
    if (lyd_node* parent = lyd_parent(node)) {
        change.parent = &touch(parent);
        if (!change.parent->is(XMLDIFF_ADD | XMLDIFF_REM))
            change.parent->bits |= XMLDIFF_CHAIN;
        change.parent->children.push_back(&change);
    } else {
        roots_.push_back(&change);
    }
    return change;
}

Change* ChangeSet::find(const lyd_node* node)
{
    return static_cast<Change*>(node->priv);
}

void ChangeSet::drop(Change& change)
{
    change.node->priv = nullptr;
    change.node = nullptr;
}

void ChangeSet::clear()
{
    for (Change& change : changes_)
        if (change.node != nullptr)
            change.node->priv = nullptr;
    changes_.clear();
    roots_.clear();
    old_order_.clear();
}

} // namespace qnips
