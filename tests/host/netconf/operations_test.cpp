// The operations of the server, request by request.
#include "netconf/operations.h"

#include <chrono>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "netconf_fixture.h"

namespace qnips::test
{
namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string web = profile("web", "<description>a</description>");

std::string config_of(const std::string& profiles)
{
    return compact(netconf_world().schema.parse_configuration(config_with(profiles)).get());
}

std::string copy(const std::string& target, const std::string& source)
{
    return "<copy-config><target><" + target + "/></target><source>" + source + "</source></copy-config>";
}

struct Step {
    std::string operation;
    std::string answer; // how it starts
    SessionId session = 1;
};

void expect_all(NetconfServer& server, const std::vector<Step>& steps)
{
    for (const Step& step : steps)
        EXPECT_THAT(server.call(step.operation, step.session), StartsWith(step.answer)) << step.operation;
}

// ------------------------------------------------------------------------------------------------------- reads --

TEST(Operations, ReadWhatWasEdited)
{
    NetconfServer server;
    EXPECT_EQ(server.call(get_config("running")), "");
    expect_all(server, {{edit("running", config_with(web)), "ok"}});
    EXPECT_EQ(server.call(get_config("running")), config_of(web));
    EXPECT_EQ(server.call(get_config("candidate")), config_of(web));
    EXPECT_EQ(server.call(get_config("startup")), "");
    EXPECT_EQ(server.call(get_config("running", subtree(config_with("<profile><name/></profile>")))),
              config_of(profile("web")));
    EXPECT_EQ(server.call("<get>" + xpath("/ips:ips-config") + "</get>"), config_of(web));
}

TEST(Operations, ReadTheStateOfDeviceAndServer)
{
    NetconfServer server;
    server.operations().set_capabilities({"urn:ietf:params:netconf:base:1.1"});
    server.call(with_target("lock", "candidate"), 2);
    const std::string state = server.call("<get/>");
    for (const char* part :
         {"<ips-state>", "<signature-database>", "<capability>urn:ietf:params:netconf:base:1.1</capability>",
          "<datastore><name>running</name></datastore>",
          "<datastore><name>candidate</name><locks><global-lock><locked-by-session>2</locked-by-session><locked-time>",
          "<identifier>quorin-intrusion-prevention</identifier><version>2026-11-21</version>",
          "<session><session-id>1</session-id><transport>", "<username>user2</username>",
          "<in-sessions>2</in-sessions>", "<yang-library>", "<modules-state>"})
        EXPECT_THAT(state, HasSubstr(part));
    EXPECT_THAT(server.call("<get>" + xpath("/ips:ips-state") + "</get>"), Not(HasSubstr("netconf-state")));
}

TEST(Operations, ReadOnlyWhatTheFilterCanSelect)
{
    NetconfServer server;
    const std::string monitoring = "<netconf-state xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">"
                                   "<datastores/></netconf-state>";
    server.channel().set({.kind = Fault::Kind::channel_lost});
    EXPECT_THAT(server.call("<get>" + subtree(monitoring) + "</get>"),
                StartsWith("<netconf-state><datastores><datastore><name>running</name>"));
    EXPECT_THAT(server.call("<get/>"), StartsWith("operation-failed "));
    EXPECT_THAT(server.call(get_config("running")), StartsWith("operation-failed "));
}

TEST(Operations, ReportDefaultsAsTheyAreAsked)
{
    NetconfServer server;
    const std::string content = "<associated-check-enable>false</associated-check-enable>"; // its default
    server.call(edit("running", config_with(profile("web", content))));
    const auto read = [&](const std::string& mode) {
        const std::string filter = subtree(config_with("<profile><name>web</name><associated-check-enable/>"
                                                       "<collect-attack-evidence-enable/></profile>"));
        return server.call(get_config(
            "running", filter + "<with-defaults xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\">" +
                           mode + "</with-defaults>"));
    };
    const std::string other = "<collect-attack-evidence-enable>false</collect-attack-evidence-enable>";
    EXPECT_EQ(read("explicit"), config_of(profile("web", content)));
    EXPECT_EQ(read("trim"), config_of(profile("web")));
    EXPECT_EQ(read("report-all"), config_of(profile("web", other + content)));
    EXPECT_THAT(read("report-all-tagged"),
                HasSubstr("<collect-attack-evidence-enable ncwd:default=\"true\">false</collect-attack"));
}

TEST(Operations, GiveSchemas)
{
    NetconfServer server;
    const auto get_schema = [&](const std::string& parameters) {
        return server.call("<get-schema xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">" + parameters +
                           "</get-schema>");
    };
    EXPECT_THAT(get_schema("<identifier>quorin-intrusion-prevention</identifier>"),
                StartsWith("module quorin-intrusion-prevention {"));
    EXPECT_THAT(get_schema("<identifier>ietf-netconf</identifier><version>2011-06-01</version><format>yang</format>"),
                StartsWith("module ietf-netconf {"));
    EXPECT_THAT(get_schema("<identifier>ietf-netconf</identifier><version>2000-01-01</version>"),
                StartsWith("invalid-value "));
    EXPECT_THAT(get_schema("<identifier>none</identifier>"), StartsWith("invalid-value "));
    EXPECT_THAT(get_schema("<identifier>ietf-netconf</identifier><format>yin</format>"), StartsWith("invalid-value "));
    EXPECT_THAT(get_schema(""), StartsWith("missing-element /ncm:get-schema/identifier"));
}

TEST(Operations, GiveEverySchemaThatIsListed)
{
    NetconfServer server;
    const Reply reply = server.reply_to("<get>" +
                                        subtree("<netconf-state xmlns=\"urn:ietf:params:xml:ns:yang:"
                                                "ietf-netconf-monitoring\"><schemas/></netconf-state>") +
                                        "</get>");
    ASSERT_TRUE(reply.data);
    std::string text = compact(reply.data->tree.get());
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find("<identifier>", at)) != std::string::npos; ++count, ++at) {
        const std::string identifier = text.substr(at, text.find("<format>", at) - at);
        EXPECT_THAT(server.call("<get-schema xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">" +
                                identifier + "</get-schema>"),
                    testing::AnyOf(StartsWith("module "), StartsWith("submodule ")))
            << identifier;
    }
    EXPECT_GT(count, 10U);
}

