// Text inside of XML.
#pragma once

#include <string>
#include <string_view>

namespace qnips
{

// The text as the content of an element or of a quoted attribute. Control characters, which XML cannot carry, become
// question marks.
std::string xml_escaped(std::string_view text);

// The text without white space around it.
std::string_view trimmed(std::string_view text);

} // namespace qnips
