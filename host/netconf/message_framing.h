// The framing of NETCONF messages (RFC 6242, 4): finds the messages in what a client sends, whatever it sends.
//
// A message above the limit is read to its end and not kept, so that the client can be told and the session goes on.
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qnips
{

enum class Framing {
    end_of_message, // RFC 6242, 4.3: of NETCONF 1.0, and of every <hello>
    chunked         // RFC 6242, 4.2: of NETCONF 1.1
};

// What is no frame. The session has to end (RFC 6242, 4.2).
class FramingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct Message {
    std::string text;
    bool is_too_long = false; // `text` is only its beginning
};

class MessageReader
{
public:
    // `limit` is the size of the longest message in bytes, framing not counted.
    explicit MessageReader(std::size_t limit) : limit_(limit) {}

    // Of what follows the message that next() gave last.
    void set_framing(Framing framing, std::size_t limit)
    {
        framing_ = framing;
        limit_ = limit;
    }

    // Bytes from the client. next() is to be asked for all messages before more bytes are added.
    void add(std::string_view bytes);

    // The next message that is complete; nullopt when more bytes are needed. Throws FramingError.
    std::optional<Message> next();

private:
    bool next_by_end();
    bool next_by_chunks();
    std::optional<std::size_t> header_length() const;
    bool read_header(std::size_t length);
    void keep(std::size_t size);
    [[nodiscard]] std::string_view rest() const { return std::string_view(raw_).substr(at_); }
    Message take();

    std::size_t limit_;
    Framing framing_ = Framing::end_of_message;
    std::string raw_;
    std::size_t at_ = 0; // what of it is read
    Message message_;
    std::size_t chunk_ = 0; // what is missing of the current chunk
    bool has_chunks_ = false;
};

// A message as it goes over the wire.
std::string framed(std::string_view message, Framing framing);

} // namespace qnips
