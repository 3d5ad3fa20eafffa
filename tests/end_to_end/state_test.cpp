// A device that is kept in a folder, from one call of the program to the next.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "end_to_end/state_fixture.h"

namespace qnips::test
{

namespace
{

using ::testing::HasSubstr;

TEST_F(State, KeepsDeviceAndHistory)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    const std::string created = run({"get-config"}).output;
    EXPECT_THAT(created, HasSubstr("<name>webguard</name>"));
    ASSERT_EQ(apply("remove-webguard.xml").status, 0);
    EXPECT_NE(run({"get-config"}).output, created);

    const Outcome rollback = run({"rollback", "1"});
    EXPECT_EQ(rollback.status, 0) << rollback;
    EXPECT_THAT(rollback.output, HasSubstr("profile type ips name \"webguard\""));
    EXPECT_EQ(run({"get-config"}).output, created);

    const Outcome history = run({"history"});
    EXPECT_EQ(lines_of(history.output).size(), 3U) << history;
    EXPECT_THAT(history.output, HasSubstr("rollback 1        applied"));
    EXPECT_EQ(lines_of(run({"history", "--most", "1"}).output).size(), 1U);
    const Outcome shown = run({"show", "2"});
    EXPECT_THAT(shown.output, HasSubstr("undo profile type ips name \"webguard\""));
    EXPECT_THAT(shown.output, HasSubstr("operation=\"remove\""));
}

TEST_F(State, GivesTheConfigurationToADeviceThatHasNone)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    const std::string created = run({"get-config"}).output;
    std::filesystem::remove(lab_ / "device.db");
    const Outcome read = run({"get-config"});
    EXPECT_EQ(read.output, created);
    EXPECT_THAT(read.errors, HasSubstr("the device had no configuration and got the stored one"));
    EXPECT_EQ(run({"get-config"}).errors, "");
}

TEST_F(State, ShowsAndRepairsADrift)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    std::filesystem::remove(lab_ / "history.db"); // a datastore that knows nothing of what the device has
    const Outcome drift = run({"drift"});
    EXPECT_EQ(drift.status, 1);
    EXPECT_THAT(drift.output, HasSubstr("device    /ips-config/user-defined-ips/vsys[name='branch']/profiles/"
                                        "profile[name='webguard']\n"));
    EXPECT_THAT(run({"get-state"}).errors, HasSubstr("differ in"));

    const Outcome taken = run({"drift", "--repair", "datastore"});
    EXPECT_EQ(taken.status, 0) << taken;
    EXPECT_EQ(run({"drift"}).status, 0);
    EXPECT_THAT(run({"get-config"}).output, HasSubstr("webguard"));

    std::filesystem::remove(lab_ / "history.db");
    EXPECT_EQ(run({"drift", "--repair", "device"}).status, 0);
    EXPECT_EQ(run({"get-config"}).output.find("webguard"), std::string::npos);
    EXPECT_EQ(run({"drift", "--repair", "both"}).status, 2);
}

TEST_F(State, SaysWhatACommitIsMissing)
{
    ASSERT_EQ(apply("create-webguard.xml").status, 0);
    for (const char* command : {"show", "rollback"}) {
        const Outcome outcome = run({command, "7"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.errors, HasSubstr("has no commit 7"));
    }
    EXPECT_EQ(run_program({"history"}, folder_.path()).status, 2) << "there is no default folder";
}

} // namespace

} // namespace qnips::test
