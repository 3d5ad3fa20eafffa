#include "server/platform_query.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "transapi/first_signature_set.h"
#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

// Whether a payload's terminator counts as part of it: a configuration and a name are texts to be copied, a state is a
// document to be parsed, and no parser takes a zero byte.
enum class Terminator { counted, beyond };

msg_to_dp_t* make_reply(const msg_dp_zell_head_t& header, std::string_view payload, Terminator terminator)
{
    void* memory = std::calloc(1, sizeof(msg_to_dp_t) + payload.size() + 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    auto* reply = static_cast<msg_to_dp_t*>(memory);
    reply->header = header;
    reply->msg_length = static_cast<std::uint32_t>(payload.size());
    if (!payload.empty() && terminator == Terminator::counted)
        ++reply->msg_length;
    payload.copy(reply->data, payload.size());
    return reply;
}

template <std::size_t size>
std::string_view text_of(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

PlatformAnswer ask(CommandPlatform& platform, const msg_dp_zell_head_t& header, const void* extra)
{
    switch (header.msg_type) {
    case API_DP2ZELL_GET_CONFIG:
        return platform.configuration();
    case API_DP2ZELL_NC_STATE:
        return platform.state();
    case API_DP2ZELL_ANONYM_MSG:
        if (extra != nullptr && header.msg_check == sizeof(IPS_ApiAnonym_ST)) {
            IPS_ApiAnonym_ST query;
            std::memcpy(&query, extra, sizeof query);
            if (query.uiMsgTtype == IPS_GET_FIRST_SIGSET_NAME)
                return platform.first_signature_set(text_of(query.acVsysName), text_of(query.acProfileName));
        }
        break;
    default:
        break;
    }
    return PlatformAnswer::failure({NC_ERR_OP_NOT_SUPPORTED,
                                    "The command platform does not answer messages of type " +
                                        std::to_string(header.msg_type) + " with this payload.",
                                    std::nullopt});
}

} // namespace

std::optional<PlatformError> answer_query(CommandPlatform& platform, const msg_dp_zell_head_t& header,
                                          const void* extra, msg_to_dp_t*& reply)
{
    const PlatformAnswer answer = ask(platform, header, extra);
    if (answer.is_failure())
        return answer.error();
    const bool is_document = header.msg_type == API_DP2ZELL_NC_STATE;
    reply = make_reply(header, answer.is_text() ? std::string_view(answer.text()) : std::string_view(),
                       is_document ? Terminator::beyond : Terminator::counted);
    return std::nullopt;
}

} // namespace qnips
