// What the YANG module accepts and refuses, as small configurations: every document in valid/ must pass, every one in
// invalid/ must fail for the reason that its first line names. The folder comes from the build (QN_IPS_YANG_CASES).
#include "yang_context.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using std::filesystem::path;

std::vector<path> documents(const char* folder)
{
    std::vector<path> found;
    for (const auto& entry : std::filesystem::directory_iterator(path(QN_IPS_YANG_CASES) / folder)) {
        if (entry.path().extension() == ".xml") {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string text_of(const path& file)
{
    const std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

// The fragment in "<!-- expect: fragment -->" on the first line; empty when there is none.
std::string expected_fragment(const std::string& document)
{
    constexpr std::string_view head = "<!-- expect: ";
    constexpr std::string_view tail = " -->";
    const std::string line = document.substr(0, document.find('\n'));
    if (!line.starts_with(head) || !line.ends_with(tail)) {
        return {};
    }
    return line.substr(head.size(), line.size() - head.size() - tail.size());
}

std::string test_name(const testing::TestParamInfo<path>& info)
{
    std::string name = info.param.stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

const yang_test::YangContext& yang()
{
    static const yang_test::YangContext context;
    return context;
}

class ValidDocument : public testing::TestWithParam<path>
{
};
class InvalidDocument : public testing::TestWithParam<path>
{
};

TEST_P(ValidDocument, is_accepted)
{
    EXPECT_EQ(yang().refusal(text_of(GetParam())), "");
}

TEST_P(InvalidDocument, is_refused_for_the_reason_it_names)
{
    const std::string document = text_of(GetParam());
    const std::string fragment = expected_fragment(document);
    ASSERT_NE(fragment, "") << "the first line names no reason";

    const std::string message = yang().refusal(document);
    EXPECT_NE(message, "") << "the document is accepted";
    EXPECT_NE(message.find(fragment), std::string::npos) << "message: " << message << "\nwanted: " << fragment;
}

INSTANTIATE_TEST_SUITE_P(schema, ValidDocument, testing::ValuesIn(documents("valid")), test_name);
INSTANTIATE_TEST_SUITE_P(schema, InvalidDocument, testing::ValuesIn(documents("invalid")), test_name);

TEST(Documents, exist)
{
    EXPECT_GE(documents("valid").size(), 100U);
    EXPECT_GE(documents("invalid").size(), 200U);
}

} // namespace
