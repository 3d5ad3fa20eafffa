// The program from outside: what it prints, where, and its exit codes.
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string schema = QN_IPS_BROKEN_MODULES_YANG;
const std::string yang = " --yang " + schema + " --yang " + QN_IPS_IETF_YANG_DIR;

std::string library(const std::string& name)
{
    return std::string(QN_IPS_BROKEN_MODULES) + "/" + name + ".so";
}

struct Outcome {
    int exit_code = -1;
    std::string output;
    std::string errors;
};

std::string content(const std::filesystem::path& file)
{
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

// Runs the program through the shell, with `environment` (NAME=value ...) set before it.
Outcome run(const std::string& arguments, const std::string& environment = "")
{
    const auto base = std::filesystem::path(testing::TempDir()) / ("qn_ips_test_" + std::to_string(getpid()));
    const std::string output = base.string() + ".out";
    const std::string errors = base.string() + ".err";
    const std::string command =
        environment + " " + QN_IPS_PROGRAM + " " + arguments + " >" + output + " 2>" + errors + " </dev/null";
    const int status = std::system(command.c_str());
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, content(output), content(errors)};
    std::filesystem::remove(output);
    std::filesystem::remove(errors);
    return outcome;
}

TEST(Program, ShowsHelpAndVersion)
{
    const Outcome help = run("--help");
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.output, HasSubstr("check-module"));
    EXPECT_EQ(help.errors, "");

    const Outcome version = run("--version");
    EXPECT_EQ(version.exit_code, 0);
    EXPECT_THAT(version.output, testing::MatchesRegex("qn-ips [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Program, UsageErrorsExitWithTwo)
{
    for (const char* arguments : {"", "frobnicate", "nodes --frobnicate", "nodes --module"}) {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.exit_code, 2) << arguments;
        EXPECT_EQ(outcome.output, "") << arguments;
        EXPECT_THAT(outcome.errors, StartsWith("qn-ips: error: ")) << arguments;
    }
    EXPECT_THAT(run("frobnicate").errors, HasSubstr("frobnicate"));
}

TEST(Program, MissingFilesAreNamed)
{
    const Outcome module = run("nodes --module /nowhere/module.so" + yang);
    EXPECT_EQ(module.exit_code, 1);
    EXPECT_THAT(module.errors, StartsWith("qn-ips: error: /nowhere/module.so cannot be loaded"));

    const Outcome folder = run("nodes --yang /nowhere");
    EXPECT_EQ(folder.exit_code, 1);
    EXPECT_THAT(folder.errors, HasSubstr("/nowhere"));
}

TEST(CheckModule, AcceptsAModuleThatFits)
{
    const Outcome outcome = run("check-module " + library("good") + yang);
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.output,
              library("good") + ": 13 rows, interface version 4, fits the server and the YANG module: ok\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST(CheckModule, PrintsEveryFindingOfTheLibraryAndOfItsTable)
{
    const std::string name = library("many-faults");
    const Outcome outcome = run("check-module " + name + yang);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(
        outcome.output,
        name + ": transapi_version is 3, expected 4\n" + name +
            ": clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): priority 64 is outside 0 to "
            "63\n" +
            name + ": custom_funcs.lock is not custom_lock\n" + name + ": symbol transapi_close is missing\n" + name +
            ": /qn-ips:ips-config/qn-ips:house/qn-ips:number: 0 set rows and 2 removal rows, expected one set row "
            "and at most one removal row\n");
    EXPECT_EQ(outcome.errors, "qn-ips: error: " + name + " does not fit: 5 findings\n");
}

TEST(CheckModule, ComparesTheTableWithTheSchema)
{
    const Outcome outcome = run("check-module " + library("unknown-path") + yang);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.output,
              library("unknown-path") + ": /qn-ips:ips-config/qn-ips:garden: the schema has no such node\n");
}

TEST(CheckModule, FindsRowsThatTheCountHides)
{
    const Outcome outcome = run("check-module " + library("count-too-low") + yang);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.output, HasSubstr(": /qn-ips:ips-state/qn-ips:lamps: no row\n"));
}

TEST(CheckModule, InitialisesTheModule)
{
    const Outcome outcome = run("check-module " + library("init-fails") + yang);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.output, library("init-fails") + ": transapi_init returned 7\n");
}

TEST(CheckModule, TakesItsPlacesFromTheEnvironmentUnlessOptionsSayOtherwise)
{
    const std::string folders = "QN_IPS_YANG_PATH=" + schema + ":" + QN_IPS_IETF_YANG_DIR;
    const Outcome outcome = run("check-module", folders + " QN_IPS_MODULE=" + library("good"));
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, StartsWith(library("good")));

    const Outcome option =
        run("check-module --module " + library("good"), folders + " QN_IPS_MODULE=" + library("wrong-version"));
    EXPECT_EQ(option.exit_code, 0);
}

TEST(Nodes, ShowsTheTableAsText)
{
    const Outcome outcome = run("nodes --module " + library("good") + yang);
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.output, R"(PRIORITY  CALLBACKS                  HANDLER  NODE
19/55     set_house, remove_house    own      /qn-ips:ips-config/house
18        nothing                    none     /qn-ips:ips-config/house/name
18/54     set_number, remove_number  own      /qn-ips:ips-config/house/number
 0        nothing                    none     /qn-ips:ips-config/house/stove
 0        nothing                    house's  /qn-ips:ips-config/house/stove/fuel
17/57     wood_{ADD,Delete}          own      /qn-ips:ips-config/house/stove/wood
 0        nothing                    house's  /qn-ips:ips-config/house/cold
 0        nothing                    none     /qn-ips:ips-config/alone
 0        nothing                    none     /qn-ips:ips-state
 0        nothing                    none     /qn-ips:ips-state/lamps

13 rows for 10 nodes: 3 with a set and a removal callback, 7 with one that does nothing
)");
}

TEST(Nodes, ShowsTheTableAsJson)
{
    const Outcome outcome = run("nodes --json --module " + library("good") + yang);
    ASSERT_EQ(outcome.exit_code, 0);
    const auto json = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(json["rows"], 13);
    ASSERT_EQ(json["nodes"].size(), 10U);
    EXPECT_EQ(json["nodes"][2], nlohmann::json::parse(R"({
        "path": "/qn-ips:ips-config/qn-ips:house/qn-ips:number",
        "set": {"callback": "set_number", "priority": 18},
        "removal": {"callback": "remove_number", "priority": 54},
        "pair": true,
        "speaker": null
    })"));
    EXPECT_EQ(json["nodes"][4], nlohmann::json::parse(R"({
        "path": "/qn-ips:ips-config/qn-ips:house/qn-ips:stove/qn-ips:fuel",
        "set": {"callback": "nothing", "priority": 0},
        "removal": null,
        "pair": false,
        "speaker": "/qn-ips:ips-config/qn-ips:house"
    })"));
}

TEST(Nodes, RefusesAModuleThatDoesNotFit)
{
    const Outcome outcome = run("nodes --module " + library("unknown-path") + yang);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, EndsWith("\n  /qn-ips:ips-config/qn-ips:garden: the schema has no such node\n"));
}

} // namespace
