// What cannot be told: a program that loses its output says so by its status, and on the other stream.
#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "end_to_end/state_fixture.h"

namespace qnips::test
{

namespace
{

using ::testing::HasSubstr;

// The program's stream is one that takes nothing.
Preparation full(int stream)
{
    return [stream] {
        const int device = open("/dev/full", O_WRONLY | O_CLOEXEC);
        if (device < 0 || dup2(device, stream) < 0)
            throw std::runtime_error("no stream that is full");
    };
}

class LostOutput : public State, public testing::WithParamInterface<std::vector<std::string>>
{
};

TEST_P(LostOutput, IsAFailure)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    ASSERT_EQ(run(GetParam()).status, 0);
    const Outcome outcome = run(GetParam(), full(STDOUT_FILENO));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("qn-ips: error: "));
    EXPECT_THAT(outcome.errors, HasSubstr("No space left on device"));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, LostOutput,
                         testing::Values(std::vector<std::string>{"history"}, std::vector<std::string>{"show", "1"},
                                         std::vector<std::string>{"get-config"}));

class LostErrors : public State
{
};

TEST_F(LostErrors, ChangeNoStatus)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    EXPECT_EQ(run({"show", "9"}, full(STDERR_FILENO)).status, 1);
    EXPECT_EQ(run({"nonsense"}, full(STDERR_FILENO)).status, run({"nonsense"}).status);
    EXPECT_EQ(apply("remove-webguard.xml", full(STDERR_FILENO)).status, 0);
}

} // namespace

} // namespace qnips::test
