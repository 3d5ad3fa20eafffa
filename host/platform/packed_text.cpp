#include "platform/packed_text.h"

#include <charconv>
#include <stdexcept>
#include <system_error>

namespace qnips
{

std::size_t TextUnpacker::number()
{
    std::size_t number = 0;
    const char* const end = rest_.data() + rest_.size();
    const auto [stop, error] = std::from_chars(rest_.data(), end, number);
    if (error != std::errc() || stop == end || *stop != ';')
        throw std::invalid_argument("a number is missing in a packed text");
    rest_.remove_prefix(static_cast<std::size_t>(stop - rest_.data()) + 1);
    return number;
}

std::string TextUnpacker::text()
{
    const std::size_t size = number();
    if (size > rest_.size())
        throw std::invalid_argument("a packed text ends too early");
    std::string text(rest_.substr(0, size));
    rest_.remove_prefix(size);
    return text;
}

} // namespace qnips
