// The entries of a profile's ordered list of signature sets: the names in their lines and the place each is given.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int rollback_of_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;

const std::vector<int> placing_ops = {XMLDIFF_ADD,
                                      XMLDIFF_SIBLING,
                                      XMLDIFF_ADD | XMLDIFF_SIBLING,
                                      XMLDIFF_SIBLING | XMLDIFF_CHAIN,
                                      XMLDIFF_ADD | XMLDIFF_CFGR,
                                      rollback_of_addition};
const std::vector<int> other_ops = {XMLDIFF_REM,   XMLDIFF_MOD,     XMLDIFF_CFGR,
                                    XMLDIFF_CHAIN, XMLDIFF_REORDER, XMLDIFF_REM | XMLDIFF_ROLLBACK,
                                    XMLDIFF_NONE};

std::string set(std::string_view name)
{
    return "<signature-set>" + leaf("name", name) + "</signature-set>";
}

Line line(const std::string& text)
{
    return {"branch", "profile-ips-webguard", "profile-ips", text};
}

Lines lines(const std::vector<std::string>& texts)
{
    Lines all;
    for (const std::string& text : texts)
        all.push_back(line(text));
    return all;
}

std::string terminated(const std::string& text)
{
    return text + '\0';
}

class SignatureSetEntry : public ServerTest
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(server.released_replies(), server.allocated_replies());
        std::ranges::fill(g_acIPSFirstSigSetName, '\0'); // as at load, for tests that run later
        ServerTest::TearDown();
    }

    // The set called `name` behind and before other content of the list.
    CallResult call(int op, const std::string& name, const std::string& before = "", const std::string& behind = "")
    {
        const Steps list = in_profile("branch", "webguard") / Step{"signature-sets", before + "<!-- here -->"};
        const std::string xpath = "//comment()[.=' here ']/following-sibling::*[1]";
        CallResult r = server.call(IPS_UD_ProfileSigSet, op, nested(list, set(name) + behind), xpath);
        r.output = without_line_numbers(r.output);
        return r;
    }

    // The same without a preceding set; the platform names its first one.
    CallResult call_first(int op, const std::string& name, const std::string& platforms_first)
    {
        server.answers = {{.payload = terminated(platforms_first)}};
        return call(op, name);
    }

    static void expect_one_commit(const CallResult& r, const std::vector<std::string>& texts, unsigned operation = 0)
    {
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.errors, ClientErrors{});
        ASSERT_EQ(r.commits.size(), 1U);
        EXPECT_EQ(r.commits[0].lines, lines(texts));
        EXPECT_EQ(r.lines, lines(texts));
        EXPECT_EQ(r.commits[0].operation, operation);
    }
};

// ----------------------------------------------------------------------------------------------------------- places --

TEST_F(SignatureSetEntry, FirstSetOfAnEmptyProfileSendsItsNameOnly)
{
    const std::vector<std::optional<Answer>> nothing = {std::nullopt, Answer{.result = 0, .payload = std::nullopt},
                                                        Answer{.payload = ""},
                                                        Answer{.result = 9, .payload = terminated("mail")}};
    for (const std::optional<Answer>& answer : nothing) {
        server.answers.clear();
        if (answer)
            server.answers.push_back(*answer);
        const CallResult r = call(XMLDIFF_ADD, "web");
        EXPECT_EQ(r.queries.size(), 1U);
        expect_one_commit(r, {"signature-set name \"web\""});
    }
}

TEST_F(SignatureSetEntry, NewSetIsMovedBehindTheOneBeforeIt)
{
    const CallResult r = call(XMLDIFF_ADD, "web", set("mail"), set("dns"));
    expect_one_commit(r, {"signature-set name \"web\"", "signature-set move \"web\" after mail"});
    EXPECT_TRUE(r.queries.empty()) << "the platform is not asked";
}

