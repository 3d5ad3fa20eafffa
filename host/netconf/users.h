// Who may log in over SSH, and by what: the users' file.
//
// One line gives one user one means, and a user may have several:
//     admin  key       ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA... a comment
//     admin  password  $y$j9T$...
// A key stands as in an authorized_keys file, a password as the hash of crypt(5). '#' begins a line that is a comment.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qnips
{

class Users
{
public:
    // Nobody.
    Users() = default;

    // Throws std::runtime_error that names file and line for one that cannot be read, and for a file that others than
    // its owner can write.
    static Users load(const std::filesystem::path& file);
    // `name` is the file's, for messages.
    static Users parse(std::string_view text, const std::string& name);

    [[nodiscard]] bool empty() const { return users_.empty(); }

    // `key` is the public key in base64, as in an authorized_keys file.
    [[nodiscard]] bool has_key(const std::string& user, std::string_view key) const;
    // Takes as long for a user whom nobody knows as for another.
    [[nodiscard]] bool has_password(const std::string& user, const std::string& password) const;

private:
    struct User {
        std::vector<std::string> keys;
        std::string hash; // empty: no password is accepted
    };

    std::map<std::string, User> users_;
    std::string any_hash_; // against which a password is held where it cannot match
};

// The users at present, who can be replaced while others ask. Threads may share it.
class LoginUsers
{
public:
    // Nobody.
    LoginUsers() = default;
    explicit LoginUsers(Users users) { replace(std::move(users)); }

    // Sessions that are open go on, whoever has them.
    void replace(Users users);
    [[nodiscard]] std::shared_ptr<const Users> present() const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<const Users> users_ = std::make_shared<const Users>();
};

} // namespace qnips
