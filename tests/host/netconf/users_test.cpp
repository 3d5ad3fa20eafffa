// Who may log in.
#include "netconf/users.h"

#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"
#include "netconf/host_key.h"
#include "netconf/requester.h"
#include "ssh_client.h"

namespace qnips::test
{
namespace
{

// Of "secret".
constexpr const char* hash =
    "$6$abcdefgh$ltjgWl6579NluT/Vi1nwEvcil.G5Nbc4NiXZaNGStk8PSwGfQv72N2CKPPrVACtLtip/cZ/1GM/O6IND4WQhG.";

TEST(Users, LogInByKeyOrPassword)
{
    const Users users =
        Users::parse("# operators\n\nada key ssh-ed25519 AAAA1 laptop\nada\tkey ssh-rsa AAAA2\nbob password " +
                         std::string(hash) + "\n",
                     "users");
    EXPECT_TRUE(users.has_key("ada", "AAAA1"));
    EXPECT_TRUE(users.has_key("ada", "AAAA2"));
    EXPECT_FALSE(users.has_key("ada", "AAAA"));
    EXPECT_FALSE(users.has_key("ada", ""));
    EXPECT_FALSE(users.has_key("bob", "AAAA1"));
    EXPECT_FALSE(users.has_key("eve", "AAAA1"));
    EXPECT_TRUE(users.has_password("bob", "secret"));
    EXPECT_FALSE(users.has_password("bob", "Secret"));
    EXPECT_FALSE(users.has_password("bob", ""));
    EXPECT_FALSE(users.has_password("ada", "secret"));
    EXPECT_FALSE(users.has_password("eve", "secret"));
}

TEST(Users, NobodyLogsInWithoutAFile)
{
    const Users nobody;
    EXPECT_TRUE(nobody.empty());
    EXPECT_FALSE(nobody.has_password("root", ""));
    EXPECT_FALSE(nobody.has_key("root", ""));
}

TEST(Users, AreRefusedWithTheLine)
{
    struct Case {
        std::string text;
        const char* message;
    };
    const std::vector<Case> cases = {
        {"ada", "users:1: expected: USER key TYPE BASE64, or USER password HASH"},
        {"\nada key ssh-ed25519\n", "users:2: expected: USER key TYPE BASE64"},
        {"ada password secret\n", "users:1: this is no hash of a password, or one that is too weak"},
        {"ada password\n", "users:1: this is no hash of a password, or one that is too weak"},
        {"ada password $1$abcdefgh$irWbblnpmw.5z7wgBnprh0\n",
         "users:1: this is no hash of a password, or one that is too weak"},
        {"ada certificate x\n", "users:1: expected: USER key TYPE BASE64, or USER password HASH"},
    };
    for (const Case& one : cases) {
        try {
            Users::parse(one.text, "users");
            ADD_FAILURE() << one.text;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), one.message);
        }
    }
}

TEST(Users, AreNotReadFromAFileThatOthersCanWrite)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const std::string file = folder.file("users");
    EXPECT_THROW(Users::load(file), std::runtime_error);
    write_file(file, "ada key ssh-ed25519 AAAA1\n");
    std::filesystem::permissions(file, perms::owner_read | perms::owner_write | perms::others_read);
    EXPECT_TRUE(Users::load(file).has_key("ada", "AAAA1"));
    for (const perms open : {perms::group_write, perms::others_write}) {
        std::filesystem::permissions(file, perms::owner_read | perms::owner_write | open);
        EXPECT_THROW(Users::load(file), std::runtime_error);
    }
}

TEST(LocalUser, IsTheAdministratorWhenItIsRootOrTheServersUser)
{
    EXPECT_TRUE(local_user("root").is_recovery);
    EXPECT_THAT(local_user("root").groups, testing::Contains("root"));
    EXPECT_EQ(local_user("nobody").is_recovery, geteuid() == 65534);
    EXPECT_THAT(local_user("nobody").groups, testing::Contains("nogroup"));
    const AccessUser unknown = local_user("no such user");
    EXPECT_EQ(unknown.name, "no such user");
    EXPECT_FALSE(unknown.is_recovery);
    EXPECT_THAT(unknown.groups, testing::IsEmpty());
}

TEST(HostKey, IsMadeOnceForItsOwnerAlone)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const std::string file = folder.file("key");
    ensure_host_key(file);
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);
    const std::string key = content_of(file);
    EXPECT_THAT(key, testing::StartsWith("-----BEGIN "));
    ensure_host_key(file);
    EXPECT_EQ(content_of(file), key);

    const std::string other = folder.file("other");
    ensure_host_key(other);
    EXPECT_NE(content_of(other), key);
}

TEST(HostKey, IsRefusedWhenOthersCanReadIt)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const std::string file = folder.file("key");
    ensure_host_key(file);
    std::filesystem::permissions(file, perms::group_read, std::filesystem::perm_options::add);
    EXPECT_THROW(ensure_host_key(file), std::runtime_error);
    EXPECT_THROW(ensure_host_key(folder.file("none/key")), std::runtime_error);
}

// Else clients alone would notice.
TEST(HostKey, IsRefusedWhenItIsNone)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    ensure_host_key(folder.file("good"));
    const Said made = shell("ssh-keygen -q -t ed25519 -N secret -f " + folder.file("locked"));
    ASSERT_EQ(made.status, 0) << made.text;
    const std::string whole = content_of(folder.file("good"));
    const std::vector<std::string> contents = {"", "garbage\n", "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAAIH1cIT6WqY+0qRtKTFv8Uyy0oIBhRC5pDW7WSxBFpAOf\n",
                                               whole.substr(0, whole.size() / 2), content_of(folder.file("locked"))};
    for (const std::string& content : contents) {
        const std::string file = folder.file("key");
        write_file(file, content);
        std::filesystem::permissions(file, perms::owner_read | perms::owner_write);
        try {
            ensure_host_key(file);
            ADD_FAILURE() << content;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), "the host key " + file + " is no private key, or one with a passphrase");
        }
        EXPECT_EQ(content_of(file), content);
    }
}

} // namespace
} // namespace qnips::test
