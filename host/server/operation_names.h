// XMLDIFF_OP bits as a person reads them.
#pragma once

#include <string>

namespace qnips
{

// "ADD", "SIBLING|CHAIN", "NONE"; bits without a name as a number.
std::string operation_names(unsigned bits);

} // namespace qnips
