#include "netconf/xml_text.h"

namespace qnips
{

std::string xml_escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        const bool is_blank = c == '\t' || c == '\n' || c == '\r';
        if (c == '<')
            result += "&lt;";
        else if (c == '>')
            result += "&gt;";
        else if (c == '&')
            result += "&amp;";
        else if (c == '"')
            result += "&quot;";
        else
            result += static_cast<unsigned char>(c) < 0x20 && !is_blank ? '?' : c;
    }
    return result;
}

} // namespace qnips
