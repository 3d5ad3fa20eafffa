#include "server/operation_names.h"

#include <array>
#include <string_view>
#include <utility>

#include "transapi/edit_operation.h"

namespace qnips
{

namespace
{

constexpr std::array<std::pair<unsigned, std::string_view>, 8> names = {{
    {XMLDIFF_ADD, "ADD"},
    {XMLDIFF_REM, "REM"},
    {XMLDIFF_MOD, "MOD"},
    {XMLDIFF_SIBLING, "SIBLING"},
    {XMLDIFF_REORDER, "REORDER"},
    {XMLDIFF_CHAIN, "CHAIN"},
    {XMLDIFF_CFGR, "CFGR"},
    {XMLDIFF_ROLLBACK, "ROLLBACK"},
}};

void append(std::string& text, std::string_view name)
{
    if (!text.empty())
        text += '|';
    text += name;
}

} // namespace

std::string operation_names(unsigned bits)
{
    if (bits == XMLDIFF_NONE)
        return "NONE";

    std::string text;
    for (const auto& [bit, name] : names) {
        if ((bits & bit) != 0)
            append(text, name);
        bits &= ~bit;
    }
    if (bits != 0)
        append(text, std::to_string(bits));
    return text;
}

} // namespace qnips
