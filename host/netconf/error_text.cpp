#include "netconf/error_text.h"

#include <cstdint>
#include <string_view>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "netconf/xml_text.h"

namespace qnips
{

namespace
{

constexpr std::string_view netconf_namespace = "urn:ietf:params:xml:ns:netconf:base:1.0";

std::string element(std::string_view name, std::string_view text)
{
    return fmt::format("<{0}>{1}</{0}>", name, xml_escaped(text));
}

// The layer at which the error occurred: that of the message, of the request's own parameters and the protocol's
// rules, or of the data.
std::string_view error_type(const ReplyError& reply)
{
    const RpcError& error = reply.error;
    if (!reply.layer.empty())
        return reply.layer;
    if (error.tag() == "malformed-message")
        return "rpc";
    const bool is_protocol = error.tag() == "lock-denied" || error.path().starts_with("/nc:") ||
                             error.path().starts_with("/ncm:") || error.path().starts_with("/ncEvent:");
    return is_protocol ? "protocol" : "application";
}

// Declarations of all prefixes that the steps of a path use.
std::string declarations(const ly_ctx* context, std::string_view path)
{
    std::string text;
    std::uint32_t index = 0;
    while (const lys_module* module = ly_ctx_get_module_iter(context, &index))
        if (module->implemented && path.find(fmt::format("/{}:", module->prefix)) != std::string_view::npos)
            text += fmt::format(" xmlns:{}=\"{}\"", module->prefix, xml_escaped(module->ns));
    return text;
}

// An instance path in XML has the prefix on every name (RFC 7950, 9.13.2), where libyang writes it on the first of a
// module only.
std::string with_every_prefix(std::string_view path)
{
    std::string result;
    std::string prefix;
    char quote = '\0'; // inside a key's value everything is text
    for (std::size_t i = 0; i < path.size(); ++i) {
        const char c = path[i];
        result += c;
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '/' || c == '[') {
            const std::size_t end = path.find_first_of(":/[]=", i + 1);
            const bool is_prefixed = end != std::string_view::npos && path[end] == ':';
            const bool is_name = i + 1 < path.size() && path[i + 1] != '.' && (path[i + 1] < '0' || path[i + 1] > '9');
            if (is_prefixed)
                prefix = path.substr(i + 1, end - i);
            else if (is_name)
                result += prefix;
        }
    }
    return result;
}

// The name of the last step of an instance path, without its prefix and keys.
std::string_view last_name(std::string_view path)
{
    std::size_t begin = 0;
    std::size_t end = path.size();
    char quote = '\0'; // inside a key's value everything is text
    for (std::size_t i = 0; i < path.size(); ++i) {
        const char c = path[i];
        if (quote != '\0')
            quote = c == quote ? '\0' : quote;
        else if (c == '"' || c == '\'')
            quote = c;
        else if (c == '/' || c == ':')
            begin = i + 1;
        if (quote == '\0' && c == '/')
            end = path.size();
        else if (quote == '\0' && c == '[' && end == path.size())
            end = i;
    }
    return path.substr(begin, end - begin);
}

bool names_attribute(std::string_view tag)
{
    return tag.ends_with("-attribute");
}

bool names_element(std::string_view tag)
{
    return names_attribute(tag) || tag == "missing-element" || tag == "bad-element" || tag == "unknown-element" ||
           tag == "unknown-namespace";
}

// What the tag demands to be named (RFC 6241, appendix A).
std::string culprit_text(const RpcError& error)
{
    std::string text;
    if (names_attribute(error.tag()) && !error.culprit().empty())
        text += element("bad-attribute", error.culprit());
    if (names_element(error.tag()) && !error.path().empty())
        text += element("bad-element", last_name(error.path()));
    if (error.tag() == "unknown-namespace" && !error.culprit().empty())
        text += element("bad-namespace", error.culprit());
    return text;
}

std::string platform_text(const PlatformError& error)
{
    std::string text = fmt::format("<platform-error xmlns=\"{}\">", platform_error_namespace);
    text += element("code", std::to_string(error.code)) + element("message", error.message);
    if (error.line) {
        text += element("command", error.line->text) + element("view", error.line->view);
        if (error.line->view_type)
            text += element("view-type", *error.line->view_type);
        if (error.line->vsys)
            text += element("vsys", *error.line->vsys);
    }
    return text + "</platform-error>";
}

std::string error_info(const ReplyError& reply)
{
    const RpcError& error = reply.error;
    std::string text;
    if (error.lock_holder())
        text += element("session-id", std::to_string(*error.lock_holder()));
    for (const auto& [name, value] : reply.info)
        text += element(name, value);
    if (reply.info.empty())
        text += culprit_text(error);
    if (reply.platform)
        text += platform_text(*reply.platform);
    return text.empty() ? text : "<error-info>" + text + "</error-info>";
}

} // namespace

std::string rpc_error_text(const ly_ctx* context, const ReplyError& reply)
{
    const RpcError& error = reply.error;
    const bool is_warning = reply.severity == ReplyError::Severity::warning;
    std::string text = fmt::format("<rpc-error xmlns=\"{}\">", netconf_namespace);
    text += element("error-type", error_type(reply)) + element("error-tag", error.tag()) +
            element("error-severity", is_warning ? "warning" : "error");
    if (!error.app_tag().empty())
        text += element("error-app-tag", error.app_tag());
    if (!error.path().empty())
        text += fmt::format("<error-path{}>{}</error-path>", declarations(context, error.path()),
                            xml_escaped(with_every_prefix(error.path())));
    text += fmt::format("<error-message xml:lang=\"en\">{}</error-message>", xml_escaped(error.what()));
    return text + error_info(reply) + "</rpc-error>";
}

} // namespace qnips
