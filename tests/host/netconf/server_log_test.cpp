// The lines of the log.
#include "netconf/server_log.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/store/temporary_folder.h"
#include "netconf_fixture.h"

namespace qnips::test
{
namespace
{

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

TEST(ServerLog, WritesNamesAndValues)
{
    struct Case {
        LogField field;
        const char* text;
        const char* json;
    };
    const std::vector<Case> cases = {
        {{"user", "ada"}, "user=ada", R"("user":"ada")"},
        {{"n", 3}, "n=3", R"("n":3)"},
        {{"ms", 1.23456}, "ms=1.235", R"("ms":1.235)"},
        {{"a", ""}, R"(a="")", R"("a":"")"},
        {{"a", "b c"}, R"(a="b c")", R"("a":"b c")"},
        {{"a", "b=c"}, R"(a="b=c")", R"("a":"b=c")"},
        {{"a", "b\"c\\"}, R"(a="b\"c\\")", R"("a":"b\"c\\")"},
        // A value can neither end the line nor begin another one.
        {{"user", "x\nlevel=error event=y"}, R"(user="x\nlevel=error event=y")", R"("user":"x\nlevel=error event=y")"},
        {{"user", "\x1b[31m"}, R"(user="\u001b[31m")", R"("user":"\u001b[31m")"},
        {{"user", "\x7f"}, R"(user="\u007f")", R"("user":"\u007f")"},
        // Bytes that are no UTF-8: of no character, too long for it, half of a pair, beyond the last, cut off.
        {{"user", "a\xff"}, R"(user="a\ufffd")", R"("user":"a\ufffd")"},
        {{"user", "\xc0\xaf"}, R"(user="\ufffd\ufffd")", R"("user":"\ufffd\ufffd")"},
        {{"user", "\xed\xa0\x80"}, R"(user="\ufffd\ufffd\ufffd")", R"("user":"\ufffd\ufffd\ufffd")"},
        {{"user", "\xf4\x90\x80\x80"}, R"(user="\ufffd\ufffd\ufffd\ufffd")", R"("user":"\ufffd\ufffd\ufffd\ufffd")"},
        {{"user", "\xe2\x82"}, R"(user="\ufffd\ufffd")", R"("user":"\ufffd\ufffd")"},
        {{"user", "\xc3\n"}, R"(user="\ufffd\n")", R"("user":"\ufffd\n")"},
        {{"user", "\x80"}, R"(user="\ufffd")", R"("user":"\ufffd")"},
        // Characters that a terminal or a reader of lines takes for an end, an order or nothing.
        {{"user", "\u0085"}, R"(user="\u0085")", R"("user":"\u0085")"},
        {{"user", "\u009b31m"}, R"(user="\u009b31m")", R"("user":"\u009b31m")"},
        {{"user", "a\u2028b\u2029"}, R"(user="a\u2028b\u2029")", R"("user":"a\u2028b\u2029")"},
        {{"user", "\xe2\x80\xaetxt"}, R"(user="\u202etxt")", R"("user":"\u202etxt")"},
        {{"user", "a\u200bb\ufeff"}, R"(user="a\u200bb\ufeff")", R"("user":"a\u200bb\ufeff")"},
        // The others can be read. They are quoted: some look like the blank between two fields.
        {{"user", "Jürgen"}, "user=\"Jürgen\"", "\"user\":\"Jürgen\""},
        {{"user", "a\u00a0b"}, "user=\"a\u00a0b\"", "\"user\":\"a\u00a0b\""},
        {{"user", "\u20ac\U0001f511"}, "user=\"\u20ac\U0001f511\"", "\"user\":\"\u20ac\U0001f511\""},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(log_text(LogFormat::text, "e", {one.field}), std::string("event=e ") + one.text);
        EXPECT_EQ(log_text(LogFormat::json, "e", {one.field}), std::string("\"event\":\"e\",") + one.json);
    }
}

TEST(ServerLog, CutsLongValues)
{
    const std::string most(4096, 'x');
    EXPECT_EQ(log_text(LogFormat::text, "e", {{"a", most}, {"b", 1}}), "event=e a=" + most + " b=1");
    EXPECT_EQ(log_text(LogFormat::text, "e", {{"a", most + "y"}, {"b", 1}}), "event=e a=" + most + "... b=1");
    EXPECT_EQ(log_text(LogFormat::json, "e", {{"a", most + "y"}}), "\"event\":\"e\",\"a\":\"" + most + "...\"");
    // What stands in the line counts, and a character is not cut in two.
    for (const char* character : {"\x01", "\xff", "\u20ac", "\"", "\u2028"}) {
        std::string text;
        for (int i = 0; i < 30000; ++i)
            text += character;
        for (const LogFormat format : {LogFormat::text, LogFormat::json}) {
            const std::string line = log_text(format, "e", {{"a", text}});
            EXPECT_LE(line.size(), 4096 + 30) << character;
            EXPECT_THAT(line, testing::EndsWith("...\""));
            const nlohmann::json value = nlohmann::json::parse(line.substr(line.find_last_of("=:") + 1));
            EXPECT_GT(value.get<std::string>().size(), 600) << character;
        }
    }
}

TEST(ServerLog, KeepsWhatItsLevelSays)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("log");
    ServerLog log({LogLevel::warning, LogFormat::text, file});
    EXPECT_FALSE(log.keeps(LogLevel::info));
    log.write(LogLevel::info, "quiet", {});
    log.write(LogLevel::warning, "loud", {{"a", 1}});
    EXPECT_THAT(content_of(file),
                MatchesRegex("time=[-0-9]+T[:0-9]+[.][0-9]{3}[+-][0-9]{2}:[0-9]{2} level=warning event=loud a=1\n"));
    EXPECT_FALSE(ServerLog().keeps(LogLevel::error));
    EXPECT_FALSE(ServerLog({LogLevel::off, LogFormat::text, file}).keeps(LogLevel::error));
}

TEST(ServerLog, WritesAnObjectALine)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("log");
    ServerLog({LogLevel::info, LogFormat::json, file}).write(LogLevel::error, "e", {{"a", "x\"y"}, {"b", 2}});
    const nlohmann::json line = nlohmann::json::parse(content_of(file));
    EXPECT_EQ(line["event"], "e");
    EXPECT_EQ(line["level"], "error");
    EXPECT_EQ(line["a"], "x\"y");
    EXPECT_EQ(line["b"], 2);
    EXPECT_TRUE(line["time"].is_string());
}

TEST(ServerLog, LeavesAFileThatWasMovedAway)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("log");
    ServerLog log({LogLevel::info, LogFormat::text, file});
    log.write(LogLevel::info, "first", {});
    std::filesystem::rename(file, folder.file("old"));
    log.write(LogLevel::info, "second", {});
    EXPECT_TRUE(log.reopen());
    log.write(LogLevel::info, "third", {});
    EXPECT_THAT(content_of(folder.file("old")), testing::AllOf(HasSubstr("first"), HasSubstr("second")));
    EXPECT_THAT(content_of(file), testing::AllOf(HasSubstr("third"), Not(HasSubstr("second"))));
}

TEST(ServerLog, IsNotOpenedWhereNoFileCanBe)
{
    const TemporaryFolder folder;
    EXPECT_THROW(ServerLog({LogLevel::info, LogFormat::text, folder.path().string()}), std::runtime_error);
}

// -------------------------------------------------------------------------------------------------- of requests --

class RequestLog : public testing::Test
{
protected:
    std::string told(LogLevel level, const std::string& operation, SessionId session = 1)
    {
        write_file(file_, "");
        ServerLog log({level, LogFormat::text, file_});
        server_.operations().set_log(log);
        server_.call(operation, session);
        return content_of(file_);
    }

