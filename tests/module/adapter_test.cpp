// The adapter between handlers and the server: what it passes on, to the byte, and what it refuses.
#include "adapter/api_adp_libnetconf.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <cwchar>
#include <string>

#include "support/config_text.h"
#include "support/server_test.h"

#if defined(__SANITIZE_ADDRESS__)
#define QN_IPS_LEAKS_ARE_REPORTED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QN_IPS_LEAKS_ARE_REPORTED 1
#endif
#endif
#ifdef QN_IPS_LEAKS_ARE_REPORTED
#include <sanitizer/lsan_interface.h>
#endif

namespace
{

using namespace qnips::test;

// Memory that is lost in this scope is lost on purpose.
class LeakIsIntended
{
public:
#ifdef QN_IPS_LEAKS_ARE_REPORTED
    LeakIsIntended()
    {
        __lsan_disable();
    }
    ~LeakIsIntended()
    {
        __lsan_enable();
    }
#else
    LeakIsIntended() = default;
#endif
    LeakIsIntended(const LeakIsIntended&) = delete;
    LeakIsIntended& operator=(const LeakIsIntended&) = delete;
};

class Adapter : public ServerTest
{
protected:
    CallResult run(const WithEnvironment& body)
    {
        const Steps steps = with_op(with_op(in_profile("branch", "webguard"), 1, "ADD|CHAIN"), 3, "CHAIN");
        return server.run(nested(steps, R"(<description op="MOD">text</description><target/><other op="REM"/>)"),
                          "//description", body);
    }
};

TEST_F(Adapter, ErrorReachesTheServerWithCodeAndFormattedText)
{
    server.fail_result = 42;
    const CallResult r = run([](API_ENV_S* env) { return api_error(env, nullptr, 9, "%s is %d%%", "load", 7); });
    EXPECT_EQ(r.result, 42);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_BAD_ELEM, "load is 7%", std::nullopt, 1}}));
}

TEST_F(Adapter, ErrorCodesArePassedAsTheyAre)
{
    for (const int code : {0, 1, 3, 8, 9, 18, 24}) {
        const CallResult r = run([code](API_ENV_S* env) { return api_error(env, nullptr, code, "text"); });
        EXPECT_EQ(r.errors, (ClientErrors{{static_cast<NC_ERR>(code), "text"}}));
    }
}

TEST_F(Adapter, ErrorWithoutFormatHasNoMessage)
{
    const CallResult r = run([](API_ENV_S* env) { return api_error(env, nullptr, 8, nullptr); });
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, std::nullopt}}));
}

TEST_F(Adapter, ErrorWithAnEmptyTextHasAnEmptyMessage)
{
    const CallResult r = run([](API_ENV_S* env) { return api_error(env, nullptr, 8, "%s", ""); });
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_MISSING_ELEM, ""}}));
}

TEST_F(Adapter, PathTakesThePlaceOfTheMessage)
{
    const CallResult r = run([](API_ENV_S* env) {
        [[maybe_unused]] const LeakIsIntended formatted_message_is_dropped;
        return api_error(env, "/a/b is 100%%", 3, "%d", 5);
    });
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_INVALID_VALUE, "/a/b is 100%"}}));
}

TEST_F(Adapter, PathAloneIsTheMessage)
{
    const CallResult r = run([](API_ENV_S* env) { return api_error(env, "/a/b", 3, nullptr); });
    EXPECT_EQ(r.errors, (ClientErrors{{NC_ERR_INVALID_VALUE, "/a/b"}}));
}

TEST_F(Adapter, MessageThatCannotBeFormattedRaisesNothing)
{
    server.fail_result = 42;
    const auto no_character = static_cast<std::wint_t>(0x7fffffff);
    const CallResult r = run([=](API_ENV_S* env) { return api_error(env, nullptr, 9, "%lc", no_character); });
    EXPECT_EQ(r.result, 1);
    EXPECT_EQ(r.errors, ClientErrors{});
}

TEST_F(Adapter, AncestorsOperationComesFromItsLevel)
{
    const auto op_at = [this](int level) {
        return run([level](API_ENV_S* env) { return api_find_parent_operation(env, level); }).result;
    };
    EXPECT_EQ(op_at(1), XMLDIFF_ADD | XMLDIFF_CHAIN);
    EXPECT_EQ(op_at(2), XMLDIFF_NONE);
    EXPECT_EQ(op_at(3), XMLDIFF_CHAIN);
    EXPECT_EQ(op_at(9), XMLDIFF_NONE);
}

