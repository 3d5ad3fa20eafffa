#include "server/libyang_error.h"

#include <new>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/yang_schema.h"

namespace qnips
{

namespace
{

// libyang writes: Data location "/a:b/c", line number 3. Or the same with "Schema location".
std::string_view located(std::string_view location, std::string_view intro)
{
    const std::size_t start = location.find(intro);
    if (start == std::string_view::npos)
        return {};
    location.remove_prefix(start + intro.size());
    // Keys may hold quotes of either kind: the closing one is the last before what can follow it.
    std::size_t end = location.rfind("\", ");
    if (end == std::string_view::npos)
        end = location.rfind('"');
    return location.substr(0, end);
}

} // namespace

LibyangMessage last_message(const ly_ctx* context)
{
    const ly_err_item* last = ly_err_last(context);
    if (last == nullptr)
        return {"unknown error", {}, {}, {}};
    LibyangMessage message;
    if (last->msg != nullptr)
        message.text = last->msg;
    if (last->path != nullptr) {
        message.path = with_prefixes(context, located(last->path, "Data location \""));
        message.schema_path = located(last->path, "Schema location \"");
    }
    if (last->apptag != nullptr)
        message.app_tag = last->apptag;
    return message;
}

void check(int result, const lyd_node* node, std::string_view attempt)
{
    if (result == LY_SUCCESS)
        return;
    if (node == nullptr)
        throw std::bad_alloc();
    throw RpcError("operation-failed", {},
                   fmt::format("cannot {} {}: {}", attempt, node_name(node), last_message(LYD_CTX(node)).text));
}

void change_value(lyd_node* leaf, const char* canonical)
{
    const LY_ERR result = lyd_change_term_canon(leaf, canonical);
    if (result != LY_EEXIST && result != LY_ENOT)
        check(result, leaf, "change");
}

std::string with_prefixes(const ly_ctx* context, std::string_view path)
{
    std::string result;
    char quote = 0; // inside a key's value everything is text
    std::size_t step = 0;
    for (const char c : path) {
        result += c;
        if (quote != 0) {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '/' || c == '[') {
            step = result.size();
        } else if (c == ':') {
            const std::string name = result.substr(step, result.size() - step - 1);
            if (const lys_module* module = ly_ctx_get_module_implemented(context, name.c_str()))
                result.replace(step, name.size(), module->prefix);
        }
    }
    return result;
}

} // namespace qnips