// ------------------------------------------------------------------------------------------------------- edits --

TEST(Operations, EditRunningAndTheCandidate)
{
    for (const std::string target : {"running", "candidate"}) {
        NetconfServer server;
        expect_all(server, {{edit(target, config_with(web)), "ok"}});
        EXPECT_EQ(server.call(get_config(target)), config_of(web)) << target;
        EXPECT_EQ(server.call(get_config("running")), target == "running" ? config_of(web) : "") << target;
    }
}

// It changes nothing, unless it takes the place of everything.
TEST(Operations, TakeAnEmptyConfiguration)
{
    for (const std::string target : {"running", "candidate"}) {
        NetconfServer server;
        expect_all(server, {{edit(target, config_with(web)), "ok"},
                            {edit(target, ""), "ok"},
                            {edit(target, "\n  ", "<default-operation>none</default-operation>"), "ok"}});
        EXPECT_EQ(server.call(get_config(target)), config_of(web)) << target;
        expect_all(server, {{edit(target, "", "<default-operation>replace</default-operation>"), "ok"}});
        EXPECT_EQ(server.call(get_config(target)), "") << target;
    }
}

TEST(Operations, CommitAndDiscardTheCandidate)
{
    NetconfServer server;
    expect_all(server, {{edit("candidate", config_with(web)), "ok"},
                        {"<discard-changes/>", "ok"},
                        {"<commit/>", "ok"},
                        {edit("candidate", config_with(profile("mail"))), "ok"},
                        {"<commit/>", "ok"}});
    EXPECT_EQ(server.call(get_config("running")), config_of(profile("mail")));
}

// RFC 6243, 4.5.2: with the default's value and its mark a leaf goes back to not being set.
TEST(Operations, SetMarkedLeavesBackToTheirDefaults)
{
    const auto marked = [](const std::string& leaf, const std::string& attributes = {}) {
        return fmt::format(
            "<associated-check-enable xmlns:wd=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\" "
            "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" wd:default=\"true\" {}>{}"
            "</associated-check-enable>",
            attributes, leaf);
    };
    const std::string path = "/qn-ips:ips-config/user-defined-ips/vsys[name='branch']/profiles/profile[name='web']/"
                             "associated-check-enable";
    const std::string set = "<associated-check-enable>true</associated-check-enable>";
    for (const char* attributes :
         {"", "nc:operation=\"merge\"", "nc:operation=\"create\"", "nc:operation=\"replace\""}) {
        NetconfServer server;
        expect_all(server, {{edit("running", config_with(profile("web", set))), "ok"},
                            {edit("running", config_with(profile("web", marked("true", attributes)))),
                             "invalid-value " + path}});
        EXPECT_EQ(server.call(get_config("running")), config_of(profile("web", set))) << attributes;
        expect_all(server, {{edit("running", config_with(profile("web", marked("false", attributes)))), "ok"}});
        EXPECT_EQ(server.call(get_config("running")), config_of(profile("web"))) << attributes;
    }
    NetconfServer server;
    for (const char* operation : {"delete", "remove"})
        expect_all(server,
                   {{edit("running",
                          config_with(profile("web", marked("false", fmt::format("nc:operation=\"{}\"", operation))))),
                     "bad-attribute " + path}});
    const std::string config = "<config>" + config_with(profile("web", marked("false"))) + "</config>";
    expect_all(server, {{edit("running", config_with(profile("web", marked("false")))), "ok"},
                        {copy("startup", config), "ok"}});
    EXPECT_EQ(server.call(get_config("running")), config_of(profile("web")));
    EXPECT_EQ(server.call(get_config("startup")), config_of(profile("web")));
}

