#include "server/callback_document.h"

#include <new>

#include <libyang/libyang.h>

#include "server/edit_scope.h"

namespace qnips
{

namespace
{

const xmlChar* xml(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

template <class Pointer>
Pointer* checked(Pointer* pointer)
{
    if (pointer == nullptr)
        throw std::bad_alloc();
    return pointer;
}

// Builds the elements while the closure is walked. The module's namespace is declared on each root element.
class Builder
{
public:
    Builder(xmlDoc* document, View view, std::vector<xmlNode*>& elements)
        : document_(document), view_(view), elements_(elements)
    {
    }

    void enter(const lyd_node* node, const Change* change)
    {
        xmlNode* element = checked(xmlNewDocNode(document_, nullptr, xml(node->schema->name), nullptr));
        if (parent_ == nullptr)
            xmlAddChild(reinterpret_cast<xmlNode*>(document_), element);
        else
            xmlAddChild(parent_, element);
        set_namespace(element, node);
        if ((node->schema->nodetype & LYD_NODE_TERM) != 0)
            set_text(element, value(node, change));
        if (change != nullptr) {
            element->_private = const_cast<Change*>(change);
            elements_[change->index] = element;
        }
        parent_ = element;
    }

    void leave() { parent_ = parent_->parent->type == XML_ELEMENT_NODE ? parent_->parent : nullptr; }

private:
    void set_namespace(xmlNode* element, const lyd_node* node)
    {
        if (parent_ == nullptr)
            namespace_ = checked(xmlNewNs(element, xml(node->schema->module->ns), xml(node->schema->module->prefix)));
        xmlSetNs(element, namespace_);
    }

    // An element without text has no text node, as a parsed one has none.
    static void set_text(xmlNode* element, const char* text)
    {
        if (*text != '\0')
            xmlAddChild(element, checked(xmlNewText(xml(text))));
    }

    [[nodiscard]] const char* value(const lyd_node* node, const Change* change) const
    {
        if (view_ == View::before && change != nullptr && (change->bits & XMLDIFF_MOD) != 0)
            return change->old_value.c_str();
        return lyd_get_value(node);
    }

    xmlDoc* document_;
    View view_;
    std::vector<xmlNode*>& elements_;
    xmlNode* parent_ = nullptr;
    xmlNs* namespace_ = nullptr;
};

enum class Siblings { first_to_last, last_to_first };

void collect(const xmlNode* first, const xmlNode* last, Siblings siblings, std::vector<const Change*>& order)
{
    const bool forward = siblings == Siblings::first_to_last;
    for (const xmlNode* node = forward ? first : last; node != nullptr; node = forward ? node->next : node->prev) {
        if (node->_private == nullptr || node->type != XML_ELEMENT_NODE)
            continue; // nothing changes at or below it
        order.push_back(static_cast<const Change*>(node->_private));
        collect(node->children, node->last, siblings, order);
    }
}

} // namespace

CallbackDocument::CallbackDocument(const ChangeSet& changes, View view)
    : document_(checked(xmlNewDoc(xml("1.0")))), elements_(changes.size(), nullptr)
{
    Builder builder(document_.get(), view, elements_);
    const ScopeRules rules{.preceding_entries = true};
    walk_scope(
        changes, view, rules, [&](const lyd_node* node, const Change* change) { builder.enter(node, change); },
        [&](const lyd_node*) { builder.leave(); });
}

CallbackDocument::~CallbackDocument()
{
    for (xmlNode* element : taken_out_) {
        element->parent = nullptr;
        xmlFreeNode(element);
    }
}

std::vector<const Change*> CallbackDocument::in_order() const
{
    std::vector<const Change*> order;
    collect(document_->children, document_->last, Siblings::first_to_last, order);
    return order;
}

std::vector<const Change*> CallbackDocument::in_reverse() const
{
    std::vector<const Change*> order;
    collect(document_->children, document_->last, Siblings::last_to_first, order);
    return order;
}

void CallbackDocument::take_out(const Change& change)
{
    xmlNode* element = elements_[change.index];
    xmlNode* parent = element->parent;
    xmlUnlinkNode(element);
    element->parent = parent;
    taken_out_.push_back(element);
}

} // namespace qnips