TEST_F(SignatureSetEntry, NewSetInFrontIsMovedBeforeThePlatformsFirst)
{
    server.answers = {{.payload = terminated("mail")}};
    const CallResult r = call(XMLDIFF_ADD, "web", "", set("dns"));
    EXPECT_EQ(r.queries.size(), 1U);
    expect_one_commit(r, {"signature-set name \"web\"", "signature-set move \"web\" before mail"});
}

TEST_F(SignatureSetEntry, PlatformIsAskedForThisProfile)
{
    const CallResult r = call_first(XMLDIFF_ADD, "web", "mail");
    std::string record(168, '\0');
    record[0] = 1;
    record.replace(4, 6, "branch");
    record.replace(36, 8, "webguard");
    ASSERT_EQ(r.queries.size(), 1U);
    EXPECT_EQ(r.queries[0].payload, record);
    EXPECT_EQ(r.queries[0].header.msg_type, 3U);
    EXPECT_FALSE(r.queries[0].has_error_slot);
}

// The answer has no quotes around a plain name, this entry's name always has.
TEST_F(SignatureSetEntry, PlainNameThatIsFirstAlreadyIsMovedBeforeItself)
{
    expect_one_commit(call_first(XMLDIFF_ADD, "web", "web"),
                      {R"(signature-set name "web")", R"(signature-set move "web" before web)"});
}

TEST_F(SignatureSetEntry, NameWithABlankThatIsFirstAlreadyIsNotMoved)
{
    expect_one_commit(call_first(XMLDIFF_ADD, "web one", "web one"), {"signature-set name \"web one\""});
    expect_one_commit(call_first(XMLDIFF_ADD, "web one", "Web one"),
                      {"signature-set name \"web one\"", "signature-set move \"web one\" before \"Web one\""});
}

TEST_F(SignatureSetEntry, MereMoveSendsOneMoveLineAndNoName)
{
    expect_one_commit(call(XMLDIFF_SIBLING, "web", set("mail")), {"signature-set move \"web\" after mail"});
    expect_one_commit(call_first(XMLDIFF_SIBLING, "web", "mail"), {"signature-set move \"web\" before mail"});
    expect_one_commit(call_first(XMLDIFF_SIBLING, "web", "two words"),
                      {"signature-set move \"web\" before \"two words\""});
}

TEST_F(SignatureSetEntry, MereMoveThatNeedsNoLineCommitsAnEmptyScript)
{
    expect_one_commit(call(XMLDIFF_SIBLING, "web"), {});
    expect_one_commit(call_first(XMLDIFF_SIBLING, "web one", "web one"), {});
}

TEST_F(SignatureSetEntry, RollbackOfAnAdditionRemovesTheSetAndMovesIt)
{
    expect_one_commit(call(rollback_of_addition, "web", set("mail")),
                      {"undo signature-set name \"web\"", "signature-set move \"web\" after mail"}, 1);
    expect_one_commit(call_first(rollback_of_addition, "web", "mail"),
                      {"undo signature-set name \"web\"", "signature-set move \"web\" before mail"}, 1);
}

TEST_F(SignatureSetEntry, OnlyAnAdditionOrAMoveIsGivenAPlace)
{
    for (const int op : placing_ops) {
        SCOPED_TRACE(op_text(op));
        EXPECT_EQ(call(op, "web").queries.size(), 1U);
        EXPECT_EQ(call(op, "web", set("mail")).lines.back(), line("signature-set move \"web\" after mail"));
    }
    for (const int op : other_ops) {
        SCOPED_TRACE(op_text(op));
        const CallResult r = call(op, "web", set("mail"));
        EXPECT_LE(r.lines.size(), 1U);
        for (const Line& cached : r.lines)
            EXPECT_EQ(cached.line.find(" move "), std::string::npos) << cached.line;
        EXPECT_TRUE(call(op, "web").queries.empty());
    }
}

TEST_F(SignatureSetEntry, NearestSetBeforeItCounts)
{
    EXPECT_EQ(call(XMLDIFF_SIBLING, "web", set("a") + set("b")).lines, lines({"signature-set move \"web\" after b"}));
    EXPECT_EQ(call(XMLDIFF_SIBLING, "web", set("a") + "<!-- a comment --> text <other><name>b</name></other>").lines,
              lines({"signature-set move \"web\" after a"}));
}

