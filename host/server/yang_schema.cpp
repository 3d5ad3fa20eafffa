#include "server/yang_schema.h"

#include <cstdlib>
#include <stdexcept>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"

namespace qnips
{

namespace
{

// The part of ietf-netconf that the host offers: it has running, candidate and startup, checks before it applies, and
// rolls back when an edit fails (RFC 6241, 8.2 to 8.7).
const char* netconf_features[] = {"writable-running", "candidate", "rollback-on-error", "validate", "startup", nullptr};

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

} // namespace

void TreeDeleter::operator()(lyd_node* tree) const noexcept
{
    lyd_free_all(tree);
}

void ContextDeleter::operator()(ly_ctx* context) const noexcept
{
    ly_ctx_destroy(context);
}

YangSchema::YangSchema(const std::vector<std::filesystem::path>& folders, const std::string& module)
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
    lyd_node* tree = nullptr;
    const LY_ERR result =
        lyd_parse_data_mem(context_.get(), std::string(xml).c_str(), LYD_XML, LYD_PARSE_STRICT | LYD_PARSE_NO_STATE,
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

std::string instance_path(const lyd_node* node)
{
    char* text = lyd_path(node, LYD_PATH_STD, nullptr, 0);
    if (text == nullptr)
        return {};
    std::string path = with_prefixes(LYD_CTX(node), text);
    std::free(text);
    return path;
}

} // namespace qnips
