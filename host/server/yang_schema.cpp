#include "server/yang_schema.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

#include <fmt/format.h>
#include <libxml/parser.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

namespace
{

// The part of ietf-netconf that the host offers: it has running, candidate and startup, checks before it applies, rolls
// back when an edit fails, takes back what nobody confirms, and selects by XPath (RFC 6241, 8.2 to 8.7 and 8.9).
const char* netconf_features[] = {
    "writable-running", "candidate", "confirmed-commit", "rollback-on-error", "validate", "startup", "xpath", nullptr};

constexpr std::string_view netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

struct ParserDeleter {
    void operator()(xmlParserCtxt* parser) const noexcept { xmlFreeParserCtxt(parser); }
};
struct BufferDeleter {
    void operator()(xmlBuffer* buffer) const noexcept { xmlBufferFree(buffer); }
};

std::string_view view(const xmlChar* text)
{
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

std::string trimmed(const char* text)
{
    std::string result = text != nullptr ? text : "";
    result.erase(result.find_last_not_of(" \r\n") + 1);
    return result;
}

// The roots of a configuration, without the <config> or <data> of NETCONF that may stand around them.
// Several roots make no document, so an element stands around them while they are read; a text with an XML declaration
// is a document.
std::string roots_text(std::string_view xml)
{
    const bool is_document = xml.starts_with("<?xml");
    const DocumentPtr document = parse_xml(is_document ? std::string(xml) : fmt::format("<roots>{}</roots>", xml));
    xmlNode* top = xmlDocGetRootElement(document.get());
    xmlNode* root = is_document ? top : xmlFirstElementChild(top);
    if (root == nullptr)
        return std::string(xml);
    // Beside other elements a wrapper wraps nothing; it is refused like any element that does not belong here.
    const bool is_wrapped = xmlNextElementSibling(root) == nullptr && root->ns != nullptr &&
                            view(root->ns->href) == netconf_namespace &&
                            (view(root->name) == "config" || view(root->name) == "data");
    std::string text;
    if (!is_wrapped) {
        for (xmlNode* node = is_document ? top : top->children; node != nullptr; node = node->next)
            text += xml_text(document, node);
        return text;
    }
    for (xmlNode* node = root->children; node != nullptr; node = node->next) {
        // A prefix that the wrapper declares has to hold without it too, also where only a value uses it.
        for (const xmlNs* ns = root->nsDef; ns != nullptr && node->type == XML_ELEMENT_NODE; ns = ns->next)
            xmlNewNs(node, ns->href, ns->prefix);
        text += xml_text(document, node);
    }
    return text;
}

std::string listed(const std::vector<std::filesystem::path>& folders)
{
    std::string text;
    for (const std::filesystem::path& folder : folders)
        text += (text.empty() ? "" : ", ") + folder.string();
    return text;
}

// Why a module does not load takes several messages, of which the last only says that it does not.
std::string all_messages(const ly_ctx* context)
{
    std::string text;
    for (const ly_err_item* item = ly_err_first(context); item != nullptr; item = item->next)
        text += (text.empty() ? "" : " ") + std::string(item->msg);
    return text;
}

const lys_module* load(ly_ctx* context, const std::string& name, const char** features,
                       const std::vector<std::filesystem::path>& folders)
{
    const lys_module* module = ly_ctx_load_module(context, name.c_str(), nullptr, features);
    if (module == nullptr)
        throw std::runtime_error(
            fmt::format("cannot load YANG module {} from {}: {}", name, listed(folders), all_messages(context)));
    return module;
}

// Frees what validation has added and what says nothing: default leaves and containers without content.
void keep_explicit(lyd_node*& first)
{
    lyd_node* next = nullptr;
    for (lyd_node* node = first; node != nullptr; node = next) {
        next = node->next;
        if ((node->flags & LYD_DEFAULT) != 0) {
            first = node == first ? next : first;
            lyd_free_tree(node);
        } else if (lyd_node* child = lyd_child(node)) {
            keep_explicit(child);
        }
    }
}

std::string dumped(const DocumentPtr& document, xmlNode* node, bool indented)
{
    const std::unique_ptr<xmlBuffer, BufferDeleter> buffer(xmlBufferCreate());
    if (buffer == nullptr || xmlNodeDump(buffer.get(), document.get(), node, 0, indented ? 1 : 0) < 0)
        throw std::bad_alloc();
    return std::string(view(xmlBufferContent(buffer.get())));
}

} // namespace

void TreeDeleter::operator()(lyd_node* tree) const noexcept
{
    lyd_free_all(tree);
}

void ContextDeleter::operator()(ly_ctx* context) const noexcept
{
    ly_ctx_destroy(context);
}

void DocumentDeleter::operator()(xmlDoc* document) const noexcept
{
    xmlFreeDoc(document);
}

DocumentPtr parse_xml(std::string_view xml)
{
    const std::unique_ptr<xmlParserCtxt, ParserDeleter> parser(xmlNewParserCtxt());
    if (parser == nullptr)
        throw std::bad_alloc();
    DocumentPtr document(
        xmlCtxtReadMemory(parser.get(), xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOCDATA | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (document == nullptr) {
        const xmlError* error = xmlCtxtGetLastError(parser.get());
        throw RpcError("malformed-message", {},
                       fmt::format("not well-formed XML at line {}, column {}: {}", error != nullptr ? error->line : 0,
                                   error != nullptr ? error->int2 : 0,
                                   trimmed(error != nullptr ? error->message : nullptr)));
    }
    if (xmlGetIntSubset(document.get()) != nullptr)
        throw RpcError("malformed-message", {}, "a document type declaration is not allowed");
    return document;
}

std::string xml_text(const DocumentPtr& document, xmlNode* node)
{
    return dumped(document, node, false);
}

std::string indented_xml(std::string_view xml)
{
    const DocumentPtr document = parse_xml(xml);
    return dumped(document, xmlDocGetRootElement(document.get()), true) + '\n';
}

YangSchema::YangSchema(const std::vector<std::filesystem::path>& folders, const std::string& module,
                       const std::vector<std::string>& further)
{
    // Messages are fetched where an error is raised; nothing goes to standard error.
    ly_log_options(LY_LOSTORE);

    ly_ctx* context = nullptr;
    if (ly_ctx_new(nullptr, LY_CTX_DISABLE_SEARCHDIR_CWD, &context) != LY_SUCCESS)
        throw std::runtime_error("cannot make a YANG context");
    context_.reset(context);
    for (const std::filesystem::path& folder : folders) {
        if (!std::filesystem::is_directory(folder))
            continue; // a default place that this machine does not have; what is missed is named below
        const LY_ERR result = ly_ctx_set_searchdir(context, folder.c_str());
        if (result != LY_SUCCESS && result != LY_EEXIST)
            throw std::runtime_error(
                fmt::format("cannot search YANG modules in {}: {}", folder.string(), last_message(context).text));
    }
    load(context, "ietf-netconf", netconf_features, folders);
    for (const std::string& name : further)
        load(context, name, nullptr, folders);
    module_ = load(context, module, nullptr, folders);
    ly_log_options(LY_LOSTORE_LAST);
}

const lysc_node* YangSchema::find(std::string_view path) const
{
    // libyang writes a module's name where the paths of the node table have its prefix.
    const std::string_view prefix = module_->prefix;
    std::string named;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view step = path.substr(0, path.find('/'));
        path.remove_prefix(step.size());
        const bool ours = step.starts_with(prefix) && step.substr(prefix.size()).starts_with(':');
        named += ours ? fmt::format("/{}{}", module_->name, step.substr(prefix.size())) : fmt::format("/{}", step);
    }
    const lysc_node* node = lys_find_path(context_.get(), nullptr, named.c_str(), 0);
    ly_err_clean(context_.get(), nullptr);
    return node;
}

TreePtr YangSchema::parse_configuration(std::string_view xml) const
{
    if (xml.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return nullptr;
    const std::string roots = roots_text(xml);
    lyd_node* tree = nullptr;
    const LY_ERR result =
        lyd_parse_data_mem(context_.get(), roots.c_str(), LYD_XML, LYD_PARSE_STRICT | LYD_PARSE_NO_STATE,
                           LYD_VALIDATE_NO_STATE | LYD_VALIDATE_PRESENT, &tree);
    TreePtr owner(tree);
    if (result != LY_SUCCESS) {
        LibyangMessage message = last_message(context_.get());
        throw RpcError("invalid-value", std::move(message.path), message.text, std::move(message.app_tag));
    }
    lyd_node* first = owner.release();
    keep_explicit(first);
    return TreePtr(first);
}

std::string tree_text(const lyd_node* first)
{
    if (first == nullptr)
        return {};
    char* text = nullptr;
    if (lyd_print_mem(&text, first, LYD_XML, LYD_PRINT_WITHSIBLINGS) != LY_SUCCESS)
        throw std::runtime_error("a configuration cannot be printed");
    const std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
    return text;
}

std::string schema_path(const lysc_node* node)
{
    std::string path;
    for (; node != nullptr; node = lysc_data_parent(node))
        path.insert(0, fmt::format("/{}:{}", node->module->prefix, node->name));
    return path;
}

std::string_view schema_name(const lysc_node* node)
{
    return node->name;
}

const char* node_name(const lyd_node* node)
{
    return node->schema != nullptr ? node->schema->name : reinterpret_cast<const lyd_node_opaq*>(node)->name.name;
}

std::string_view node_namespace(const lyd_node* node)
{
    if (node->schema != nullptr)
        return node->schema->module->ns;
    const char* space = reinterpret_cast<const lyd_node_opaq*>(node)->name.module_ns;
    return space != nullptr ? space : "";
}

std::string data_path(const lyd_node* node)
{
    const std::unique_ptr<char, decltype(&std::free)> text(lyd_path(node, LYD_PATH_STD, nullptr, 0), std::free);
    return text != nullptr ? text.get() : std::string();
}

std::string instance_path(const lyd_node* node)
{
    return with_prefixes(LYD_CTX(node), data_path(node));
}

} // namespace qnips
