// The handlers of a virtual system's switch, its exception domain names, profiles and their leaves: what each is
// promised to do, as data.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "support/config_text.h"
#include "support/debug_switches.h"
#include "support/recording_server.h"

namespace qnips::test
{

// Which of the two tests of an operation comes first; what is not a matter of order has a decoding of its own.
enum class Decoding {
    undo_first,
    set_first,
    profile_entry,    // undo first, and a mere change below is quiet
    filter_container, // undo, or quiet
    filter_action,    // the plain removal is refused, and there is no undo
};

// What a call comes to.
enum class Outcome { set, undo, unknown, quiet, refused };

struct HandlerCase {
    const char* name;
    Handler handler;
    Decoding decoding;
    Steps above;      // the node's ancestors
    std::string node; // the changed node
    std::string xpath;
    Line set_line;
    Line undo_line;
    std::string commit_failure; // the text in the debug line
    std::vector<int> guards;    // levels whose removal covers the node
    std::string guard_message;  // the debug line of that
    int vsys_level = 0;         // where the names are read; 0: not
    int profile_level = 0;
    bool banner = false;
    std::string quiet_message{};

    friend void PrintTo(const HandlerCase& test, std::ostream* out) { *out << test.name; }
};

// All nine.
const std::vector<HandlerCase>& handler_cases();
const HandlerCase& handler_case(const std::string& name);

// The promised outcome of an operation.
struct OpCase {
    int op;
    Outcome undo_first;
    Outcome set_first;
    Outcome profile_entry;
    Outcome filter_container;
    Outcome filter_action;

    [[nodiscard]] Outcome outcome(Decoding decoding) const;
};
const std::vector<OpCase>& op_cases();

// The debug lines that start every call of a handler.
std::string opening_lines(const HandlerCase& test, int op, DebugSetting setting);

// A client's text as a debug line, with the newline that is printed behind it.
std::string error_line(const std::string& text);

} // namespace qnips::test
