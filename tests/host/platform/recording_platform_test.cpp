// The recording platform remembers what it is sent and refuses only what it is told to refuse.
#include "platform/recording_platform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace
{

using qnips::CommandLine;
using qnips::PlatformAnswer;
using qnips::PlatformError;
using qnips::RecordingPlatform;
using testing::ElementsAre;

const CommandLine create{.vsys = "branch", .view = "system-view", .view_type = {}, .text = "profile type ips name web"};
const CommandLine describe{.vsys = "branch", .view = "profile-view", .view_type = "ips", .text = "description shop"};

TEST(RecordingPlatform, RemembersScriptsWithTheirOperation)
{
    RecordingPlatform platform;
    EXPECT_EQ(platform.execute(std::vector{create, describe}, 0), std::nullopt);
    EXPECT_EQ(platform.execute({}, 1), std::nullopt);
    EXPECT_EQ(platform.execute(std::vector{describe}, 2), std::nullopt);
    EXPECT_THAT(platform.scripts(),
                ElementsAre(RecordingPlatform::Script{{create, describe}, 0, true},
                            RecordingPlatform::Script{{}, 1, true}, RecordingPlatform::Script{{describe}, 2, true}));
}

TEST(RecordingPlatform, RefusesOnlyTheScriptItIsToldToRefuse)
{
    RecordingPlatform platform;
    const PlatformError error{.code = 24, .message = "no more profiles", .line = create};
    platform.fail_script(2, error);
    EXPECT_EQ(platform.execute(std::vector{describe}, 0), std::nullopt);
    EXPECT_EQ(platform.execute(std::vector{create}, 0), error);
    EXPECT_EQ(platform.execute(std::vector{create}, 0), std::nullopt);

    ASSERT_EQ(platform.scripts().size(), 3U);
    EXPECT_FALSE(platform.scripts()[1].accepted);
    EXPECT_THAT(platform.accepted_lines(), ElementsAre(describe, create));
}

TEST(RecordingPlatform, RemembersRemovedVirtualSystems)
{
    RecordingPlatform platform;
    platform.remove_vsys("branch");
    platform.remove_vsys("shop");
    EXPECT_THAT(platform.removed_vsys(), ElementsAre("branch", "shop"));
}

TEST(RecordingPlatform, AnswersQuestionsWithNone)
{
    RecordingPlatform platform;
    platform.execute(std::vector{create}, 0);
    EXPECT_TRUE(platform.configuration().is_none());
    EXPECT_TRUE(platform.state().is_none());
    EXPECT_TRUE(platform.first_signature_set("branch", "web").is_none());
}

TEST(PlatformAnswer, TextNoneAndFailureAreDistinct)
{
    const PlatformError error{.code = 1, .message = "gone", .line = {}};
    const PlatformAnswer text = PlatformAnswer::of("");
    const PlatformAnswer none = PlatformAnswer::none();
    const PlatformAnswer failure = PlatformAnswer::failure(error);

    EXPECT_TRUE(text.is_text() && !text.is_none() && !text.is_failure());
    EXPECT_TRUE(!none.is_text() && none.is_none() && !none.is_failure());
    EXPECT_TRUE(!failure.is_text() && !failure.is_none() && failure.is_failure());
    EXPECT_EQ(text.text(), "");
    EXPECT_EQ(failure.error(), error);
    EXPECT_THROW(static_cast<void>(none.text()), std::bad_variant_access);
    EXPECT_NE(text, none);
}

TEST(CommandLine, VsysNoneIsNotTheVsysWithoutAName)
{
    CommandLine device = create;
    device.vsys.reset();
    CommandLine nameless = create;
    nameless.vsys = "";
    EXPECT_NE(device, nameless);
}

} // namespace