TEST(Operations, TakeBackAnUnconfirmedCommit)
{
    NetconfServer server;
    const std::string confirmed = "<commit><confirmed/><confirm-timeout>5</confirm-timeout></commit>";
    expect_all(server, {{edit("candidate", config_with(web)), "ok"}, {confirmed, "ok"}});
    EXPECT_EQ(server.call(get_config("running")), config_of(web));
    expect_all(server, {{"<commit/>", "in-use ", 2}, {"<cancel-commit/>", "in-use ", 2}});
    server.wait(std::chrono::seconds(5));
    EXPECT_EQ(server.call(get_config("running")), "");
    expect_all(server, {{"<cancel-commit/>", "operation-failed "}});

    expect_all(server, {{edit("candidate", config_with(web)), "ok"},
                        {"<commit><confirmed/><persist>t</persist></commit>", "ok"},
                        {"<cancel-commit><persist-id>x</persist-id></cancel-commit>", "invalid-value ", 2},
                        {"<commit><persist-id>t</persist-id></commit>", "ok", 2}});
    EXPECT_EQ(server.call(get_config("running")), config_of(web));
}

TEST(Operations, CopyDatastores)
{
    NetconfServer server;
    expect_all(server, {{copy("running", "<config>" + config_with(web) + "</config>"), "ok"},
                        {copy("startup", "<running/>"), "ok"},
                        {copy("running", "<config/>"), "ok"}});
    EXPECT_EQ(server.call(get_config("running")), "");
    EXPECT_EQ(server.call(get_config("startup")), config_of(web));
    expect_all(server, {{copy("candidate", "<startup/>"), "ok"}});
    EXPECT_EQ(server.call(get_config("candidate")), config_of(web));
    expect_all(server, {{with_target("delete-config", "startup"), "ok"}});
    EXPECT_EQ(server.call(get_config("startup")), "");
    expect_all(server,
               {{copy("running", "<running/>"), "invalid-value "},
                {copy("running", "<config>" + config_with("<profile><name>x</name><none/></profile>") + "</config>"),
                 "unknown-element /qn-ips:ips-config/"}});
}

TEST(Operations, ValidateDatastoresAndConfigurations)
{
    NetconfServer server;
    const std::string invalid = config_with(profile("x", "<command-and-control-domain-filter><action>block</action>"
                                                         "</command-and-control-domain-filter>"));
    const auto validate = [](const std::string& source) {
        return "<validate><source>" + source + "</source></validate>";
    };
    expect_all(server, {{validate("<running/>"), "ok"},
                        {validate("<candidate/>"), "ok"},
                        {validate("<config>" + config_with(web) + "</config>"), "ok"},
                        {validate("<config>" + invalid + "</config>"), "data-missing /qn-ips:ips-config/"},
                        {edit("candidate", invalid), "ok"},
                        {validate("<candidate/>"), "data-missing /qn-ips:ips-config/"},
                        {"<commit/>", "data-missing /qn-ips:ips-config/"}});
}

TEST(Operations, TellEveryErrorOfAnEdit)
{
    NetconfServer server;
    server.channel().set({.kind = Fault::Kind::line_refused});
    const Reply reply = server.reply_to(edit("running", config_with(web)));
    ASSERT_EQ(reply.errors.size(), 1U);
    const ReplyError& error = reply.errors.front();
    EXPECT_EQ(error.severity, ReplyError::Severity::error);
    ASSERT_TRUE(error.platform);
    ASSERT_TRUE(error.platform->line);
    EXPECT_THAT(error.platform->line->text, HasSubstr("web"));

    expect_all(server,
               {{edit("running", config_with("<profile><name>x</name><none/></profile>")),
                 "unknown-element /qn-ips:ips-config/"},
                {"<edit-config><target><running/></target></edit-config>", "missing-element /nc:edit-config/config"},
                {edit("running", "text"), "bad-element /nc:edit-config/config"},
                {"<edit-config><config/></edit-config>", "missing-element /nc:edit-config/target"}});
}

// ------------------------------------------------------------------------------------------- locks and sessions --

