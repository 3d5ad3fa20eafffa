// What each handler is promised to do, as data, and the steps that all of them share: decoding of an operation, the
// ancestors that cover the node, the names above it, the lines and the commit.
#pragma once

#include <optional>
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
    container,       // undo, or quiet: what stands in it speaks for itself
    removal_refused, // the plain removal is refused first, and there is no undo
    change_only,     // the plain removal is refused, a modification is set, and all else is quiet
    change_of_entry, // the plain removal is refused, an addition is quiet, and a modification is set
};

// What a call comes to.
enum class Outcome { set, undo, unknown, quiet, refused };

// The promised outcome of an operation under each decoding.
struct OpCase {
    int op;
    Outcome undo_first;
    Outcome set_first;
    Outcome container;
    Outcome removal_refused;
    Outcome change_only;
    Outcome change_of_entry;
};
const std::vector<OpCase>& op_cases();

struct HandlerCase {
    const char* name;
    Handler handler;
    Decoding decoding;
    Steps above;      // the node's ancestors
    std::string node; // the changed node
    std::string xpath;
    Line set_line;              // of an addition; not looked at where the decoding has no set
    Line undo_line;             // likewise
    std::string commit_failure; // the text in the debug line
    std::vector<int> guards;    // levels whose removal covers the node
    std::string guard_message;  // the debug line of that
    int vsys_level = 0;         // where the names are read; 0: not
    int profile_level = 0;
    bool banner = false;
    int quiet_ops = 0;                    // one of these bits makes an operation quiet that would be unknown
    std::string quiet_message{};          // the debug line of a quiet outcome
    std::optional<ClientError> refusal{}; // of a refused operation
    bool undo_refused = false;            // an undo is refused instead
    std::optional<Line> place_line{};     // behind the other lines whenever the entry is new or has moved
    std::string unknown_start = "[IPS]ERROR: Unknown op("; // of the debug line of an unknown operation
    bool quiet_names_op = false;                           // the debug line of a quiet outcome ends in the operation
    std::string failure_start = "[IPS]ERROR: ";            // of the debug line of a failed commit
    std::string undo_start = "[IPS]Operation: ";           // of the debug line of a line that undoes
    FlagHandler flag_handler = nullptr;                    // in place of `handler`
    int set_ops = 0;                      // one of these bits makes an operation a set that would be unknown
    unsigned undo_operation = 1;          // of the commit of an undo
    std::optional<Line> after_undo{};     // behind the line that undoes
    std::optional<Line> going_set{};      // in place of the line that sets when the operation is one that undoes, too
    std::string failure_end = "\r\n\r\n"; // of the debug line of a failed commit
    std::vector<int> watched{};           // levels it asks for that do not cover the node
    int signature_level = 0;              // where a user-defined signature's id is read; 0: not
    int rule_level = 0;                   // where a rule's name is read; 0: not
    std::string nature{};                 // what associated-enable has to be there; empty: of no matter
    std::size_t view_limit = 127;         // of characters in a rule's view
    // The debug lines of the checks before the others; null: none.
    std::string (*checks_output)(Outcome outcome, int op) = nullptr;

    // Calls the handler for the node in an edit that differs from the usual one.
    CallResult call(RecordingServer& server, int op, const std::string& xml, int is_delete = 0) const;

    [[nodiscard]] Outcome outcome(const OpCase& op_case) const;

    // The lines of a call with that outcome.
    [[nodiscard]] Lines lines(Outcome outcome, int op) const;

    // An operation that makes the handler send lines, and those.
    [[nodiscard]] int sending_op() const;
    [[nodiscard]] Lines sent_lines() const;

    friend void PrintTo(const HandlerCase& test, std::ostream* out) { *out << test.name; }
};

// All handlers' cases, and those of each subject.
const std::vector<HandlerCase>& handler_cases();
std::vector<HandlerCase> profile_handler_cases();
std::vector<HandlerCase> signature_set_handler_cases();
std::vector<HandlerCase> exception_signature_handler_cases();
std::vector<HandlerCase> protocol_control_handler_cases();
std::vector<HandlerCase> associated_rule_handler_cases();
std::vector<HandlerCase> predefined_signature_handler_cases();
std::vector<HandlerCase> global_setting_handler_cases();
std::vector<HandlerCase> signature_handler_cases();
std::vector<HandlerCase> signature_rule_handler_cases();
std::vector<HandlerCase> basic_condition_handler_cases();

// Throws std::invalid_argument when no case is of that handler.
const HandlerCase& handler_case(const std::string& name);

// The debug lines that start every call of a handler.
std::string opening_lines(const HandlerCase& test, int op, DebugSetting setting);

// A client's text as a debug line, with the newline that is printed behind it.
std::string error_line(const std::string& text);

// The debug line of a text with a question mark.
inline const std::string question_mark = "[IPS]ERROR: '?' is in the current value.\r\n\r\n";

// The debug line of a cached line.
std::string operation_line(const std::string& line);

// The debug line of an ancestor's removal.
inline const std::string parent_message = "[IPS]SUCCESS: The parent operation is deleted.\r\n";

} // namespace qnips::test
