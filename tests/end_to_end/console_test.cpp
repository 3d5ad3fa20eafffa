// The console from outside: lines that are piped in with the exit status, and keys that are typed on a terminal.
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include "end_to_end/program.h"
#include "end_to_end/pseudo_terminal.h"

namespace qnips::test
{

namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A folder that goes with its test.
class Console : public testing::Test
{
protected:
    void SetUp() override { std::filesystem::create_directory(folder_); }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    // Runs the program through the shell with the text as its input.
    Outcome pipe(const std::string& text, const std::string& arguments = "") const
    {
        std::ofstream(folder_ / "in", std::ios::binary) << text;
        const std::string command = "cd " + folder_.string() +
                                    " && QN_IPS_MODULE=" QN_IPS_MODULE " QN_IPS_YANG_PATH=" QN_IPS_YANG_DIR
                                    ":" QN_IPS_IETF_YANG_DIR " " QN_IPS_PROGRAM " console " +
                                    arguments + " <in >out 2>err";
        const int status = std::system(command.c_str());
        return {file_text(folder_ / "out"), file_text(folder_ / "err"), WIFEXITED(status) ? WEXITSTATUS(status) : -1};
    }

    std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) / ("console_test_" + std::to_string(getpid()));
};

// ------------------------------------------------------------------------------------------------------- piped --

struct PipeCase {
    const char* name;
    std::string input;
    std::string arguments;
    int status;
    std::string output; // its start
    std::string errors;

    friend void PrintTo(const PipeCase& test, std::ostream* out) { *out << test.name; }
};

class PipedConsole : public Console, public testing::WithParamInterface<PipeCase>
{
};

TEST_P(PipedConsole, PrintsResultsOnlyAndSaysWhichLineIsRefused)
{
    const PipeCase& test = GetParam();
    const Outcome outcome = pipe(test.input, test.arguments);
    EXPECT_EQ(outcome.status, test.status) << outcome;
    EXPECT_EQ(outcome.errors, test.errors);
    if (test.output.ends_with('\n') || test.output.empty())
        EXPECT_EQ(outcome.output, test.output);
    else
        EXPECT_THAT(outcome.output, StartsWith(test.output));
}

const PipeCase pipe_cases[] = {
    {"Nothing", "", "", 0, "", ""},
    {"LinesThatAreTaken", ":vsys branch\nprofile type ips name web\ndescription shop\n", "", 0, "", ""},
    {"Comments", "# a line of a script\n\n   # another\n", "", 0, "", ""},
    {"Result", ":show\n", "", 0, "The device's configuration is empty.\n", ""},
    {"LastLineWithoutAnEnd", ":show", "", 0, "The device's configuration is empty.\n", ""},
    {"LinesOfAnotherSystem", ":vsys b\r\n:show\r\n", "", 0, "The device's configuration is empty.\n", ""},
    {"StopsAtTheFirstRefusedLine", ":vsys branch\nreboot\nundo profile type ips name x\n:show\n", "", 1, "",
     "qn-ips: error: line 2: unknown command (NC_ERR_PARSE_COMMAND, 22)\n"},
    {"GoesOnWhenItIsTold", ":vsys branch\nreboot\nundo profile type ips name x\n:show\n", "--keep-going", 1,
     "The device's configuration is empty.\n",
     "qn-ips: error: line 2: unknown command (NC_ERR_PARSE_COMMAND, 22)\n"
     "qn-ips: error: line 3: there is no profile x (NC_ERR_COMMAND_EXECUTE, 24)\n"},
    {"KeepsGoingWithoutARefusal", ":show\n", "--batch --keep-going", 0, "The device's configuration is empty.\n", ""},
    {"RefusedWord", "\n:view x\n", "", 1, "",
     "qn-ips: error: line 2: the device has no view x (NC_ERR_SET_VIEW, 23)\n"},
    {"Quit", ":quit\nreboot\n", "", 0, "", ""},
    {"RunningConfiguration", ":show\n", "--running " QN_IPS_EXAMPLES "/webguard-running.xml", 0,
     "<ips-config xmlns=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\">\n  <user-defined-ips>\n"
     "    <vsys>\n      <name>branch</name>",
     ""},
    {"State", ":state\n", "", 0, "<ips-state ", ""},
    {"UnknownOption", "", "--frobnicate", 2, "",
     "qn-ips: error: The following argument was not expected: --frobnicate\nRun with --help for more information.\n"},
};

std::string pipe_case_name(const testing::TestParamInfo<PipeCase>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, PipedConsole, testing::ValuesIn(pipe_cases), pipe_case_name);

