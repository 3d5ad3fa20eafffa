// The server over SSH, as ncclient and OpenSSH meet it, and clients who are up to no good.
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
#include "netconf/file_descriptor.h"
#include "serve_process.h"
#include "ssh_client.h"

namespace qnips::test
{
namespace
{

// Everything is permitted to ada and bob.
constexpr const char* rules =
    "<nacm xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-acm'><groups><group><name>admin</name>"
    "<user-name>ada</user-name><user-name>bob</user-name></group></groups>"
    "<rule-list><name>admin</name><group>admin</group><rule><name>everything</name><action>permit</action></rule>"
    "</rule-list></nacm>";

class Ssh : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::create_directory(state_);
        const Said made = shell(fmt::format("ssh-keygen -q -t ed25519 -N '' -f {}", key_));
        ASSERT_EQ(made.status, 0) << made.text;
        write_file((state_ / "nacm.xml").string(), rules);
        write_file((state_ / "users").string(),
                   fmt::format("ada key {}bob password {}\n", content_of(key_ + ".pub"), password_hash));
    }

    TemporaryFolder folder_;
    std::filesystem::path state_ = folder_.path() / "state";
    std::string key_ = folder_.file("client_key");
    const std::vector<std::string> over_ssh_ = {"--ssh", "127.0.0.1:0"};
};

TEST_F(Ssh, ServesNcclient)
{
    ServeProcess server(state_, over_ssh_);
    const Said client =
        shell(fmt::format("/usr/bin/python3 {}/ncclient_session.py {} {}", QN_IPS_TEST_DATA, server.port(), key_));
    EXPECT_EQ(client.status, 0) << client.text;
    EXPECT_EQ(client.text, "done\n");
    server.stop();
}

// OpenSSH sends what it is given and then no more; it prints what the server answers.
std::string openssh(const std::string& port, const std::string& key, const std::string& more = "")
{
    return fmt::format(
        "ssh -q -p {} -i {} -o BatchMode=yes -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null "
        "-o IdentitiesOnly=yes {} ada@127.0.0.1 -s netconf",
        port, key, more);
}

const std::string old_hello = "<hello xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\"><capabilities><capability>"
                              "urn:ietf:params:netconf:base:1.0</capability></capabilities></hello>]]>]]>\n";

std::string old_request(const std::string& content)
{
    return fmt::format("<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" message-id=\"5\">{}</rpc>]]>]]>\n",
                       content);
}

TEST_F(Ssh, AnswersAClientThatHasSentItsLast)
{
    const ServeProcess server(state_, over_ssh_);
    write_file(folder_.file("messages"), old_hello +
                                             old_request("<get-config><source><running/></source></get-config>") +
                                             old_request("<none/>"));
    const Said said = shell(fmt::format("{} <{}", openssh(server.port(), key_), folder_.file("messages")));
    EXPECT_EQ(said.status, 0) << said.text;
    EXPECT_THAT(said.text, testing::AllOf(testing::HasSubstr("<data"), testing::HasSubstr("operation-not-supported")));
}

// A client that is still sending when its session ends gets all answers and an orderly end, no reset connection, which
// would take away what it has not read yet.
TEST_F(Ssh, EndsTheConnectionInOrder)
{
    const ServeProcess server(state_, over_ssh_);
    write_file(folder_.file("messages"), old_hello + old_request("<close-session/>") + std::string(1500000, ' '));
    for (int i = 0; i < 20; ++i) {
        const Said said = shell(fmt::format("{} <{}", openssh(server.port(), key_), folder_.file("messages")));
        EXPECT_EQ(said.status, 0) << said.text;
        EXPECT_THAT(said.text, testing::HasSubstr("<ok/>"));
    }
}

