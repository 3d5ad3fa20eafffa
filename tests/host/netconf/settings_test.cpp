// The settings' file, and what is said of a wrong one.
#include "netconf/settings.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"

namespace qnips::test
{
namespace
{

using namespace std::chrono_literals;

// Everything as text, so that a difference is seen.
std::string text_of(const ServeSettings& all)
{
    std::string text = fmt::format("state={} socket={} mode={:o} host-key={} users={} rules={}\n", all.state.string(),
                                   all.socket.string(), all.socket_mode, all.host_key.string(), all.users.string(),
                                   all.access_rules.string());
    for (const SshEndpoint& endpoint : all.ssh)
        text += fmt::format("{} {}\n", endpoint.address, endpoint.port);
    const ServerLimits& limits = all.limits;
    return text +
           fmt::format("sessions={} message={} hello={} idle={} attempts={} login={} level={} format={} target={}",
                       limits.sessions, limits.message_bytes, limits.hello_seconds.count(), limits.idle_seconds.count(),
                       limits.login_attempts, limits.login_seconds.count(), static_cast<int>(all.log.level),
                       static_cast<int>(all.log.format), all.log.target);
}

TEST(Settings, OfAnEmptyFileAreTheDefaults)
{
    EXPECT_EQ(text_of(parse_settings("", "x.toml")), text_of(ServeSettings()));
}

const std::vector<const char*> keys = {
    "state = ",         "socket = ",   "mode = ",         "listen = ",        "host-key = ",     "users = ",
    "rules = ",         "sessions = ", "message-size = ", "hello-timeout = ", "idle-timeout = ", "login-attempts = ",
    "login-timeout = ", "level = ",    "format = ",       "target = "};

TEST(Settings, TheExampleHasEveryKeyWithItsDefault)
{
    const std::string file = QN_IPS_TEST_DATA "/../../../examples/qn-ips-serve.toml";
    EXPECT_EQ(text_of(load_settings(file)), text_of(ServeSettings()));
    const std::string text = content_of(file);
    for (const char* key : keys)
        EXPECT_THAT(text, testing::HasSubstr(fmt::format("\n{}", key)));
}

TEST(Settings, AreReadAndPathsAreMeantFromTheFile)
{
    const ServeSettings all = parse_settings(R"(state = "state"
[unix]
socket = "/run/socket"
mode = "0660"
[ssh]
listen = ["127.0.0.1:830", "[::1]:8300"]
host-key = "key"
users = "../users"
[access]
rules = "nacm.xml"
[limits]
sessions = 7
message-size = 4096
hello-timeout = 5
idle-timeout = 600
login-attempts = 2
login-timeout = 9
[log]
level = "debug"
format = "json"
target = "log"
)",
                                             "/etc/qn/x.toml");
    ServeSettings expected;
    expected.state = "/etc/qn/state";
    expected.socket = "/run/socket";
    expected.socket_mode = 0660;
    expected.ssh = {{"127.0.0.1", 830}, {"::1", 8300}};
    expected.host_key = "/etc/qn/key";
    expected.users = "/etc/qn/../users";
    expected.access_rules = "/etc/qn/nacm.xml";
    expected.limits = {.sessions = 7,
                       .message_bytes = 4096,
                       .hello_seconds = 5s,
                       .idle_seconds = 600s,
                       .login_attempts = 2,
                       .login_seconds = 9s};
    expected.log = {LogLevel::debug, LogFormat::json, "/etc/qn/log"};
    EXPECT_EQ(text_of(all), text_of(expected));
    EXPECT_EQ(parse_settings("log.target = \"syslog\"", "/etc/x").log.target, "syslog");
}

TEST(Settings, AreRefusedWithFileLineAndKey)
{
    struct Case {
        std::string text;
        std::string message;
    };
    const std::string number = "expected: a whole number, ";
    const std::string levels = "is no level of the log; there are trace, debug, info, warning, error, off";
    const std::vector<Case> cases = {
        {"state = 1", "x.toml:1: state: expected: a text"},
        {"\n\nstatus = \"a\"", "x.toml:3: status: there is no such setting"},
        {"unix = 3", "x.toml:1: unix: there is no such setting"},
        {"[unix]\nsocket = [\"a\"]", "x.toml:2: unix.socket: expected: a text"},
        {"[unix.mode]\na = 1", "x.toml:1: unix.mode: expected: a text"},
        {"[unix]\nmode = 600", "x.toml:2: unix.mode: expected: a text"},
        {"[unix]\nmode = \"0777\"", "x.toml:2: unix.mode: \"0777\" is no mode of a socket, such as 0600 or 0660"},
        {"[unix]\nmode = \"0688\"", "x.toml:2: unix.mode: \"0688\" is no mode of a socket, such as 0600 or 0660"},
        {"[ssh]\nlisten = \"127.0.0.1:830\"", "x.toml:2: ssh.listen: expected: a list of texts"},
        {"[ssh]\nlisten = [\n 830 ]", "x.toml:3: ssh.listen: expected: a text"},
        {"[ssh]\nlisten = [\"830\"]", "x.toml:2: ssh.listen: \"830\" is no address with a port, such as 127.0.0.1:830"},
        {"[nothing]\na = 1", "x.toml:1: nothing: there is no such setting"},
        {"[limits]\nsession = 1", "x.toml:2: limits.session: there is no such setting"},
        {"[limits]\nsessions = 0", "x.toml:2: limits.sessions: " + number + "1 to 10000"},
        {"[limits]\nsessions = 10001", "x.toml:2: limits.sessions: " + number + "1 to 10000"},
        {"[limits]\nsessions = 1.5", "x.toml:2: limits.sessions: " + number + "1 to 10000"},
        {"[limits]\nsessions = \"9\"", "x.toml:2: limits.sessions: " + number + "1 to 10000"},
        {"[limits]\nmessage-size = 4095", "x.toml:2: limits.message-size: " + number + "4096 to 2147483648"},
        {"[limits]\nhello-timeout = 0", "x.toml:2: limits.hello-timeout: " + number + "1 to 65535"},
        {"[limits]\nidle-timeout = -1", "x.toml:2: limits.idle-timeout: " + number + "0 to 65535"},
        {"[limits]\nidle-timeout = 65536", "x.toml:2: limits.idle-timeout: " + number + "0 to 65535"},
        {"[limits]\nlogin-attempts = 101", "x.toml:2: limits.login-attempts: " + number + "1 to 100"},
        {"[limits]\nlogin-timeout = 0", "x.toml:2: limits.login-timeout: " + number + "1 to 65535"},
        {"[log]\nlevel = \"loud\"", "x.toml:2: log.level: \"loud\" " + levels},
        {"[log]\nformat = \"xml\"", "x.toml:2: log.format: \"xml\" is no format of the log; there are text, json"},
    };
    for (const Case& one : cases) {
        try {
            parse_settings(one.text, "x.toml");
            ADD_FAILURE() << one.text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), one.message);
        }
    }
}

