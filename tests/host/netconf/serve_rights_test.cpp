// Who may do what on the running server, over SSH and over the socket; its settings, and what it reads anew on SIGHUP.

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/child_process.h"
#include "host/store/temporary_folder.h"
#include "netconf_requests.h"
#include "serve_process.h"
#include "ssh_client.h"

namespace qnips::test
{
namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string example = QN_IPS_TEST_DATA "/../../../examples/nacm.xml";
const std::string get_rules =
    get_config("running", subtree("<nacm xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-acm\"/>"));

std::string nacm(const std::string& content)
{
    return fmt::format("<nacm xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-acm\">{}</nacm>", content);
}

// Everything is permitted to the group.
std::string all_for(const std::string& group, const std::string& members = {})
{
    return nacm(fmt::format("<groups><group><name>{0}</name>{1}</group></groups><rule-list><name>all</name>"
                            "<group>{0}</group><rule><name>all</name><action>permit</action></rule></rule-list>",
                            group, members));
}

const std::string any_port = "127.0.0.1:0";

void become_nobody()
{
    constexpr uid_t nobody = 65534;
    if (setgid(nobody) != 0 || setuid(nobody) != 0)
        throw std::runtime_error("setuid");
}

class ServeRights : public testing::Test
{
protected:
    void SetUp() override { std::filesystem::create_directory(state_); }

    [[nodiscard]] std::string socket() const { return folder_.file("socket"); }
    [[nodiscard]] std::string in_state(const std::string& name) const { return (state_ / name).string(); }
    [[nodiscard]] std::string log() const { return content_of(log_file_); }

    void add_user(const std::string& name)
    {
        users_ += fmt::format("{} password {}\n", name, password_hash);
        write_file(in_state("users"), users_);
    }

    void start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--log-target", log_file_, "--log-level", "debug"});
        server_.emplace(state_, arguments);
    }

    // With a socket that all users of the machine may open, and these lines of the settings.
    void start_for_everybody(const std::string& settings = {})
    {
        const std::string file = folder_.file("settings.toml");
        write_file(file, fmt::format("[unix]\nsocket = \"{}\"\nmode = \"0666\"\n{}", socket(), settings));
        start({"--config", file});
    }

    // Until this stands in what the log has said since.
    void reload_until(const std::string& text)
    {
        const std::size_t before = log().size();
        server_->reload();
        for (int i = 0; i < 600; ++i) {
            if (log().find(text, before) != std::string::npos)
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        FAIL() << "\"" << text << "\" is not in the log:\n" << log();
    }

    // What ncclient_rights.py tells of the users.
    [[nodiscard]] std::string rights(const std::string& names) const
    {
        return shell(fmt::format("/usr/bin/python3 {}/ncclient_rights.py {} {}", QN_IPS_TEST_DATA, server_->port(),
                                 names))
            .text;
    }

    TemporaryFolder folder_;
    std::filesystem::path state_ = folder_.path() / "state";
    std::string log_file_ = folder_.file("log");
    std::string users_;
    std::optional<ServeProcess> server_;
};

TEST_F(ServeRights, WithoutRulesNobodyWritesOverSsh)
{
    add_user("ada");
    add_user("root"); // the name alone makes no administrator
    start({"--ssh", any_port});
    EXPECT_EQ(rights("ada root eve"),
              "ada read=ok write=access-denied\nroot read=ok write=access-denied\neve refused\n");
    EXPECT_THAT(log(), AllOf(HasSubstr("event=login-refused"), HasSubstr("user=eve"), Not(HasSubstr("secret")),
                             HasSubstr("user=ada source=127.0.0.1 operation=edit-config datastore=running "
                                       "outcome=error errors=1 tag=access-denied")));
}

TEST_F(ServeRights, TheExampleTellsAdministratorsFromOthers)
{
    for (const char* name : {"admin", "operator", "guest", "stranger"})
        add_user(name);
    const std::string rules_file = folder_.file("rules.xml"); // a file of this user's, whoever has the example
    write_file(rules_file, content_of(example));
    start({"--ssh", any_port, "--nacm", rules_file});
    EXPECT_EQ(rights("admin operator guest stranger"), "admin read=ok write=ok\n"
                                                       "operator read=ok write=access-denied\n"
                                                       "guest read=ok write=access-denied\n"
                                                       "stranger read=access-denied write=access-denied\n");
}

TEST_F(ServeRights, TheLocalAdministratorWritesWithoutRules)
{
    start({"--unix", socket()});
    RawClient client(socket());
    EXPECT_EQ(client.call(edit("running", config_with(profile("web")))), ok);
    EXPECT_THAT(log(), HasSubstr("event=start"));
}

// Another user of this machine, who is known by the system's groups as well.
TEST_F(ServeRights, AnotherUserOfTheMachineHasWhatRulesGive)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be somebody else";
    start_for_everybody();
    const auto answers = [&] {
        ChildProcess child([&](const Reports& reports) {
            become_nobody();
            RawClient client(socket());
            for (const std::string& request : {get_config("running"), edit("running", config_with(profile("web")))}) {
                const std::string answer = client.call(request);
                reports.say(answer.find("access-denied") != std::string::npos ? "denied" : answer);
            }
        });
        const std::string read = child.line();
        return read + " " + child.line();
    };
    EXPECT_EQ(answers(), "<data/> denied");
    write_file(in_state("nacm.xml"), all_for("nogroup"));
    reload_until("what=access-rules");
    EXPECT_THAT(answers(), testing::EndsWith(" <ok/>"));
}

