#include "netconf/reply_message.h"

#include <string_view>

#include <libxml/tree.h>
#include <libyang/libyang.h>
#include <nc_server.h>

#include "netconf/default_tags.h"
#include "netconf/error_text.h"
#include "server/libyang_memory.h"

namespace qnips
{

namespace
{

TreePtr error_tree(const ly_ctx* context, const ReplyError& error)
{
    lyd_node* tree = nullptr;
    const std::string text = rpc_error_text(context, error);
    lyd_parse_data_mem(context, text.c_str(), LYD_XML, LYD_PARSE_ONLY | LYD_PARSE_OPAQ, 0, &tree);
    return TreePtr(tree);
}

nc_server_reply* error_message(const ly_ctx* context, const std::vector<ReplyError>& errors)
{
    nc_server_reply* message = nullptr;
    for (const ReplyError& error : errors) {
        TreePtr tree = error_tree(context, error);
        if (tree == nullptr)
            continue;
        if (message == nullptr)
            message = nc_server_reply_err(tree.release());
        else if (nc_server_reply_add_err(message, tree.get()) == 0)
            static_cast<void>(tree.release()); // the message's now
    }
    return message;
}

std::string tagged_text(const lyd_node* tree)
{
    char* text = nullptr;
    if (tree == nullptr ||
        lyd_print_mem(&text, tree, LYD_XML, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK | LYD_PRINT_WD_ALL_TAG) !=
            LY_SUCCESS)
        return {};
    const TextPtr owned(text);
    const DocumentPtr document = parse_xml("<roots>" + std::string(text) + "</roots>");
    xmlNode* roots = xmlDocGetRootElement(document.get());
    correct_tags(roots->children);
    std::string result;
    for (xmlNode* node = roots->children; node != nullptr; node = node->next)
        result += xml_text(document, node);
    return result;
}

NC_WD_MODE library_mode(DefaultsMode mode)
{
    switch (mode) {
    case DefaultsMode::trim:
        return NC_WD_TRIM;
    case DefaultsMode::report_all:
        return NC_WD_ALL;
    case DefaultsMode::report_all_tagged:
    case DefaultsMode::report_explicit:
        break;
    }
    return NC_WD_EXPLICIT;
}

// The <data> of the reply, linked below `output`.
LY_ERR add_data(lyd_node* output, ReplyData& data)
{
    const auto text = [&](const std::string& value, LYD_ANYDATA_VALUETYPE type) {
        return lyd_new_any(output, nullptr, "data", value.c_str(), 0, type, 1, nullptr);
    };
    if (data.text)
        return text(*data.text, LYD_ANYDATA_STRING);
    if (data.defaults == DefaultsMode::report_all_tagged)
        return text(tagged_text(data.tree.get()), LYD_ANYDATA_XML);
    if (data.tree == nullptr)
        return text("", LYD_ANYDATA_XML);
    const LY_ERR result = lyd_new_any(output, nullptr, "data", data.tree.get(), 1, LYD_ANYDATA_DATATREE, 1, nullptr);
    if (result == LY_SUCCESS)
        static_cast<void>(data.tree.release()); // the output's now
    return result;
}

nc_server_reply* data_message(const lyd_node* rpc, ReplyData data)
{
    lyd_node* output = nullptr;
    if (lyd_dup_single(rpc, nullptr, 0, &output) != LY_SUCCESS)
        return nullptr;
    TreePtr owned(output);
    const NC_WD_MODE mode = library_mode(data.defaults);
    if (add_data(output, data) != LY_SUCCESS)
        return nullptr;
    return nc_server_reply_data(owned.release(), mode, NC_PARAMTYPE_FREE);
}

} // namespace

nc_server_reply* reply_message(lyd_node* rpc, Reply reply)
{
    if (!reply.errors.empty())
        return error_message(LYD_CTX(rpc), reply.errors);
    return reply.data ? data_message(rpc, std::move(*reply.data)) : nc_server_reply_ok();
}

} // namespace qnips
