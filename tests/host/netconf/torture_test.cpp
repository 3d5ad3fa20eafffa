// Clients that are silent, slow, broken or hostile: each gets what it deserves, and nobody else notices.

#include <chrono>
#include <filesystem>
#include <optional>
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
using testing::StartsWith;
using Greeting = RawClient::Greeting;

const std::string base = "urn:ietf:params:xml:ns:netconf:base:1.0";
const std::string web = profile("web", "<description>a</description>");

std::string request(const std::string& operation)
{
    return fmt::format(R"(<rpc xmlns="{}" message-id="5">{}</rpc>)", base, operation);
}

// Many profiles, as one configuration.
std::string profiles(int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += profile(fmt::format("p{}", i), "<description>one of many</description>");
    return config_with(all);
}

std::size_t occurrences(const std::string& text, std::string_view of)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(of); at != std::string::npos; at = text.find(of, at + of.size()))
        ++count;
    return count;
}

class Torture : public testing::Test
{
protected:
    // With these lines of the settings' [limits].
    void start(const std::string& limits = "")
    {
        write_file(folder_.file("settings"), "[limits]\n" + limits);
        server_.emplace(folder_.path() / "state",
                        std::vector<std::string>{"--unix", socket(), "--config", folder_.file("settings"),
                                                 "--log-target", folder_.file("log")});
    }
    [[nodiscard]] std::string socket() const { return folder_.file("socket"); }
    // That somebody else can work.
    void expect_service()
    {
        RawClient client(socket());
        EXPECT_EQ(client.call(edit("running", config_with(web))), ok);
        EXPECT_THAT(client.call(get_config("running")), HasSubstr(web));
    }
    // Whether it becomes true within half a minute.
    static bool becomes_true(const std::function<bool()>& condition)
    {
        for (int i = 0; i < 600; ++i) {
            if (condition())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    TemporaryFolder folder_;
    std::optional<ServeProcess> server_;
};

// ----------------------------------------------------------------------------------------------- broken messages --

struct Broken {
    std::string message;
    std::string tag;
    std::string info; // what the error-info has
};

const std::vector<Broken> broken_messages = {
    {"<rpc", "malformed-message", ""},
    {"no XML", "malformed-message", ""},
    {request("<get>"), "malformed-message", ""},
    {"<!DOCTYPE a [<!ENTITY b \"c\">]>" + request("<get/>"), "malformed-message", ""},
    {fmt::format(R"(<rpc xmlns="{}"><get/></rpc>)", base), "missing-attribute",
     "<bad-attribute>message-id</bad-attribute><bad-element>rpc</bad-element>"},
    {request("<none/>"), "operation-not-supported", ""},
    {request("<none xmlns=\"urn:none\"/>"), "unknown-namespace",
     "<bad-element>none</bad-element><bad-namespace>urn:none</bad-namespace>"},
    {request("<lock><target><moon/></target></lock>"), "unknown-element", "<bad-element>moon</bad-element>"},
    {request(edit("running", config_with("<profile operation=\"delete\"><name>web</name></profile>"))),
     "unknown-attribute", "<bad-attribute>operation</bad-attribute><bad-element>profile</bad-element>"},
    {request(edit("running", "<other xmlns=\"urn:other\"/>")), "unknown-namespace",
     "<bad-element>other</bad-element><bad-namespace>urn:other</bad-namespace>"},
    {request(
         edit("running",
              config_with(fmt::format(
                  "<profile><name>web</name><signature-sets><signature-set xmlns:y=\"urn:ietf:params:xml:ns:yang:1\" "
                  "y:insert=\"after\"><name>b</name></signature-set></signature-sets></profile>")))),
     "bad-attribute", "<bad-attribute>key</bad-attribute><bad-element>signature-set</bad-element>"},
    {request("<kill-session><session-id>moon</session-id></kill-session>"), "invalid-value",
     "<bad-element>session-id</bad-element>"},
    {request(fmt::format("<edit-config><target><running/></target><config xmlns:nc=\"{}\" nc:operation=\"replace\">{}"
                         "</config></edit-config>",
                         base, config_with(profile("mail")))),
     "unknown-attribute", "<bad-attribute>operation</bad-attribute><bad-element>config</bad-element>"},
    {request(edit(
         "running",
         config_with(profile(
             "web",
             "<associated-check-enable xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\" wd:default=\"1\">true"
             "</associated-check-enable>")))),
     "invalid-value", ""},
    {request("<validate><source><running/><candidate/></source></validate>"), "bad-element",
     "<bad-element>candidate</bad-element>"},
    {request("<get foo=\"x\"/>"), "unknown-attribute",
     "<bad-attribute>foo</bad-attribute><bad-element>get</bad-element>"},
    {request("<get><filter type=\"xpath\" select=\"/x:y\"/></get>"), "bad-attribute",
     "<bad-attribute>select</bad-attribute><bad-element>filter</bad-element>"},
};

TEST_F(Torture, AnswersBrokenMessagesAndGoesOn)
{
    start();
    RawClient client(socket());
    EXPECT_EQ(client.call(edit("running", config_with(web))), ok);
    for (const Broken& broken : broken_messages) {
        EXPECT_THAT(client.answer_to(broken.message),
                    AllOf(HasSubstr("<rpc-error>"), HasSubstr("<error-tag>" + broken.tag), HasSubstr(broken.info)))
            << broken.message;
        EXPECT_EQ(client.call(get_config("running")), "<data>" + config_with(web) + "</data>") << broken.message;
    }
    EXPECT_THAT(content_of(folder_.file("log")),
                HasSubstr("event=request session=1 user=root outcome=error errors=1 tag=malformed-message "
                          "path=\"\" message=\"the message is no XML"));
}

// NETCONF 1.0 has no answer to what is no XML (RFC 6241, 3), and to the rest the same.
TEST_F(Torture, EndsOldSessionsWithWhatIsNoXml)
{
    start();
    for (const Broken& broken : broken_messages) {
        RawClient client(socket(), Greeting::old);
        const std::string answer = client.answer_to(broken.message);
        if (broken.tag == "malformed-message")
            EXPECT_EQ(answer, "") << broken.message;
        else
            EXPECT_THAT(answer, HasSubstr("<error-tag>" + broken.tag)) << broken.message;
    }
    expect_service();
}

TEST_F(Torture, KeepsTheAttributesOfARefusedRequest)
{
    start();
    RawClient client(socket());
    EXPECT_THAT(
        client.answer_to(fmt::format(R"(<x:rpc xmlns:x="{}" message-id="a&amp;b" other="1"><x:none/></x:rpc>)", base)),
        AllOf(StartsWith("<rpc-reply xmlns=\"" + base + "\" "), HasSubstr("message-id=\"a&amp;b\""),
              HasSubstr("other=\"1\"")));
}

TEST_F(Torture, AnswersRequestsInTheirOrder)
{
    start();
    RawClient client(socket());
    for (int i = 0; i < 50; ++i)
        client.send(fmt::format(R"(<rpc xmlns="{}" message-id="{}">{}</rpc>)", base, i,
                                i % 3 == 0 ? "<none/>" : "<unlock><target><running/></target></unlock>"));
    for (int i = 0; i < 50; ++i)
        EXPECT_THAT(client.receive(), AllOf(HasSubstr(fmt::format("message-id=\"{}\"", i)),
                                            HasSubstr(i % 3 == 0 ? "operation-not-supported" : "operation-failed")));
}

TEST_F(Torture, EndsSessionsWithWrongFraming)
{
    start();
    for (const char* bytes : {"\n#0\n", "\n#abc\n", "no frame at all", "\n#4294967296\n", "\n##\n", "\n#-1\n",
                              "\n#5\n<rpc>##\n", "]]>]]>", "\n#4\nabcd\n#0\n"}) {
        RawClient client(socket());
        EXPECT_EQ(client.call(with_target("lock", "running")), ok) << bytes;
        client.send_bytes(bytes);
        EXPECT_EQ(client.receive(), "") << bytes;
        RawClient next(socket());
        EXPECT_EQ(next.call(with_target("lock", "running")), ok) << bytes;
        EXPECT_EQ(next.call(with_target("unlock", "running")), ok) << bytes;
    }
    server_->stop();
}

TEST_F(Torture, EndsSessionsThatBeginWrongly)
{
    start();
    const std::vector<std::string> hellos = {
        "<hello",
        "no XML",
        "<hello/>",
        request("<get/>"),
        fmt::format("<hello xmlns=\"{}\"><capabilities/></hello>", base),
        fmt::format("<hello xmlns=\"{}\">{}</hello>", base, std::string(100000, ' '))};
    for (const std::string& hello : hellos) {
        RawClient client(socket(), Greeting::none);
        client.send(hello);
        EXPECT_EQ(client.receive(), "") << hello;
    }
    RawClient client(socket());
    EXPECT_THAT(client.call("<get/>"), HasSubstr(fmt::format("<in-bad-hellos>{}</in-bad-hellos>", hellos.size())));
}

// ---------------------------------------------------------------------------------------------------------- size --

TEST_F(Torture, RefusesMessagesOverTheLimitWithoutKeepingThem)
{
    start("message-size = 65536\n");
    constexpr std::size_t megabyte = std::size_t{1024} * 1024;
    const std::string part(megabyte, ' ');
    const std::size_t before = server_->peak_memory();
    for (const Greeting greeting : {Greeting::present, Greeting::old}) {
        RawClient client(socket(), greeting);
        const bool is_chunked = greeting == Greeting::present;
        const std::string head = fmt::format(R"(<rpc xmlns="{}" message-id="5"><get>)", base);
        client.send_bytes(is_chunked ? fmt::format("\n#{}\n{}", head.size(), head) : head);
        for (int i = 0; i < 100; ++i)
            client.send_bytes(is_chunked ? fmt::format("\n#{}\n{}", part.size(), part) : part);
        client.send_bytes(is_chunked ? "\n##\n" : "]]>]]>");
        EXPECT_THAT(client.receive(), AllOf(HasSubstr("message-id=\"5\""), HasSubstr("<error-type>rpc</error-type>"),
                                            HasSubstr("<error-tag>too-big</error-tag>")));
        EXPECT_EQ(client.call(get_config("running")), "<data/>");
        EXPECT_EQ(client.call(edit("running", profiles(100))), ok); // most of what is allowed
        EXPECT_EQ(client.call(with_target("delete-config", "startup")), ok);
        EXPECT_EQ(
            client.call(edit("running", fmt::format(R"(<ips-config xmlns="{}" xmlns:n="{}" n:operation="remove"/>)",
                                                    ips_namespace, base))),
            ok);
    }
    if (memory_tells) {
        EXPECT_LT(server_->peak_memory() - before, 50 * megabyte);
    }
}

// -------------------------------------------------------------------------------------------------- slow clients --

TEST_F(Torture, LetsSilentClientsKeepNobodyOut)
{
    start("hello-timeout = 2\n");
    constexpr int count = 100;
    std::vector<std::unique_ptr<RawClient>> silent;
    silent.reserve(count);
    for (int i = 0; i < count; ++i)
        silent.push_back(std::make_unique<RawClient>(socket(), Greeting::none));
    expect_service();
    for (const auto& client : silent)
        EXPECT_EQ(client->receive(), ""); // ends before the test loses patience
    expect_service();
}

TEST_F(Torture, LetsClientsWithHalfAMessageKeepNobodyOut)
{
    start();
    std::vector<std::unique_ptr<RawClient>> half;
    for (int i = 0; i < 20; ++i) {
        half.push_back(std::make_unique<RawClient>(socket()));
        half.back()->send_bytes("\n#4000000\n<rpc ");
    }
    expect_service();
    server_->stop();
}

TEST_F(Torture, LetsSlowReadersKeepNobodyWaiting)
{
    start();
    RawClient worker(socket());
    EXPECT_EQ(worker.call(edit("running", profiles(500))), ok);
    RawClient slow(socket());
    for (int i = 0; i < 100; ++i)
        slow.send(request(get_config("running"))); // of whose answers it reads nothing
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(worker.call(edit("running", config_with(web))), ok);
    EXPECT_EQ(worker.call(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", slow.session_id())),
              ok);
    EXPECT_TRUE(becomes_true([&] {
        return occurrences(worker.call("<get><filter type=\"subtree\"><netconf-state "
                                       "xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\"><sessions/>"
                                       "</netconf-state></filter></get>"),
                           "<session>") == 1;
    }));
    server_->stop();
}

// An expression over all data that costs more than anybody's time.
const std::string for_ever =
    "<get><filter type=\"xpath\" select=\"//*[count(//*[count(//*[count(//*)>0])>0])>0]\"/></get>";

// The same for the one notification that a subscription's expression is tried on.
std::string subscription_for_ever()
{
    const std::string letters(60000, 'a');
    const std::string term = fmt::format("string-length(translate('{}','{}b',''))>0", letters, std::string(60000, 'b'));
    std::string all = term;
    for (int i = 0; i < 4; ++i)
        all += " and " + term;
    return fmt::format("<create-subscription xmlns=\"urn:ietf:params:xml:ns:netconf:notification:1.0\"><filter "
                       "type=\"xpath\" select=\"/self::node()[{}]\"/></create-subscription>",
                       all);
}

TEST_F(Torture, LetsCostlyFiltersKeepNobodyWaiting)
{
    start();
    for (const std::string& costly : {for_ever, subscription_for_ever()}) {
        RawClient client(socket());
        EXPECT_EQ(client.call(edit("running", config_with(web))), ok);
        client.send(request(costly));
        for (int i = 0; i < 3; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            expect_service();
        }
        RawClient killer(socket());
        EXPECT_EQ(
            killer.call(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", client.session_id())),
            ok);
        EXPECT_THAT(killer.call("<get><filter type=\"subtree\"><netconf-state "
                                "xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\"><sessions/>"
                                "</netconf-state></filter></get>"),
                    testing::Not(HasSubstr(fmt::format("<session-id>{}<", client.session_id()))));
        EXPECT_EQ(client.receive(), "");
    }
    server_->stop();
    EXPECT_THAT(content_of(folder_.file("log")), HasSubstr("event=stop sessions=abandoned"));
}

TEST_F(Torture, CountsAsBadWhatIsNoRequest)
{
    start();
    RawClient client(socket());
    const std::string counters = "<get><filter type=\"subtree\"><netconf-state "
                                 "xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\"><statistics/>"
                                 "</netconf-state></filter></get>";
    EXPECT_THAT(client.answer_to(request("<none/>")), HasSubstr("operation-not-supported"));
    EXPECT_THAT(client.call(counters), HasSubstr("<in-bad-rpcs>0</in-bad-rpcs><out-rpc-errors>1</out-rpc-errors>"));
    EXPECT_THAT(client.answer_to("<rpc"), HasSubstr("malformed-message"));
    EXPECT_THAT(client.call(counters), HasSubstr("<in-bad-rpcs>1</in-bad-rpcs><out-rpc-errors>2</out-rpc-errors>"));
}

TEST_F(Torture, AnswersAClientThatHasSentItsLast)
{
    start();
    RawClient client(socket());
    client.send(request(edit("running", config_with(web))));
    client.send(request(get_config("running")));
    client.close_half();
    EXPECT_THAT(client.receive(), HasSubstr(ok));
    EXPECT_THAT(client.receive(), HasSubstr(web));
    EXPECT_EQ(client.receive(), "");
}

// -------------------------------------------------------------------------------------------------------- limits --

TEST_F(Torture, RefusesSessionsOverTheLimitClearly)
{
    start("sessions = 2\n");
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 6; ++i) { // the local administrator has four places more
        clients.push_back(std::make_unique<RawClient>(socket()));
        EXPECT_EQ(clients.back()->call(get_config("running")), "<data/>");
    }
    RawClient last(socket());
    EXPECT_THAT(last.call(get_config("running")), AllOf(HasSubstr("<error-type>transport</error-type>"),
                                                        HasSubstr("<error-tag>resource-denied</error-tag>")));
    EXPECT_EQ(last.receive(), "");
    EXPECT_EQ(clients.front()->call("<close-session/>"), ok);
    EXPECT_EQ(clients.front()->receive(), "");
    EXPECT_TRUE(becomes_true([&] {
        RawClient next(socket());
        return next.call(get_config("running")) == "<data/>";
    }));
}

TEST_F(Torture, EndsIdleSessions)
{
    start("idle-timeout = 1\n");
    RawClient client(socket());
    EXPECT_EQ(client.call(with_target("lock", "running")), ok);
    EXPECT_EQ(client.receive(), "");
    RawClient next(socket());
    EXPECT_EQ(next.call(with_target("lock", "running")), ok);
}

// ------------------------------------------------------------------------------------------- ends of sessions --

TEST_F(Torture, TakesBackTheEditOfASessionThatIsKilled)
{
    start();
    constexpr int count = 1000;
    const auto was_aborted = [&] {
        return content_of(folder_.file("log")).find("message=\"the edit was aborted\"") != std::string::npos;
    };
    // Sooner or later it is killed between two callbacks.
    for (int wait = 0; wait < 1000 && !was_aborted(); wait += 10) {
        RawClient killer(socket());
        RawClient victim(socket());
        victim.call(get_config("startup")); // others can know of a session from then on
        victim.send(request(edit("running", profiles(count))));
        std::this_thread::sleep_for(std::chrono::milliseconds(wait));
        EXPECT_EQ(
            killer.call(fmt::format("<kill-session><session-id>{}</session-id></kill-session>", victim.session_id())),
            ok);
        const std::size_t seen = occurrences(killer.call(get_config("running")), "<profile>");
        EXPECT_TRUE(seen == 0 || seen == count) << seen;
        EXPECT_EQ(occurrences(killer.call(get_config("running")), "<profile>"), seen);
        EXPECT_EQ(
            killer.call(edit("running", fmt::format(R"(<ips-config xmlns="{}" xmlns:n="{}" n:operation="remove"/>)",
                                                    ips_namespace, base))),
            ok);
    }
    EXPECT_TRUE(was_aborted());
}

TEST_F(Torture, FinishesTheEditInProgressWhenItEnds)
{
    start();
    constexpr int count = 150;
    {
        RawClient client(socket());
        client.send(request(edit("running", profiles(count))));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        server_->stop();
    }
    server_.reset();
    start();
    RawClient client(socket());
    const std::size_t seen = occurrences(client.call(get_config("running")), "<profile>");
    EXPECT_TRUE(seen == 0 || seen == count) << seen;
}

TEST_F(Torture, FreesWhatClientsHoldThatVanish)
{
    start();
    RawClient next(socket());
    for (int i = 0; i < 20; ++i) {
        RawClient client(socket());
        EXPECT_TRUE(becomes_true([&] { return client.call(with_target("lock", "running")) == ok; }));
        client.send_bytes("\n#1000\n<rpc");
        client.hang_up();
    }
    EXPECT_TRUE(becomes_true([&] { return next.call(with_target("lock", "running")) == ok; }));
}

} // namespace
} // namespace qnips::test
