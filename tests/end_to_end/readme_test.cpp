// The README's calls of the program: each works, and prints what the README shows of it. A line "…" stands for any
// number of lines, a "…" within a line for any text.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "end_to_end/program.h"
#include "host/store/temporary_folder.h"

namespace qnips::test
{

namespace
{

constexpr std::string_view block_indent = "    ";
constexpr std::string_view prompt = "    $ qn-ips ";
constexpr std::string_view ellipsis = "…";

struct Call {
    std::string text;
    std::vector<std::string> shown;
};

std::string without_line_end(std::string line)
{
    if (line.ends_with('\n'))
        line.pop_back();
    return line;
}

std::vector<Call> calls_of(const std::string& readme)
{
    std::vector<Call> calls;
    bool in_output = false;
    for (const std::string& raw : lines_of(readme)) {
        const std::string line = without_line_end(raw);
        if (line.starts_with(prompt)) {
            calls.push_back({line.substr(prompt.size(), line.find('#') - prompt.size()), {}});
            in_output = true;
        } else if (in_output && line.starts_with(block_indent)) {
            calls.back().shown.push_back(line.substr(block_indent.size()));
        } else if (!line.empty()) {
            in_output = false;
        } else if (in_output) {
            calls.back().shown.emplace_back();
        }
    }
    for (Call& call : calls)
        while (!call.shown.empty() && call.shown.back().empty())
            call.shown.pop_back();
    return calls;
}

std::vector<std::string> words_of(const std::string& text, const std::filesystem::path& lab)
{
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(word == "quorin-intrusion-prevention.so" ? QN_IPS_MODULE : word == "lab" ? lab.string() : word);
    return words;
}

bool matches(std::string_view shown, std::string_view line)
{
    const std::size_t gap = shown.find(ellipsis);
    if (gap == std::string_view::npos)
        return shown == line;
    const std::string_view head = shown.substr(0, gap);
    const std::string_view tail = shown.substr(gap + ellipsis.size());
    return line.size() >= head.size() + tail.size() && line.starts_with(head) && line.ends_with(tail);
}

bool is_gap(const std::string& shown)
{
    return shown.substr(std::min(shown.find_first_not_of(' '), shown.size())) == ellipsis;
}

// The line of the README that the output does not have; empty when it has all.
std::string missing_line(const std::vector<std::string>& shown, const std::string& output)
{
    const std::vector<std::string> lines = lines_of(output);
    std::size_t at = 0;
    bool may_skip = false;
    for (const std::string& expected : shown) {
        if (is_gap(expected)) {
            may_skip = true;
            continue;
        }
        while (may_skip && at < lines.size() && !matches(expected, without_line_end(lines[at])))
            ++at;
        if (at == lines.size() || !matches(expected, without_line_end(lines[at])))
            return expected.empty() ? "(an empty line)" : expected;
        ++at;
        may_skip = false;
    }
    const bool all = shown.empty() || may_skip || at == lines.size();
    return all ? "" : "(the end) before: " + lines[at];
}

TEST(Readme, ShowsWhatTheProgramPrints)
{
    const std::filesystem::path readme = QN_IPS_README;
    const std::vector<Call> calls = calls_of(file_text(readme));
    ASSERT_GE(calls.size(), 5U);
    const TemporaryFolder folder;
    for (const Call& call : calls) {
        const Outcome outcome = run_program(words_of(call.text, folder.path() / "lab"), readme.parent_path());
        EXPECT_EQ(missing_line(call.shown, outcome.output + outcome.errors), "") << call.text << "\n" << outcome;
        const bool shows_refusal = !call.shown.empty() && call.shown.front().starts_with("qn-ips: error: ");
        EXPECT_EQ(outcome.status, shows_refusal ? 1 : 0) << call.text << "\n" << outcome;
    }
}

} // namespace

} // namespace qnips::test
