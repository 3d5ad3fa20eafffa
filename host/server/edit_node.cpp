#include "server/edit_node.h"

#include <cstring>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/config_tree.h"
#include "server/edit_refusal.h"
#include "server/libyang_error.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr std::string_view netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

struct OperationWord {
    const char* word;
    EditOperation operation;
};
constexpr OperationWord operation_words[] = {
    {"merge", EditOperation::merge},   {"replace", EditOperation::replace},
    {"create", EditOperation::create}, {"delete", EditOperation::delete_existing},
    {"remove", EditOperation::remove}, {"none", EditOperation::none}};

struct InsertWord {
    const char* word;
    InsertAt place;
};
constexpr InsertWord insert_words[] = {
    {"first", InsertAt::first}, {"last", InsertAt::last}, {"before", InsertAt::before}, {"after", InsertAt::after}};

[[noreturn]] void refuse_attribute(const EditNode& edit, const char* attribute, const std::string& text,
                                   std::string app_tag = {})
{
    throw RpcError("bad-attribute", edit_path(edit.node), text, std::move(app_tag)).naming(attribute);
}

bool is_removal(EditOperation operation)
{
    return operation == EditOperation::delete_existing || operation == EditOperation::remove;
}

void read_operation(EditNode& edit, std::string_view value)
{
    for (const OperationWord& word : operation_words) {
        if (word.word == value && word.operation != EditOperation::none) {
            edit.operation = word.operation;
            return;
        }
    }
    refuse_attribute(edit, "operation", fmt::format("\"{}\" is not an operation", value));
}

InsertAt insert_place(const char* value)
{
    for (const InsertWord& word : insert_words)
        if (std::strcmp(word.word, value) == 0)
            return word.place;
    return InsertAt::unspecified;
}

void check_insert(const EditNode& edit, const lyd_meta* key, const lyd_meta* value)
{
    if (edit.insert == InsertAt::unspecified && key == nullptr && value == nullptr)
        return;
    const bool has_place = edit.insert != InsertAt::unspecified;
    const char* given = has_place ? "insert" : (key != nullptr ? "key" : "value");
    if (!lysc_is_userordered(edit.schema))
        refuse_attribute(edit, given, "insert, key and value are for entries of user-ordered lists only");
    if (is_removal(edit.operation) || edit.operation == EditOperation::none)
        refuse_attribute(edit, given,
                         fmt::format("insert does not go with operation {}", operation_word(edit.operation)));

    const bool by_anchor = edit.insert == InsertAt::before || edit.insert == InsertAt::after;
    const bool is_list = edit.schema->nodetype == LYS_LIST;
    const char* wanted_name = is_list ? "key" : "value";
    const lyd_meta* wanted = is_list ? key : value;
    const lyd_meta* other = is_list ? value : key;
    if (other != nullptr || (wanted != nullptr) != by_anchor)
        refuse_attribute(
            edit, other != nullptr ? other->name : wanted_name,
            fmt::format("insert before or after needs the attribute {}, and only they take it", wanted_name),
            "missing-instance");
}

void read_attributes(EditNode& edit)
{
    const lyd_meta* key = nullptr;
    const lyd_meta* value = nullptr;
    for (const lyd_meta* meta = edit.node->meta; meta != nullptr; meta = meta->next) {
        const std::string_view module = meta->annotation->module->name;
        const std::string_view name = meta->name;
        if (module == "ietf-netconf" && name == "operation")
            read_operation(edit, lyd_get_meta_value(meta));
        else if (module == "yang" && name == "insert")
            edit.insert = insert_place(lyd_get_meta_value(meta));
        else if (module == "yang" && name == "key")
            key = meta;
        else if (module == "yang" && name == "value")
            value = meta;
    }
    check_insert(edit, key, value);
    if (key != nullptr)
        edit.anchor = lyd_get_meta_value(key);
    else if (value != nullptr)
        edit.anchor = lyd_get_meta_value(value);
}

