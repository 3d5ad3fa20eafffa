// Groups of sibling leaves and what a check says about them, as data.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "support/server_test.h"

namespace qnips::test
{

using Check = int (*)(API_ENV_S* env);

struct CheckCase {
    const char* name;
    std::string leaves; // beside the changed leaf
    NC_ERR code = NC_ERR_EMPTY;
    std::string message{};    // empty: acceptable
    std::string debug_text{}; // behind "[IPS]ERROR: ", when it is not the message
    Check check = nullptr;

    friend void PrintTo(const CheckCase& test, std::ostream* out) { *out << test.leaves; }
};

// Runs a check for a leaf that has no meaning to it, as any leaf of the group may be the changed one.
CallResult run_check(RecordingServer& server, Check check, const std::string& leaves);

// Runs the case with all settings of the switches and compares everything it did.
void expect_judgement(RecordingServer& server, const CheckCase& test);

// The cases of one check, as values of a parameter.
inline auto groups(Check check, std::vector<CheckCase> cases)
{
    for (CheckCase& test : cases)
        test.check = check;
    return testing::ValuesIn(cases);
}

inline std::string group_name(const testing::TestParamInfo<CheckCase>& test)
{
    return test.param.name;
}

// <name text=''/>: a leaf whose text is empty and not null.
inline std::string empty_leaf(const std::string& name)
{
    return '<' + name + " text=''/>";
}

inline const std::string longest_value(63, 'a');
inline const std::string unreadable_value(64, 'a');

} // namespace qnips::test
