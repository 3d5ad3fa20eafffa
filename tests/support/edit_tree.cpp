// Parsing of a test's tree and climbing in it.
#include "support/edit_tree.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <stdexcept>

#include "support/recorded_call.h"

namespace qnips::test
{

namespace
{

const xmlChar* xml_text(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

const char* plain_text(const xmlChar* text)
{
    return reinterpret_cast<const char*>(text);
}

struct XmlDeleter {
    void operator()(xmlChar* text) const noexcept { xmlFree(text); }
    void operator()(xmlXPathContext* context) const noexcept { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject* object) const noexcept { xmlXPathFreeObject(object); }
};

std::optional<std::string> attribute(const xmlNode* element, const char* name)
{
    const std::unique_ptr<xmlChar, XmlDeleter> value(xmlGetNoNsProp(element, xml_text(name)));
    if (value == nullptr)
        return std::nullopt;
    return plain_text(value.get());
}

void replace_content(xmlNode* element, const std::string& text)
{
    while (element->children != nullptr) {
        xmlNode* content = element->children;
        xmlUnlinkNode(content);
        xmlFreeNode(content);
    }
    xmlAddChild(element, xmlNewText(xml_text(text.c_str())));
}

void apply_attributes(xmlNode* element)
{
    if (element->type != XML_ELEMENT_NODE)
        return;
    operation(element); // an unknown operation is the test's mistake, so it is told now
    if (const auto text = attribute(element, "text"))
        replace_content(element, *text);
    for (xmlNode* node = element->children; node != nullptr; node = node->next)
        apply_attributes(node);
}

} // namespace

EditTree::EditTree(std::string_view xml)
    : doc_(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, "UTF-8",
                         XML_PARSE_NOENT | XML_PARSE_NOCDATA | XML_PARSE_NONET | XML_PARSE_HUGE))
{
    if (doc_ == nullptr)
        throw std::invalid_argument("the edit is no XML: " + std::string(xml));
    apply_attributes(xmlDocGetRootElement(doc_.get()));
}

xmlNode* EditTree::find(const std::string& xpath) const
{
    const std::unique_ptr<xmlXPathContext, XmlDeleter> context(xmlXPathNewContext(doc_.get()));
    const std::unique_ptr<xmlXPathObject, XmlDeleter> found(
        xmlXPathEvalExpression(xml_text(xpath.c_str()), context.get()));
    const xmlNodeSet* nodes = found == nullptr ? nullptr : found->nodesetval;
    if (nodes == nullptr || nodes->nodeNr != 1)
        throw std::invalid_argument("\"" + xpath + "\" does not select one element");
    return nodes->nodeTab[0];
}

const xmlNode* ancestor(const xmlNode* node, int level)
{
    for (; level > 0 && node != nullptr; --level)
        node = node->parent;
    return node == nullptr || node->type != XML_ELEMENT_NODE ? nullptr : node;
}

const xmlNode* child(const xmlNode* parent, std::string_view name)
{
    if (parent == nullptr)
        return nullptr;
    for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE && name == plain_text(node->name))
            return node;
    }
    return nullptr;
}

int operation(const xmlNode* element)
{
    const auto text = attribute(element, "op");
    return text ? op_from_text(*text) : 0;
}

const char* leaf_text(const xmlNode* element)
{
    for (const xmlNode* node = element->children; node != nullptr; node = node->next) {
        if (node->type == XML_TEXT_NODE)
            return plain_text(node->content);
    }
    return nullptr;
}

} // namespace qnips::test
