// The server over SSH, as ncclient meets it.
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
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
    std::uint16_t port_ = free_port();
};

TEST_F(Ssh, ServesNcclient)
{
    ServeProcess server(state_, {"--ssh", fmt::format("127.0.0.1:{}", port_)});
    const Said client =
        shell(fmt::format("/usr/bin/python3 {}/ncclient_session.py {} {}", QN_IPS_TEST_DATA, port_, key_));
    EXPECT_EQ(client.status, 0) << client.text;
    EXPECT_EQ(client.text, "done\n");
    EXPECT_EQ(server.stop(), 0);
}

TEST_F(Ssh, KeepsItsHostKey)
{
    const std::string scan = fmt::format("ssh-keyscan -p {} 127.0.0.1 2>/dev/null", port_);
    std::string first;
    for (int i = 0; i < 2; ++i) {
        ServeProcess server(state_, {"--ssh", fmt::format("127.0.0.1:{}", port_)});
        const Said seen = shell(scan);
        EXPECT_THAT(seen.text, testing::HasSubstr(" ssh-ed25519 "));
        EXPECT_TRUE(first.empty() || first == seen.text) << first << seen.text;
        first = seen.text;
        EXPECT_EQ(server.stop(), 0);
    }
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(state_ / "ssh_host_ed25519_key").permissions(),
              perms::owner_read | perms::owner_write);
}

TEST_F(Ssh, ServesNobodyWithoutAUsersFile)
{
    std::filesystem::remove(state_ / "users");
    EXPECT_THROW(ServeProcess(state_, {"--ssh", fmt::format("127.0.0.1:{}", port_)}), std::runtime_error);
}

} // namespace
} // namespace qnips::test
