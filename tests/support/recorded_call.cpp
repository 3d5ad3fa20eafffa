// Printing of recorded values, and the names of operation bits.
#include "support/recorded_call.h"

#include <array>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace qnips::test
{

namespace
{

constexpr std::array<std::pair<int, const char*>, 8> op_names{{
    {XMLDIFF_ADD, "ADD"},
    {XMLDIFF_REM, "REM"},
    {XMLDIFF_MOD, "MOD"},
    {XMLDIFF_CHAIN, "CHAIN"},
    {XMLDIFF_SIBLING, "SIBLING"},
    {XMLDIFF_REORDER, "REORDER"},
    {XMLDIFF_CFGR, "CFGR"},
    {XMLDIFF_ROLLBACK, "ROLLBACK"},
}};

std::string quoted(const Text& text)
{
    return text ? '"' + *text + '"' : "null";
}

int bit_from_text(const std::string& word)
{
    if (word == "NONE")
        return XMLDIFF_NONE;
    for (const auto& [bit, name] : op_names) {
        if (word == name)
            return bit;
    }
    throw std::invalid_argument("no operation is called \"" + word + '"');
}

} // namespace

void PrintTo(const Line& line, std::ostream* out)
{
    *out << '{' << quoted(line.vsys) << ", \"" << line.view << "\", " << quoted(line.view_type) << ", \"" << line.line
         << "\"}";
}

void PrintTo(const ClientError& error, std::ostream* out)
{
    *out << "{code " << static_cast<int>(error.code) << ", " << quoted(error.message);
    if (error.second)
        *out << ", second " << quoted(error.second);
    *out << ", kind " << error.kind << '}';
}

void PrintTo(const KeyLookup& lookup, std::ostream* out)
{
    *out << lookup.level << '/' << lookup.name;
}

std::string op_text(int op)
{
    std::string text;
    for (const auto& [bit, name] : op_names) {
        if ((op & bit) == 0)
            continue;
        text += (text.empty() ? "" : "|") + std::string(name);
        op &= ~bit;
    }
    if (op != 0)
        text += (text.empty() ? "" : "|") + std::to_string(op);
    return text.empty() ? "NONE" : text;
}

int op_from_text(const std::string& text)
{
    std::istringstream words(text);
    std::string word;
    int op = XMLDIFF_NONE;
    while (std::getline(words, word, '|'))
        op |= bit_from_text(word);
    return op;
}

} // namespace qnips::test
