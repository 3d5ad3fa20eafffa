// Who may log in.
#include "netconf/users.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/child_process.h"
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

const std::string key = "AAAAC3NzaC1lZDI1NTE5AAAAIH1cIT6WqY+0qRtKTFv8Uyy0oIBhRC5pDW7WSxBFpAOf"; // ssh-ed25519
const std::string ecdsa_key = "AAAAE2VjZHNhLXNoYTItbmlzdHAyNTYAAAAIbmlzdHAyNTYAAABBBHeyTHl4IySNXzFfXbxRS1OTy3RnH08gpjl"
                              "rh8cc1uDTAg46mkIdrAGy+hE30vcrENhblZSk/3AaCPXKjxwi9uc=";

TEST(Users, LogInByKeyOrPassword)
{
    const Users users = Users::parse(fmt::format("# operators\n\nada key ssh-ed25519 {} laptop\n"
                                                 "ada\tkey ecdsa-sha2-nistp256 {}\nbob password {}\n",
                                                 key, ecdsa_key, hash),
                                     "users");
    EXPECT_TRUE(users.has_key("ada", key));
    EXPECT_TRUE(users.has_key("ada", ecdsa_key));
    EXPECT_FALSE(users.has_key("ada", "AAAA"));
    EXPECT_FALSE(users.has_key("ada", ""));
    EXPECT_FALSE(users.has_key("bob", key));
    EXPECT_FALSE(users.has_key("eve", key));
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
        std::string message;
    };
    const std::string not_of_its_type = "users:1: this is no public key of its type; expected: USER key TYPE BASE64";
    const std::vector<Case> cases = {
        {"ada", "users:1: expected: USER key TYPE BASE64, or USER password HASH"},
        {"\nada key ssh-ed25519\n", "users:2: expected: USER key TYPE BASE64"},
        {"ada password secret\n", "users:1: this is no hash of a password, or one that is too weak"},
        {"ada password\n", "users:1: this is no hash of a password, or one that is too weak"},
        {"ada password $1$abcdefgh$irWbblnpmw.5z7wgBnprh0\n",
         "users:1: this is no hash of a password, or one that is too weak"},
        // What looks like a key and lets nobody in: without its type, with another one, cut, with more behind it.
        {"ada key " + key + " laptop\n", not_of_its_type},
        {"ada key ssh-rsa " + key + "\n", not_of_its_type},
        {"ada key ecdsa-sha2-nistp256 " + key + "\n", not_of_its_type},
        {"ada key ssh-ed25519 " + key.substr(0, 40) + "\n", not_of_its_type},
        {"ada key ssh-ed25519 AAAA1\n", not_of_its_type},
        {"ada key ssh-ed25519 " + key + "AAAA\n", not_of_its_type},
        {"ada certificate x\n", "users:1: expected: USER key TYPE BASE64, or USER password HASH"},
    };
    for (const Case& one : cases) {
        try {
            Users::parse(one.text, "users");
            ADD_FAILURE() << one.text;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), one.message);
        }
    }
}

TEST(Users, AreNotReadFromAFileThatOthersCanWrite)
{
    using std::filesystem::perms;
    const TemporaryFolder folder;
    const std::string file = folder.file("users");
    EXPECT_THROW(Users::load(file), std::runtime_error);
    write_file(file, "ada key ssh-ed25519 " + key + "\n");
    std::filesystem::permissions(file, perms::owner_read | perms::owner_write | perms::others_read);
    EXPECT_TRUE(Users::load(file).has_key("ada", key));
    for (const perms open : {perms::group_write, perms::others_write}) {
        std::filesystem::permissions(file, perms::owner_read | perms::owner_write | open);
        EXPECT_THROW(Users::load(file), std::runtime_error);
    }
}

// Only who could change the server anyway is trusted.
TEST(Users, AreNotReadFromAFileOfSomebodyElse)
{
    if (!may_change_user())
        GTEST_SKIP() << "only root can give a file away, and be somebody else";
    constexpr uid_t nobody = 65534;
    constexpr uid_t stranger = 65533;
    const TemporaryFolder folder;
    const std::string file = folder.file("users");
    write_file(file, "ada key ssh-ed25519 " + key + "\n");
    std::filesystem::permissions(file, std::filesystem::perms(0644));
    const auto load = [&](const Reports& reports) {
        try {
            Users::load(file);
            reports.say("accepted");
        } catch (const std::runtime_error& error) {
            reports.say(error.what());
        }
    };
    const std::string refusal =
        fmt::format("the users' file {} belongs to neither root nor the user of this process\n", file);
    struct Case {
        uid_t owner;
        std::string to_root;
        std::string to_nobody;
    };
    const std::vector<Case> cases = {
        {0, "accepted\n", "accepted\n"}, {nobody, refusal, "accepted\n"}, {stranger, refusal, refusal}};
    for (const Case& one : cases) {
        ASSERT_EQ(chown(file.c_str(), one.owner, one.owner), 0);
        EXPECT_EQ(in_child(load), one.to_root) << one.owner;
        EXPECT_EQ(as_nobody(load), one.to_nobody) << one.owner;
    }
}

TEST(Users, AreReadFromAFileOnly)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0); // nobody will ever write
    EXPECT_THROW(Users::load(pipe), std::runtime_error);
    EXPECT_THROW(Users::load(folder.path()), std::runtime_error);
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
    const std::string made = content_of(file);
    EXPECT_THAT(made, testing::StartsWith("-----BEGIN "));
    ensure_host_key(file);
    EXPECT_EQ(content_of(file), made);

    const std::string other = folder.file("other");
    ensure_host_key(other);
    EXPECT_NE(content_of(other), made);
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
    const std::vector<std::string> contents = {"", "garbage\n", "ssh-ed25519 " + key + " laptop\n",
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
