#include "netconf/host_key.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include <fmt/format.h>
#include <libssh/libssh.h>

namespace qnips
{

namespace
{

struct KeyDeleter {
    void operator()(ssh_key key) const noexcept { ssh_key_free(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<ssh_key>, KeyDeleter>;

struct StringDeleter {
    void operator()(char* text) const noexcept { ssh_string_free_char(text); }
};

[[noreturn]] void fail(const std::filesystem::path& file, std::string_view attempt)
{
    throw std::runtime_error(fmt::format("the host key {} cannot be {}: {}", file.string(), attempt, strerror(errno)));
}

std::string new_key_text()
{
    ssh_key raw = nullptr;
    char* text = nullptr;
    constexpr int no_parameter = 0;
    const int made = ssh_pki_generate(SSH_KEYTYPE_ED25519, no_parameter, &raw);
    const Key key(raw);
    if (made != SSH_OK || ssh_pki_export_privkey_base64(key.get(), nullptr, nullptr, nullptr, &text) != SSH_OK)
        throw std::runtime_error("no host key can be made");
    const std::unique_ptr<char, StringDeleter> owned(text);
    return text;
}

void write_for_owner(const std::filesystem::path& file, std::string_view text)
{
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        fail(file, "made");
    const bool written =
        write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && fsync(descriptor) == 0;
    if (close(descriptor) != 0 || !written)
        fail(file, "written");
}

// The library reads it anew for every client, who alone would be told that it cannot.
void check(const std::filesystem::path& file, const struct stat& status)
{
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw std::runtime_error(
            fmt::format("the host key {} is open to others than its owner; it should be of mode 0600", file.string()));
    if (access(file.c_str(), R_OK) != 0)
        fail(file, "read");
    ssh_key raw = nullptr;
    const int result = ssh_pki_import_privkey_file(file.c_str(), nullptr, nullptr, nullptr, &raw);
    const Key key(raw);
    if (result != SSH_OK)
        throw std::runtime_error(
            fmt::format("the host key {} is no private key, or one with a passphrase", file.string()));
}

} // namespace

void ensure_host_key(const std::filesystem::path& file)
{
    struct stat status {
    };
    if (stat(file.c_str(), &status) == 0)
        return check(file, status);
    // A crash leaves no half a key: the name is given to the whole one.
    std::filesystem::path unfinished = file;
    unfinished += ".new";
    std::filesystem::remove(unfinished);
    write_for_owner(unfinished, new_key_text());
    std::filesystem::rename(unfinished, file);
}

} // namespace qnips
