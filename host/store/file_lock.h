// A file that one writer at a time holds. The lock goes with the process, however it ends; the file stays.
#pragma once

#include <string>

namespace qnips
{

class FileLock
{
public:
    // Makes `file` when it is missing, and locks it. `what` is what the lock stands for, in messages. StoreError:
    // Kind::in_use, with the holder's process id, when another FileLock of any process has it.
    FileLock(const std::string& file, const std::string& what);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    ~FileLock();

private:
    int descriptor_;
};

} // namespace qnips
