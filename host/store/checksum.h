// A checksum of a row's values. SQLite notices a broken structure, but not a text in which a byte has changed.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>

namespace qnips
{

namespace checksum_detail
{

class Fnv1a
{
public:
    void add(std::string_view text)
    {
        add(static_cast<std::int64_t>(text.size())); // or "a", "bc" would be as "ab", "c"
        for (const char c : text)
            add_byte(static_cast<unsigned char>(c));
    }
    void add(std::int64_t number)
    {
        auto rest = std::bit_cast<std::uint64_t>(number);
        for (int byte = 0; byte < 8; ++byte, rest >>= 8U)
            add_byte(rest & 0xffU);
    }
    [[nodiscard]] std::int64_t value() const { return std::bit_cast<std::int64_t>(state_); }

private:
    void add_byte(std::uint64_t byte) { state_ = (state_ ^ byte) * 0x100000001b3U; }

    std::uint64_t state_ = 0xcbf29ce484222325U;
};

} // namespace checksum_detail

// 64-bit FNV-1a of integers and texts. Each of its steps can be undone, so it differs for values of the same size that
// differ in one byte.
template <typename... Values>
std::int64_t checksum(const Values&... values)
{
    checksum_detail::Fnv1a sum;
    (sum.add(values), ...);
    return sum.value();
}

} // namespace qnips
