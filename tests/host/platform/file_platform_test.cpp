// The platform whose answers come from files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/file_platform.h"

namespace qnips
{

namespace
{

class FilePlatformAnswers : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        folder_ = std::filesystem::temp_directory_path() / (std::string("file-platform-") + test->name());
        std::filesystem::create_directories(folder_);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::filesystem::path file(const std::string& name, const std::string& text)
    {
        std::ofstream(folder_ / name) << text;
        return folder_ / name;
    }

    std::filesystem::path folder_;
};

TEST_F(FilePlatformAnswers, AreTheFilesAsTheyStand)
{
    FilePlatform platform({.configuration = file("config", "<a/>\n"), .state = file("state", "<b/>")});
    EXPECT_EQ(platform.configuration().text(), "<a/>\n");
    EXPECT_EQ(platform.state().text(), "<b/>");
}

TEST_F(FilePlatformAnswers, AreNothingForAnEmptyFile)
{
    FilePlatform platform({.configuration = file("config", ""), .state = std::nullopt});
    EXPECT_TRUE(platform.configuration().is_none());
}

TEST_F(FilePlatformAnswers, AreFailuresWithoutAReadableFile)
{
    FilePlatform platform({.configuration = folder_ / "missing", .state = std::nullopt});
    EXPECT_EQ(platform.configuration().error().message, (folder_ / "missing").string() + " cannot be read.");
    EXPECT_EQ(platform.state().error().message, "No file holds the platform's state.");

    FilePlatform of_a_folder({.configuration = folder_, .state = std::nullopt});
    EXPECT_EQ(of_a_folder.configuration().error().message, folder_.string() + " cannot be read.");
}

TEST_F(FilePlatformAnswers, AreAllThatItDoes)
{
    FilePlatform platform({.configuration = std::nullopt, .state = std::nullopt});
    EXPECT_EQ(platform.execute({}, 0), std::nullopt);
    const std::vector<CommandLine> script = {{"branch", "system", std::nullopt, "profile type ips name \"a\""}};
    const auto error = platform.execute(script, 0);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message, "A platform that answers from files executes no commands.");
    EXPECT_EQ(error->line, script.front());
    EXPECT_TRUE(platform.first_signature_set("branch", "a").is_none());
}

} // namespace

} // namespace qnips
