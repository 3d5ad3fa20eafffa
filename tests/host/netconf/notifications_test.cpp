// What clients are told that have asked to be told (RFC 5277, RFC 6470).

#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
#include "netconf_requests.h"
#include "serve_process.h"

namespace qnips::test
{
namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string events_namespace = "urn:ietf:params:xml:ns:yang:ietf-netconf-notifications";

std::string subscription(const std::string& content = "")
{
    return fmt::format("<create-subscription xmlns=\"urn:ietf:params:xml:ns:netconf:notification:1.0\">{}"
                       "</create-subscription>",
                       content);
}

std::string of_kind(const std::string& name)
{
    return subscription(fmt::format("<filter type=\"subtree\"><{} xmlns=\"{}\"/></filter>", name, events_namespace));
}

class Notifications : public testing::Test
{
protected:
    void SetUp() override
    {
        server_.emplace(folder_.path() / "state",
                        std::vector<std::string>{"--unix", socket(), "--log-target", folder_.file("log")});
    }
    [[nodiscard]] std::string socket() const { return folder_.file("socket"); }

    TemporaryFolder folder_;
    std::optional<ServeProcess> server_;
};

const std::string path_of_web =
    "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys[qn-ips:name='branch']/qn-ips:profiles/"
    "qn-ips:profile[qn-ips:name='web']";

TEST_F(Notifications, TellWhatWasChangedAndByWhom)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(of_kind("netconf-config-change")), ok);
    RawClient editor(socket());
    const std::vector<std::pair<std::string, std::string>> edits = {
        {profile("base"), "create"},
        {profile("web"), fmt::format("<target xmlns:qn-ips=\"{}\">{}</target><operation>create</operation>",
                                     ips_namespace, path_of_web)},
        {profile("web", "<description>a</description>"),
         fmt::format("{}/qn-ips:description</target><operation>create</operation>", path_of_web)},
        {profile("web", "<description>b</description>"),
         fmt::format("{}/qn-ips:description</target><operation>replace</operation>", path_of_web)},
        {"<profile xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
         "n:operation=\"delete\"><name>web</name></profile>",
         fmt::format("{}</target><operation>delete</operation>", path_of_web)},
    };
    for (const auto& [change, told] : edits) {
        EXPECT_EQ(editor.call(edit("running", config_with(change))), ok) << change;
        EXPECT_THAT(
            listener.receive(),
            AllOf(StartsWith("<notification xmlns=\"urn:ietf:params:xml:ns:netconf:notification:1.0\"><eventTime>"),
                  HasSubstr(fmt::format("<session-id>{}</session-id>", editor.session_id())),
                  HasSubstr("<datastore>running</datastore>"), HasSubstr(told)));
    }
}

TEST_F(Notifications, TellOfNothingThatHasNotHappened)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(of_kind("netconf-config-change")), ok);
    RawClient editor(socket());
    EXPECT_THAT(editor.call(edit("running", config_with(profile("x", "<none/>")))), HasSubstr("rpc-error"));
    EXPECT_EQ(editor.call(edit("candidate", config_with(profile("cand")))), ok);
    EXPECT_EQ(editor.call("<discard-changes/>"), ok);
    EXPECT_EQ(editor.call(edit("running", config_with(profile("first")))), ok);
    EXPECT_EQ(editor.call(edit("running", config_with(profile("first")))), ok); // changes nothing
    EXPECT_EQ(editor.call(edit("running", config_with(profile("second")))), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("<operation>create</operation>"));
    EXPECT_THAT(listener.receive(), HasSubstr("'second'"));
    EXPECT_EQ(editor.call("<copy-config><target><startup/></target><source><running/></source></copy-config>"), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("<datastore>startup</datastore>"));
    EXPECT_EQ(editor.call(with_target("delete-config", "startup")), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("<datastore>startup</datastore>"));
}

TEST_F(Notifications, SumUpWhatIsTooMuch)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(of_kind("netconf-config-change")), ok);
    RawClient editor(socket());
    EXPECT_EQ(editor.call(edit("running", config_with(profile("base")))), ok);
    listener.receive();
    std::string many;
    for (int i = 0; i < 500; ++i)
        many += profile(fmt::format("p{}", i));
    EXPECT_EQ(editor.call(edit("running", config_with(many))), ok);
    EXPECT_THAT(listener.receive(),
                AllOf(HasSubstr(">/qn-ips:ips-config</target><operation>merge</operation>"), Not(HasSubstr("'p1'"))));
}

