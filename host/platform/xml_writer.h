// XML text, element by element. libxml2 does the quoting.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <libxml/xmlwriter.h>

namespace qnips
{

// Texts have to be UTF-8 and without control characters, which XML cannot carry. All functions throw when libxml2
// fails, which it does for want of memory.
class XmlWriter
{
public:
    // Begins the root element, whose namespace holds for all elements.
    XmlWriter(const char* root, const char* namespace_uri);

    void open(const char* name);
    void close();
    void leaf(const char* name, std::string_view value);
    void leaf(const char* name, std::uint64_t value) { leaf(name, std::to_string(value)); }

    // Ends all elements that are open. The text has no XML declaration.
    [[nodiscard]] std::string finish() &&;

private:
    struct BufferDeleter {
        void operator()(xmlBuffer* buffer) const noexcept;
    };
    struct WriterDeleter {
        void operator()(xmlTextWriter* writer) const noexcept;
    };

    // The writer goes first: it writes to the buffer when it is freed.
    std::unique_ptr<xmlBuffer, BufferDeleter> buffer_;
    std::unique_ptr<xmlTextWriter, WriterDeleter> writer_;
};

} // namespace qnips
