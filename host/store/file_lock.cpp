#include "store/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "store/store_error.h"

namespace qnips
{

namespace
{

constexpr int nothing = -1;

StoreError::Kind kind_of(int error)
{
    if (error == EACCES || error == EPERM || error == EROFS)
        return StoreError::Kind::read_only;
    if (error == ENOSPC || error == EDQUOT)
        return StoreError::Kind::full;
    return StoreError::Kind::io;
}

// The process that has written itself into the lock file; "another process" when none has yet.
std::string holder(int descriptor)
{
    std::array<char, 32> text{};
    const ssize_t size = pread(descriptor, text.data(), text.size(), 0);
    const std::string_view read(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::size_t end = read.find('\n');
    return end == std::string_view::npos ? "another process" : "process " + std::string(read.substr(0, end));
}

// Only for the message to others, so that it does no harm when the disk is full.
void write_holder(int descriptor)
{
    const std::string text = std::to_string(getpid()) + "\n";
    if (ftruncate(descriptor, 0) == 0)
        static_cast<void>(!pwrite(descriptor, text.data(), text.size(), 0));
}

} // namespace

FileLock::FileLock(const std::string& file, const std::string& what)
    : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
{
    if (descriptor_ == nothing) {
        const int error = errno;
        throw StoreError(kind_of(error),
                         what + ": locking it by " + file + ": " + std::generic_category().message(error));
    }
    if (flock(descriptor_, LOCK_EX | LOCK_NB) == 0) {
        write_holder(descriptor_);
        return;
    }
    const int error = errno;
    const std::string reason =
        error == EWOULDBLOCK ? "in use by " + holder(descriptor_) : std::generic_category().message(error);
    close(std::exchange(descriptor_, nothing));
    throw StoreError(error == EWOULDBLOCK ? StoreError::Kind::in_use : kind_of(error),
                     what + ": opening it for writing: " + reason);
}

FileLock::FileLock(FileLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, nothing)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept
{
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

FileLock::~FileLock()
{
    if (descriptor_ != nothing)
        close(descriptor_);
}

} // namespace qnips
