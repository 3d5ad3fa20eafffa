#include "end_to_end/line_diff.h"

#include <algorithm>
#include <vector>

#include "end_to_end/program.h"

namespace qnips::test
{

namespace
{

constexpr std::size_t neighbours = 2; // equal lines shown beside a difference

struct DiffLine {
    char mark;
    std::string text;
};

// lengths[i][j]: of the longest common subsequence of the lines from i and from j on.
using Lengths = std::vector<std::vector<std::size_t>>;

Lengths common_lengths(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    Lengths lengths(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = left.size(); i-- > 0;) {
        for (std::size_t j = right.size(); j-- > 0;)
            lengths[i][j] =
                left[i] == right[j] ? lengths[i + 1][j + 1] + 1 : std::max(lengths[i + 1][j], lengths[i][j + 1]);
    }
    return lengths;
}

std::vector<DiffLine> marked_lines(const std::vector<std::string>& left, const std::vector<std::string>& right)
{
    const Lengths lengths = common_lengths(left, right);
    std::vector<DiffLine> lines;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < left.size() || j < right.size()) {
        if (i < left.size() && j < right.size() && left[i] == right[j]) {
            lines.push_back({' ', left[i++]});
            ++j;
        } else if (j == right.size() || (i < left.size() && lengths[i + 1][j] >= lengths[i][j + 1])) {
            lines.push_back({'-', left[i++]});
        } else {
            lines.push_back({'+', right[j++]});
        }
    }
    return lines;
}

bool near_difference(const std::vector<DiffLine>& lines, std::size_t at)
{
    const std::size_t first = at < neighbours ? 0 : at - neighbours;
    const std::size_t last = std::min(at + neighbours + 1, lines.size());
    for (std::size_t i = first; i < last; ++i)
        if (lines[i].mark != ' ')
            return true;
    return false;
}

} // namespace

std::string line_diff(const std::string& expected, const std::string& actual)
{
    const std::vector<DiffLine> lines = marked_lines(lines_of(expected), lines_of(actual));
    std::string text;
    bool skipped = false;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (!near_difference(lines, at)) {
            skipped = true;
            continue;
        }
        if (skipped && !text.empty())
            text += "...\n";
        skipped = false;
        text += std::string(1, lines[at].mark) + ' ' + lines[at].text;
        if (!text.ends_with('\n'))
            text += "\n(no line end)\n";
    }
    return text;
}

} // namespace qnips::test