TEST_F(ServeRights, OthersCannotKeepTheAdministratorOut)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be somebody else";
    start_for_everybody("[limits]\nsessions = 2\n");
    ChildProcess child([&](const Reports& reports) {
        become_nobody();
        RawClient one(socket());
        RawClient two(socket());
        one.call(get_config("running"));
        two.call(get_config("running"));
        RawClient three(socket());
        reports.say(three.call(get_config("running")));
        pause();
    });
    EXPECT_THAT(child.line(), HasSubstr("resource-denied"));
    RawClient administrator(socket());
    EXPECT_EQ(administrator.call(get_config("running")), "<data/>");
    child.kill();
}

TEST_F(ServeRights, RulesThatCannotBeLookedAtAreRefused)
{
    start({"--unix", socket()});
    std::filesystem::create_symlink("nacm.xml", in_state("nacm.xml"));
    reload_until("event=reload what=access-rules file=" + in_state("nacm.xml") + " outcome=error message=");
    RawClient client(socket());
    EXPECT_EQ(client.call(get_rules), "<data/>");
    server_->stop();
}

TEST_F(ServeRights, NewRulesHoldAfterSighupAndBadOnesDoNot)
{
    start({"--unix", socket()});
    RawClient client(socket());
    EXPECT_EQ(client.call(get_rules), "<data/>");

    const std::string rules = all_for("admin");
    write_file(in_state("nacm.xml"), rules);
    reload_until("event=reload what=access-rules file=" + in_state("nacm.xml") + " outcome=ok");
    EXPECT_EQ(client.call(get_rules), "<data>" + rules + "</data>");

    write_file(in_state("nacm.xml"), nacm("<read-default>perhaps</read-default>"));
    reload_until("event=reload what=access-rules file=" + in_state("nacm.xml") + " outcome=error message=");
    EXPECT_EQ(client.call(get_rules), "<data>" + rules + "</data>");

    std::filesystem::remove(state_ / "nacm.xml");
    reload_until("outcome=error message=");
    EXPECT_EQ(client.call(get_rules), "<data>" + rules + "</data>");
    server_->stop();
    EXPECT_THAT(log(), HasSubstr("event=stop"));
}

TEST_F(ServeRights, NewUsersLogInAfterSighup)
{
    add_user("ada");
    start({"--ssh", any_port});
    EXPECT_EQ(rights("ada bob"), "ada read=ok write=access-denied\nbob refused\n");

    users_.clear();
    add_user("bob");
    reload_until("event=reload what=users file=" + in_state("users") + " outcome=ok");
    EXPECT_EQ(rights("ada bob"), "ada refused\nbob read=ok write=access-denied\n");

    write_file(in_state("users"), "bob nothing\n");
    reload_until("event=reload what=users file=" + in_state("users") + " outcome=error");
    EXPECT_EQ(rights("bob"), "bob read=ok write=access-denied\n");
}

