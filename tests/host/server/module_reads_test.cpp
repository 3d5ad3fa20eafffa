// Configuration and state through the real module, from a platform that says what the test wants.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "server/callback_session.h"
#include "server/module_loader.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"
#include "transapi/first_signature_set.h"
#include "transapi/server_services.h"

namespace qnips
{

namespace
{

class AnsweringPlatform final : public CommandPlatform
{
public:
    std::optional<PlatformError> execute(std::span<const CommandLine>, int) override { return std::nullopt; }
    std::optional<PlatformError> remove_vsys(std::string_view) override { return std::nullopt; }
    PlatformAnswer configuration() override { return ++questions, answer; }
    PlatformAnswer state() override { return ++questions, answer; }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        asked = std::string(vsys) + "/" + std::string(profile);
        return answer;
    }

    PlatformAnswer answer = PlatformAnswer::none();
    int questions = 0;
    std::string asked;
};

const PlatformAnswer failure = PlatformAnswer::failure({NC_ERR_SYSTEM_BUSY, "The device is busy.", std::nullopt});

class ModuleReads : public ::testing::Test
{
protected:
    const PluginModule module_{QN_IPS_MODULE};
    AnsweringPlatform platform_;
};

std::string error_of(const auto& read)
{
    try {
        return read();
    } catch (const RpcError& error) {
        return std::string(error.tag()) + " " + error.path() + " " + error.what();
    }
}

TEST_F(ModuleReads, ConfigurationIsThePlatformsText)
{
    platform_.answer = PlatformAnswer::of("<ips-config xmlns=\"x\"/>");
    EXPECT_EQ(read_configuration(module_, platform_), "<ips-config xmlns=\"x\"/>");
}

TEST_F(ModuleReads, ConfigurationOfADeviceWithoutOneIsEmpty)
{
    EXPECT_EQ(read_configuration(module_, platform_), "");
    EXPECT_EQ(platform_.questions, 1);
}

TEST_F(ModuleReads, ConfigurationFailsWithThePlatformsReason)
{
    platform_.answer = failure;
    EXPECT_EQ(error_of([&] { return read_configuration(module_, platform_); }),
              "operation-failed /qn-ips:ips-config The device is busy.");
}

TEST_F(ModuleReads, StateIsThePlatformsDocument)
{
    platform_.answer = PlatformAnswer::of("<ips-state><engine><status>running</status></engine></ips-state>");
    EXPECT_EQ(read_state(module_, platform_),
              "<ips-state>\n  <engine>\n    <status>running</status>\n  </engine>\n</ips-state>");
}

TEST_F(ModuleReads, StateWithoutAnAnswerFails)
{
    EXPECT_EQ(error_of([&] { return read_state(module_, platform_); }),
              "operation-failed /qn-ips:ips-state The command platform gives no answer, or one that cannot be used.");
}

TEST_F(ModuleReads, StateThatIsNoDocumentFailsWithTheParsersReason)
{
    platform_.answer = PlatformAnswer::of("<ips-state>\n<engine></ips-state>");
    EXPECT_EQ(error_of([&] { return read_state(module_, platform_); }),
              "operation-failed /qn-ips:ips-state The command platform gives no answer, or one that cannot be used "
              "(line 2: Opening and ending tag mismatch: engine line 2 and ips-state).");
}

TEST_F(ModuleReads, StateFailsWithThePlatformsReason)
{
    platform_.answer = failure;
    EXPECT_EQ(error_of([&] { return read_state(module_, platform_); }),
              "operation-failed /qn-ips:ips-state The device is busy.");
}

TEST_F(ModuleReads, ASmallModelIsNotAsked)
{
    const ProductName product("LX-M10W");
    platform_.answer = failure;
    EXPECT_EQ(read_configuration(module_, platform_),
              "<ips-config xmlns=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\"/>");
    EXPECT_EQ(read_state(module_, platform_), "");
    EXPECT_EQ(platform_.questions, 0);
}

TEST_F(ModuleReads, AnotherModelIsAsked)
{
    const ProductName product("LX-M10W ");
    platform_.answer = PlatformAnswer::of("<a/>");
    EXPECT_EQ(read_configuration(module_, platform_), "<a/>");
    EXPECT_EQ(platform_.questions, 1);
}

TEST(ProductName, IsForgottenWithItsObject)
{
    {
        const ProductName product("LX-X1");
        EXPECT_STREQ(g_product_name_for_dp, "LX-X1");
    }
    EXPECT_EQ(g_product_name_for_dp, nullptr);
    const ProductName unknown(std::nullopt);
    EXPECT_EQ(g_product_name_for_dp, nullptr);
}

class PlatformQuery : public ::testing::Test
{
protected:
    // Sends one message as a module does and returns the reply's payload; nothing without a reply.
    std::optional<std::string> ask(DPZELL_MSG_TYPE type, void* extra, std::uint32_t size)
    {
        const CallbackSession session(platform_);
        msg_dp_zell_head_t header{};
        header.msg_type = type;
        header.msg_check = size;
        msg_to_dp_t* reply = nullptr;
        error_ = nullptr;
        result_ = transapi_comm_with_zell(header, 0, &reply, type == API_DP2ZELL_ANONYM_MSG ? nullptr : &error_, extra);
        if (reply == nullptr)
            return std::nullopt;
        const std::string payload(static_cast<const char*>(reply->data), reply->msg_length);
        EXPECT_EQ(reply->header.msg_type, static_cast<std::uint32_t>(type));
        SOS_Free(reinterpret_cast<void**>(&reply), nullptr, 0);
        EXPECT_EQ(reply, nullptr);
        return payload;
    }

