// A file descriptor that is closed when its owner goes.
#pragma once

#include <unistd.h>

#include <utility>

namespace qnips
{

class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return descriptor_; }
    int release() { return std::exchange(descriptor_, -1); }
    void reset()
    {
        if (descriptor_ >= 0)
            close(std::exchange(descriptor_, -1));
    }

private:
    int descriptor_ = -1;
};

} // namespace qnips
