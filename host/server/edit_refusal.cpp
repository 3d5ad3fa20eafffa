#include "server/edit_refusal.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/edit_attributes.h"
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

// The namespace in which an element of this name would be known below `parent` (null: as a root). Empty if there is
// none.
std::string_view expected_namespace(const ly_ctx* context, const char* name, const lysc_node* parent)
{
    if (parent != nullptr)
        return lys_find_child(parent, parent->module, name, 0, 0, 0) != nullptr ? parent->module->ns : "";
    std::uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(context, &index))
        if (module->implemented != 0 &&
            lys_find_child(nullptr, module, name, 0, LYS_CONTAINER | LYS_LIST, 0) != nullptr)
            return module->ns;
    return {};
}

std::string unknown_element_reason(const lyd_node* opaque, const lysc_node* parent)
{
    const char* name = as_opaque(opaque)->name.name;
    const char* space = as_opaque(opaque)->name.module_ns;
    const std::string_view found = space != nullptr ? space : "";
    if (parent != nullptr && found == parent->module->ns)
        return fmt::format("element <{}> is not known here", name);
    const std::string_view expected = expected_namespace(LYD_CTX(opaque), name, parent);
    const std::string reason = fmt::format("element <{}> {} is not known here", name, namespace_phrase(found));
    return expected.empty() ? reason : fmt::format("{}; expected xmlns=\"{}\"", reason, expected);
}

[[noreturn]] void refuse_unknown(const lyd_node* opaque, const lysc_node* parent)
{
    const std::string reason = unknown_element_reason(opaque, parent);
    if (named_module(opaque) != nullptr)
        throw RpcError("unknown-element", edit_path(opaque), reason);
    const char* space = as_opaque(opaque)->name.module_ns;
    throw RpcError("unknown-namespace", edit_path(opaque), reason).naming(space != nullptr ? space : "");
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
            throw RpcError("invalid-value", path, with_allowed(std::move(message.text), key),
                           std::move(message.app_tag));
        }
    }
}

// -------------------------------------------------------------------------------------------------- attributes --

std::string_view view(const xmlChar* text)
{
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

std::string_view space_of(const xmlNs* ns)
{
    return ns != nullptr ? view(ns->href) : std::string_view();
}

std::string content_of(const xmlNode* node)
{
    xmlChar* text = xmlNodeGetContent(node);
    std::string content(view(text));
    xmlFree(text);
    return content;
}

std::string quoted(const std::string& value)
{
    return value.find('\'') == std::string::npos ? fmt::format("'{}'", value) : fmt::format("\"{}\"", value);
}

// What tells the instance from its siblings; nothing for an entry that lacks a key.
std::string predicates(const xmlNode* element, const lysc_node* schema)
{
    if (schema->nodetype == LYS_LEAFLIST)
        return fmt::format("[.={}]", quoted(content_of(element)));
    std::string text;
    if (schema->nodetype != LYS_LIST)
        return text;
    for (const lysc_node* key = lysc_node_child(schema); key != nullptr && lysc_is_key(key); key = key->next) {
        const xmlNode* given = xmlFirstElementChild(const_cast<xmlNode*>(element));
        while (given != nullptr && view(given->name) != key->name)
            given = xmlNextElementSibling(const_cast<xmlNode*>(given));
        if (given == nullptr)
            return {};
        text += fmt::format("[{}={}]", key->name, quoted(content_of(given)));
    }
    return text;
}

struct Place {
    std::string path;
    const lysc_node* schema = nullptr; // null where the schema has no such node
};

// The element's instance path, as edit_path() writes that of the node it is going to be.
Place place_of(const ly_ctx* context, const xmlNode* element, const xmlNode* frame)
{
    const bool is_root = element->parent == frame;
    const Place above = is_root ? Place() : place_of(context, element->parent, frame);
    const lys_module* module = ly_ctx_get_module_implemented_ns(context, std::string(space_of(element->ns)).c_str());
    const std::string name(view(element->name));
    Place place;
    if (module != nullptr && (is_root || above.schema != nullptr))
        place.schema = lys_find_child(above.schema, module, name.c_str(), 0, 0, 0);

    const bool is_foreign = place.schema != nullptr && !is_root && above.schema->module != module;
    const bool has_prefix = module != nullptr && (is_root || is_foreign);
    place.path = fmt::format("{}/{}{}", above.path, has_prefix ? fmt::format("{}:", module->prefix) : "", name);
    if (place.schema != nullptr)
        place.path += predicates(element, place.schema);
    return place;
}

void check_attribute(const ly_ctx* context, const xmlAttr* attribute, const xmlNode* frame)
{
    const auto value = content_of(reinterpret_cast<const xmlNode*>(attribute));
    if (const auto fault = attribute_fault(view(attribute->name), space_of(attribute->ns), value))
        throw RpcError(fault->tag, place_of(context, attribute->parent, frame).path, fault->reason)
            .naming(std::string(view(attribute->name)));
}

void check_attributes_below(const ly_ctx* context, const xmlNode* parent, const xmlNode* frame)
{
    for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            check_attribute(context, attribute, frame);
        check_attributes_below(context, node, frame);
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
    const std::string path = edit_path(opaque);
    const lysc_node* schema = named_schema(opaque, parent);
    if (schema == nullptr)
        refuse_unknown(opaque, parent);
    if (schema->nodetype == LYS_LIST)
        refuse_bad_key(opaque, schema);
    const bool has_value = (schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    throw RpcError(has_value ? "invalid-value" : "bad-element", path, with_allowed(misfit_reason(opaque), schema));
}

std::string namespace_phrase(std::string_view space)
{
    return space.empty() ? "without a namespace" : fmt::format("of namespace \"{}\"", space);
}

void refuse_wrong_attributes(const ly_ctx* context, const xmlNode* frame)
{
    if (frame->type == XML_ELEMENT_NODE && frame->properties != nullptr) {
        const std::string name(view(frame->properties->name));
        const AttributeFault fault = frame_attribute_fault(name);
        throw RpcError(fault.tag, "/nc:edit-config/config", fault.reason).naming(name);
    }
    check_attributes_below(context, frame, frame);
}

} // namespace qnips
