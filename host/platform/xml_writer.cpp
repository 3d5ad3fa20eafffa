#include "platform/xml_writer.h"

#include <new>
#include <stdexcept>

namespace qnips
{

namespace
{

const xmlChar* xml(const char* text)
{
    return reinterpret_cast<const xmlChar*>(text);
}

void require(int written)
{
    if (written < 0)
        throw std::runtime_error("an XML text cannot be written");
}

} // namespace

void XmlWriter::BufferDeleter::operator()(xmlBuffer* buffer) const noexcept
{
    xmlBufferFree(buffer);
}

void XmlWriter::WriterDeleter::operator()(xmlTextWriter* writer) const noexcept
{
    xmlFreeTextWriter(writer);
}

XmlWriter::XmlWriter(const char* root, const char* namespace_uri) : buffer_(xmlBufferCreate())
{
    if (buffer_ == nullptr)
        throw std::bad_alloc();
    // Without it every element would cost a copy of all that has been written.
    xmlBufferSetAllocationScheme(buffer_.get(), XML_BUFFER_ALLOC_DOUBLEIT);
    writer_.reset(xmlNewTextWriterMemory(buffer_.get(), 0));
    if (writer_ == nullptr)
        throw std::bad_alloc();
    require(xmlTextWriterSetIndent(writer_.get(), 1));
    require(xmlTextWriterSetIndentString(writer_.get(), xml("  ")));
    require(xmlTextWriterStartElementNS(writer_.get(), nullptr, xml(root), xml(namespace_uri)));
}

void XmlWriter::open(const char* name)
{
    require(xmlTextWriterStartElement(writer_.get(), xml(name)));
}

void XmlWriter::close()
{
    require(xmlTextWriterEndElement(writer_.get()));
}

void XmlWriter::leaf(const char* name, std::string_view value)
{
    require(xmlTextWriterWriteElement(writer_.get(), xml(name), xml(std::string(value).c_str())));
}

std::string XmlWriter::finish() &&
{
    require(xmlTextWriterEndDocument(writer_.get()));
    return {reinterpret_cast<const char*>(xmlBufferContent(buffer_.get())),
            static_cast<std::size_t>(xmlBufferLength(buffer_.get()))};
}

} // namespace qnips