// ------------------------------------------------------------------------------------------------- on a terminal --

constexpr const char* ctrl_c = "\x03";
constexpr const char* ctrl_d = "\x04";
constexpr const char* tab = "\t";
constexpr const char* up = "\x10"; // the line before

TEST_F(Console, CompletesWordsOnTab)
{
    PseudoTerminal terminal({"console"});
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type(std::string(":vs") + tab + "branch\n");
    ASSERT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
    terminal.type(std::string("p") + tab + tab + tab + tab + "web\n");
    ASSERT_TRUE(terminal.shows("[vsys branch, profile web] ")) << terminal.unread();

    terminal.type(std::string("http x") + tab + tab);
    EXPECT_TRUE(terminal.shows("x-forwarded-for  x-online-host")) << terminal.unread();
    EXPECT_TRUE(terminal.shows("[vsys branch, profile web] http x-")) << terminal.unread();
    terminal.type(std::string("f") + tab + "c" + tab + "an" + tab + tab + "al" + tab + "\n:show\n");
    EXPECT_TRUE(terminal.shows("<action>alert</action>")) << terminal.unread();
}

TEST_F(Console, CompletesNamesThatTheDeviceHas)
{
    PseudoTerminal terminal({"console", "--running", QN_IPS_EXAMPLES "/webguard-running.xml"});
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type(std::string(":vsys b") + tab + "\n");
    ASSERT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
    terminal.type(std::string("undo profile type ips name w") + tab + "\n:show\n");
    ASSERT_TRUE(terminal.shows("</ips-config>")) << terminal.unread();
    EXPECT_THAT(terminal.skipped(), Not(HasSubstr("<profile>")));
}

TEST_F(Console, SaysWhyALineIsRefusedAndGoesOn)
{
    PseudoTerminal terminal({"console"});
    terminal.type("reboot\n");
    EXPECT_TRUE(terminal.shows("unknown command (NC_ERR_PARSE_COMMAND, 22)\r\n[device] ")) << terminal.unread();
    terminal.type(ctrl_d);
    EXPECT_EQ(terminal.exit_status(), 0);
}

TEST_F(Console, DropsTheLineOnInterrupt)
{
    PseudoTerminal terminal({"console"});
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type("reboot");
    ASSERT_TRUE(terminal.shows("reboot")) << terminal.unread();
    terminal.type(ctrl_c);
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type(":vsys branch\n");
    EXPECT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
    EXPECT_THAT(terminal.skipped(), Not(HasSubstr("unknown"))) << "the dropped line is executed";
    terminal.type(":quit\n");
    EXPECT_EQ(terminal.exit_status(), 0);
}

TEST_F(Console, RemembersLines)
{
    PseudoTerminal terminal({"console"});
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type(":vsys branch\n");
    ASSERT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
    terminal.type(":top\n");
    ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
    terminal.type(std::string(up) + up + "\n");
    EXPECT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
}

TEST_F(Console, KeepsItsHistoryInAFileOnlyWhenToldTo)
{
    const std::string history = folder_ / "history";
    for (const bool is_first : {true, false}) {
        PseudoTerminal terminal({"console", "--history", history});
        ASSERT_TRUE(terminal.shows("[device] ")) << terminal.unread();
        terminal.type(is_first ? ":vsys branch\n" : std::string(up) + "\n");
        EXPECT_TRUE(terminal.shows("[vsys branch] ")) << terminal.unread();
        terminal.type(ctrl_d);
        EXPECT_EQ(terminal.exit_status(), 0) << terminal.unread();
    }
}

TEST_F(Console, RefusesAHistoryItCannotKeep)
{
    std::ofstream(folder_ / "text") << "no history\n";
    for (const std::filesystem::path& file : {folder_ / "text", folder_ / "missing" / "history"}) {
        PseudoTerminal terminal({"console", "--history", file});
        EXPECT_TRUE(terminal.shows("qn-ips: error: ")) << terminal.unread();
        EXPECT_EQ(terminal.exit_status(), 1);
    }
}

TEST_F(Console, AsksNothingInABatchOnATerminal)
{
    PseudoTerminal terminal({"console", "--batch"});
    terminal.type(":vsys branch\nreboot\n");
    EXPECT_EQ(terminal.exit_status(), 1);
    EXPECT_THAT(terminal.unread(), HasSubstr("qn-ips: error: line 2: unknown command"));
    EXPECT_THAT(terminal.unread(), Not(HasSubstr("[")));
}

} // namespace

} // namespace qnips::test