TEST_F(SignatureSetEntry, PlatformIsAskedWhenTheSetBeforeItHasNoName)
{
    server.answers = {{.payload = terminated("mail")}};
    EXPECT_EQ(call(XMLDIFF_SIBLING, "web", "<signature-set><target>both</target></signature-set>").lines,
              lines({"signature-set move \"web\" before mail"}));
}

TEST_F(SignatureSetEntry, PlacesDebugLineByteForByte)
{
    const HandlerCase& test = handler_case("IPS_UD_ProfileSigSet");
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        EXPECT_EQ(call_first(XMLDIFF_ADD, "web", "mail").output,
                  opening_lines(test, XMLDIFF_ADD, setting) +
                      (setting.messages ? "[IPS]Operation: signature-set name \"web\" \r\n"
                                          "[IPS]Operation: signature-set move \"web\" before mail \r\n"
                                        : ""));
        EXPECT_EQ(call(XMLDIFF_SIBLING, "web").output,
                  opening_lines(test, XMLDIFF_SIBLING, setting) +
                      (setting.messages ? "[IPS]INFO: May be SIBLING op(16).\r\n\r\n" : ""));
    }
}

// ----------------------------------------------------------------------------------------------------------- names --

TEST_F(SignatureSetEntry, OwnNameIsQuotedAndCutAt63Characters)
{
    const std::string n(300, 'n');
    for (const std::size_t length : {1U, 60U, 61U, 62U, 63U, 64U, 300U}) {
        const std::string name = n.substr(0, length);
        const std::string quoted = ('"' + name + '"').substr(0, 63);
        EXPECT_EQ(call(XMLDIFF_ADD, name, set("mail")).lines,
                  lines({"signature-set name " + quoted, "signature-set move " + quoted + " after mail"}));
        EXPECT_EQ(call(XMLDIFF_REM, name).lines, lines({"undo signature-set name " + quoted}));
    }
}

TEST_F(SignatureSetEntry, LongestLineOfAllIsWhole)
{
    const std::string own = '"' + std::string(61, 'n') + '"';
    const std::string other(63, 'o');
    EXPECT_EQ(call_first(XMLDIFF_ADD, std::string(61, 'n'), other).lines,
              lines({"signature-set name " + own, "signature-set move " + own + " before " + other}));
}

TEST_F(SignatureSetEntry, NameBeforeItIsTrimmedAndQuotedOnlyWhenItHoldsABlank)
{
    const auto after = [&](const std::string& name) { return call(XMLDIFF_SIBLING, "web", set(name)).lines; };
    EXPECT_EQ(after(" mail "), lines({"signature-set move \"web\" after mail"}));
    EXPECT_EQ(after("two words"), lines({"signature-set move \"web\" after \"two words\""}));
    EXPECT_EQ(after(" two words\t"), lines({"signature-set move \"web\" after \"two words\""}));
    EXPECT_EQ(after("100%s%n"), lines({"signature-set move \"web\" after 100%s%n"}));
}

TEST_F(SignatureSetEntry, NameBeforeItIsCutAt63Characters)
{
    const std::string n(70, 'n');
    for (const std::size_t length : {62U, 63U, 64U, 70U}) {
        const std::string name = n.substr(0, length);
        EXPECT_EQ(call(XMLDIFF_SIBLING, "web", set(name)).lines,
                  lines({"signature-set move \"web\" after " + name.substr(0, 63)}));
        EXPECT_EQ(call(XMLDIFF_SIBLING, "web", set("m " + name)).lines,
                  lines({"signature-set move \"web\" after " + ("\"m " + name + '"').substr(0, 63)}));
    }
}