// A node that does not fit the schema is legal in one form only: as a leaf that is to be removed, named without a value
// (an empty text is no legal value of most types).
void read_opaque(EditNode& edit, const lysc_node* parent)
{
    const auto* opaque = reinterpret_cast<const lyd_node_opaq*>(edit.node);
    for (const lyd_attr* attribute = opaque->attr; attribute != nullptr; attribute = attribute->next)
        if (std::strcmp(attribute->name.name, "operation") == 0 && attribute->name.module_ns != nullptr &&
            attribute->name.module_ns == netconf_namespace)
            read_operation(edit, attribute->value);

    edit.schema = named_schema(edit.node, parent);
    const bool names_a_leaf = edit.schema != nullptr && edit.schema->nodetype == LYS_LEAF &&
                              !lysc_is_key(edit.schema) && opaque->child == nullptr &&
                              std::string_view(opaque->value).find_first_not_of(" \t\r\n") == std::string_view::npos;
    if (!names_a_leaf || !is_removal(edit.operation))
        refuse_misfit(edit.node, parent);
}

// Whether the client has marked the node as being at its default; libyang keeps the mark as a flag, which containers
// without presence have as well while they hold nothing.
bool is_marked_default(const lyd_node* node)
{
    return node->schema != nullptr && (node->flags & LYD_DEFAULT) != 0 && !lysc_is_np_cont(node->schema);
}

// RFC 6243, 4.5.2: with the mark and the default's value a leaf goes back to not being set.
void read_default_mark(EditNode& edit)
{
    if (edit.schema->nodetype != LYS_LEAF)
        refuse_attribute(edit, "default", "only a leaf can be marked as being at its default");
    if (is_removal(edit.operation))
        refuse_attribute(
            edit, "default",
            fmt::format("the mark of a default does not go with operation {}", operation_word(edit.operation)));
    const auto* leaf = reinterpret_cast<const lyd_node_term*>(edit.node);
    const lyd_value* value = reinterpret_cast<const lysc_node_leaf*>(edit.schema)->dflt;
    if (value == nullptr)
        throw RpcError("invalid-value", edit_path(edit.node), "the leaf has no default that it could be at");
    const std::string standard = lyd_value_get_canonical(LYD_CTX(edit.node), value);
    if (lyd_value_compare(leaf, standard.c_str(), standard.size()) != LY_SUCCESS)
        throw RpcError(
            "invalid-value", edit_path(edit.node),
            fmt::format("\"{}\" is marked as the default, which is \"{}\"", lyd_get_value(edit.node), standard));
    if (edit.operation != EditOperation::none)
        edit.operation = EditOperation::remove;
}

EditNode read_edit_node(const lyd_node* node, const lysc_node* parent, EditOperation inherited)
{
    EditNode edit;
    edit.node = node;
    edit.schema = node->schema;
    edit.operation = inherited;
    if (edit.schema == nullptr)
        read_opaque(edit, parent);
    else if (node->meta != nullptr)
        read_attributes(edit);
    if (is_marked_default(node))
        read_default_mark(edit);
    if ((edit.schema->flags & LYS_CONFIG_R) != 0)
        throw RpcError("unknown-element", edit_path(node), "state data cannot be edited");
    return edit;
}

void refuse_twin(const EditNode& edit, const lyd_node* first)
{
    lyd_node* twin = nullptr;
    if (edit.node->schema != nullptr)
        twin = find_counterpart(first, edit.node);
    else if (lyd_find_sibling_val(first, edit.schema, nullptr, 0, &twin) != LY_SUCCESS)
        lyd_find_sibling_opaq_next(first, edit.schema->name, &twin);
    const bool root_again = edit.schema->parent == nullptr && edit.schema->nodetype == LYS_CONTAINER;
    if (twin != nullptr && twin != edit.node && !root_again)
        throw RpcError("bad-element", edit_path(edit.node), "the edit has this node more than once");
}