TEST_F(Ssh, HasNothingButNetconf)
{
    const ServeProcess server(state_, over_ssh_);
    const std::string netconf = openssh(server.port(), key_);
    const std::string ssh = netconf.substr(0, netconf.find(" -s netconf"));
    for (const std::string& command : {ssh + " id", ssh + " -s sftp", ssh + " -tt",
                                       ssh + " -N -L 0:127.0.0.1:22 -o "
                                             "ExitOnForwardFailure=yes -W x:1"}) {
        const Said said = shell("timeout 20 " + command + " </dev/null");
        EXPECT_NE(said.status, 0) << command << said.text;
    }
}

FileDescriptor connected_to(const std::string& port)
{
    FileDescriptor connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoul(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no connection");
    return connection;
}

// Neither those that say nothing, nor those that begin and stop.
TEST_F(Ssh, LetsSilentClientsKeepNobodyOut)
{
    ServeProcess server(state_, over_ssh_);
    std::vector<FileDescriptor> silent;
    for (int i = 0; i < 100; ++i) {
        silent.push_back(connected_to(server.port()));
        const std::string_view begin = "SSH-2.0-slow\r\n";
        if (i % 2 == 0) {
            ASSERT_EQ(send(silent.back().get(), begin.data(), begin.size(), MSG_NOSIGNAL), begin.size());
        }
    }
    write_file(folder_.file("messages"),
               old_hello + old_request("<get-config><source><running/></source></get-config>"));
    const Said said = shell(fmt::format("{} <{}", openssh(server.port(), key_), folder_.file("messages")));
    EXPECT_THAT(said.text, testing::HasSubstr("<data"));
    server.stop();
}

// What a client sends too much is not kept, and what it does not read is not written.
TEST_F(Ssh, KeepsLittleForAClientThatOverdoesIt)
{
    write_file(folder_.file("settings"), "[limits]\nmessage-size = 65536\n");
    const ServeProcess server(state_, {"--ssh", "127.0.0.1:0", "--config", folder_.file("settings")});
    constexpr std::size_t megabyte = std::size_t{1024} * 1024;
    const std::size_t before = server.peak_memory();
    write_file(folder_.file("begin"), old_hello + "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                                                  "message-id=\"5\"><get>");
    write_file(folder_.file("end"), "]]>]]>" + old_request("<none/>"));
    const Said said = shell(fmt::format("(cat {0}; head -c 100000000 /dev/zero | tr '\\0' ' '; cat {1}) | {2}",
                                        folder_.file("begin"), folder_.file("end"), openssh(server.port(), key_)));
    EXPECT_THAT(said.text, testing::AllOf(testing::HasSubstr("<error-tag>too-big</error-tag>"),
                                          testing::HasSubstr("operation-not-supported")));
    std::string many = old_hello;
    for (int i = 0; i < 2000; ++i)
        many += old_request("<get-schema xmlns=\"urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring\"><identifier>"
                            "quorin-intrusion-prevention</identifier></get-schema>"); // 200 MB of answers
    write_file(folder_.file("many"), many);
    shell(fmt::format("timeout 5 {} <{} | sleep 4", openssh(server.port(), key_), folder_.file("many")));
    if (memory_tells) {
        EXPECT_LT(server.peak_memory() - before, 80 * megabyte);
    }
}

TEST_F(Ssh, KeepsItsHostKey)
{
    std::string first;
    for (int i = 0; i < 2; ++i) {
        ServeProcess server(state_, over_ssh_);
        const Said seen =
            shell(fmt::format("ssh-keyscan -p {} 127.0.0.1 2>/dev/null | cut -d ' ' -f 2-", server.port()));
        EXPECT_THAT(seen.text, testing::StartsWith("ssh-ed25519 "));
        EXPECT_TRUE(first.empty() || first == seen.text) << first << seen.text;
        first = seen.text;
        server.stop();
    }
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(state_ / "ssh_host_ed25519_key").permissions(),
              perms::owner_read | perms::owner_write);
}

TEST_F(Ssh, ServesNobodyWithoutAUsersFile)
{
    std::filesystem::remove(state_ / "users");
    EXPECT_THROW(ServeProcess(state_, over_ssh_), std::runtime_error);
}

} // namespace
} // namespace qnips::test
