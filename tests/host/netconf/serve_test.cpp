// `qn-ips serve` as its clients meet it: framing, sessions, whole messages, the end of the process.

#include <chrono>
#include <filesystem>
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

const std::string web = profile("web", "<description>a</description>");

class Serve : public testing::Test
{
protected:
    void start() { server_.emplace(folder_.path() / "state", std::vector<std::string>{"--unix", socket()}); }
    [[nodiscard]] std::string socket() const { return folder_.file("socket"); }

    TemporaryFolder folder_;
    std::optional<ServeProcess> server_;
};

TEST_F(Serve, AnnouncesWhatItCanDo)
{
    start();
    const RawClient client(socket());
    for (const char* capability :
         {"urn:ietf:params:netconf:base:1.0<", "urn:ietf:params:netconf:base:1.1<", "capability:writable-running:1.0<",
          "capability:candidate:1.0<", "capability:confirmed-commit:1.1<", "capability:rollback-on-error:1.0<",
          "capability:validate:1.1<", "capability:startup:1.0<", "capability:xpath:1.0<",
          "capability:with-defaults:1.0?basic-mode=explicit&amp;also-supported=", "capability:yang-library:1.1?",
          "capability:notification:1.0<", "capability:interleave:1.0<",
          "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention?module=quorin-intrusion-prevention&amp;revision="})
        EXPECT_THAT(client.hello(), HasSubstr(capability));
    EXPECT_THAT(client.hello(), Not(HasSubstr("capability:url")));
}

TEST_F(Serve, EditsAndReads)
{
    start();
    RawClient client(socket());
    EXPECT_EQ(client.call(get_config("running")), "<data/>");
    EXPECT_EQ(client.call(edit("running", config_with(web))), ok);
    EXPECT_EQ(client.call(get_config("running")), "<data>" + config_with(web) + "</data>");
    EXPECT_THAT(client.call("<get/>"),
                AllOf(HasSubstr("<ips-state xmlns="), HasSubstr("<netconf-state xmlns="), HasSubstr(config_with(web)),
                      HasSubstr(":netconf-unix</transport>"), HasSubstr("<yang-library xmlns=")));
    EXPECT_EQ(client.call("<close-session/>"), ok);
    EXPECT_EQ(client.receive(), "");
}

TEST_F(Serve, TakesChunksOfAnySize)
{
    start();
    RawClient client(socket());
    const std::string request = "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"1\">" +
                                edit("candidate", config_with(web)) + "</rpc>";
    for (const std::size_t size : {1U, 7U, 100000U}) {
        client.send(request, size);
        EXPECT_THAT(client.receive(), HasSubstr(ok)) << size;
    }
}

TEST_F(Serve, TellsErrorsWithTheirPlace)
{
    start();
    RawClient client(socket());
    const std::string reply = client.call(edit("running", config_with(profile("x", "<none/>"))));
    EXPECT_THAT(
        reply,
        AllOf(HasSubstr("<error-tag>unknown-element</error-tag>"),
              HasSubstr("<error-path xmlns:qn-ips=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\">"
                        "/qn-ips:ips-config/qn-ips:user-defined-ips/"),
              HasSubstr("<error-info><bad-element>none</bad-element></error-info>"), HasSubstr("xml:lang=\"en\"")));
    EXPECT_EQ(client.call(get_config("running")), "<data/>");
    EXPECT_THAT(client.call("<nothing xmlns=\"urn:none\"/>"), HasSubstr("<rpc-error>"));
    EXPECT_THAT(client.call("<copy-config/>"), HasSubstr("<error-tag>missing-element</error-tag>"));
}

// A profile with a signature set of a category.
std::string selecting(const std::string& name, const std::string& category)
{
    return profile(name,
                   fmt::format("<signature-sets><signature-set><name>set</name><signature-set-action><action>alert"
                               "</action></signature-set-action><category><all-category>false</all-category>"
                               "<specifed-category><name>{}</name><all-sub-category>true</all-sub-category>"
                               "</specifed-category></category></signature-set></signature-sets>",
                               category));
}

TEST_F(Serve, TellsEveryErrorOfAnEditWithWhatTheDeviceSaid)
{
    start();
    RawClient client(socket());
    const std::string reply = client.call(
        edit("running",
             config_with(selecting("one", "Nothing") + selecting("two", "Injection") + selecting("three", "Nowhere")),
             "<error-option>continue-on-error</error-option>"));
    std::vector<std::string> errors;
    for (std::size_t at = reply.find("<rpc-error>"); at != std::string::npos; at = reply.find("<rpc-error>", at + 1))
        errors.push_back(reply.substr(at, reply.find("</rpc-error>", at) - at));
    const auto refused = [](const std::string& name, const std::string& category) {
        return AllOf(
            HasSubstr(fmt::format("qn-ips:profile[qn-ips:name='{}']", name)),
            HasSubstr("<platform-error xmlns=\"urn:quorin:params:xml:ns:netconf:platform-error:1.0\"><code>24<"),
            HasSubstr(fmt::format("<command>category {}</command><view>", category)));
    };
    EXPECT_THAT(errors, testing::ElementsAre(refused("one", "Nothing"), refused("three", "Nowhere")));
    const std::string running = client.call(get_config("running"));
    EXPECT_THAT(running, AllOf(HasSubstr("<name>Injection</name>"), Not(HasSubstr("<name>Nothing</name>")),
                               Not(HasSubstr("<name>Nowhere</name>"))));
}

