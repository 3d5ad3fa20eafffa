// The base of tests that call the module: a fresh recording server for each, whose contract the module keeps.
#pragma once

#include <gtest/gtest.h>

#include "support/recording_server.h"

namespace qnips::test
{

// For test suites with parameters: class XTest : public ServerTestBase<testing::TestWithParam<Case>>.
template <class Base>
class ServerTestBase : public Base
{
protected:
    void TearDown() override { EXPECT_EQ(server.misuses(), std::vector<std::string>{}); }

    RecordingServer server;
};

using ServerTest = ServerTestBase<testing::Test>;

// Source line numbers in traces are free: "current line is 123" becomes "current line is #". A line number that is no
// digits stays as it is.
inline std::string without_line_numbers(std::string text)
{
    static constexpr std::string_view marker = "current line is ";
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at)) {
        at += marker.size();
        const std::size_t end = text.find_first_not_of("0123456789", at);
        const std::size_t count = (end == std::string::npos ? text.size() : end) - at;
        if (count > 0)
            text.replace(at, count, "#");
    }
    return text;
}

} // namespace qnips::test