    AnsweringPlatform platform_;
    nc_err* error_ = nullptr;
    int result_ = 0;
};

TEST_F(PlatformQuery, TextsCarryTheirTerminatorAndDocumentsDoNot)
{
    platform_.answer = PlatformAnswer::of("<a/>");
    EXPECT_EQ(ask(API_DP2ZELL_GET_CONFIG, nullptr, 0), std::string("<a/>\0", 5));
    EXPECT_EQ(ask(API_DP2ZELL_NC_STATE, nullptr, 0), "<a/>");
}

TEST_F(PlatformQuery, NothingIsAReplyWithoutPayload)
{
    EXPECT_EQ(ask(API_DP2ZELL_GET_CONFIG, nullptr, 0), "");
    EXPECT_EQ(result_, 0);
}

TEST_F(PlatformQuery, FirstSignatureSetIsAskedByVirtualSystemAndProfile)
{
    IPS_ApiAnonym_ST query{};
    query.uiMsgTtype = IPS_GET_FIRST_SIGSET_NAME;
    std::string("branch").copy(query.acVsysName, sizeof query.acVsysName);
    std::string("web guard").copy(query.acProfileName, sizeof query.acProfileName);
    platform_.answer = PlatformAnswer::of("first");
    EXPECT_EQ(ask(API_DP2ZELL_ANONYM_MSG, &query, sizeof query), std::string("first\0", 6));
    EXPECT_EQ(platform_.asked, "branch/web guard");
}

TEST_F(PlatformQuery, OtherPayloadsAreRefused)
{
    IPS_ApiAnonym_ST query{};
    query.uiMsgTtype = IPS_ANONYM_MSG_TYPE_MAX;
    EXPECT_EQ(ask(API_DP2ZELL_ANONYM_MSG, &query, sizeof query), std::nullopt);
    EXPECT_EQ(ask(API_DP2ZELL_ANONYM_MSG, nullptr, sizeof query), std::nullopt);
    query.uiMsgTtype = IPS_GET_FIRST_SIGSET_NAME;
    EXPECT_EQ(ask(API_DP2ZELL_ANONYM_MSG, &query, 4), std::nullopt);
    EXPECT_EQ(result_, NC_ERR_OP_NOT_SUPPORTED);
    EXPECT_EQ(platform_.asked, "");
}

TEST_F(PlatformQuery, OtherMessagesAreRefusedWithAReason)
{
    EXPECT_EQ(ask(API_DP2ZELL_GET_PUBKEY, nullptr, 0), std::nullopt);
    EXPECT_EQ(result_, NC_ERR_OP_NOT_SUPPORTED);
    ASSERT_NE(error_, nullptr);
}

TEST_F(PlatformQuery, NeedsRoomForItsReply)
{
    const CallbackSession session(platform_);
    msg_dp_zell_head_t header{};
    header.msg_type = API_DP2ZELL_GET_CONFIG;
    EXPECT_EQ(transapi_comm_with_zell(header, 0, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(platform_.questions, 0);
}

} // namespace

} // namespace qnips
