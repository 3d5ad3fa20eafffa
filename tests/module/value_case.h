// Values that handlers take and refuse, as data: a changed leaf, what stands beside it, and what comes of it.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "module/handler_case.h"

namespace qnips::test
{

// Comes to a line when `line` is set, to an error when `message` is, to both when a handler goes on after an error, and
// to nothing at all when neither is.
struct ValueCase {
    const char* name;
    const char* handler;
    std::string node;
    int op = XMLDIFF_ADD;
    std::string line{};     // in the view of the handler's own lines
    unsigned operation = 0; // of the commit
    NC_ERR code = NC_ERR_EMPTY;
    std::string message{};
    std::string output{};          // debug lines, the last excepted when it is the line's
    std::string group = "another"; // content of the container, when it differs from the usual one
    ClientErrors more_errors{};    // behind the first
    int fail_result = 42;          // what the server answers to an error
    int is_delete = 0;
    std::string line_start = "[IPS]Operation: "; // of the line's debug line

    friend void PrintTo(const ValueCase& test, std::ostream* out) { *out << test.handler << ' ' << test.name; }
};

// Calls the handler with all settings of the switches and compares everything it did.
void expect_value(RecordingServer& server, const ValueCase& test);

ValueCase sent(const char* name, const char* handler, std::string node, std::string line, int op = XMLDIFF_ADD,
               unsigned operation = 0);

ValueCase refused(const char* name, const char* handler, std::string node, NC_ERR code, const std::string& message,
                  int op = XMLDIFF_ADD);

// Nothing is sent and nobody is told; `output` is the debug line.
ValueCase passed_over(const char* name, const char* handler, std::string node, std::string output,
                      int op = XMLDIFF_ADD);

// The same with other content in the container.
ValueCase in_group(ValueCase test, std::string group);

// The texts that every handler refuses in a leaf that it reads, with each of the operations.
std::vector<ValueCase> faulty_texts(const char* handler, const char* leaf_name, const std::vector<int>& ops);

// The same for a leaf below the changed node: `before` and `after` stand around it in the node.
std::vector<ValueCase> faulty_texts_within(const char* handler, const char* leaf_name, const std::vector<int>& ops,
                                           const std::string& before, const std::string& after);

inline const std::string absent_value = "The current value is NULL.";
inline const std::string invalid_value = "Invalid value, because of spaces or '?'.";

inline const std::vector<int> any_operation = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_REM, XMLDIFF_ADD | XMLDIFF_ROLLBACK,
                                               XMLDIFF_NONE};

// Test names are unique by a running number.
std::string value_name(const testing::TestParamInfo<ValueCase>& test);

} // namespace qnips::test
