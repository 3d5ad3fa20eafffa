// The server contract's services with C linkage. Each hands on to the session whose callback is running; no exception
// leaves them.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "server/callback_session.h"
#include "transapi/transapi.h"

namespace
{

using qnips::CallbackSession;
using qnips::CommandLine;

constexpr unsigned no_such_node = static_cast<unsigned>(XMLDIFF_ERR);

std::optional<std::string> optional_text(const char* text)
{
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

// The session behind a callback's context: what CallbackSession::call passed as `data`.
const CallbackSession* session_of(void** data)
{
    return data == nullptr ? nullptr : static_cast<const CallbackSession*>(*data);
}

// Runs a service for the current session. Without one, or when the service throws (memory runs out), the result is
// `failure`.
template <class Result, class Service>
Result serve(Result failure, Service&& service) noexcept
{
    CallbackSession* session = CallbackSession::current();
    if (session == nullptr)
        return failure;
    try {
        return service(*session);
    } catch (const std::exception&) {
        return failure;
    }
}

const char* element_text(const xmlNode* element)
{
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_TEXT_NODE)
            return reinterpret_cast<const char*>(child->content);
    }
    return nullptr;
}

} // namespace

extern "C" {

const char* g_product_name_for_dp = nullptr;

int transapi_comm_with_zell(msg_dp_zell_head_t header, unsigned operation, msg_to_dp_t** reply, struct nc_err** error,
                            void* extra)
{
    if (reply != nullptr)
        *reply = nullptr;
    return serve(1, [&](CallbackSession& session) {
        if (header.msg_type == API_DP2ZELL_CMD_CONFIG)
            return session.commit(operation, error);
        if (reply == nullptr)
            return session.fail(error, NC_ERR_OP_FAILED, "A question to the command platform has no room for a reply.");
        return session.query(header, extra, *reply, error);
    });
}

unsigned api_script_cache_lines(char* vsys, char* view, char* view_type, char* line)
{
    return serve(1U, [&](CallbackSession& session) {
        session.cache(CommandLine{optional_text(vsys), view, optional_text(view_type), line});
        return 0U;
    });
}

int fail_nc_err(struct nc_err** error, char* message, char* second, int kind, NC_ERR code)
{
    static_cast<void>(second);
    static_cast<void>(kind);
    const std::unique_ptr<char, decltype(&std::free)> owned(message, std::free);
    return serve(
        1, [&](CallbackSession& session) { return session.fail(error, code, message == nullptr ? "" : message); });
}

const char* get_node_content(const xmlNode* node)
{
    return node == nullptr ? nullptr : element_text(node);
}

XMLDIFF_OP transapi_transform_op(XMLDIFF_OP op)
{
    return op; // the edit engine's operations need no normalising
}

XMLDIFF_OP priority_transapi_find_parent_op_by_xmldiff(void** data, int level)
{
    const CallbackSession* session = session_of(data);
    return static_cast<XMLDIFF_OP>(session == nullptr ? 0U : session->ancestor_op(level));
}

XMLDIFF_OP priority_transapi_find_parent_children_op_by_xmldiff(void** data, int level, char* name)
{
    const CallbackSession* session = session_of(data);
    return static_cast<XMLDIFF_OP>(session == nullptr ? no_such_node : session->child_op(level, name));
}

// The siblings of the changed node are the children of its parent, one level up.
XMLDIFF_OP priority_transapi_find_bro_op_by_xmldiff(void** data, int level, char* name)
{
    return priority_transapi_find_parent_children_op_by_xmldiff(data, level, name);
}

char* priority_transapi_find_parent_key_node_content(int level, xmlNodePtr node, char* name)
{
    for (; level > 0 && node != nullptr; --level)
        node = node->parent;
    if (node == nullptr || node->type != XML_ELEMENT_NODE)
        return nullptr;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(child->name), name) == 0)
            return const_cast<char*>(element_text(child));
    }
    return nullptr;
}

unsigned long long SOS_Free(void** slot, char* file, unsigned long long line)
{
    static_cast<void>(file);
    static_cast<void>(line);
    if (slot != nullptr) {
        std::free(*slot);
        *slot = nullptr;
    }
    return 0;
}
}