    TemporaryFolder folder_;
    std::string file_ = folder_.file("log");
    NetconfServer server_;
};

const std::string web = profile("web", "<description>a</description>");

TEST_F(RequestLog, TellsWhoDidWhatAndHow)
{
    struct Case {
        std::string operation;
        std::string line; // behind the level
    };
    const std::string time = " duration_ms=[0-9.]+\n";
    const std::vector<Case> cases = {
        {edit("running", config_with(web)),
         "info event=request session=1 user=user1 operation=edit-config datastore=running transaction=1 outcome=ok"},
        {edit("candidate", config_with(profile("x"))),
         "info event=request session=1 user=user1 operation=edit-config datastore=candidate outcome=ok"},
        {"<commit/>", "info event=request session=1 user=user1 operation=commit transaction=2 outcome=ok"},
        {get_config("startup"),
         "debug event=request session=1 user=user1 operation=get-config datastore=startup outcome=ok"},
        {"<copy-config><target><startup/></target><source><running/></source></copy-config>",
         "info event=request session=1 user=user1 operation=copy-config datastore=startup from=running outcome=ok"},
        {with_target("lock", "running"),
         "info event=request session=1 user=user1 operation=lock datastore=running outcome=ok"},
        {with_target("lock", "running"),
         "warning event=request session=1 user=user1 operation=lock datastore=running outcome=error errors=1 "
         "tag=lock-denied path=\"\" message=\"[^\n]*\""},
    };
    for (const Case& one : cases) {
        const std::string text = told(LogLevel::debug, one.operation);
        EXPECT_THAT(text.substr(text.rfind("level=", text.rfind("event=request"))),
                    MatchesRegex("level=" + one.line + time));
    }
}

TEST_F(RequestLog, TellsWhatBecomesOfAConfirmedCommit)
{
    server_.call(edit("candidate", config_with(web)));
    EXPECT_THAT(told(LogLevel::info, "<commit><confirmed/><confirm-timeout>5</confirm-timeout></commit>"),
                HasSubstr(" event=confirmed-commit session=1 user=user1 kind=started timeout_s=5 outcome=ok\n"));
    ServerLog log({LogLevel::info, LogFormat::text, file_});
    server_.operations().set_log(log);
    server_.wait(std::chrono::seconds(6));
    EXPECT_THAT(content_of(file_), HasSubstr(" event=confirmed-commit user=user1 kind=timed-out outcome=ok\n"));
}

TEST_F(RequestLog, TellsReadsAtDebugOnly)
{
    EXPECT_EQ(told(LogLevel::info, "<get/>"), "");
    EXPECT_THAT(told(LogLevel::debug, "<get/>"), HasSubstr("operation=get outcome=ok"));
}

TEST_F(RequestLog, TellsEveryCallbackAndLineAtTrace)
{
    const std::string text = told(LogLevel::trace, edit("running", config_with(web)));
    for (const char* part :
         {"level=trace event=callback transaction=1 pass=edit path=\"/qn-ips:ips-config/",
          "callback=callback_Profile_ADD", "lines=1 duration_ms=", "event=line transaction=1 place=\"vsys branch, ",
          "command=\"description a\"",
          "level=debug event=transaction session=1 user=user1 transaction=1 effect=whole callbacks="})
        EXPECT_THAT(text, HasSubstr(part));
    EXPECT_THAT(told(LogLevel::debug, edit("running", config_with(profile("y")))),
                testing::AllOf(HasSubstr("event=transaction"), Not(HasSubstr("event=callback"))));
    EXPECT_THAT(told(LogLevel::info, edit("running", config_with(profile("z")))), Not(HasSubstr("event=transaction")));
}

} // namespace
} // namespace qnips::test