// RFC 6243, 6: the attribute has a namespace of its own.
TEST_F(Serve, TagsDefaults)
{
    start();
    RawClient client(socket());
    client.call(edit("running", config_with(profile("web"))));
    const std::string mode = "<with-defaults xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults\">"
                             "report-all-tagged</with-defaults>";
    EXPECT_THAT(client.call(get_config("running", mode)),
                AllOf(HasSubstr("=\"urn:ietf:params:xml:ns:netconf:default:1.0\""),
                      HasSubstr(":default=\"true\">false</associated-check-enable>"),
                      Not(HasSubstr("yang:ietf-netconf-with-defaults"))));
}

TEST_F(Serve, GivesSchemasAgainAndAgain)
{
    start();
    RawClient client(socket());
    for (int i = 0; i < 50; ++i)
        EXPECT_THAT(client.call("<get-schema xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">"
                                "<identifier>quorin-intrusion-prevention</identifier></get-schema>"),
                    AllOf(StartsWith("<data xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\">module "
                                     "quorin-intrusion-prevention {"),
                          testing::EndsWith("}\n</data>")));
}

TEST_F(Serve, KeepsSessionsApart)
{
    start();
    RawClient one(socket());
    RawClient two(socket());
    EXPECT_NE(one.session_id(), two.session_id());
    EXPECT_EQ(one.call(with_target("lock", "running")), ok);
    EXPECT_THAT(two.call(with_target("lock", "running")),
                AllOf(HasSubstr("<error-tag>lock-denied</error-tag>"),
                      HasSubstr(fmt::format("<session-id>{}</session-id>", one.session_id()))));
    EXPECT_THAT(two.call(edit("running", config_with(web))), HasSubstr("<error-tag>in-use</error-tag>"));
    EXPECT_EQ(two.call(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", one.session_id())), ok);
    EXPECT_EQ(two.call(edit("running", config_with(web))), ok);
    EXPECT_EQ(one.receive(), "");
}

TEST_F(Serve, FreesWhatALostClientHolds)
{
    start();
    RawClient one(socket());
    RawClient two(socket());
    one.call(with_target("lock", "running"));
    one.hang_up();
    std::string answer;
    for (int i = 0; i < 100 && answer != ok; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        answer = two.call(with_target("lock", "running"));
    }
    EXPECT_EQ(answer, ok);
    EXPECT_THAT(two.call("<get/>"), HasSubstr("<dropped-sessions>1</dropped-sessions>"));
}

TEST_F(Serve, TakesBackWhatNobodyConfirms)
{
    start();
    RawClient client(socket());
    client.call(edit("candidate", config_with(web)));
    EXPECT_EQ(client.call("<commit><confirmed/><confirm-timeout>1</confirm-timeout></commit>"), ok);
    EXPECT_EQ(client.call(get_config("running")), "<data>" + config_with(web) + "</data>");
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    EXPECT_EQ(client.call(get_config("running")), "<data/>");
}

TEST_F(Serve, OutlivesBadClients)
{
    start();
    const std::vector<std::string> messages = {"\n#5\n<rpc>\n##\n", "\n#abc\n",        "no frame at all",
                                               "\n#4\nabcd\n##\n",  "\n#4294967296\n", "\n#10\n<a><b/></c>\n##\n"};
    for (const std::string& message : messages) {
        RawClient client(socket());
        client.send_bytes(message);
        client.hang_up();
        RawClient other(socket());
        EXPECT_EQ(other.call(get_config("running")), "<data/>") << message;
    }
}

// The client is still sending: it gets its answer and an end, not a reset connection.
TEST_F(Serve, EndsTheConnectionInOrder)
{
    start();
    RawClient client(socket(), RawClient::Greeting::old);
    client.send("<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"1\"><close-session/></rpc>");
    client.send_bytes(std::string(100000, ' '));
    EXPECT_THAT(client.receive(), HasSubstr(ok));
    EXPECT_EQ(client.receive(), "");
}

TEST_F(Serve, EndsCleanlyAndKeepsTheConfiguration)
{
    start();
    {
        RawClient client(socket());
        EXPECT_EQ(client.call(edit("running", config_with(web))), ok);
        server_->stop();
        EXPECT_EQ(client.receive(), "");
    }
    EXPECT_FALSE(std::filesystem::exists(socket()));
    server_.reset();
    start();
    RawClient client(socket());
    EXPECT_EQ(client.call(get_config("running")), "<data>" + config_with(web) + "</data>");
}

TEST_F(Serve, LetsNobodyElseOpenTheSocket)
{
    start();
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(socket()).permissions() & (perms::group_all | perms::others_all), perms::none);
}

TEST_F(Serve, DoesNotServeWhereSomethingElseIs)
{
    write_file(socket(), "precious");
    EXPECT_THROW(start(), std::runtime_error);
    EXPECT_EQ(content_of(socket()), "precious");
}

TEST_F(Serve, LeavesAnotherServerItsSocket)
{
    start();
    std::string reason;
    try {
        const ServeProcess second(folder_.path() / "other", {"--unix", socket()});
    } catch (const std::runtime_error& error) {
        reason = error.what();
    }
    EXPECT_THAT(reason, HasSubstr(socket() + ": a server listens there already"));
    RawClient client(socket());
    EXPECT_EQ(client.call(get_config("running")), "<data/>");
}

// Somebody has moved the socket away and has put another one there.
TEST_F(Serve, LeavesASocketThatIsNotItsOwn)
{
    start();
    std::filesystem::rename(socket(), folder_.file("moved"));
    {
        ServeProcess second(folder_.path() / "other", {"--unix", socket()});
        server_->stop();
        RawClient client(socket());
        EXPECT_EQ(client.call(get_config("running")), "<data/>");
    }
    EXPECT_FALSE(std::filesystem::exists(socket()));
}

} // namespace
} // namespace qnips::test