TEST_F(Adapter, OperationOfAnAncestorsChild)
{
    const auto op_of = [this](int level, const char* name) {
        return run([=](API_ENV_S* env) { return api_find_parent_children_operation(env, level, name); }).result;
    };
    EXPECT_EQ(op_of(1, "other"), XMLDIFF_REM);
    EXPECT_EQ(op_of(1, "target"), XMLDIFF_NONE);
    EXPECT_EQ(op_of(2, "profile"), XMLDIFF_ADD | XMLDIFF_CHAIN);
    EXPECT_EQ(op_of(2, "other"), XMLDIFF_ERR);
}

TEST_F(Adapter, OperationOfASibling)
{
    const auto op_of = [this](const char* name) {
        return run([=](API_ENV_S* env) { return api_find_parent_brother_operation(env, 1, name); }).result;
    };
    EXPECT_EQ(op_of("other"), XMLDIFF_REM);
    EXPECT_EQ(op_of("target"), XMLDIFF_NONE);
    EXPECT_EQ(op_of("description"), XMLDIFF_MOD);
    EXPECT_EQ(op_of("absent"), -1);
}

// ------------------------------------------------------------------------------------------------ keys of ancestors --

struct KeyCase {
    const char* name;
    std::string key; // of the profile
    unsigned buffer_size;
    int result;
    std::string copied; // into a buffer of '#'
};

class AdapterKey : public ServerTestBase<testing::TestWithParam<KeyCase>>
{
};

TEST_P(AdapterKey, IsCopiedWhenItIsShorterThanTheBuffer)
{
    const KeyCase& test = GetParam();
    std::array<char, 16> buffer{};
    buffer.fill('#');
    buffer.back() = '\0';
    const CallResult r =
        server.run(nested(in_profile("branch", test.key), "<description/>"), "//description", [&](API_ENV_S* env) {
            return api_find_parent_key_node_content(env, 1, "name", buffer.data(), test.buffer_size);
        });
    EXPECT_EQ(r.result, test.result);
    EXPECT_EQ(buffer.data(), test.copied);
    EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{1, "name"}}));
    EXPECT_EQ(r.errors, ClientErrors{});
}

const std::string untouched(15, '#');

INSTANTIATE_TEST_SUITE_P(
    Lengths, AdapterKey,
    testing::Values(KeyCase{"OneShorter", "abcdefg", 8, 0, "abcdefg"},
                    KeyCase{"AsLongAsTheBuffer", "abcdefgh", 8, 1, untouched},
                    KeyCase{"Longer", "abcdefghi", 8, 1, untouched}, KeyCase{"OneCharacter", "a", 2, 0, "a"},
                    KeyCase{"BufferOfOneByte", "a", 1, 1, untouched}, KeyCase{"BufferOfNoByte", "a", 0, 1, untouched},
                    KeyCase{"Absent", "", 8, 1, untouched}, KeyCase{"BlanksAreKept", " a b ", 8, 0, " a b "}),
    [](const auto& test) { return test.param.name; });

TEST_F(Adapter, EmptyKeyIsNoKey)
{
    std::array<char, 8> buffer{'#'};
    const CallResult r =
        server.run(R"(<profile><name text=""/><description/></profile>)", "//description",
                   [&](API_ENV_S* env) { return api_find_parent_key_node_content(env, 1, "name", buffer.data(), 8); });
    EXPECT_EQ(r.result, 1);
    EXPECT_STREQ(buffer.data(), "#");
}

TEST_F(Adapter, KeyComesFromTheLevelAskedFor)
{
    const auto key_at = [this](int level, const char* name) {
        std::array<char, 16> buffer{};
        run([&](API_ENV_S* env) { return api_find_parent_key_node_content(env, level, name, buffer.data(), 16); });
        return std::string(buffer.data());
    };
    EXPECT_EQ(key_at(1, "name"), "webguard");
    EXPECT_EQ(key_at(2, "name"), "");
    EXPECT_EQ(key_at(3, "name"), "branch");
    EXPECT_EQ(key_at(1, "description"), "text");
    EXPECT_EQ(key_at(1, "id"), "");
}

// ----------------------------------------------------------------------------------------------------------- commit --