TEST_F(SignatureSetEntry, OwnNameIsTakenAsItIs)
{
    for (const std::string name : {"WEB", "web one", "100%s%n", "a\"b", "default"}) {
        const std::string quoted = '"' + name + '"';
        EXPECT_EQ(call(XMLDIFF_ADD, name, set("mail")).lines,
                  lines({"signature-set name " + quoted, "signature-set move " + quoted + " after mail"}));
    }
}

TEST_F(SignatureSetEntry, FirstNameInTheEntryCounts)
{
    const CallResult r =
        server.call(IPS_UD_ProfileSigSet, XMLDIFF_REM,
                    nested(in_profile("branch", "webguard") / Step{"signature-sets"},
                           "<signature-set>\n<target>both</target><name>web</name><name>dns</name></signature-set>"),
                    "//signature-set");
    EXPECT_EQ(r.lines, lines({"undo signature-set name \"web\""}));
}

class SignatureSetName : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(SignatureSetName, IsRefused)
{
    expect_value(server, GetParam());
}

std::vector<ValueCase> name_cases()
{
    std::vector<int> ops = any_operation;
    ops.push_back(XMLDIFF_SIBLING);
    std::vector<ValueCase> cases =
        faulty_texts_within("IPS_UD_ProfileSigSet", "name", ops, "<signature-set>", "</signature-set>");
    for (const int op : ops) {
        cases.push_back(refused("Missing", "IPS_UD_ProfileSigSet",
                                "<signature-set><target>both</target></signature-set>", NC_ERR_MISSING_ELEM,
                                absent_value, op));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Faulty, SignatureSetName, testing::ValuesIn(name_cases()), value_name);

// -------------------------------------------------------------------------------------- edits of more than one node --

class SignatureSetEdit : public ServerTest
{
protected:
    // A set with all of its nodes, all of them removed.
    static std::string removed_set(const Steps& list)
    {
        return nested(list,
                      R"(<signature-set op="REM"><name op="REM">web</name>)"
                      R"(<signature-set-action op="REM"><action op="REM">block</action>)"
                      R"(<interworking op="REM">block-both</interworking></signature-set-action>)"
                      R"(<application op="REM"><all-application op="REM">false</all-application>)"
                      R"(<specifed-application op="REM">HTTP</specifed-application></application>)"
                      R"(<target op="REM">client</target><severity op="REM">low</severity>)"
                      R"(<operating-system op="REM">ios</operating-system>)"
                      R"(<protocol op="REM"><all-protocol op="REM">false</all-protocol>)"
                      R"(<specifed-protocol op="REM">DNS</specifed-protocol></protocol>)"
                      R"(<category op="REM"><all-category op="REM">false</all-category><specifed-category op="REM">)"
                      R"(<name op="REM">Worm</name><all-sub-category op="REM">false</all-sub-category>)"
                      R"(<sub-category op="REM"><name op="REM">Mail-Worm</name></sub-category>)"
                      R"(</specifed-category></category></signature-set>)");
    }

    // What each handler sends for its node of that set, in the order of the table.
    Lines removal_lines(const std::string& xml)
    {
        Lines sent;
        for (const HandlerCase& test : signature_set_handler_cases()) {
            SCOPED_TRACE(test.name);
            const CallResult r = server.call(test.handler, XMLDIFF_REM, xml, test.xpath);
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_EQ(r.commits.empty(), r.lines.empty());
            sent.insert(sent.end(), r.lines.begin(), r.lines.end());
        }
        return sent;
    }
};

TEST_F(SignatureSetEdit, RemovedSetSendsItsOwnLineOnly)
{
    EXPECT_EQ(removal_lines(removed_set(in_profile("branch", "webguard") / Step{"signature-sets", "", "CHAIN"})),
              lines({"undo signature-set name \"web\""}));
}

TEST_F(SignatureSetEdit, SetOfARemovedProfileOrVirtualSystemSendsNothing)
{
    for (const int level : {2, 4}) {
        const Steps list = in_profile("branch", "webguard") / Step{"signature-sets", "", "REM"};
        EXPECT_EQ(removal_lines(removed_set(with_op(list, level, "REM"))), Lines{});
    }
}

} // namespace