TEST_F(Notifications, TellOfSessions)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(subscription()), ok);
    const auto end_of = [&](const std::string& id, const std::string& reason) {
        return AllOf(HasSubstr("<netconf-session-end"), HasSubstr(fmt::format("<session-id>{}<", id)),
                     HasSubstr(fmt::format("<termination-reason>{}<", reason)));
    };
    const auto start_of = [&](const std::string& id) {
        return AllOf(HasSubstr("<netconf-session-start"), HasSubstr(fmt::format("<session-id>{}<", id)));
    };
    RawClient closed(socket());
    EXPECT_THAT(listener.receive(), start_of(closed.session_id()));
    closed.call("<close-session/>");
    EXPECT_THAT(listener.receive(), end_of(closed.session_id(), "closed"));
    RawClient dropped(socket());
    EXPECT_THAT(listener.receive(), start_of(dropped.session_id()));
    dropped.hang_up();
    EXPECT_THAT(listener.receive(), end_of(dropped.session_id(), "dropped"));
    RawClient broken(socket());
    EXPECT_THAT(listener.receive(), start_of(broken.session_id()));
    broken.send_bytes("no frame");
    EXPECT_THAT(listener.receive(), end_of(broken.session_id(), "other"));
    RawClient killed(socket());
    EXPECT_THAT(listener.receive(), start_of(killed.session_id()));
    RawClient killer(socket());
    EXPECT_THAT(listener.receive(), start_of(killer.session_id()));
    killer.call(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", killed.session_id()));
    EXPECT_THAT(listener.receive(), AllOf(end_of(killed.session_id(), "killed"),
                                          HasSubstr(fmt::format("<killed-by>{}</killed-by>", killer.session_id()))));
}

TEST_F(Notifications, TellOfConfirmedCommits)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(of_kind("netconf-confirmed-commit")), ok);
    RawClient editor(socket());
    const auto change = [&](const std::string& name) {
        EXPECT_EQ(editor.call(edit("candidate", config_with(profile(name)))), ok);
    };
    const auto told = [&](const std::string& event) {
        EXPECT_THAT(listener.receive(), HasSubstr(fmt::format("<confirm-event>{}</confirm-event>", event)));
    };
    change("a");
    EXPECT_EQ(editor.call("<commit><confirmed/><confirm-timeout>300</confirm-timeout></commit>"), ok);
    EXPECT_THAT(listener.receive(),
                AllOf(HasSubstr("<confirm-event>start</confirm-event>"), HasSubstr("<timeout>300</timeout>")));
    EXPECT_EQ(editor.call("<commit><confirmed/></commit>"), ok);
    told("extend");
    EXPECT_EQ(editor.call("<commit/>"), ok);
    told("complete");
    change("b");
    EXPECT_EQ(editor.call("<commit><confirmed/></commit>"), ok);
    told("start");
    EXPECT_EQ(editor.call("<cancel-commit/>"), ok);
    told("cancel");
    change("c");
    EXPECT_EQ(editor.call("<commit><confirmed/><confirm-timeout>1</confirm-timeout></commit>"), ok);
    told("start");
    EXPECT_THAT(listener.receive(),
                AllOf(HasSubstr("<confirm-event>timeout</confirm-event>"), Not(HasSubstr("<username>"))));
}

// An edit that was refused is nobody's, and not part of what comes next.
TEST_F(Notifications, TellNothingOfWhatWasRefused)
{
    RawClient listener(socket());
    EXPECT_EQ(listener.call(of_kind("netconf-config-change")), ok);
    RawClient editor(socket());
    EXPECT_EQ(editor.call(edit("candidate", config_with(profile("web")))), ok);
    EXPECT_EQ(editor.call("<commit><confirmed/></commit>"), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("qn-ips:ips-config</target>"));
    const std::string invalid = fmt::format("<ips-config xmlns=\"{}\"><user-defined-ips><vsys><name>public</name>"
                                            "<ips-enable>false</ips-enable></vsys></user-defined-ips></ips-config>",
                                            ips_namespace);
    EXPECT_THAT(editor.call(edit("running", invalid)), HasSubstr("<rpc-error>"));
    EXPECT_EQ(editor.call(with_target("delete-config", "startup")), ok); // there is none
    EXPECT_EQ(editor.call("<cancel-commit/>"), ok);
    EXPECT_THAT(listener.receive(),
                AllOf(HasSubstr("<datastore>running</datastore>"), Not(HasSubstr("public")), Not(HasSubstr("<edit>"))));
    const std::string saved = "<copy-config><target><startup/></target><source><running/></source></copy-config>";
    EXPECT_EQ(editor.call(edit("running", config_with(profile("mail")))), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("qn-ips:ips-config</target>"));
    EXPECT_EQ(editor.call(saved), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("<datastore>startup</datastore>"));
    EXPECT_EQ(editor.call(saved), ok); // is the same
    EXPECT_EQ(editor.call(with_target("delete-config", "startup")), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("<datastore>startup</datastore>"));
    EXPECT_EQ(editor.call(edit("running", config_with(profile("last")))), ok);
    EXPECT_THAT(listener.receive(), HasSubstr("last"));
}

