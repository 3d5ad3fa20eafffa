#include "netconf/request_check.h"

#include <climits>
#include <memory>
#include <utility>

#include <fmt/format.h>
#include <libxml/xmlreader.h>
#include <libyang/libyang.h>

#include "netconf/default_tags.h"
#include "netconf/parameter_check.h"
#include "netconf/xml_text.h"
#include "server/edit_attributes.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

constexpr std::string_view base_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr std::string_view xml_namespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view declaration_namespace = "http://www.w3.org/2000/xmlns/";
constexpr std::string_view base_1_0 = "urn:ietf:params:netconf:base:1.0";
constexpr std::string_view base_1_1 = "urn:ietf:params:netconf:base:1.1";

struct ReaderDeleter {
    void operator()(xmlTextReader* reader) const noexcept { xmlFreeTextReader(reader); }
};

std::string_view text_of(const xmlChar* text)
{
    return text != nullptr ? reinterpret_cast<const char*>(text) : std::string_view();
}

bool is_element(const xmlNode* node, std::string_view name)
{
    return node->type == XML_ELEMENT_NODE && text_of(node->name) == name && node->ns != nullptr &&
           text_of(node->ns->href) == base_namespace;
}

// Whoever asks for something that is no data of the request's own kind.
ReplyError refusal(std::string_view tag, std::string_view layer, const std::string& message,
                   std::vector<std::pair<std::string_view, std::string>> info = {}, std::string path = {})
{
    ReplyError error{RpcError(tag, std::move(path), message)};
    error.layer = layer;
    error.info = std::move(info);
    return error;
}

// Goes through one message. Elements are held against the schema of the operation down to what the operation takes as
// data; that is for the operation itself, but for the attributes, which nobody sees later.
class RequestReader
{
public:
    RequestReader(const ly_ctx* context, const std::string& text)
        : context_(context), reader_(xmlReaderForMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                                        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING))
    {
    }

    // Reads on until there is a refusal or the end.
    void read_all()
    {
        while (errors_.empty() && step()) {
        }
        if (errors_.empty() && !has_operation_)
            refuse("operation-not-supported", "protocol", "the request names no operation");
    }
    // Reads the first element and no further.
    void read_start()
    {
        while (start_.empty() && errors_.empty() && step()) {
        }
    }

    [[nodiscard]] const std::vector<ReplyError>& errors() const { return errors_; }
    // Whether an edit marks values as defaults (RFC 6243, 4.5.2).
    [[nodiscard]] bool has_tags() const { return has_tags_; }
    // A request with the attributes of this one that changes nothing; for a message that is no request, one without
    // any.
    [[nodiscard]] std::string substitute() const
    {
        if (start_.empty())
            return fmt::format("<rpc xmlns=\"{0}\"><get/></rpc>", base_namespace);
        return fmt::format("<{}><get xmlns=\"{}\"/></{}>", start_, base_namespace, name_);
    }

