#include "server/edit_refusal.h"

#include <cstring>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/edit_node.h"
#include "server/libyang_error.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

const lyd_node_opaq* as_opaque(const lyd_node* node)
{
    return reinterpret_cast<const lyd_node_opaq*>(node);
}

const lys_module* named_module(const lyd_node* opaque)
{
    const char* space = as_opaque(opaque)->name.module_ns;
    return space != nullptr ? ly_ctx_get_module_implemented_ns(LYD_CTX(opaque), space) : nullptr;
}

std::string misfit_reason(const lyd_node* opaque)
{
    lyd_parse_opaq_error(opaque);
    return last_message(LYD_CTX(opaque)).text;
}

const lyd_node* child_named(const lyd_node* parent, const char* name)
{
    const lyd_node* child = lyd_child(parent);
    while (child != nullptr && std::strcmp(node_name(child), name) != 0)
        child = child->next;
    return child;
}

// An entry whose keys cannot be read is no entry at all, so the key has to be found that is to blame.
void refuse_bad_key(const lyd_node* opaque, const lysc_node* list)
{
    for (const lysc_node* key = lysc_node_child(list); key != nullptr && lysc_is_key(key); key = key->next) {
        const std::string path = fmt::format("{}/{}", edit_path(opaque), key->name);
        const lyd_node* given = child_named(opaque, key->name);
        if (given == nullptr)
            throw RpcError("missing-element", path, fmt::format("the entry lacks its key \"{}\"", key->name));
        const char* value = lyd_get_value(given);
        if (lyd_value_validate(LYD_CTX(opaque), key, value, std::strlen(value), nullptr, nullptr, nullptr) !=
            LY_SUCCESS) {
            LibyangMessage message = last_message(LYD_CTX(opaque));
            throw RpcError("invalid-value", path, message.text, std::move(message.app_tag));
        }
    }
}

} // namespace

const lysc_node* named_schema(const lyd_node* opaque, const lysc_node* parent)
{
    const lys_module* module = named_module(opaque);
    return module != nullptr ? lys_find_child(parent, module, as_opaque(opaque)->name.name, 0, 0, 0) : nullptr;
}

void refuse_misfit(const lyd_node* opaque, const lysc_node* parent)
{
    const char* name = as_opaque(opaque)->name.name;
    const std::string path = edit_path(opaque);
    if (named_module(opaque) == nullptr)
        throw RpcError("unknown-namespace", path,
                       fmt::format("element <{}> is in a namespace that is not known here", name));
    const lysc_node* schema = named_schema(opaque, parent);
    if (schema == nullptr)
        throw RpcError("unknown-element", path, fmt::format("element <{}> is not known here", name));
    if (schema->nodetype == LYS_LIST)
        refuse_bad_key(opaque, schema);
    const bool has_value = (schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    throw RpcError(has_value ? "invalid-value" : "bad-element", path, misfit_reason(opaque));
}

} // namespace qnips