TEST_F(Notifications, RefuseFiltersThatSelectNothing)
{
    RawClient listener(socket());
    for (const char* expression : {"1+1", "//*[", "none:x"})
        EXPECT_THAT(listener.call(subscription(fmt::format("<filter type=\"xpath\" select=\"{}\"/>", expression))),
                    HasSubstr("<rpc-error>"))
            << expression;
}

TEST_F(Notifications, ComeBetweenReplies)
{
    RawClient client(socket());
    EXPECT_EQ(client.call(of_kind("netconf-config-change")), ok);
    EXPECT_EQ(client.call(edit("running", config_with(profile("a")))), ok);
    EXPECT_THAT(client.receive(), HasSubstr("netconf-config-change"));
    EXPECT_THAT(client.call(get_config("running")), HasSubstr("<name>a</name>"));
    EXPECT_THAT(client.call("<get/>"), AllOf(HasSubstr("<out-notifications>1</out-notifications>"),
                                             HasSubstr("<replaySupport>false</replaySupport>")));
}

TEST_F(Notifications, AreFilteredByXPath)
{
    RawClient listener(socket());
    EXPECT_EQ(
        listener.call(subscription(fmt::format(
            "<filter type=\"xpath\" xmlns:e=\"{}\" select=\"/e:netconf-session-end[e:termination-reason='dropped']\"/>",
            events_namespace))),
        ok);
    RawClient closed(socket());
    closed.call("<close-session/>");
    EXPECT_EQ(closed.receive(), "");
    RawClient dropped(socket());
    dropped.hang_up();
    EXPECT_THAT(listener.receive(), HasSubstr(fmt::format("<session-id>{}<", dropped.session_id())));
}

TEST_F(Notifications, AreRefusedWhereTheyCannotBeHad)
{
    struct Case {
        std::string request;
        std::string tag;
    };
    const std::vector<Case> cases = {
        {subscription("<stream>OTHER</stream>"), "invalid-value"},
        {subscription("<startTime>2020-01-01T00:00:00Z</startTime>"), "operation-failed"},
        {subscription("<stopTime>2020-01-01T00:00:00Z</stopTime>"), "bad-element"},
        {subscription("<filter type=\"xpath\"/>"), "missing-attribute"},
    };
    RawClient client(socket());
    for (const Case& test : cases)
        EXPECT_THAT(client.call(test.request), HasSubstr(fmt::format("<error-tag>{}<", test.tag))) << test.request;
    EXPECT_EQ(client.call(subscription()), ok);
    EXPECT_THAT(client.call(subscription()), HasSubstr("<error-tag>operation-failed<"));
}

TEST_F(Notifications, EndAtTheStopTime)
{
    RawClient client(socket());
    const std::time_t stop = std::time(nullptr) + 3;
    std::string text(32, '\0');
    text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&stop)));
    EXPECT_EQ(client.call(subscription(fmt::format("<stopTime>{}</stopTime>", text))), ok);
    EXPECT_THAT(client.receive(),
                HasSubstr("<notificationComplete xmlns=\"urn:ietf:params:xml:ns:netmod:notification\"/>"));
    EXPECT_EQ(client.call(subscription()), ok);
}

// A subscriber who does not read ends; nobody waits for it, and nothing is kept for it without end.
TEST_F(Notifications, AreNotKeptForWhoDoesNotRead)
{
    RawClient deaf(socket());
    EXPECT_EQ(deaf.call(of_kind("netconf-config-change")), ok);
    RawClient editor(socket());
    EXPECT_EQ(editor.call(edit("running", config_with(profile("base")))), ok);
    // Long ones first, until everything between server and client is full.
    std::string many;
    for (int i = 0; i < 150; ++i)
        many += profile(fmt::format("{}-{}", std::string(50, 'n'), i));
    const std::string less =
        std::regex_replace(many, std::regex("<profile>"),
                           "<profile xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\" n:operation=\"delete\">");
    for (int i = 0; i < 16; ++i)
        ASSERT_EQ(editor.call(edit("running", config_with(i % 2 == 0 ? many : less))), ok);
    const auto is_given_up = [&] {
        return content_of(folder_.file("log")).find("subscriber-too-slow") != std::string::npos;
    };
    for (int i = 0; i < 2000 && !is_given_up(); ++i)
        ASSERT_EQ(
            editor.call(edit("running", config_with(profile("base", fmt::format("<description>{}</description>", i))))),
            ok);
    EXPECT_TRUE(is_given_up());
    while (!deaf.receive().empty()) {
    }
}

} // namespace
} // namespace qnips::test
