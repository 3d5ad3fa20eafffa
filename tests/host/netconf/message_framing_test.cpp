// Messages found in streams of bytes, of both framings, cut anywhere.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "netconf/message_framing.h"

namespace qnips::test
{
namespace
{

constexpr std::size_t limit = 20;

// The messages of a stream that comes in pieces of a size, "(long)" behind one that is too long, "!" where it is no
// frame.
std::vector<std::string> messages_in(const std::string& stream, Framing framing, std::size_t piece)
{
    MessageReader reader(limit);
    reader.set_framing(framing, limit);
    std::vector<std::string> found;
    try {
        for (std::size_t at = 0; at < stream.size(); at += piece) {
            reader.add(std::string_view(stream).substr(at, piece));
            while (const auto message = reader.next())
                found.push_back(message->is_too_long ? "(long)" : message->text);
        }
    } catch (const FramingError&) {
        found.emplace_back("!");
    }
    return found;
}

struct Stream {
    Framing framing;
    std::string bytes;
    std::vector<std::string> messages;
};

const std::vector<Stream> streams = {
    {Framing::end_of_message, "<a/>]]>]]><b/>]]>]]>", {"<a/>", "<b/>"}},
    {Framing::end_of_message, "<a/>]]>]]>\r\n <b/>]]>]]>", {"<a/>", "<b/>"}},
    {Framing::end_of_message, "<a/>]]>]]", {}},
    {Framing::end_of_message, "]]>]]>]]>]]>", {"", ""}},
    {Framing::end_of_message, "a]]>]>b]]>]]>", {"a]]>]>b"}},
    {Framing::end_of_message, "12345678901234567890]]>]]>", {"12345678901234567890"}},
    {Framing::end_of_message, "123456789012345678901]]>]]><b/>]]>]]>", {"(long)", "<b/>"}},
    {Framing::chunked, "\n#4\n<a/>\n##\n\n#2\n<b\n#2\n/>\n##\n", {"<a/>", "<b/>"}},
    {Framing::chunked, "\n#4\n\n##\n\n##\n", {"\n##\n"}},
    {Framing::chunked, "\n\n\n#4\n<a/>\n##\n", {"<a/>"}},
    {Framing::chunked, "\n#21\n123456789012345678901\n##\n\n#1\nb\n##\n", {"(long)", "b"}},
    {Framing::chunked, "\n#20\n12345678901234567890\n#1\n1\n##\n\n#1\nb\n##\n", {"(long)", "b"}},
    {Framing::chunked, "\n#4294967295\nabc", {}},
    {Framing::chunked, "\n#4294967296\n", {"!"}},
    {Framing::chunked, "\n#99999999999999999999\n", {"!"}},
    {Framing::chunked, "\n##\n", {"!"}},
    {Framing::chunked, "\n#0\n", {"!"}},
    {Framing::chunked, "\n#04\n<a/>\n##\n", {"!"}},
    {Framing::chunked, "\n#-4\n", {"!"}},
    {Framing::chunked, "\n#4x\n", {"!"}},
    {Framing::chunked, "\n#\n", {"!"}},
    {Framing::chunked, "\n#4\n<a/>\n\n##\n", {"!"}},
    {Framing::chunked, "\n#4\n<a/>##\n", {"!"}},
    {Framing::chunked, "<a/>]]>]]>", {"!"}},
    {Framing::chunked, "\n#4\n<a/>\n##\n<b/>", {"<a/>", "!"}},
};

TEST(MessageReader, FindsMessagesHoweverTheyAreCut)
{
    for (const Stream& stream : streams)
        for (std::size_t piece = 1; piece <= stream.bytes.size(); ++piece)
            EXPECT_EQ(messages_in(stream.bytes, stream.framing, piece), stream.messages) << stream.bytes << piece;
}

TEST(MessageReader, ChangesFramingBetweenMessages)
{
    MessageReader reader(limit);
    reader.add("<hello/>]]>]]>\n#4\n<a/>\n##\n");
    EXPECT_EQ(reader.next()->text, "<hello/>");
    reader.set_framing(Framing::chunked, limit);
    EXPECT_EQ(reader.next()->text, "<a/>");
    EXPECT_FALSE(reader.next());
}

TEST(MessageReader, KeepsTheBeginningOfWhatIsTooLong)
{
    MessageReader reader(limit);
    for (int i = 0; i < 1000; ++i) {
        reader.add("0123456789");
        EXPECT_FALSE(reader.next());
    }
    reader.add("]]>]]>");
    const auto message = reader.next();
    EXPECT_TRUE(message->is_too_long);
    EXPECT_EQ(message->text.substr(0, 12), "012345678901");
}

TEST(MessageReader, ReadsWhatIsFramed)
{
    for (const Framing framing : {Framing::end_of_message, Framing::chunked})
        EXPECT_EQ(messages_in(framed("<a/>", framing) + framed("<b/>", framing), framing, 3),
                  (std::vector<std::string>{"<a/>", "<b/>"}));
}

} // namespace
} // namespace qnips::test
