// Why a file that the host keeps (the commit store, an emulated device's own file) cannot be used.
#pragma once

#include <stdexcept>
#include <string>

namespace qnips
{

// The text says the file, what was being done, and the reason.
class StoreError : public std::runtime_error
{
public:
    enum class Kind {
        in_use,        // another process, or this one, has it open for writing
        read_only,     // it cannot be written: opened so, or not permitted
        full,          // no room; the call has changed nothing and can be repeated when there is
        corrupt,       // not a file of this kind, or a damaged one; left as it is
        newer_version, // made by a newer release; left as it is
        io,            // anything else
    };

    StoreError(Kind kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

    [[nodiscard]] Kind kind() const { return kind_; }

private:
    Kind kind_;
};

} // namespace qnips