TEST(Operations, LockDatastores)
{
    NetconfServer server;
    for (const std::string target : {"running", "candidate", "startup"})
        expect_all(server, {{with_target("lock", target), "ok"},
                            {with_target("lock", target), "lock-denied ", 2},
                            {with_target("unlock", target), "operation-failed ", 2},
                            {copy(target, "<config/>"), "in-use ", 2},
                            {with_target("unlock", target), "ok"},
                            {with_target("unlock", target), "operation-failed "}});
    const Reply denied = [&] {
        server.call(with_target("lock", "running"), 2);
        return server.reply_to(with_target("lock", "running"));
    }();
    ASSERT_EQ(denied.errors.size(), 1U);
    EXPECT_EQ(denied.errors.front().error.lock_holder(), 2U);
}

TEST(Operations, FreeWhatAKilledSessionHolds)
{
    NetconfServer server;
    const auto kill = [](const std::string& id) {
        return "<kill-session><session-id>" + id + "</session-id></kill-session>";
    };
    server.call(with_target("lock", "running"), 2);
    expect_all(server, {{kill("1"), "invalid-value /nc:kill-session/session-id"},
                        {kill("99"), "invalid-value /nc:kill-session/session-id"},
                        {"<kill-session/>", "missing-element /nc:kill-session/session-id"},
                        {kill("2"), "ok"},
                        {with_target("lock", "running"), "ok"}});
    ASSERT_EQ(server.kills().size(), 1U);
    EXPECT_EQ(server.kills().front().victim, 2U);
    EXPECT_EQ(server.kills().front().by, 1U);
}

// Each node that is at fault, and nothing below it.
TEST(Operations, TellAllThatIsWrongWithTheDataOfAnEdit)
{
    NetconfServer server;
    server.call(edit("running", config_with(profile("there"))));
    const std::string nc = " xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\" n:operation=\"";
    const std::string wrong = config_with(
        "<profile" + nc + "create\"><name>there</name></profile><profile" + nc +
        "delete\"><name>gone</name></profile>" +
        profile("new",
                "<associated-check-enable>perhaps</associated-check-enable><none/><description>d</description>"));
    const Reply reply = server.reply_to(edit("running", wrong));
    std::vector<std::string> told;
    for (const ReplyError& error : reply.errors)
        told.push_back(
            fmt::format("{} {}", error.error.tag(), error.error.path().substr(error.error.path().find("profile["))));
    EXPECT_THAT(told, testing::ElementsAre("data-exists profile[name='there']", "data-missing profile[name='gone']",
                                           "invalid-value profile[name='new']/associated-check-enable",
                                           "unknown-element profile[name='new']/none"));
    EXPECT_EQ(server.call(get_config("running")), config_of(profile("there")));
}

// Wherever it was killed (RFC 6241, 7.9).
TEST(Operations, TakeBackTheEditOfAKilledSession)
{
    const std::string rich = config_with(
        profile("one", "<description>a</description>") +
        profile("web",
                "<description>b</description><signature-sets><signature-set><name>set</name><signature-set-action>"
                "<action>alert</action></signature-set-action></signature-set></signature-sets>"));
    const std::string continued = "<error-option>continue-on-error</error-option>";
    const std::string copied =
        "<copy-config><target><running/></target><source><config>" + rich + "</config></source></copy-config>";
    for (const std::string& operation :
         {edit("running", rich), edit("running", rich, continued), copied, std::string("<commit/>")}) {
        int done = 0; // of the questions whether it was killed
        for (bool was_killed = true; was_killed; ++done) {
            NetconfServer server;
            server.call(edit("running", config_with(profile("one") + profile("two"))));
            server.call(edit("candidate", rich));
            const std::string before = server.call(get_config("running"));
            int asked = 0;
            const Reply reply = server.reply_to({1, {.name = "user1"}, {}, [&] { return asked++ >= done; }}, operation);
            was_killed = !reply.errors.empty();
            if (!was_killed) {
                EXPECT_THAT(server.call(get_config("running")), HasSubstr("<description>b</description>"));
                continue;
            }
            EXPECT_EQ(server.call(get_config("running")), before) << operation << done;
            EXPECT_EQ(reply.errors.size(), 1U);
            EXPECT_STREQ(reply.errors.front().error.what(), done == 0 ? "the session ends" : "the edit was aborted");
        }
        EXPECT_GT(done, 5) << operation;
    }
}

TEST(Operations, DoNothingOnceTheyAreStopped)
{
    NetconfServer server;
    server.operations().stop();
    EXPECT_EQ(server.call(get_config("running")), "operation-failed : the session ends\n");
}

TEST(Operations, DoNotIncludeOthers)
{
    NetconfServer server;
    EXPECT_THAT(server.call("<close-session/>"), StartsWith("operation-not-supported "));
}

} // namespace
} // namespace qnips::test