TEST(Settings, ThatAreNoTomlAreRefusedWithTheLine)
{
    for (const char* text : {"\nstate", "\nstate = ", "\nstate = \"a", "\n[unix", "\nstate = \"a\" b"}) {
        try {
            parse_settings(text, "x.toml");
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("x.toml:2: ")) << text;
        }
    }
    // A key that stands there twice.
    EXPECT_THROW(parse_settings("state = \"a\"\nstate = \"b\"", "x.toml"), std::runtime_error);
    EXPECT_THROW(load_settings("/nowhere/x.toml"), std::runtime_error);
}

TEST(Settings, AnEndpointIsAnAddressWithAPort)
{
    struct Case {
        const char* text;
        const char* address; // null: refused
        std::uint16_t port;
    };
    for (const Case& one :
         {Case{"127.0.0.1:830", "127.0.0.1", 830}, Case{"[::1]:1", "::1", 1}, Case{"host:65535", "host", 65535},
          Case{"host:65536", nullptr, 0}, Case{"host:0", "host", 0}, Case{"host", nullptr, 0}, Case{":830", nullptr, 0},
          Case{"host:", nullptr, 0}, Case{"host:8x", nullptr, 0}, Case{"host:-1", nullptr, 0}}) {
        if (one.address == nullptr) {
            EXPECT_THROW(read_endpoint(one.text), std::runtime_error) << one.text;
            continue;
        }
        const SshEndpoint endpoint = read_endpoint(one.text);
        EXPECT_EQ(endpoint.address, one.address);
        EXPECT_EQ(endpoint.port, one.port);
    }
}

} // namespace
} // namespace qnips::test
