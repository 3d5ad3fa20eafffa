#include "netconf/default_tags.h"

#include <array>
#include <memory>

#include "netconf/xml_text.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr std::string_view library_namespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults";

struct TextDeleter {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
};

std::string_view view(const xmlChar* text)
{
    return text != nullptr ? reinterpret_cast<const char*>(text) : std::string_view();
}

const xmlChar* as_xml(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

void rename_namespace(xmlNode* element, std::string_view from, std::string_view to)
{
    for (xmlNs* space = element->nsDef; space != nullptr; space = space->next) {
        if (view(space->href) != from)
            continue;
        xmlFree(const_cast<xmlChar*>(space->href));
        space->href = xmlStrdup(as_xml(std::string(to).c_str()));
    }
}

// libyang knows two of the four words for a boolean.
void normalize_value(xmlAttr* tag)
{
    const std::unique_ptr<xmlChar, TextDeleter> value(xmlNodeListGetString(tag->doc, tag->children, 1));
    const bool is_default = default_tag_value(view(value.get())).value_or(false);
    xmlSetNsProp(tag->parent, tag->ns, tag->name, as_xml(is_default ? "true" : "false"));
}

void translate(xmlNode* first)
{
    for (xmlNode* node = first; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        rename_namespace(node, default_tag_namespace, library_namespace);
        for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            if (attribute->ns != nullptr && view(attribute->ns->href) == library_namespace)
                normalize_value(attribute);
        translate(node->children);
    }
}

} // namespace

std::optional<bool> default_tag_value(std::string_view text)
{
    struct Word {
        std::string_view text;
        bool value;
    };
    static constexpr std::array<Word, 4> words = {{{"true", true}, {"1", true}, {"false", false}, {"0", false}}};
    for (const Word& word : words)
        if (word.text == trimmed(text))
            return word.value;
    return std::nullopt;
}

std::string with_library_tags(std::string_view message)
{
    const DocumentPtr document = parse_xml(message);
    xmlNode* root = xmlDocGetRootElement(document.get());
    translate(root);
    return xml_text(document, root);
}

void correct_tags(xmlNode* first)
{
    for (xmlNode* node = first; node != nullptr; node = node->next) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        rename_namespace(node, library_namespace, default_tag_namespace);
        correct_tags(node->children);
    }
}

} // namespace qnips
