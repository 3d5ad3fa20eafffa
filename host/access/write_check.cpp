#include "access/write_check.h"

#include <algorithm>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

std::optional<AccessOperation> operation_of(const Change& change)
{
    if (lysc_is_np_cont(change.schema))
        return std::nullopt;
    if (change.is(XMLDIFF_ADD))
        return AccessOperation::create;
    if (change.is(XMLDIFF_REM))
        return AccessOperation::delete_node;
    if (change.is(static_cast<unsigned>(XMLDIFF_MOD) | static_cast<unsigned>(XMLDIFF_SIBLING)))
        return AccessOperation::update;
    return std::nullopt;
}

bool is_choice_or_case(const lysc_node* schema)
{
    return schema != nullptr && (schema->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
}

// The cases, nested ones included, in which siblings come to life.
std::vector<const lysc_node*> created_cases(const std::vector<Change*>& siblings)
{
    std::vector<const lysc_node*> cases;
    for (const Change* change : siblings) {
        if (!change->is(XMLDIFF_ADD))
            continue;
        for (const lysc_node* above = change->schema->parent; is_choice_or_case(above); above = above->parent)
            if (above->nodetype == LYS_CASE && std::find(cases.begin(), cases.end(), above) == cases.end())
                cases.push_back(above);
    }
    return cases;
}

// Whether the node goes because one of another case of its choice comes.
bool is_displaced(const Change& change, const std::vector<const lysc_node*>& created)
{
    if (!change.is(XMLDIFF_REM))
        return false;
    for (const lysc_node* above = change.schema->parent; is_choice_or_case(above); above = above->parent) {
        const auto is_rival = [&](const lysc_node* other) { return other != above && other->parent == above->parent; };
        if (above->nodetype == LYS_CASE && std::any_of(created.begin(), created.end(), is_rival))
            return true;
    }
    return false;
}

class WriteCheck
{
public:
    explicit WriteCheck(UserRights& rights) : rights_(rights) {}

    std::optional<DeniedWrite> check(const std::vector<Change*>& siblings)
    {
        const std::vector<const lysc_node*> created = created_cases(siblings);
        for (const Change* change : siblings) {
            if (is_displaced(*change, created))
                continue;
            line_.push_back(change->node);
            std::optional<DeniedWrite> denied = check(*change);
            line_.pop_back();
            if (denied)
                return denied;
        }
        return std::nullopt;
    }

private:
    std::optional<DeniedWrite> check(const Change& change)
    {
        const std::optional<AccessOperation> operation = operation_of(change);
        if (operation && !rights_.may(*operation, line_))
            return denied(change, *operation);
        return check(change.children);
    }

    DeniedWrite denied(const Change& change, AccessOperation operation)
    {
        const Change* shown = nullptr;
        std::vector<const lyd_node*> line;
        for (const lyd_node* node : line_) {
            line.push_back(node);
            if (!may_read(rights_, line))
                break;
            shown = ChangeSet::find(node);
        }
        DeniedWrite result;
        if (shown != nullptr)
            result.path = shown->path();
        if (shown == &change)
            result.operation = operation;
        return result;
    }

    UserRights& rights_;
    std::vector<const lyd_node*> line_;
};

} // namespace

std::optional<DeniedWrite> first_denied_write(UserRights& rights, const ChangeSet& changes)
{
    if (rights.are_unlimited())
        return std::nullopt;
    return WriteCheck(rights).check(changes.roots());
}

} // namespace qnips