// Whoever could read the files of the state would read what access control denies. What was there keeps its mode.
TEST_F(ServeRights, TheStateIsForItsOwnerAlone)
{
    using std::filesystem::perms;
    state_ = folder_.path() / "new" / "state";
    const mode_t before = umask(022);
    start({"--unix", socket()});
    RawClient client(socket());
    EXPECT_EQ(client.call(edit("running", config_with(profile("web")))), ok);
    umask(before);
    EXPECT_EQ(std::filesystem::status(state_).permissions(), perms::owner_all);
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(state_)) {
        EXPECT_EQ(entry.status().permissions() & (perms::group_all | perms::others_all), perms::none) << entry.path();
        ++files;
    }
    EXPECT_GE(files, 2); // the device and its history
    EXPECT_EQ(std::filesystem::status(log_file_).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(ServeRights, TheStateOfOtherCommandsIsForItsOwnerAlone)
{
    state_ = folder_.path() / "new";
    const Said said =
        shell(fmt::format("umask 022; QN_IPS_MODULE={} QN_IPS_YANG_PATH={}:{} {} drift --state {}", QN_IPS_MODULE,
                          QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR, QN_IPS_PROGRAM, state_.string()));
    EXPECT_EQ(said.status, 0) << said.text;
    EXPECT_EQ(std::filesystem::status(state_).permissions(), std::filesystem::perms::owner_all);
}

TEST_F(ServeRights, TheLogIsOpenedAnewOnSighup)
{
    start({"--unix", socket()});
    std::filesystem::rename(log_file_, folder_.file("old"));
    server_->reload();
    for (int i = 0; i < 600 && !std::filesystem::exists(log_file_); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RawClient client(socket());
    client.call(get_config("running"));
    EXPECT_THAT(log(), HasSubstr("operation=get-config"));
    EXPECT_THAT(content_of(folder_.file("old")), Not(HasSubstr("operation=get-config")));
}

TEST_F(ServeRights, TracesFromSighupOn)
{
    const std::string settings = folder_.file("settings.toml");
    const auto write_settings = [&](const char* level) {
        write_file(settings, fmt::format("[unix]\nsocket = \"{}\"\n[log]\nlevel = \"{}\"\ntarget = \"{}\"\n", socket(),
                                         level, log_file_));
    };
    write_settings("info");
    server_.emplace(state_, std::vector<std::string>{"--config", settings});
    RawClient client(socket());
    EXPECT_EQ(client.call(edit("running", config_with(profile("one")))), ok);
    EXPECT_THAT(log(), Not(HasSubstr("event=callback")));

    write_settings("trace");
    write_file(in_state("nacm.xml"), all_for("admin"));
    reload_until("what=access-rules");
    EXPECT_EQ(client.call(edit("running", config_with(profile("two")))), ok);
    EXPECT_THAT(log(), AllOf(HasSubstr("event=callback transaction=2 "), HasSubstr("event=line transaction=2 ")));

    write_settings("loud");
    reload_until("what=settings");
    EXPECT_EQ(client.call(edit("running", config_with(profile("three")))), ok);
    EXPECT_THAT(log(), HasSubstr("event=callback transaction=3 "));
}

TEST_F(ServeRights, OptionsComeBeforeTheSettings)
{
    const std::string settings = folder_.file("settings.toml");
    write_file(settings, fmt::format("[unix]\nsocket = \"{}\"\n[log]\nformat = \"json\"\n", folder_.file("other")));
    start({"--config", settings, "--unix", socket()});
    EXPECT_TRUE(std::filesystem::exists(socket()));
    EXPECT_FALSE(std::filesystem::exists(folder_.file("other")));
    EXPECT_THAT(log(), StartsWith("{\"time\":\""));
}

// 64 sessions, as many newcomers, and the process's own.
TEST_F(ServeRights, HasAsManyFilesAsItMayAndTellsWhenTheyAreTooFew)
{
    struct Case {
        rlim_t soft;
        rlim_t hard;
        testing::Matcher<std::string> log;
    };
    const auto told = HasSubstr("level=warning event=few-descriptors limit=300 needed=544 sessions=64");
    const std::vector<Case> cases = {{300, 300, told}, {200, 300, told}, {300, 544, Not(HasSubstr("few-descriptors"))}};
    for (const Case& one : cases) {
        write_file(log_file_, "");
        const std::string said = in_child([&](const Reports& reports) {
            const rlimit limit{one.soft, one.hard};
            if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
                throw std::runtime_error("setrlimit");
            start({"--unix", socket()});
            reports.say(RawClient(socket()).call(get_config("running")));
            server_.reset();
        });
        EXPECT_EQ(said, "<data/>\n");
        EXPECT_THAT(log(), one.log) << one.soft << " of " << one.hard;
    }
}

TEST_F(ServeRights, DoesNotStartWithBadSettings)
{
    const std::string settings = folder_.file("settings.toml");
    struct Case {
        const char* text;
        std::vector<std::string> arguments;
    };
    const std::vector<Case> cases = {
        {"[unix]\nsokket = \"a\"\n", {"--config", settings}},
        {"", {"--config", settings}}, // nothing to serve on
        {"", {"--config", folder_.file("none")}},
        {"[access]\nrules = \"none\"\n", {"--config", settings, "--unix", socket()}},
        {"", {"--config", settings, "--unix", socket(), "--nacm", settings}},
        {"", {"--unix", socket(), "--log-level", "loud"}},
    };
    for (const Case& one : cases) {
        write_file(settings, one.text);
        EXPECT_THROW(ServeProcess(state_, one.arguments), std::runtime_error) << one.text;
        EXPECT_FALSE(std::filesystem::exists(socket()));
    }
}

} // namespace
} // namespace qnips::test
