#include "conformance/sample.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <libxml/parser.h>

#include "server/yang_schema.h"
#include "support/edit_tree.h"
#include "support/recorded_call.h"
#include "transapi/transapi.h"

namespace qnips::conformance
{

namespace
{

std::string name_of(const xmlNode* element)
{
    return reinterpret_cast<const char*>(element->name);
}

const xmlChar* xml_text(const std::string& text)
{
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

void collect(xmlNode* element, std::vector<xmlNode*>& elements)
{
    elements.push_back(element);
    for (xmlNode* node = xmlFirstElementChild(element); node != nullptr; node = xmlNextElementSibling(node))
        collect(node, elements);
}

std::vector<xmlNode*> elements_of(const Doc& doc)
{
    std::vector<xmlNode*> elements;
    collect(xmlDocGetRootElement(doc.get()), elements);
    return elements;
}

std::string file_text(const std::filesystem::path& file)
{
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error(file.string() + " cannot be read");
    return {std::istreambuf_iterator<char>(in), {}};
}

void add_beside(xmlNode* element, const std::string& name)
{
    xmlNode* other = xmlNewNode(nullptr, xml_text(name));
    xmlNewProp(other, xml_text("op"), xml_text(test::op_text(XMLDIFF_ADD)));
    xmlAddNextSibling(element, other);
}

void set_text(xmlNode* element, const Change& change)
{
    while (element->children != nullptr) {
        xmlNode* content = element->children;
        xmlUnlinkNode(content);
        xmlFreeNode(content);
    }
    if (change.kind != Change::Kind::no_text)
        xmlAddChild(element, xmlNewText(xml_text(change.kind == Change::Kind::text ? change.text : "")));
}

} // namespace

Sample::Sample(const std::filesystem::path& file, const YangSchema& schema)
{
    const std::string text = file_text(file);
    if (schema.parse_configuration(text) == nullptr)
        throw std::runtime_error(file.string() + " configures nothing");
    doc_.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NOBLANKS));
    elements_ = elements_of(doc_);
}

ElementId Sample::id_of(const xmlNode* element) const
{
    return static_cast<ElementId>(std::ranges::find(elements_, element) - elements_.begin());
}

std::string Sample::path_of(ElementId element) const
{
    std::string path;
    for (const xmlNode* node = elements_.at(element); node != nullptr; node = test::ancestor(node, 1))
        path.insert(0, "/qn-ips:" + name_of(node));
    return path;
}

std::vector<ElementId> Sample::instances(const std::string& path) const
{
    std::vector<ElementId> found;
    for (ElementId element = 0; element < elements_.size(); ++element) {
        if (path_of(element) == path)
            found.push_back(element);
    }
    return found;
}

std::string Sample::text_of(ElementId element) const
{
    const char* text = test::leaf_text(elements_.at(element));
    return text == nullptr ? "" : text;
}

std::optional<ElementId> Sample::parent(ElementId element) const
{
    const xmlNode* node = test::ancestor(elements_.at(element), 1);
    return node == nullptr ? std::nullopt : std::optional(id_of(node));
}

std::optional<ElementId> Sample::previous(ElementId element) const
{
    xmlNode* before = xmlPreviousElementSibling(elements_.at(element));
    if (before == nullptr || name_of(before) != name_of(elements_.at(element)))
        return std::nullopt;
    return id_of(before);
}

std::vector<ElementId> Sample::children(ElementId element) const
{
    std::vector<ElementId> found;
    xmlNode* node = xmlFirstElementChild(elements_.at(element));
    for (; node != nullptr; node = xmlNextElementSibling(node))
        found.push_back(id_of(node));
    return found;
}

std::optional<ElementId> Sample::child(ElementId element, const std::string& name) const
{
    const xmlNode* node = test::child(elements_.at(element), name);
    return node == nullptr ? std::nullopt : std::optional(id_of(node));
}

Sample::Edited Sample::edited(const std::map<ElementId, int>& operations, const std::vector<Change>& changes) const
{
    Edited copy{Doc(xmlCopyDoc(doc_.get(), 1)), {}};
    copy.elements = elements_of(copy.doc);
    for (const auto& [element, op] : operations)
        xmlNewProp(copy.elements.at(element), xml_text("op"), xml_text(test::op_text(op)));
    for (const Change& change : changes) {
        if (change.kind == Change::Kind::joined)
            add_beside(copy.elements.at(change.element), change.text);
        else if (change.kind != Change::Kind::gone)
            set_text(copy.elements.at(change.element), change);
    }
    for (const Change& change : changes) {
        xmlNode* element = copy.elements.at(change.element);
        if (change.kind == Change::Kind::gone) {
            xmlUnlinkNode(element);
            xmlFreeNode(element);
        }
    }
    return copy;
}

} // namespace qnips::conformance
