#include "netconf/message_framing.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

namespace qnips
{

namespace
{

constexpr std::string_view end_mark = "]]>]]>";
constexpr std::string_view chunk_mark = "\n#";
constexpr std::string_view end_of_chunks = "\n##\n";
constexpr std::size_t longest_header = std::string_view("\n#4294967295\n").size();
constexpr std::uint64_t largest_chunk = 4294967295; // RFC 6242, 4.2
// What is kept of a message that is too long: enough for the start of its <rpc>, which has to be answered.
constexpr std::size_t kept_beginning = 16384;

} // namespace

std::optional<Message> MessageReader::next()
{
    const bool complete = framing_ == Framing::chunked ? next_by_chunks() : next_by_end();
    return complete ? std::optional(take()) : std::nullopt;
}

Message MessageReader::take()
{
    has_chunks_ = false;
    return std::exchange(message_, {});
}

void MessageReader::add(std::string_view bytes)
{
    raw_.erase(0, std::exchange(at_, 0));
    raw_.append(bytes);
}

// As a part of the message.
void MessageReader::keep(std::size_t size)
{
    const std::string_view bytes = rest().substr(0, size);
    at_ += bytes.size();
    if (!message_.is_too_long && message_.text.size() + bytes.size() > limit_) {
        message_.is_too_long = true;
        message_.text.append(bytes.substr(0, std::min(bytes.size(), kept_beginning)));
        message_.text.resize(std::min(message_.text.size(), kept_beginning));
        message_.text.shrink_to_fit();
    }
    if (!message_.is_too_long)
        message_.text.append(bytes);
}

bool MessageReader::next_by_end()
{
    // Some clients end the line after the mark, and an XML declaration must not follow white space.
    if (message_.text.empty() && !message_.is_too_long)
        at_ += std::min(rest().find_first_not_of(" \t\r\n"), rest().size());
    const std::size_t end = rest().find(end_mark);
    if (end != std::string_view::npos) {
        keep(end);
        at_ += end_mark.size();
        return true;
    }
    // The mark may have begun.
    keep(rest().size() - std::min(rest().size(), end_mark.size() - 1));
    return false;
}

bool MessageReader::next_by_chunks()
{
    while (true) {
        const std::size_t size = std::min(chunk_, rest().size());
        keep(size);
        chunk_ -= size;
        if (chunk_ != 0)
            return false;
        // A client by hand ends lines between its messages.
        while (!has_chunks_ && rest().starts_with("\n\n"))
            ++at_;
        const auto length = header_length();
        if (!length)
            return false;
        if (read_header(*length))
            return true;
    }
}

// Of what stands before the next chunk; nullopt when it is not complete.
std::optional<std::size_t> MessageReader::header_length() const
{
    const std::string_view header = rest().substr(0, longest_header);
    if (!header.starts_with(chunk_mark.substr(0, header.size())))
        throw FramingError("what should be a chunk does not begin as one");
    if (header.size() <= chunk_mark.size())
        return std::nullopt;
    const std::size_t end = header.find('\n', chunk_mark.size());
    if (end != std::string_view::npos)
        return end + 1;
    if (header.size() == longest_header)
        throw FramingError("the size of a chunk has no end");
    return std::nullopt;
}

// True for the one that ends the message.
bool MessageReader::read_header(std::size_t length)
{
    const std::string_view header = rest().substr(0, length);
    at_ += length;
    if (header == end_of_chunks) {
        if (!has_chunks_)
            throw FramingError("a message has no chunk");
        return true;
    }
    std::uint64_t size = 0;
    const char* first = header.data() + chunk_mark.size();
    const char* last = header.data() + header.size() - 1;
    const auto [end, error] = std::from_chars(first, last, size);
    if (error != std::errc() || end != last || *first == '0' || size > largest_chunk)
        throw FramingError(fmt::format("\"{}\" is no size of a chunk", std::string_view(first, last)));
    chunk_ = size;
    has_chunks_ = true;
    return false;
}

std::string framed(std::string_view message, Framing framing)
{
    if (framing == Framing::end_of_message)
        return fmt::format("{}{}", message, end_mark);
    return fmt::format("\n#{}\n{}{}", message.size(), message, end_of_chunks);
}

} // namespace qnips