private:
    struct Level {
        const lysc_node* schema = nullptr; // null: nothing is known of what stands here
        bool in_data = false;              // of the operation: a <config> or a filter
        bool in_config = false;
        std::string path;                        // empty in data
        std::vector<const lysc_node*> present{}; // below it, so far
        std::string text{};                      // of a leaf, so far
    };

    void refuse(std::string_view tag, std::string_view layer, const std::string& message,
                std::vector<std::pair<std::string_view, std::string>> info = {}, std::string path = {})
    {
        errors_.push_back(refusal(tag, layer, message, std::move(info), std::move(path)));
    }

    bool step()
    {
        const int result = reader_ != nullptr ? xmlTextReaderRead(reader_.get()) : -1;
        if (result < 0) {
            const xmlError* error = xmlGetLastError();
            const std::string_view why = error != nullptr && error->message != nullptr ? error->message : "";
            refuse("malformed-message", "rpc", fmt::format("the message is no XML: {}", trimmed(why)));
        }
        if (result != 1)
            return false;
        switch (xmlTextReaderNodeType(reader_.get())) {
        case XML_READER_TYPE_DOCUMENT_TYPE:
            refuse("malformed-message", "rpc", "a message has no document type declaration");
            break;
        case XML_READER_TYPE_ELEMENT:
            element();
            break;
        case XML_READER_TYPE_END_ELEMENT:
            end(levels_.back());
            levels_.pop_back();
            break;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
            if (!levels_.empty() && is_leaf(levels_.back()))
                levels_.back().text += text_of(xmlTextReaderConstValue(reader_.get()));
            break;
        default:
            break;
        }
        return true;
    }

    void element()
    {
        const std::string name(text_of(xmlTextReaderConstLocalName(reader_.get())));
        const std::string space(text_of(xmlTextReaderConstNamespaceUri(reader_.get())));
        const bool is_empty = xmlTextReaderIsEmptyElement(reader_.get()) == 1;
        if (name.find(':') != std::string::npos)
            return refuse("malformed-message", "rpc", fmt::format("the prefix of <{}> is not declared", name));
        Level level;
        if (levels_.empty())
            request(name, space);
        else if (levels_.size() == 1)
            level = operation(name, space);
        else
            level = parameter(name, space);
        check_attributes(level, name);
        if (is_empty)
            end(level);
        else
            levels_.push_back(std::move(level));
    }

    static bool is_leaf(const Level& level)
    {
        return level.schema != nullptr && (level.schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
    }

    void end(const Level& level)
    {
        if (!errors_.empty() || !is_leaf(level))
            return;
        if (const auto fault = parameter_fault(context_, xmlTextReaderCurrentNode(reader_.get()), level.text))
            refuse("invalid-value", "protocol", *fault, {{"bad-element", std::string(schema_name(level.schema))}},
                   level.path);
    }

    void request(const std::string& name, const std::string& space)
    {
        if (name != "rpc" || space != base_namespace)
            return refuse("malformed-message", "rpc", fmt::format("the message is no <rpc>, but <{}>", name));
        name_ = text_of(xmlTextReaderConstName(reader_.get()));
        start_ = name_;
        bool has_id = false;
        for (int i = xmlTextReaderMoveToFirstAttribute(reader_.get()); i == 1;
             i = xmlTextReaderMoveToNextAttribute(reader_.get())) {
            const std::string_view attribute = text_of(xmlTextReaderConstName(reader_.get()));
            has_id = has_id || attribute == "message-id";
            start_ +=
                fmt::format(" {}=\"{}\"", attribute, xml_escaped(text_of(xmlTextReaderConstValue(reader_.get()))));
        }
        xmlTextReaderMoveToElement(reader_.get());
        if (!has_id)
            refuse("missing-attribute", "rpc", "a request has a message-id",
                   {{"bad-attribute", "message-id"}, {"bad-element", "rpc"}});
    }

    Level operation(const std::string& name, const std::string& space)
    {
        if (has_operation_) {
            refuse("unknown-element", "rpc", "a request has one operation only", {{"bad-element", name}});
            return {};
        }
        has_operation_ = true;
        const lys_module* module = ly_ctx_get_module_implemented_ns(context_, space.c_str());
        if (module == nullptr) {
            refuse("unknown-namespace", "protocol", fmt::format("the server knows no namespace \"{}\"", space),
                   {{"bad-element", name}, {"bad-namespace", space}});
            return {};
        }
        const lysc_node* found = lys_find_child(nullptr, module, name.c_str(), 0, LYS_RPC, 0);
        if (found == nullptr)
            refuse("operation-not-supported", "protocol", fmt::format("there is no operation <{}>", name));
        return {found, false, false, fmt::format("/{}:{}", module->prefix, name)};
    }

    Level parameter(const std::string& name, const std::string& space)
    {
        Level& parent = levels_.back();
        if (parent.in_data || parent.schema == nullptr)
            return {nullptr, parent.in_data, parent.in_config, {}};
        const lys_module* module = ly_ctx_get_module_implemented_ns(context_, space.c_str());
        const lysc_node* found =
            module != nullptr ? lys_find_child(parent.schema, module, name.c_str(), 0, 0, 0) : nullptr;
        if (found == nullptr) {
            if (module == nullptr)
                refuse("unknown-namespace", "protocol", fmt::format("the server knows no namespace \"{}\"", space),
                       {{"bad-element", name}, {"bad-namespace", space}}, levels_[1].path);
            else
                refuse("unknown-element", "protocol", fmt::format("<{}> does not belong there", name),
                       {{"bad-element", name}}, levels_[1].path);
            return {};
        }
        const bool is_data = (found->nodetype & LYS_ANYDATA) != 0;
        const std::string prefix = module == parent.schema->module ? "" : fmt::format("{}:", module->prefix);
        Level level{found, is_data, is_data && name == "config", fmt::format("{}/{}{}", parent.path, prefix, name)};
        enter(parent, level);
        return level;
    }

    // The library would take the first of two and carry that out.
    void enter(Level& parent, const Level& level)
    {
        for (const lysc_node* other : parent.present) {
            if (can_stand_together(level.schema, other))
                continue;
            const std::string_view name = schema_name(level.schema);
            const std::string reason = other == level.schema
                                           ? fmt::format("<{}> stands there more than once", name)
                                           : fmt::format("<{}> and <{}> exclude each other", schema_name(other), name);
            return refuse("bad-element", "protocol", reason, {{"bad-element", std::string(name)}}, level.path);
        }
        parent.present.push_back(level.schema);
    }

    void check_attributes(const Level& level, const std::string& element)
    {
        if (level.schema == nullptr && !level.in_config)
            return;
        FilterAttributes filter;
        for (int i = xmlTextReaderMoveToFirstAttribute(reader_.get()); i == 1 && errors_.empty();
             i = xmlTextReaderMoveToNextAttribute(reader_.get())) {
            const std::string name(text_of(xmlTextReaderConstLocalName(reader_.get())));
            const std::string_view space = text_of(xmlTextReaderConstNamespaceUri(reader_.get()));
            if (space == declaration_namespace || space == xml_namespace)
                continue;
            if (level.in_config)
                check_attribute(level, element, name, space);
            else if (!is_filter(level) || !filter.read(name, space, text_of(xmlTextReaderConstValue(reader_.get()))))
                refuse_attribute("unknown-attribute", fmt::format("<{}> has no attribute \"{}\"", element, name), name,
                                 level);
        }
        xmlTextReaderMoveToElement(reader_.get());
        if (errors_.empty() && is_filter(level))
            check_filter(filter, level);
    }

    static bool is_filter(const Level& level)
    {
        return level.schema != nullptr && level.in_data && schema_name(level.schema) == "filter";
    }

    // RFC 6241, 6.1 and 8.9.5.
    void check_filter(const FilterAttributes& filter, const Level& level)
    {
        if (filter.type && *filter.type != "subtree" && *filter.type != "xpath")
            return refuse_attribute(
                "bad-attribute", fmt::format("\"{}\" is no type of filters; expected subtree or xpath", *filter.type),
                "type", level);
        if (filter.type == "xpath" && !filter.has_select)
            return refuse_attribute("missing-attribute", "the XPath filter has no attribute \"select\"", "select",
                                    level);
        if (!filter.has_select)
            return;
        if (const auto fault = parameter_fault(context_, xmlTextReaderCurrentNode(reader_.get()), {}))
            refuse_attribute("bad-attribute", *fault, "select", level);
    }

    // For an attribute of the operation itself or of a parameter.
    void refuse_attribute(std::string_view tag, const std::string& reason, const std::string& name, const Level& level)
    {
        refuse(tag, "protocol", reason,
               {{"bad-attribute", name}, {"bad-element", std::string(schema_name(level.schema))}}, level.path);
    }

    // The attributes of an edit, and the one by which a default is marked (RFC 6243, 4.5.2).
    void check_attribute(const Level& level, const std::string& element, const std::string& name,
                         std::string_view space)
    {
        if (level.schema != nullptr) {
            const AttributeFault fault = frame_attribute_fault(name);
            return refuse_attribute(fault.tag, fault.reason, name, level);
        }
        const std::string_view value = text_of(xmlTextReaderConstValue(reader_.get()));
        const bool is_tag = space == default_tag_namespace && name == "default";
        has_tags_ = has_tags_ || is_tag;
        if (is_tag && !default_tag_value(value))
            refuse("bad-attribute", "application", fmt::format("\"{}\" is not true or false", value),
                   {{"bad-attribute", name}, {"bad-element", element}});
        if (is_tag)
            return;
        if (const auto fault = attribute_fault(name, space, value))
            refuse(fault->tag, "application", fault->reason, {{"bad-attribute", name}, {"bad-element", element}});
    }

    const ly_ctx* context_;
    std::unique_ptr<xmlTextReader, ReaderDeleter> reader_;
    std::vector<Level> levels_;
    std::string name_;  // of the <rpc>, with its prefix
    std::string start_; // the same with its attributes
    bool has_operation_ = false;
    bool has_tags_ = false;
    std::vector<ReplyError> errors_;
};

