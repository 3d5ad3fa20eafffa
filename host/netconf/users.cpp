#include "netconf/users.h"

#include <crypt.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <type_traits>

#include <fmt/format.h>
#include <libssh/libssh.h>

#include "netconf/trusted_file.h"

namespace qnips
{

namespace
{

// What is worked out for a user without a password where nobody has one.
constexpr const char* some_setting = "$6$5nZkq3YdX0bTnRQ1$";

bool equal_in_constant_time(std::string_view left, std::string_view right)
{
    unsigned char difference = left.size() == right.size() ? 0 : 1;
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i)
        difference = static_cast<unsigned char>(difference | (left[i] ^ right[i]));
    return difference == 0;
}

struct KeyDeleter {
    void operator()(ssh_key key) const noexcept { ssh_key_free(key); }
};

// Whether a client can have the key: one of another type, or one that is written otherwise, would let nobody in.
bool is_public_key(const std::string& type, const std::string& base64)
{
    ssh_key raw = nullptr;
    const int read = ssh_pki_import_pubkey_base64(base64.c_str(), ssh_key_type_from_name(type.c_str()), &raw);
    const std::unique_ptr<std::remove_pointer_t<ssh_key>, KeyDeleter> key(raw);
    char* text = nullptr;
    if (read != SSH_OK || ssh_pki_export_pubkey_base64(key.get(), &text) != SSH_OK)
        return false;
    const bool is_same = base64 == text;
    ssh_string_free_char(text);
    return is_same;
}

} // namespace

Users Users::load(const std::filesystem::path& file)
{
    return parse(read_trusted_file(file, "the users' file"), file.string());
}

Users Users::parse(std::string_view text, const std::string& name)
{
    Users users;
    users.any_hash_ = some_setting;
    std::istringstream lines{std::string(text)};
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        std::istringstream words(line);
        std::string user;
        std::string means;
        std::string value;
        if (!(words >> user) || user.front() == '#')
            continue;
        words >> means >> value;
        const auto refuse = [&](std::string_view reason) {
            throw std::runtime_error(fmt::format("{}:{}: {}", name, number, reason));
        };
        if (means == "key") {
            std::string key;
            if (!(words >> key))
                refuse("expected: USER key TYPE BASE64");
            if (!is_public_key(value, key))
                refuse("this is no public key of its type; expected: USER key TYPE BASE64");
            users.users_[user].keys.push_back(key);
        } else if (means == "password") {
            if (crypt_checksalt(value.c_str()) != CRYPT_SALT_OK)
                refuse("this is no hash of a password, or one that is too weak");
            users.users_[user].hash = value;
            users.any_hash_ = value;
        } else {
            refuse("expected: USER key TYPE BASE64, or USER password HASH");
        }
    }
    return users;
}

bool Users::has_key(const std::string& user, std::string_view key) const
{
    const auto found = users_.find(user);
    return found != users_.end() && std::ranges::find(found->second.keys, key) != found->second.keys.end();
}

bool Users::has_password(const std::string& user, const std::string& password) const
{
    const auto found = users_.find(user);
    const bool can_match = found != users_.end() && !found->second.hash.empty();
    const std::string& hash = can_match ? found->second.hash : any_hash_;
    const auto work = std::make_unique<crypt_data>();
    const char* result = crypt_r(password.c_str(), hash.c_str(), work.get());
    return result != nullptr && equal_in_constant_time(result, hash) && can_match;
}

void LoginUsers::replace(Users users)
{
    auto next = std::make_shared<const Users>(std::move(users));
    const std::lock_guard guard(mutex_);
    users_ = std::move(next);
}

std::shared_ptr<const Users> LoginUsers::present() const
{
    const std::lock_guard guard(mutex_);
    return users_;
}

} // namespace qnips
