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

const lysc_type* type_of(const lysc_node* node)
{
    const lysc_type* type = nullptr;
    if (node != nullptr && node->nodetype == LYS_LEAF)
        type = reinterpret_cast<const lysc_node_leaf*>(node)->type;
    else if (node != nullptr && node->nodetype == LYS_LEAFLIST)
        type = reinterpret_cast<const lysc_node_leaflist*>(node)->type;
    if (type != nullptr && type->basetype == LY_TYPE_LEAFREF)
        type = reinterpret_cast<const lysc_type_leafref*>(type)->realtype;
    return type;
}

bool is_signed(LY_DATA_TYPE type)
{
    return type == LY_TYPE_INT8 || type == LY_TYPE_INT16 || type == LY_TYPE_INT32 || type == LY_TYPE_INT64;
}

bool is_unsigned(LY_DATA_TYPE type)
{
    return type == LY_TYPE_UINT8 || type == LY_TYPE_UINT16 || type == LY_TYPE_UINT32 || type == LY_TYPE_UINT64;
}

// As YANG writes it: "1..10 | 20". Empty without one.
std::string range_text(const lysc_range* range, bool with_sign)
{
    std::string text;
    for (LY_ARRAY_COUNT_TYPE i = 0; range != nullptr && i < LY_ARRAY_COUNT(range->parts); ++i) {
        const auto& part = range->parts[i];
        const std::string low = with_sign ? fmt::to_string(part.min_64) : fmt::to_string(part.min_u64);
        const std::string high = with_sign ? fmt::to_string(part.max_64) : fmt::to_string(part.max_u64);
        text += (text.empty() ? "" : " | ") + (low == high ? low : fmt::format("{}..{}", low, high));
    }
    return text;
}

std::string enum_words(const lysc_type* type)
{
    const auto* enumeration = reinterpret_cast<const lysc_type_enum*>(type);
    std::string text;
    for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(enumeration->enums); ++i)
        text += fmt::format("{}{}", text.empty() ? "" : ", ", enumeration->enums[i].name);
    return text;
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

std::string with_allowed(std::string text, const lysc_node* node)
{
    const lysc_type* type = type_of(node);
    if (type == nullptr)
        return text;
    if (type->basetype == LY_TYPE_STRING && text.starts_with("Unsatisfied length"))
        // Instead of libyang's text, which repeats the value: that may be long.
        return fmt::format("The length is not allowed. Allowed: {} characters.",
                           range_text(reinterpret_cast<const lysc_type_str*>(type)->length, false));

    std::string allowed;
    if (type->basetype == LY_TYPE_ENUM && text.starts_with("Invalid enumeration value"))
        allowed = enum_words(type);
    else if (type->basetype == LY_TYPE_BOOL && text.starts_with("Invalid boolean value"))
        allowed = "true, false";
    else if ((is_signed(type->basetype) || is_unsigned(type->basetype)) &&
             (text.starts_with("Unsatisfied range") || text.ends_with("min/max bounds.")))
        allowed = range_text(reinterpret_cast<const lysc_type_num*>(type)->range, is_signed(type->basetype));
    return allowed.empty() ? text : fmt::format("{} Allowed: {}.", text, allowed);
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