CheckedRequest too_long(const ly_ctx* context, const std::string& beginning)
{
    RequestReader reader(context, beginning);
    reader.read_start();
    return {reader.substitute(), {refusal("too-big", "rpc", "the message is longer than this server takes")}};
}

} // namespace

std::optional<Framing> framing_after_hello(const std::string& hello)
{
    std::optional<Framing> framing;
    try {
        const DocumentPtr document = parse_xml(hello);
        const xmlNode* root = xmlDocGetRootElement(document.get());
        if (root == nullptr || !is_element(root, "hello"))
            return std::nullopt;
        for (const xmlNode* list = root->children; list != nullptr; list = list->next) {
            if (is_element(list, "session-id")) // only a server has one
                return std::nullopt;
            for (xmlNode* node = is_element(list, "capabilities") ? list->children : nullptr; node != nullptr;
                 node = node->next) {
                const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlNodeGetContent(node), xmlFree);
                const std::string_view capability = trimmed(text_of(text.get()));
                if (is_element(node, "capability") && capability == base_1_1)
                    framing = Framing::chunked;
                if (is_element(node, "capability") && capability == base_1_0 && !framing)
                    framing = Framing::end_of_message;
            }
        }
    } catch (const RpcError&) {
        return std::nullopt;
    }
    return framing;
}

std::string_view hello_for(Framing framing)
{
    return framing == Framing::chunked
               ? "<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities>"
                 "<capability>urn:ietf:params:netconf:base:1.1</capability></capabilities></hello>"
               : "<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities>"
                 "<capability>urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>";
}

std::optional<CheckedRequest> check_request(const ly_ctx* context, Message message, Framing framing)
{
    if (message.is_too_long || message.text.size() > INT_MAX)
        return too_long(context, message.text);
    RequestReader reader(context, message.text);
    reader.read_all();
    if (reader.errors().empty() && reader.has_tags())
        return CheckedRequest{with_library_tags(message.text), {}};
    if (reader.errors().empty())
        return CheckedRequest{std::move(message.text), {}};
    if (reader.errors().front().error.tag() == "malformed-message" && framing == Framing::end_of_message)
        return std::nullopt;
    return CheckedRequest{reader.substitute(), reader.errors()};
}

} // namespace qnips
