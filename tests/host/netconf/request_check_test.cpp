// Requests that are refused before the NETCONF library sees them, by what is wrong with them.

#include "netconf/request_check.h"

#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "netconf/error_text.h"
#include "netconf_fixture.h"

namespace qnips::test
{
namespace
{

using testing::AllOf;
using testing::HasSubstr;

const std::string base = "urn:ietf:params:xml:ns:netconf:base:1.0";

std::string request(const std::string& operation)
{
    return fmt::format(R"(<rpc xmlns="{}" message-id="5">{}</rpc>)", base, operation);
}

std::optional<CheckedRequest> checked(const std::string& text, Framing framing = Framing::chunked)
{
    return check_request(netconf_world().schema.context(), {text, false}, framing);
}

// Type, tag and what the error-info says, of the only error; "" for none.
std::string refusal_of(const std::string& text)
{
    const auto result = checked(text);
    if (!result || result->errors.size() != 1)
        return result && result->errors.empty() ? "" : "?";
    const ReplyError& error = result->errors.front();
    std::string said = fmt::format("{} {}", error.layer, error.error.tag());
    for (const auto& [name, value] : error.info)
        said += fmt::format(" {}={}", name, value);
    return said;
}

struct Case {
    std::string request;
    std::string refusal;
};

TEST(RequestCheck, LetsThroughWhatIsARequest)
{
    const std::vector<std::string> requests = {
        request("<get/>"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- a comment -->" + request("<get/>"),
        fmt::format(R"(<nc:rpc xmlns:nc="{}" nc:x="1" message-id="5"><nc:get/></nc:rpc>)", base),
        request(get_config("running", subtree("<a xmlns=\"urn:any\" operation=\"x\"/>"))),
        request(get_config("running", "<with-defaults xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\">"
                                      "trim</with-defaults>")),
        request(edit("running", config_with(profile("a")), "<default-operation>merge</default-operation>")),
        request(edit("running",
                     fmt::format(R"(<any xmlns="urn:a" xmlns:n="{}" n:operation="delete" xml:lang="en"/>)", base))),
        request("<edit-config><target><running/></target><config xmlns:y=\"urn:ietf:params:xml:ns:yang:1\">"
                "<a y:insert=\"after\" y:key=\"[x='1']\"/></config></edit-config>")};
    for (const std::string& text : requests) {
        EXPECT_EQ(refusal_of(text), "") << text;
        EXPECT_EQ(checked(text)->text, text);
    }
}

TEST(RequestCheck, SaysWhatIsWrong)
{
    const std::vector<Case> cases = {
        {"", "rpc malformed-message"},
        {"<rpc", "rpc malformed-message"},
        {request("<get>"), "rpc malformed-message"},
        {request("<get/>") + request("<get/>"), "rpc malformed-message"},
        {request("<a:get/>"), "rpc malformed-message"},
        {request("<get a=\"1\" a=\"2\"/>"), "rpc malformed-message"},
        {request("<get>\xff</get>"), "rpc malformed-message"},
        {"<!DOCTYPE rpc [<!ENTITY a \"b\">]>" + request("<get/>"), "rpc malformed-message"},
        {fmt::format(R"(<hello xmlns="{}"/>)", base), "rpc malformed-message"},
        {"<rpc message-id=\"1\"><get/></rpc>", "rpc malformed-message"},
        {fmt::format(R"(<rpc xmlns="{}"><get/></rpc>)", base),
         "rpc missing-attribute bad-attribute=message-id bad-element=rpc"},
        {request(""), "protocol operation-not-supported"},
        {request("<none/>"), "protocol operation-not-supported"},
        {request("<target/>"), "protocol operation-not-supported"},
        {request("<get xmlns=\"urn:none\"/>"), "protocol unknown-namespace bad-element=get bad-namespace=urn:none"},
        {request("<get/><commit/>"), "rpc unknown-element bad-element=commit"},
        {request("<lock><target><running/></target><more/></lock>"), "protocol unknown-element bad-element=more"},
        {request("<lock><target><moon/></target></lock>"), "protocol unknown-element bad-element=moon"},
        {request("<commit><x:confirmed xmlns:x=\"urn:x\"/></commit>"),
         "protocol unknown-namespace bad-element=confirmed bad-namespace=urn:x"},
        {request(edit("running", "<a operation=\"delete\"/>")),
         "application unknown-attribute bad-attribute=operation bad-element=a"},
        {request(edit("running", "<a><b insert=\"first\"/></a>")),
         "application unknown-attribute bad-attribute=insert bad-element=b"},
        {request(edit("running", fmt::format(R"(<a xmlns:n="{}" n:operation="destroy"/>)", base))),
         "application bad-attribute bad-attribute=operation bad-element=a"},
        {request("<copy-config><target><startup/></target><source><config><a operation=\"delete\"/></config></source>"
                 "</copy-config>"),
         "application unknown-attribute bad-attribute=operation bad-element=a"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(refusal_of(test.request), test.refusal) << test.request;
}

// An operation there would be passed over, and a replace become a merge.
TEST(RequestCheck, TakesNoAttributeAtAConfig)
{
    const std::string config = fmt::format(R"(<config xmlns:nc="{}" nc:operation="replace"/>)", base);
    for (const std::string& operation :
         {"<edit-config><target><running/></target>" + config + "</edit-config>",
          "<copy-config><target><startup/></target><source>" + config + "</source></copy-config>",
          "<validate><source>" + config + "</source></validate>"})
        EXPECT_EQ(refusal_of(request(operation)),
                  "protocol unknown-attribute bad-attribute=operation bad-element=config")
            << operation;
    EXPECT_EQ(
        refusal_of(request("<edit-config><target><running/></target><config operation=\"delete\"/></edit-config>")),
        "protocol unknown-attribute bad-attribute=operation bad-element=config");
}

TEST(RequestCheck, TakesEachParameterOnce)
{
    const std::vector<Case> cases = {
        {"<lock><target><running/></target><target><candidate/></target></lock>", "target"},
        {"<lock><target><running/><candidate/></target></lock>", "candidate"},
        {"<lock><target><running/><running/></target></lock>", "running"},
        {"<get-config><source><running/></source><filter/><filter/></get-config>", "filter"},
        {"<validate><source><running/><config/></source></validate>", "config"},
        {"<commit><confirmed/><confirm-timeout>5</confirm-timeout><confirm-timeout>6</confirm-timeout></commit>",
         "confirm-timeout"},
        {"<edit-config><target><running/></target><config/><config/></edit-config>", "config"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(refusal_of(request(test.request)), "protocol bad-element bad-element=" + test.refusal)
            << test.request;
}

TEST(RequestCheck, HoldsValuesOfParametersAgainstTheirTypes)
{
    const std::string monitoring = "xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\"";
    const std::string format = "<get-schema " + monitoring + "><identifier>x</identifier><format";
    struct ValueCase {
        std::string request;
        std::string element;
        std::string path;
    };
    const std::vector<ValueCase> cases = {
        {edit("running", "", "<test-option>foo</test-option>"), "test-option", "/nc:edit-config/test-option"},
        {edit("running", "", "<test-option/>"), "test-option", "/nc:edit-config/test-option"},
        {"<commit><confirmed/><confirm-timeout>0</confirm-timeout></commit>", "confirm-timeout",
         "/nc:commit/confirm-timeout"},
        {"<commit><confirmed>yes</confirmed></commit>", "confirmed", "/nc:commit/confirmed"},
        {"<kill-session><session-id>0</session-id></kill-session>", "session-id", "/nc:kill-session/session-id"},
        {"<get><with-defaults xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\">most</with-defaults>"
         "</get>",
         "with-defaults", "/nc:get/ncwd:with-defaults"},
        {format + ">none</format></get-schema>", "format", "/ncm:get-schema/format"},
        {format + ">x:yang</format></get-schema>", "format", "/ncm:get-schema/format"},
    };
    for (const ValueCase& test : cases) {
        EXPECT_EQ(refusal_of(request(test.request)), "protocol invalid-value bad-element=" + test.element)
            << test.request;
        const auto result = checked(request(test.request));
        ASSERT_EQ(result->errors.size(), 1U);
        EXPECT_EQ(result->errors.front().error.path(), test.path);
    }
    for (const std::string& legal :
         {std::string("<kill-session><session-id>\n 4294967295 </session-id></kill-session>"),
          std::string("<commit><confirmed></confirmed><persist> a<![CDATA[<b>]]>&lt;</persist></commit>"),
          format + ">yang</format></get-schema>",
          format + " xmlns:m=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">m:yang</format></get-schema>"})
        EXPECT_EQ(refusal_of(request(legal)), "") << legal;
}

TEST(RequestCheck, KnowsTheAttributesOfParameters)
{
    const std::vector<Case> cases = {
        {"<get foo=\"x\"/>", "unknown-attribute bad-attribute=foo bad-element=get"},
        {"<get xmlns:x=\"urn:x\" x:foo=\"x\"/>", "unknown-attribute bad-attribute=foo bad-element=get"},
        {"<lock><target foo=\"x\"><running/></target></lock>",
         "unknown-attribute bad-attribute=foo bad-element=target"},
        {"<lock type=\"xpath\"><target><running/></target></lock>",
         "unknown-attribute bad-attribute=type bad-element=lock"},
        {"<get><filter foo=\"x\"/></get>", "unknown-attribute bad-attribute=foo bad-element=filter"},
        {"<get><filter type=\"bogus\"/></get>", "bad-attribute bad-attribute=type bad-element=filter"},
        {"<get><filter type=\"xpath\"/></get>", "missing-attribute bad-attribute=select bad-element=filter"},
        {"<get><filter type=\"xpath\" select=\"/x:y\"/></get>",
         "bad-attribute bad-attribute=select bad-element=filter"},
        {"<get><filter type=\"xpath\" select=\"/nc:y[\"/></get>",
         "bad-attribute bad-attribute=select bad-element=filter"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(refusal_of(request(test.request)), "protocol " + test.refusal) << test.request;
    const std::vector<std::string> legal_ones = {
        "<get>" + xpath("/ips:ips-config[ips:x='&lt;a']") + "</get>", "<get xml:lang=\"en\"><filter/></get>",
        "<create-subscription xmlns=\"urn:ietf:params:xml:ns:netconf:notification:1.0\">"
        "<filter type=\"subtree\"><a b=\"c\"/></filter></create-subscription>"};
    for (const std::string& legal : legal_ones)
        EXPECT_EQ(refusal_of(request(legal)), "") << legal;
}

// libyang would pass over the attribute in the namespace that the RFC gives it.
TEST(RequestCheck, HandsMarkedDefaultsOn)
{
    const auto marked = [](const std::string& value) {
        return request(
            edit("running", fmt::format(R"(<a xmlns="urn:a" xmlns:wd="urn:ietf:params:xml:ns:netconf:default)"
                                        R"(:1.0"><b wd:default="{}">1</b></a>)",
                                        value)));
    };
    for (const auto& [word, value] : std::vector<std::pair<std::string, std::string>>{
             {"true", "true"}, {" 1 ", "true"}, {"false", "false"}, {"0", "false"}}) {
        EXPECT_EQ(refusal_of(marked(word)), "") << word;
        EXPECT_THAT(checked(marked(word))->text,
                    AllOf(HasSubstr("xmlns:wd=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\""),
                          HasSubstr("<b wd:default=\"" + value + "\">1</b>")));
    }
    for (const char* word : {"", "yes", "TRUE", "2"})
        EXPECT_EQ(refusal_of(marked(word)), "application bad-attribute bad-attribute=default bad-element=b") << word;
}

TEST(RequestCheck, PutsARequestWithTheSameAttributesInItsPlace)
{
    const auto result = checked(fmt::format(R"(<n:rpc xmlns:n="{}" message-id="a&lt;b" x="1"><none/></n:rpc>)", base));
    EXPECT_EQ(result->text, fmt::format(R"(<n:rpc xmlns:n="{0}" message-id="a&lt;b" x="1"><get xmlns="{0}"/>)"
                                        "</n:rpc>",
                                        base));
}

TEST(RequestCheck, AnswersWhatIsTooLong)
{
    Message message{request("<get>" + std::string(1000, ' ')), true};
    const auto result = check_request(netconf_world().schema.context(), message, Framing::end_of_message);
    ASSERT_EQ(result->errors.size(), 1);
    EXPECT_EQ(result->errors.front().error.tag(), "too-big");
    EXPECT_THAT(result->text, HasSubstr("message-id=\"5\""));
}

// RFC 6241, appendix A: clients of NETCONF 1.0 do not know "malformed-message".
TEST(RequestCheck, EndsOldSessionsForMalformedMessages)
{
    EXPECT_FALSE(checked("<rpc", Framing::end_of_message));
    EXPECT_TRUE(checked(request("<none/>"), Framing::end_of_message));
}

// Neither a deep nor an expanding document gets further.
TEST(RequestCheck, RefusesBombs)
{
    std::string deep;
    for (int i = 0; i < 100000; ++i)
        deep += "<a>";
    EXPECT_EQ(refusal_of(request(edit("running", deep))), "rpc malformed-message");
}

TEST(Hello, DecidesTheFraming)
{
    const auto hello = [](const std::string& content) {
        return fmt::format(R"(<hello xmlns="{}">{}</hello>)", base, content);
    };
    const std::string old = "<capability>urn:ietf:params:netconf:base:1.0</capability>";
    const std::string present = "<capability>\n  urn:ietf:params:netconf:base:1.1\n</capability>";
    const auto with = [&](const std::string& list) {
        return framing_after_hello(hello("<capabilities>" + list + "</capabilities>"));
    };
    EXPECT_EQ(with(old), Framing::end_of_message);
    EXPECT_EQ(with(present), Framing::chunked);
    EXPECT_EQ(with(old + present), Framing::chunked);
    EXPECT_EQ(with(present + old), Framing::chunked);
    EXPECT_EQ(with("<capability>urn:x</capability>"), std::nullopt);
    EXPECT_EQ(framing_after_hello(hello("<capabilities>" + old + "</capabilities><session-id>4</session-id>")),
              std::nullopt);
    for (const char* text : {"", "<hello", "<hello/>", "no XML"})
        EXPECT_EQ(framing_after_hello(text), std::nullopt);
    for (const Framing framing : {Framing::end_of_message, Framing::chunked})
        EXPECT_EQ(framing_after_hello(std::string(hello_for(framing))), framing);
}

} // namespace
} // namespace qnips::test
