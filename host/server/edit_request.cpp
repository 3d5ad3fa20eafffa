#include "server/edit_request.h"

#include <cstring>
#include <string>

#include <fmt/format.h>
#include <libxml/tree.h>
#include <libyang/libyang.h>

#include "server/edit_refusal.h"
#include "server/libyang_error.h"
#include "server/libyang_memory.h"

namespace qnips
{

namespace
{

constexpr std::string_view netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

std::string_view view(const xmlChar* text)
{
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

[[noreturn]] void throw_unknown_root(const YangSchema& schema, const std::string& name, std::string_view space)
{
    const bool known_space = space == netconf_namespace;
    const std::string reason =
        fmt::format("the edit starts with <{}> {}; expected <rpc>, <edit-config> or <config> of namespace \"{}\", or a "
                    "root of the configuration, of namespace \"{}\"",
                    name, namespace_phrase(space), netconf_namespace, schema.module()->ns);
    if (known_space)
        throw RpcError("unknown-element", fmt::format("/{}", name), reason);
    throw RpcError("unknown-namespace", fmt::format("/{}", name), reason).naming(std::string(space));
}

// What stands around the given root in a complete request.
struct Wrapping {
    std::string before;
    std::string after;
};

Wrapping wrapping_for(const YangSchema& schema, const xmlNode* root)
{
    const std::string name(view(root->name));
    const std::string_view space = root->ns != nullptr ? view(root->ns->href) : std::string_view();
    const bool netconf = space == netconf_namespace;
    Wrapping wrapping;
    if (netconf && name == "rpc")
        return wrapping;

    const std::string open_rpc = fmt::format("<nc:rpc xmlns:nc=\"{}\" message-id=\"1\">", netconf_namespace);
    // Whoever writes no request expects that an edit takes effect wholly or not at all.
    const std::string open_edit = "<nc:edit-config><nc:target><nc:running/></nc:target>"
                                  "<nc:error-option>rollback-on-error</nc:error-option>";
    if (netconf && name == "edit-config")
        return {open_rpc, "</nc:rpc>"};
    if (netconf && name == "config")
        return {open_rpc + open_edit, "</nc:edit-config></nc:rpc>"};

    const lys_module* module = ly_ctx_get_module_implemented_ns(schema.context(), std::string(space).c_str());
    const lysc_node* node =
        module != nullptr ? lys_find_child(nullptr, module, name.c_str(), 0, LYS_CONTAINER | LYS_LIST, 0) : nullptr;
    if (netconf || node == nullptr)
        throw_unknown_root(schema, name, space);
    return {open_rpc + open_edit + "<nc:config>", "</nc:config></nc:edit-config></nc:rpc>"};
}

bool is_netconf(const xmlNode* element, std::string_view name)
{
    return element != nullptr && element->ns != nullptr && view(element->ns->href) == netconf_namespace &&
           view(element->name) == name;
}

xmlNode* netconf_child(xmlNode* parent, std::string_view name)
{
    xmlNode* element = xmlFirstElementChild(parent);
    while (element != nullptr && !is_netconf(element, name))
        element = xmlNextElementSibling(element);
    return element;
}

// What has the data of an edit as its children: <config>, or the document itself. Null when there is no <config>.
const xmlNode* frame_of_data(xmlNode* root)
{
    const bool is_bare = !is_netconf(root, "rpc") && !is_netconf(root, "edit-config") && !is_netconf(root, "config");
    if (is_bare)
        return root->parent;
    xmlNode* edit_config = is_netconf(root, "rpc") ? netconf_child(root, "edit-config") : root;
    return is_netconf(edit_config, "edit-config") ? netconf_child(edit_config, "config") : edit_config;
}

std::string complete_request(const YangSchema& schema, std::string_view xml)
{
    if (xml.find_first_not_of(" \t\r\n") == std::string_view::npos)
        throw RpcError("malformed-message", {}, "the edit is empty: nothing but white space");
    // libxml2 goes first: it names line and column of what is no XML, converts encodings, and limits depth and sizes.
    const DocumentPtr document = parse_xml(xml);
    xmlNode* root = xmlDocGetRootElement(document.get());
    const Wrapping wrapping = wrapping_for(schema, root);
    if (const xmlNode* frame = frame_of_data(root))
        refuse_wrong_attributes(schema.context(), frame);
    return wrapping.before + xml_text(document, root) + wrapping.after;
}

template <class Option>
struct Word {
    const char* text;
    Option option;
};

constexpr Word<DefaultOperation> default_operations[] = {
    {"merge", DefaultOperation::merge}, {"replace", DefaultOperation::replace}, {"none", DefaultOperation::none}};
constexpr Word<TestOption> test_options[] = {
    {"test-then-set", TestOption::test_then_set}, {"set", TestOption::set}, {"test-only", TestOption::test_only}};
constexpr Word<ErrorOption> error_options[] = {{"stop-on-error", ErrorOption::stop_on_error},
                                               {"continue-on-error", ErrorOption::continue_on_error},
                                               {"rollback-on-error", ErrorOption::rollback_on_error}};

template <class Option, std::size_t count>
void read_option(const lyd_node* edit_config, const char* name, const Word<Option> (&words)[count], Option& option)
{
    const lyd_node* leaf = find_child(edit_config, name);
    if (leaf == nullptr || (leaf->flags & LYD_DEFAULT) != 0)
        return;
    for (const Word<Option>& word : words)
        if (std::strcmp(lyd_get_value(leaf), word.text) == 0)
            option = word.option;
}

std::string config_path(const lyd_node* edit_config)
{
    return fmt::format("{}/config", instance_path(edit_config));
}

// Null for a <config> that holds nothing.
const lyd_node* first_edit_node(const lyd_node* edit_config)
{
    const lyd_node* config = find_child(edit_config, "config");
    if (config == nullptr)
        throw RpcError("missing-element", config_path(edit_config), "the edit has no <config>");
    const auto* any = reinterpret_cast<const lyd_node_any*>(config);
    if (config->schema != nullptr && any->value_type == LYD_ANYDATA_DATATREE)
        return any->value.tree;
    throw RpcError("bad-element", config_path(edit_config), "the <config> of the edit holds no elements but a text");
}

// How an error calls a request.
std::string subject(const lyd_node* rpc)
{
    const std::string name = node_name(rpc);
    return name == "edit-config" ? "the edit" : fmt::format("<{}>", name);
}

// A fault in the data has the same first step as one in the request's own parameters, which are no nodes of a module.
std::string without_frame(const std::string& path)
{
    constexpr std::string_view frame = "/nc:edit-config/";
    if (!path.starts_with(frame))
        return path;
    const std::string data = path.substr(frame.size() - 1);
    return data.substr(0, data.find('/', 1)).find(':') != std::string::npos ? data : path;
}

// Elements of the configuration that do not fit are let through here, so a failure there is an attribute's.
std::string_view parse_failure_tag(const LibyangMessage& message)
{
    if (message.path.empty())
        return "operation-failed";
    if (!message.path.starts_with("/nc:"))
        return "bad-attribute";
    return message.text.find("not found as a child") != std::string::npos ? "unknown-element" : "bad-element";
}

} // namespace

const lyd_node* find_child(const lyd_node* parent, std::string_view name)
{
    const lyd_node* node = lyd_child(parent);
    while (node != nullptr && node_name(node) != name)
        node = node->next;
    return node;
}

DatastoreName read_datastore(const lyd_node* rpc, std::string_view parameter)
{
    const lyd_node* place = find_child(rpc, parameter);
    const lyd_node* store = place != nullptr ? lyd_child(place) : nullptr;
    const std::string path = fmt::format("{}/{}", instance_path(rpc), parameter);
    if (store == nullptr)
        throw RpcError("missing-element", path, fmt::format("{} names no {} datastore", subject(rpc), parameter));
    for (const DatastoreName name : {DatastoreName::running, DatastoreName::candidate, DatastoreName::startup})
        if (datastore_word(name) == node_name(store))
            return name;
    throw RpcError("operation-not-supported", path,
                   fmt::format("<{}> is no datastore of this server", node_name(store)));
}

EditRequest parse_edit_request(const YangSchema& schema, std::string_view xml)
{
    const std::string text = complete_request(schema, xml);
    const InputPtr input = input_of(text);

    ly_err_clean(schema.context(), nullptr);
    lyd_node* envelope = nullptr;
    lyd_node* operation = nullptr;
    const LY_ERR result =
        lyd_parse_op(schema.context(), nullptr, input.get(), LYD_XML, LYD_TYPE_RPC_NETCONF, &envelope, &operation);
    TreePtr envelope_owner(envelope);
    TreePtr rpc_owner(operation);
    if (result != LY_SUCCESS) {
        LibyangMessage message = last_message(schema.context());
        message.path = without_frame(message.path);
        throw RpcError(parse_failure_tag(message), message.path, message.text);
    }
    if (operation == nullptr || std::strcmp(node_name(operation), "edit-config") != 0)
        throw RpcError("operation-not-supported", {},
                       fmt::format("the request is not an <edit-config> but <{}>",
                                   operation != nullptr ? node_name(operation) : "nothing"));

    EditRequest request = read_edit_request(operation);
    // Legal, but of a file more likely a mistake.
    if (request.edit == nullptr)
        throw RpcError("missing-element", config_path(operation), "the edit is empty: no node below <config>");
    if (request.target != DatastoreName::running)
        throw RpcError(
            "operation-not-supported", fmt::format("{}/target", instance_path(operation)),
            fmt::format("the edit is for <{}>; only <running> can be edited here", datastore_word(request.target)));
    request.envelope = std::move(envelope_owner);
    request.rpc = std::move(rpc_owner);
    return request;
}

EditRequest replacement(const ConfigTree& goal)
{
    EditRequest request;
    request.default_operation = DefaultOperation::replace;
    request.error_option = ErrorOption::rollback_on_error;
    request.edit = goal.first();
    return request;
}

EditRequest read_edit_request(const lyd_node* edit_config)
{
    EditRequest request;
    request.target = read_datastore(edit_config, "target");
    read_option(edit_config, "default-operation", default_operations, request.default_operation);
    read_option(edit_config, "test-option", test_options, request.test_option);
    read_option(edit_config, "error-option", error_options, request.error_option);
    request.edit = first_edit_node(edit_config);
    return request;
}

} // namespace qnips
