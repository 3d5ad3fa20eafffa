// Errors as a client reads them (RFC 6241, 4.3 and appendix A).
#include "netconf/error_text.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "netconf_fixture.h"

namespace qnips::test
{
namespace
{

// Without the element around it.
std::string text_of(const ReplyError& error)
{
    const std::string text = rpc_error_text(netconf_world().schema.context(), error);
    const std::string open = "<rpc-error xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\">";
    const std::string close = "</rpc-error>";
    EXPECT_TRUE(text.starts_with(open) && text.ends_with(close)) << text;
    return text.substr(open.size(), text.size() - open.size() - close.size());
}

std::string head(const std::string& type, const std::string& tag)
{
    return "<error-type>" + type + "</error-type><error-tag>" + tag +
           "</error-tag><error-severity>error</error-severity>";
}

std::string message(const std::string& text)
{
    return "<error-message xml:lang=\"en\">" + text + "</error-message>";
}

TEST(ErrorText, HasWhatTheErrorHas)
{
    struct Case {
        RpcError error;
        std::string text;
    };
    const std::string declared =
        "<error-path xmlns:qn-ips=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\">";
    const std::string request = "<error-path xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\">";
    const std::vector<Case> cases = {
        {RpcError("in-use", {}, "a & b"), head("application", "in-use") + message("a &amp; b")},
        {RpcError("malformed-message", {}, "m"), head("rpc", "malformed-message") + message("m")},
        {RpcError("lock-denied", {}, "m", {}, 7),
         head("protocol", "lock-denied") + message("m") + "<error-info><session-id>7</session-id></error-info>"},
        {RpcError("operation-failed", "/qn-ips:ips-config/x[name='a/b:c']", "m", "must-violation"),
         head("application", "operation-failed") + "<error-app-tag>must-violation</error-app-tag>" + declared +
             "/qn-ips:ips-config/qn-ips:x[qn-ips:name='a/b:c']</error-path>" + message("m")},
        {RpcError("missing-element", "/nc:edit-config/target", "m"),
         head("protocol", "missing-element") + request + "/nc:edit-config/nc:target</error-path>" + message("m") +
             "<error-info><bad-element>target</bad-element></error-info>"},
        {RpcError("unknown-element", "/qn-ips:ips-config/list[name='a/b']/none", "m"),
         head("application", "unknown-element") + declared +
             "/qn-ips:ips-config/qn-ips:list[qn-ips:name='a/b']/qn-ips:none</error-path>" + message("m") +
             "<error-info><bad-element>none</bad-element></error-info>"},
        {RpcError("bad-element", "/qn-ips:ips-config/list[name=\"a'/b\"]", "m"),
         head("application", "bad-element") + declared +
             "/qn-ips:ips-config/qn-ips:list[qn-ips:name=&quot;a'/b&quot;]</error-path>" + message("m") +
             "<error-info><bad-element>list</bad-element></error-info>"},
        {RpcError("unknown-namespace", "/qn-ips:ips-config/none", "m").naming("urn:a&b"),
         head("application", "unknown-namespace") + declared + "/qn-ips:ips-config/qn-ips:none</error-path>" +
             message("m") +
             "<error-info><bad-element>none</bad-element><bad-namespace>urn:a&amp;b</bad-namespace></error-info>"},
        {RpcError("bad-attribute", "/qn-ips:ips-config/none", "m").naming("key"),
         head("application", "bad-attribute") + declared + "/qn-ips:ips-config/qn-ips:none</error-path>" +
             message("m") +
             "<error-info><bad-attribute>key</bad-attribute><bad-element>none</bad-element></error-info>"},
    };
    for (const Case& one : cases)
        EXPECT_EQ(text_of({one.error}), one.text);
}

TEST(ErrorText, TellsWarningsFromErrors)
{
    const std::string text = text_of({RpcError("operation-failed", {}, "m"), ReplyError::Severity::warning, {}});
    EXPECT_NE(text.find("<error-severity>warning</error-severity>"), std::string::npos) << text;
}

TEST(ErrorText, TellsWhatTheDeviceRefused)
{
    const PlatformError refusal{22, "Unrecognized", CommandLine{"branch", "ips-profile", "web", "undo \"x\""}};
    const std::string text = text_of({RpcError("operation-failed", {}, "m"), ReplyError::Severity::error, refusal});
    EXPECT_NE(text.find("<error-info><platform-error xmlns=\"urn:quorin:params:xml:ns:netconf:platform-error:1.0\">"
                        "<code>22</code><message>Unrecognized</message><command>undo &quot;x&quot;</command>"
                        "<view>ips-profile</view><view-type>web</view-type><vsys>branch</vsys></platform-error>"
                        "</error-info>"),
              std::string::npos)
        << text;
}

TEST(ErrorText, CarriesNoControlCharacters)
{
    EXPECT_NE(text_of({RpcError("operation-failed", {}, "a\x01z\n")}).find(message("a?z\n")), std::string::npos);
}

} // namespace
} // namespace qnips::test
