// The YANG schema and everything that is read or printed by it. libyang's types appear in headers only as names.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <libxml/tree.h>

struct ly_ctx;
struct lyd_node;
struct lys_module;
struct lysc_node;

namespace qnips
{

struct TreeDeleter {
    void operator()(lyd_node* tree) const noexcept; // with all siblings
};
using TreePtr = std::unique_ptr<lyd_node, TreeDeleter>;

struct ContextDeleter {
    void operator()(ly_ctx* context) const noexcept;
};

struct DocumentDeleter {
    void operator()(xmlDoc* document) const noexcept;
};
using DocumentPtr = std::unique_ptr<xmlDoc, DocumentDeleter>;

// A document from XML text of any encoding. Throws RpcError "malformed-message" that names line and column of what is
// no XML, and for a document type declaration, which must not appear (RFC 6241, 3).
DocumentPtr parse_xml(std::string_view xml);

// The text of a node with all below it, in UTF-8 and without an XML declaration.
std::string xml_text(const DocumentPtr& document, xmlNode* node);

// XML text with a line and an indentation for each element. Throws RpcError for what is no XML.
std::string indented_xml(std::string_view xml);

// The module whose configuration the host manages.
inline constexpr const char* default_yang_module = "quorin-intrusion-prevention";

class YangSchema
{
public:
    // Loads `module`, ietf-netconf and the `further` ones from `folders` (searched in order, sub-folders not included).
    // Throws std::runtime_error that names the module and the folders when one cannot be loaded.
    explicit YangSchema(const std::vector<std::filesystem::path>& folders,
                        const std::string& module = default_yang_module, const std::vector<std::string>& further = {});

    [[nodiscard]] ly_ctx* context() const { return context_.get(); }
    [[nodiscard]] const lys_module* module() const { return module_; }

    // The node at an absolute schema path whose steps carry the module's prefix ("/qn-ips:ips-config/..."); null if
    // none.
    [[nodiscard]] const lysc_node* find(std::string_view path) const;

    // A whole configuration from XML text: its roots, or a <config> or <data> of NETCONF around them. Checked against
    // the schema, explicit nodes only, no containers that hold nothing and mean nothing (RFC 7950, 7.5.1). Null for an
    // empty one. Throws RpcError.
    [[nodiscard]] TreePtr parse_configuration(std::string_view xml) const;

private:
    std::unique_ptr<ly_ctx, ContextDeleter> context_;
    const lys_module* module_ = nullptr;
};

// The XML text of a tree with its siblings, indented; empty for none. Throws std::runtime_error when libyang fails.
std::string tree_text(const lyd_node* first);

// The schema path of a node with the module's prefix on each step, as the node table writes it.
std::string schema_path(const lysc_node* node);

// The node's name without a prefix.
std::string_view schema_name(const lysc_node* node);

// The node's name in the data, also where the schema does not know it.
const char* node_name(const lyd_node* node);

// Its namespace, likewise; empty when it has none.
std::string_view node_namespace(const lyd_node* node);

// The path of a node in libyang's writing, by which it finds the node again. The node must be linked.
std::string data_path(const lyd_node* node);

// The instance path of a node, as an error-path shows it. The node must be linked.
std::string instance_path(const lyd_node* node);

} // namespace qnips