TEST_F(Adapter, CommitSendsTypeAndModuleAndNothingElse)
{
    for (const int operation : {API_CMD_ADD, API_CMD_DEL, API_CMD_MOD}) {
        SCOPED_TRACE(operation);
        const CallResult r = run([operation](API_ENV_S* env) {
            env->cmd_oper = operation;
            return api_commit_cmd(env);
        });
        EXPECT_EQ(r.result, 0);
        ASSERT_EQ(r.commits.size(), 1U);
        EXPECT_EQ(r.commits[0].operation, static_cast<unsigned>(operation));

        std::array<unsigned char, 492> promised{};
        promised[4] = 1; // msg_type, little-endian
        promised[8] = 2; // model_type
        EXPECT_EQ(std::memcmp(&r.commits[0].header, promised.data(), promised.size()), 0);
    }
}

TEST_F(Adapter, CommitNamesTheModuleOfTheEnvironment)
{
    const CallResult r = run([](API_ENV_S* env) {
        env->module = API_MODULE_QN_AV;
        return api_commit_cmd(env);
    });
    ASSERT_EQ(r.commits.size(), 1U);
    EXPECT_EQ(r.commits[0].header.model_type, 3U);
}

TEST_F(Adapter, CommitReturnsTheServersResult)
{
    for (const int result : {0, 1, -1, 77}) {
        server.commit_result = result;
        EXPECT_EQ(run(api_commit_cmd).result, result);
    }
}

TEST_F(Adapter, CommitLeavesAReplyAlone)
{
    server.commit_reply = Answer{0, "done"};
    EXPECT_EQ(run(api_commit_cmd).result, 0);
    EXPECT_EQ(server.allocated_replies(), 1U);
    EXPECT_EQ(server.released_replies(), 0U);
}

// ----------------------------------------------------------------------------------------------------------- prefix --

struct PrefixCase {
    const char* name;
    const char* source;
    int source_length;
    int buffer_size;
    int result;
    const char* text;
};

class AdapterPrefix : public testing::TestWithParam<PrefixCase>
{
};

TEST_P(AdapterPrefix, IsTakenAway)
{
    const PrefixCase& test = GetParam();
    std::array<char, 32> buffer{};
    EXPECT_EQ(api_remove_prefix(test.source, test.source_length, buffer.data(), test.buffer_size), test.result);
    EXPECT_STREQ(buffer.data(), test.text);
}

INSTANTIATE_TEST_SUITE_P(Names, AdapterPrefix,
                         testing::Values(PrefixCase{"Prefix", "qn-ips:name", 11, 32, 0, "name"},
                                         PrefixCase{"NoPrefix", "name", 4, 32, 0, "name"},
                                         PrefixCase{"EveryColonIsLeftOut", "a:b:c", 5, 32, 0, "bc"},
                                         PrefixCase{"ColonFirst", ":name", 5, 32, 0, "name"},
                                         PrefixCase{"NothingBehindTheColon", "qn-ips:", 7, 32, 0, ""},
                                         PrefixCase{"LengthEndsTheSource", "qn-ips:name", 9, 32, 0, "na"},
                                         PrefixCase{"TerminatorEndsTheSource", "a:b", 31, 32, 0, "b"},
                                         PrefixCase{"NoLength", "qn-ips:name", 0, 32, 0, ""},
                                         PrefixCase{"LengthEndsBeforeTheColon", "qn-ips:name", 6, 32, 0, "qn-ips"},
                                         PrefixCase{"LastByteOfTheBufferIsTheTerminator", "p:abcdef", 8, 4, 0, "abc"},
                                         PrefixCase{"EmptySource", "", 4, 32, 0, ""},
                                         PrefixCase{"NullSource", nullptr, 4, 32, 1, ""}),
                         [](const auto& test) { return test.param.name; });

TEST(AdapterPrefixes, NullDestinationIsRefused)
{
    EXPECT_EQ(api_remove_prefix("a:b", 3, nullptr, 8), 1);
}

TEST(AdapterPrefixes, NothingIsWrittenBehindTheBuffer)
{
    for (const char* source : {"p:abcdef", "abcdef", "abc", "p:abc"}) {
        std::array<char, 9> buffer{"########"};
        api_remove_prefix(source, 8, buffer.data(), 4);
        EXPECT_STREQ(buffer.data() + 4, "####") << source;
        EXPECT_EQ(buffer[3], '\0') << source;
    }
}

// Behind a prefix only the last byte of the destination is written: what it held before stays.
TEST(AdapterPrefixes, TextBehindAPrefixIsTerminatedAtTheEndOfTheBufferOnly)
{
    std::array<char, 9> buffer{"########"};
    EXPECT_EQ(api_remove_prefix("qn-ips:name", 11, buffer.data(), 8), 0);
    EXPECT_STREQ(buffer.data(), "name###");
}

} // namespace
