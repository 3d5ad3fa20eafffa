#include "netconf/parameter_check.h"

#include <memory>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/xml_text.h"
#include "server/libyang_error.h"
#include "server/libyang_memory.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr std::string_view base_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

struct XmlDeleter {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
    void operator()(xmlNs** list) const noexcept { xmlFree(list); }
};

std::string_view view(const xmlChar* text)
{
    return text != nullptr ? reinterpret_cast<const char*>(text) : std::string_view();
}

// Prefixes stand in values as well, so all declarations that hold at the element are its own here.
std::string declarations_at(const xmlNode* element)
{
    std::string text;
    const std::unique_ptr<xmlNs*, XmlDeleter> all(xmlGetNsList(element->doc, element));
    for (xmlNs** space = all.get(); space != nullptr && *space != nullptr; ++space)
        if ((*space)->prefix != nullptr)
            text += fmt::format(" xmlns:{}=\"{}\"", view((*space)->prefix), xml_escaped(view((*space)->href)));
    return text;
}

std::string attributes_of(const xmlNode* element)
{
    std::string text;
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
        const std::unique_ptr<xmlChar, XmlDeleter> value(xmlNodeListGetString(element->doc, attribute->children, 1));
        const std::string_view prefix = attribute->ns != nullptr ? view(attribute->ns->prefix) : std::string_view();
        text += fmt::format(" {}{}{}=\"{}\"", prefix, prefix.empty() ? "" : ":", view(attribute->name),
                            xml_escaped(view(value.get())));
    }
    return text;
}

// The operation of a parameter with nothing else in it.
std::string operation_with(const xmlNode* parameter, std::string_view text)
{
    const auto space_of = [](const xmlNode* node) {
        return xml_escaped(node->ns != nullptr ? view(node->ns->href) : std::string_view());
    };
    std::string result = fmt::format("<{0} xmlns=\"{1}\"{2}{3}>{4}</{0}>", view(parameter->name), space_of(parameter),
                                     declarations_at(parameter), attributes_of(parameter), xml_escaped(text));
    const xmlNode* node = parameter->parent;
    for (; node->parent != nullptr && node->parent->type == XML_ELEMENT_NODE; node = node->parent)
        result = fmt::format("<{0} xmlns=\"{1}\">{2}</{0}>", view(node->name), space_of(node), result);
    return result;
}

} // namespace

bool can_stand_together(const lysc_node* one, const lysc_node* other)
{
    const auto is_branch = [](const lysc_node* node) {
        return node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0;
    };
    for (const lysc_node* a = one->parent; is_branch(a); a = a->parent)
        for (const lysc_node* b = other->parent; is_branch(b); b = b->parent)
            if (a != b && a->nodetype == LYS_CASE && b->nodetype == LYS_CASE && a->parent == b->parent)
                return false;
    return one != other || (one->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
}

std::optional<std::string> parameter_fault(const ly_ctx* context, const xmlNode* element, std::string_view text)
{
    const std::string operation = operation_with(element, text);
    const InputPtr input = input_of(operation);
    lyd_node* tree = nullptr;
    const LY_ERR result = lyd_parse_op(context, nullptr, input.get(), LYD_XML, LYD_TYPE_RPC_YANG, &tree, nullptr);
    const TreePtr owner(tree);
    return result == LY_SUCCESS ? std::nullopt : std::optional(last_message(context).text);
}

bool FilterAttributes::read(std::string_view name, std::string_view space, std::string_view value)
{
    if (!space.empty() && space != base_namespace)
        return false;
    if (name == "type")
        type = value;
    has_select = has_select || name == "select";
    return name == "type" || name == "select";
}

} // namespace qnips
