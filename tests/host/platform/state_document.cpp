#include "state_document.h"

#include <cstdint>
#include <stdexcept>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

constexpr const char* root_path = "/quorin-intrusion-prevention:ips-state";

struct ContextDeleter {
    void operator()(ly_ctx* context) const noexcept { ly_ctx_destroy(context); }
};

struct SetDeleter {
    void operator()(ly_set* set) const noexcept { ly_set_free(set, nullptr); }
};

const ly_ctx* yang_context()
{
    static const std::unique_ptr<ly_ctx, ContextDeleter> context = [] {
        ly_log_options(LY_LOSTORE_LAST);
        ly_ctx* raw = nullptr;
        if (ly_ctx_new(QN_IPS_YANG_DIR, 0, &raw) != LY_SUCCESS)
            throw std::runtime_error("no libyang context");
        std::unique_ptr<ly_ctx, ContextDeleter> owner(raw);
        if (ly_ctx_load_module(raw, "quorin-intrusion-prevention", nullptr, nullptr) == nullptr)
            throw std::runtime_error(ly_errmsg(raw));
        return owner;
    }();
    return context.get();
}

std::string path_of(const lysc_node* node)
{
    return node->parent == nullptr ? node->name : path_of(node->parent) + "/" + node->name;
}

void add_paths(const lysc_node* node, std::set<std::string>& paths)
{
    paths.insert(path_of(node));
    for (const lysc_node* child = lysc_node_child(node); child != nullptr; child = child->next)
        add_paths(child, paths);
}

// Not what libyang has put there itself: containers without presence, and defaults.
void add_paths(const lyd_node* first, std::set<std::string>& paths)
{
    for (const lyd_node* node = first; node != nullptr; node = node->next) {
        if ((node->flags & LYD_DEFAULT) != 0)
            continue;
        paths.insert(path_of(node->schema));
        add_paths(lyd_child(node), paths);
    }
}

} // namespace

void StateDocument::TreeDeleter::operator()(lyd_node* tree) const noexcept
{
    lyd_free_all(tree);
}

StateDocument::StateDocument(const std::string& xml)
{
    lyd_node* tree = nullptr;
    const LY_ERR result =
        lyd_parse_data_mem(yang_context(), xml.c_str(), LYD_XML, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT, &tree);
    tree_.reset(tree);
    if (result != LY_SUCCESS)
        throw std::runtime_error(ly_errmsg(yang_context()));
}

std::vector<std::string> StateDocument::values(const std::string& xpath) const
{
    ly_set* raw = nullptr;
    const std::string path = std::string(root_path) + "/" + xpath;
    if (lyd_find_xpath(tree_.get(), path.c_str(), &raw) != LY_SUCCESS)
        throw std::runtime_error(ly_errmsg(yang_context()));
    const std::unique_ptr<ly_set, SetDeleter> found(raw);

    std::vector<std::string> texts;
    for (std::uint32_t index = 0; index < found->count; index++) {
        const char* text = lyd_get_value(found->dnodes[index]);
        texts.emplace_back(text == nullptr ? "" : text);
    }
    return texts;
}

std::string StateDocument::value(const std::string& xpath) const
{
    const std::vector<std::string> found = values(xpath);
    return found.size() == 1 ? found.front() : std::to_string(found.size()) + " nodes";
}

std::set<std::string> StateDocument::schema_paths() const
{
    std::set<std::string> paths;
    add_paths(tree_.get(), paths);
    return paths;
}

std::set<std::string> StateDocument::schema_paths_of_module()
{
    std::set<std::string> paths;
    add_paths(lys_find_path(yang_context(), nullptr, root_path, 0), paths);
    return paths;
}

} // namespace qnips
