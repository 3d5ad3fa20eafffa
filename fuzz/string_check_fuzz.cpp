// Leaf texts of any kind through the plug-in's character checks and normalisers, held against a plain model of each:
// whatever a client sends, the verdict must be the model's and no write may leave the 128 bytes of the destination.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "quorin-intrusion-prevention-core/checks/string_check.h"

namespace
{

constexpr std::string_view white_space = " \t\n\v\f\r";
constexpr std::size_t work_size = 128;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

bool is_white(char c)
{
    return white_space.find(c) != std::string_view::npos;
}

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(white_space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(white_space) - first + 1);
}

bool acceptable(std::string_view text)
{
    return !text.empty() && !is_white(text.front()) && !is_white(text.back()) &&
           text.find('?') == std::string_view::npos;
}

// What the normaliser leaves in a destination that arrived zeroed.
std::string normalised(std::string_view text)
{
    if (std::none_of(text.begin(), text.end(), is_white))
        return std::string(text.substr(0, work_size - 1));
    const std::string_view core = trimmed(text);
    return core.size() < work_size ? std::string(core) : std::string();
}

void check(const std::string& text)
{
    require((ips_string_is_valid(text.c_str()) == 1) == acceptable(text));

    const bool has_white = std::any_of(text.begin(), text.end(), is_white);
    require((ips_contained_spaces_marks(text.c_str()) == 1) == has_white);
    require((ips_contained_spaces_or_question_marks(text.c_str()) == 1) ==
            (has_white || text.find('?') != std::string::npos));

    const bool digits = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    require((ips_compare_string_is_not_number(text.c_str()) == 0) == digits);

    std::array<char, work_size> destination{};
    ips_remove_head_and_tail_spaces(text.c_str(), destination.data(), static_cast<int>(destination.size()));
    require(normalised(text) == destination.data());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // As the module sees it: the text ends at the first null byte.
    std::string text(data, data + size);
    text.resize(std::min(text.size(), text.find('\0')));
    check(text);
    return 0;
}
