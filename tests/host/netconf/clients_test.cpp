// Clients that people use, as the guide uses them: its scripts are run here. Two of them are large and not everywhere;
// `make clients` installs them.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

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

using testing::AllOf;
using testing::HasSubstr;

const std::string examples = QN_IPS_EXAMPLES;
const std::string python = "/usr/bin/python3";

class Clients : public testing::Test
{
protected:
    void SetUp() override
    {
        const Said made = shell(fmt::format("ssh-keygen -q -t ed25519 -N '' -f {}", key_));
        ASSERT_EQ(made.status, 0) << made.text;
    }

    // A server of its own; the port on which it listens.
    std::string start(const std::string& name)
    {
        const std::filesystem::path state = folder_.path() / name;
        std::filesystem::create_directory(state);
        // The user of the guide, with the rules of the guide.
        write_file((state / "nacm.xml").string(), content_of(examples + "/nacm.xml"));
        write_file((state / "users").string(),
                   fmt::format("admin key {}admin password {}\n", content_of(key_ + ".pub"), password_hash));
        servers_.push_back(std::make_unique<ServeProcess>(state, std::vector<std::string>{"--ssh", "127.0.0.1:0"}));
        return servers_.back()->port();
    }
    // With a home of its own, which clients write to.
    Said run(const std::string& command)
    {
        return shell(fmt::format("cd '{0}' && HOME='{0}' {1}", folder_.path().string(), command));
    }
    static bool has(const std::string& program) { return shell("command -v " + program).status == 0; }

    TemporaryFolder folder_;
    std::string key_ = folder_.file("client_key");
    std::vector<std::unique_ptr<ServeProcess>> servers_;
};

TEST_F(Clients, NcclientMakesAFirstProfile)
{
    const Said said =
        run(fmt::format("{} {}/clients/first_profile.py {} admin {}", python, examples, start("one"), key_));
    EXPECT_EQ(said.status, 0);
    EXPECT_THAT(said.text, AllOf(HasSubstr("edit-config: True\nvalidate: True\ncommit: True\nafter: "),
                                 HasSubstr("<description>web servers</description>")));
}

TEST_F(Clients, YangcliMakesAFirstProfile)
{
    if (!has("yangcli"))
        GTEST_SKIP() << "yangcli is not installed: make clients";
    const std::string lines = folder_.file("lines");
    write_file(lines, fmt::format("connect server=127.0.0.1 ncport={} user=admin password=secret\n{}", start("one"),
                                  content_of(examples + "/clients/first_profile.yangcli")));
    const Said said = run(fmt::format("{} {}/yangcli_session.py {} yangcli --modpath={}:/usr/share/yuma/modules",
                                      python, QN_IPS_TEST_DATA, lines, QN_IPS_YANG_DIR));
    EXPECT_EQ(said.status, 0) << said.text;
    EXPECT_THAT(said.text, AllOf(HasSubstr("NETCONF session established for admin"),
                                 HasSubstr("Protocol version set to: RFC 6241 (base:1.1)"), HasSubstr("RPC OK Reply 5"),
                                 HasSubstr("description 'web servers'")));
    EXPECT_THAT(said.text, testing::Not(HasSubstr("RPC Error")));
}

TEST_F(Clients, AnsibleGivesThreeDevicesAProfile)
{
    if (!has("ansible-playbook"))
        GTEST_SKIP() << "ansible is not installed: make clients";
    const auto inventory = [&] {
        std::string text = content_of(examples + "/clients/inventory.yml");
        for (const char* port : {"8301", "8302", "8303"})
            text.replace(text.find(port), 4, start(port));
        return text;
    };
    write_file(folder_.file("inventory.yml"), inventory());
    const std::string play = fmt::format("ansible-playbook -i {} -e ansible_ssh_private_key_file={} "
                                         "{}/clients/first_profile.yml",
                                         folder_.file("inventory.yml"), key_, examples);
    const Said first = run(play);
    EXPECT_EQ(first.status, 0) << first.text;
    for (const char* host : {"berlin", "paris", "rome"})
        EXPECT_THAT(first.text, testing::ContainsRegex(fmt::format("{} +: ok=3 +changed=1 ", host)));
    // What is there already is no change.
    const Said second = run(play);
    EXPECT_EQ(second.status, 0) << second.text;
    EXPECT_THAT(second.text, testing::ContainsRegex("berlin +: ok=3 +changed=0 "));
}

} // namespace
} // namespace qnips::test
