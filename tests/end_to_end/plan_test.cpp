// The program against golden outputs: each folder of cases/ is one call.
//
//   command         the arguments, one a line; the program runs in the folder, @EXAMPLES@ stands for the examples'
//   edit.xml, ...   whatever the call names
//   stdout.golden   all of standard output
//   stderr.golden   all of standard error
//   status          the exit status
//
// QN_IPS_UPDATE_GOLDEN=1 writes the last three afresh and skips the comparison. What they then hold is to be reviewed:
// they say what the program has to print, not what it happens to print.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "end_to_end/line_diff.h"
#include "end_to_end/program.h"

namespace qnips::test
{

namespace
{

const std::filesystem::path& cases_folder()
{
    static const std::filesystem::path folder = std::filesystem::path(QN_IPS_TEST_DATA) / "cases";
    return folder;
}

std::vector<std::string> case_names()
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(cases_folder()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// What depends on the machine and the version, and the word that stands for it in the golden files.
const std::array<std::pair<std::string, std::string>, 8> places = {{
    {QN_IPS_EXAMPLES, "@EXAMPLES@"},
    {QN_IPS_MODULE, "@MODULE@"},
    {QN_IPS_CATALOGUE, "@CATALOGUE@"},
    {QN_IPS_PROGRAM, "@PROGRAM@"},
    {QN_IPS_YANG_DIR, "@YANG@"},
    {QN_IPS_INSTALLED_YANG_DIR, "@INSTALLED_YANG@"},
    {QN_IPS_IETF_YANG_DIR, "@IETF_YANG@"},
    {"qn-ips " QN_IPS_VERSION, "qn-ips @VERSION@"},
}};

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string without_places(std::string text, const std::filesystem::path& folder)
{
    text = replaced(std::move(text), folder.string(), "@CASE@");
    for (const auto& [place, word] : places)
        text = replaced(std::move(text), place, word);
    return text;
}

std::vector<std::string> arguments_of(const std::filesystem::path& folder)
{
    std::vector<std::string> arguments = lines_of(file_text(folder / "command"));
    for (std::string& argument : arguments) {
        argument.resize(argument.find_last_not_of('\n') + 1);
        for (const auto& [place, word] : places)
            argument = replaced(std::move(argument), word, place);
    }
    return arguments;
}

testing::AssertionResult is_golden(const std::filesystem::path& file, const std::string& text)
{
    const std::string difference = line_diff(file_text(file), text);
    if (difference.empty())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << file.string() << " differs (- expected, + printed):\n" << difference;
}

class Golden : public testing::TestWithParam<std::string>
{
};

TEST_P(Golden, OutputAndStatusAreAsExpected)
{
    const std::filesystem::path folder = cases_folder() / GetParam();
    const Outcome outcome = run_program(arguments_of(folder), folder);
    const std::array<std::pair<const char*, std::string>, 3> actual = {{
        {"stdout.golden", without_places(outcome.output, folder)},
        {"stderr.golden", without_places(outcome.errors, folder)},
        {"status", std::to_string(outcome.status) + "\n"},
    }};

    if (std::getenv("QN_IPS_UPDATE_GOLDEN") != nullptr) {
        for (const auto& [file, text] : actual)
            std::ofstream(folder / file, std::ios::binary) << text;
        GTEST_SKIP() << "golden files of " << GetParam() << " written, nothing compared";
    }
    for (const auto& [file, text] : actual)
        EXPECT_TRUE(is_golden(folder / file, text));
}

// What is refused has nothing on standard output that could be taken for lines that go to the device.
TEST(GoldenFiles, OfARefusedEditShowNoLines)
{
    std::size_t refusals = 0;
    for (const std::string& name : case_names()) {
        const std::filesystem::path folder = cases_folder() / name;
        const std::vector<std::string> arguments = arguments_of(folder);
        if (arguments.empty() || arguments.front() != "plan" || file_text(folder / "status") == "0\n")
            continue;
        ++refusals;
        const bool is_json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
        const std::string output = file_text(folder / "stdout.golden");
        EXPECT_TRUE(output.empty() || (is_json && output.starts_with("{\n  \"refused\": {\n"))) << name;
        EXPECT_TRUE(file_text(folder / "stderr.golden").starts_with("qn-ips: error: ")) << name;
    }
    EXPECT_GT(refusals, 0U);
}

std::string test_name(const testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(case_names()), test_name);

} // namespace

} // namespace qnips::test