// A container without presence only counts with what the edit puts into it.
bool brings_content(const EditNode& edit)
{
    if (!lysc_is_np_cont(edit.schema))
        return !is_removal(edit.operation) && edit.operation != EditOperation::none;
    for (const lyd_node* child = lyd_child(edit.node); child != nullptr; child = child->next)
        if (brings_content(read_edit_node(child, edit.schema, edit.operation)))
            return true;
    return false;
}

// The case of each choice that the nodes read so far belong to.
class CaseLedger
{
public:
    void enter(const EditNode& edit)
    {
        const lysc_node* node = edit.schema->parent;
        if (node == nullptr || node->nodetype != LYS_CASE || !brings_content(edit))
            return;
        for (; node != nullptr && (node->nodetype & (LYS_CHOICE | LYS_CASE)) != 0; node = node->parent)
            if (node->nodetype == LYS_CASE)
                enter(edit, node);
    }

private:
    struct Entry {
        const lysc_node* branch;
        const lyd_node* node;
    };

    void enter(const EditNode& edit, const lysc_node* branch)
    {
        for (const Entry& entry : entries_) {
            if (entry.branch == branch)
                return;
            if (entry.branch->parent == branch->parent)
                refuse_both_cases(edit.node, entry.node, branch->parent);
        }
        entries_.push_back({branch, edit.node});
    }

    std::vector<Entry> entries_;
};

std::vector<EditNode> read_siblings(const lyd_node* first, const EditNode* parent, EditOperation inherited,
                                    EditErrors* errors)
{
    std::vector<EditNode> result;
    CaseLedger cases;
    const auto read = [&](const lyd_node* node) {
        EditNode edit = read_edit_node(node, parent != nullptr ? parent->schema : nullptr, inherited);
        refuse_twin(edit, first);
        cases.enter(edit);
        if (!lysc_is_key(edit.schema))
            result.push_back(std::move(edit));
        else if (edit.operation != inherited)
            refuse_attribute(edit, "operation", "a key cannot have another operation than its entry");
    };
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        try {
            read(node);
        } catch (const RpcError& error) {
            if (errors == nullptr)
                throw;
            errors->add(error);
        }
    }
    return result;
}

} // namespace

void EditErrors::add(const RpcError& error)
{
    if (errors_.size() < most)
        errors_.push_back(error);
}

void EditErrors::throw_all()
{
    if (errors_.empty())
        return;
    RpcError first = errors_.front();
    errors_.erase(errors_.begin());
    throw std::move(first).with(std::exchange(errors_, {}));
}

void refuse_both_cases(const lyd_node* node, const lyd_node* other, const lysc_node* choice)
{
    throw RpcError("bad-element", edit_path(node),
                   fmt::format("\"{}\" and \"{}\" exclude each other (choice \"{}\")", node_name(other),
                               node_name(node), choice->name));
}

std::vector<EditNode> read_edit_roots(const lyd_node* first, EditOperation inherited, EditErrors* errors)
{
    return read_siblings(first, nullptr, inherited, errors);
}

std::vector<EditNode> read_edit_children(const EditNode& parent, EditErrors* errors)
{
    return read_siblings(lyd_child(parent.node), &parent, parent.operation, errors);
}

std::string edit_path(const lyd_node* node)
{
    if (node->schema != nullptr)
        return instance_path(node);
    const lyd_node* parent = lyd_parent(node);
    if (parent != nullptr)
        return fmt::format("{}/{}", edit_path(parent), node_name(node));
    const auto* opaque = reinterpret_cast<const lyd_node_opaq*>(node);
    const lys_module* module = opaque->name.module_ns != nullptr
                                   ? ly_ctx_get_module_implemented_ns(LYD_CTX(node), opaque->name.module_ns)
                                   : nullptr;
    return module != nullptr ? fmt::format("/{}:{}", module->prefix, node_name(node))
                             : fmt::format("/{}", node_name(node));
}

const char* operation_word(EditOperation operation)
{
    for (const OperationWord& word : operation_words)
        if (word.operation == operation)
            return word.word;
    return "";
}

} // namespace qnips
