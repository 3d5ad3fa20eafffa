// The values that the leaves of a signature set take and refuse: action and interworking, target, severity, operating
// system.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* action_handler = "IPS_UD_SigSetAction";
constexpr const char* interworking_handler = "IPS_UD_SigSetInterworking";
constexpr const char* target_handler = "IPS_UD_SigSetTarget";
constexpr const char* severity_handler = "IPS_UD_SigSetSeverity";
constexpr const char* os_handler = "IPS_UD_SigSetOS";

constexpr int rollback_of_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int rollback_of_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;
const std::string information = "Failed to check the information.";

class SignatureSetValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(SignatureSetValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// ------------------------------------------------------------------------------------------------- texts in general --

std::vector<ValueCase> faulty_leaves()
{
    std::vector<ValueCase> cases;
    const auto add = [&](const std::vector<ValueCase>& more) { cases.insert(cases.end(), more.begin(), more.end()); };
    add(faulty_texts(action_handler, "action", any_operation));
    add(faulty_texts(interworking_handler, "interworking",
                     {XMLDIFF_ADD, XMLDIFF_MOD, rollback_of_addition, rollback_of_removal, XMLDIFF_NONE}));
    add(faulty_texts(target_handler, "target", any_operation));
    add(faulty_texts(severity_handler, "severity", any_operation));
    add(faulty_texts(os_handler, "operating-system", any_operation));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(FaultyTexts, SignatureSetValue, testing::ValuesIn(faulty_leaves()), value_name);

// ------------------------------------------------------------------------------------------------------------ words --

std::vector<ValueCase> word_cases()
{
    std::vector<ValueCase> cases;
    const auto takes = [&](const char* handler, const char* name, const std::string& keyword,
                           const std::vector<std::string>& words, bool undo_names_the_word) {
        const std::string on = keyword + ' ';
        const std::string off = "undo " + keyword;
        for (const std::string& word : words) {
            const std::string undo = undo_names_the_word ? off + ' ' + word : off;
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CFGR}, rollback_of_removal})
                cases.push_back(sent("Word", handler, leaf(name, word), on + word, op));
            for (const int op : {int{XMLDIFF_REM}, rollback_of_addition})
                cases.push_back(sent("RemovedWord", handler, leaf(name, word), undo, op, 1));
        }
    };
    takes(target_handler, "target", "target", {"both", "client", "server"}, false);
    takes(severity_handler, "severity", "severity", {"high", "medium", "low", "information"}, true);
    takes(os_handler, "operating-system", "os", {"other", "android", "ios", "unix-like", "windows"}, true);
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Words, SignatureSetValue, testing::ValuesIn(word_cases()), value_name);

std::vector<ValueCase> other_words(const char* handler, const char* name, std::vector<std::string> words,
                                   const std::vector<int>& ops)
{
    for (const std::string word : {"all", "none", "x", "0", "low high", "100%s%n"})
        words.push_back(word);
    for (const std::size_t length : {63U, 64U, 300U})
        words.emplace_back(length, 'w');
    std::vector<ValueCase> cases;
    for (const std::string& word : words) {
        for (const int op : ops)
            cases.push_back(refused("OtherWord", handler, leaf(name, word), NC_ERR_INVALID_VALUE, information, op));
    }
    return cases;
}

const std::vector<int> set_ops = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CFGR, rollback_of_removal};
const std::vector<int> set_and_undo_ops = {XMLDIFF_ADD, XMLDIFF_MOD, rollback_of_removal, XMLDIFF_REM,
                                           rollback_of_addition};

INSTANTIATE_TEST_SUITE_P(OtherTarget, SignatureSetValue,
                         testing::ValuesIn(other_words(target_handler, "target",
                                                       {"Both", "CLIENT", "serve", "servers", "high"}, set_ops)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(OtherSeverity, SignatureSetValue,
                         testing::ValuesIn(other_words(severity_handler, "severity",
                                                       {"Low", "HIGH", "lo", "lows", "informational", "both"},
                                                       set_and_undo_ops)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(OtherOs, SignatureSetValue,
                         testing::ValuesIn(other_words(os_handler, "operating-system",
                                                       {"IOS", "Windows", "unix", "unix-like-", "linux", "low"},
                                                       set_and_undo_ops)),
                         value_name);

std::vector<ValueCase> removed_targets()
{
    std::vector<ValueCase> cases;
    for (const std::string& word : {std::string("CLIENT"), std::string("x"), std::string(300, 't')}) {
        for (const int op : {int{XMLDIFF_REM}, rollback_of_addition})
            cases.push_back(sent("OfAnyWord", target_handler, leaf("target", word), "undo target", op, 1));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(RemovedTarget, SignatureSetValue, testing::ValuesIn(removed_targets()), value_name);

// ------------------------------------------------------------------------------------------ action and interworking --

std::string action(std::string_view text)
{
    return leaf("action", text);
}

std::string interworking(std::string_view text)
{
    return leaf("interworking", text);
}

ValueCase group_refused(const char* name, const char* handler, std::string node, std::string group, NC_ERR code,
                        const std::string& message, int op = XMLDIFF_ADD)
{
    ValueCase test = in_group(refused(name, handler, std::move(node), code, message, op), std::move(group));
    test.output = error_line(message) + error_line(information);
    return test;
}

const std::string no_action = "Get error signatureset/action node information.";
const std::string bad_action = "Failed to check the signature-set action node information.";
const std::string bad_interworking = "Failed to check the interworking node information.";

std::vector<ValueCase> action_cases()
{
    std::vector<ValueCase> cases;
    for (const int op : set_ops) {
        cases.push_back(in_group(sent("Default", action_handler, action("default-type"), "action default", op), ""));
        cases.push_back(in_group(sent("Alert", action_handler, action("alert"), "action alert", op), ""));
        cases.push_back(in_group(sent("Block", action_handler, action("block"), "action block", op), ""));
        for (const std::string with : {"block-source-ip", "block-destination-ip", "block-both"}) {
            cases.push_back(in_group(sent("DefaultAndInterworking", action_handler, action("default-type"),
                                          "action default interwork " + with, op),
                                     interworking(with)));
            cases.push_back(in_group(
                sent("AlertAndInterworking", action_handler, action("alert"), "action alert interwork " + with, op),
                interworking(with)));
        }
        for (const char* word : {"allow", "default", "Block", "ALERT", "blocks", "block-source-ip", "block-both"}) {
            cases.push_back(
                group_refused("OtherAction", action_handler, action(word), "", NC_ERR_INVALID_VALUE, bad_action, op));
        }
        cases.push_back(group_refused("TooLongToRead", action_handler, action(std::string(64, 'a')), "",
                                      NC_ERR_MISSING_ELEM, no_action, op));
        cases.push_back(group_refused("Longest", action_handler, action(std::string(63, 'a')), "", NC_ERR_INVALID_VALUE,
                                      bad_action, op));
        cases.push_back(group_refused("BadInterworking", action_handler, action("alert"), interworking("alert"),
                                      NC_ERR_INVALID_VALUE, bad_interworking, op));
    }
    cases.push_back(in_group(sent("InterworkingTooLongToRead", action_handler, action("alert"), "action alert"),
                             interworking(std::string(64, 'i'))));
    cases.push_back(group_refused("LongestInterworking", action_handler, action("alert"),
                                  interworking(std::string(63, 'i')), NC_ERR_INVALID_VALUE, bad_interworking));
    cases.push_back(in_group(sent("EmptyInterworking", action_handler, action("alert"), "action alert"),
                             "<interworking text=''/>"));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Action, SignatureSetValue, testing::ValuesIn(action_cases()), value_name);

// A removed action's value is only looked at for its form, and so is nothing beside it.
std::vector<ValueCase> removed_actions()
{
    std::vector<ValueCase> cases;
    for (const int op : {int{XMLDIFF_REM}, rollback_of_addition}) {
        for (const std::string& word : {std::string("block"), std::string("ALLOW"), std::string(64, 'a')})
            cases.push_back(in_group(sent("OfAnyWord", action_handler, action(word), "undo action", op, 1), ""));
        cases.push_back(in_group(sent("BesideABadInterworking", action_handler, action("block"), "undo action", op, 1),
                                 interworking("alert")));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(RemovedAction, SignatureSetValue, testing::ValuesIn(removed_actions()), value_name);

std::vector<ValueCase> interworking_cases()
{
    std::vector<ValueCase> cases;
    for (const int op : set_ops) {
        for (const std::string word : {"block-source-ip", "block-destination-ip", "block-both"}) {
            cases.push_back(in_group(
                sent("OfBlock", interworking_handler, interworking(word), "action block interwork " + word, op),
                action("block")));
            cases.push_back(in_group(
                sent("OfDefault", interworking_handler, interworking(word), "action default interwork " + word, op),
                action("default-type")));
        }
        for (const char* word : {"block", "Block-Both", "block-", "alert", "block-both-"}) {
            cases.push_back(group_refused("OtherWord", interworking_handler, interworking(word), action("block"),
                                          NC_ERR_INVALID_VALUE, bad_interworking, op));
        }
    }
    cases.push_back(group_refused("WithoutAnAction", interworking_handler, interworking("block-both"), "",
                                  NC_ERR_MISSING_ELEM, no_action));
    cases.push_back(group_refused("OfAnEmptyAction", interworking_handler, interworking("block-both"),
                                  "<action text=''/>", NC_ERR_MISSING_ELEM, no_action));
    cases.push_back(group_refused("OfACapitalAction", interworking_handler, interworking("block-both"), action("Block"),
                                  NC_ERR_INVALID_VALUE, bad_action));
    cases.push_back(
        in_group(sent("TooLongToRead", interworking_handler, interworking(std::string(64, 'i')), "action block"),
                 action("block")));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Interworking, SignatureSetValue, testing::ValuesIn(interworking_cases()), value_name);

// The refusal comes before the value is read.
std::vector<ValueCase> removed_interworkings()
{
    const std::string message = "The node could support the operation(rem).";
    std::vector<ValueCase> cases;
    for (const int op : {int{XMLDIFF_REM}, XMLDIFF_REM | XMLDIFF_CHAIN, XMLDIFF_REM | XMLDIFF_MOD}) {
        for (const std::string& node : {interworking("block-both"), interworking("we?b"), interworking("x "),
                                        std::string("<interworking/>"), std::string("<interworking text=''/>")}) {
            ValueCase test = refused("Any", interworking_handler, node, NC_ERR_OP_FAILED, message, op);
            cases.push_back(in_group(test, ""));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(RemovedInterworking, SignatureSetValue, testing::ValuesIn(removed_interworkings()),
                         value_name);

// ----------------------------------------------------------------------------------------------- unknown operations --

struct UnknownCase {
    const char* handler;
    std::string node;

    friend void PrintTo(const UnknownCase& test, std::ostream* out) { *out << test.handler; }
};

class UnknownOperation : public ServerTestBase<testing::TestWithParam<UnknownCase>>
{
};

// Which words a node takes is asked when something is to be sent only.
TEST_P(UnknownOperation, CommitsAnEmptyScriptWhateverTheWord)
{
    const HandlerCase& handler = handler_case(GetParam().handler);
    for (const int op : {int{XMLDIFF_NONE}, int{XMLDIFF_REORDER}, int{XMLDIFF_SIBLING}, int{XMLDIFF_ROLLBACK}}) {
        SCOPED_TRACE(op_text(op));
        const CallResult r = server.call(handler.handler, op, nested(handler.above, GetParam().node), handler.xpath);
        EXPECT_EQ(r.result, 0);
        EXPECT_EQ(r.errors, ClientErrors{});
        EXPECT_EQ(r.lines, Lines{});
        ASSERT_EQ(r.commits.size(), 1U);
        EXPECT_EQ(r.commits[0].operation, 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, UnknownOperation,
    testing::Values(
        UnknownCase{action_handler, action("ALLOW")}, UnknownCase{interworking_handler, interworking("ALLOW")},
        UnknownCase{target_handler, leaf("target", "x")}, UnknownCase{severity_handler, leaf("severity", "x")},
        UnknownCase{os_handler, leaf("operating-system", "x")},
        UnknownCase{"IPS_UD_SigSetAllApplication", leaf("all-application", "x")},
        UnknownCase{"IPS_UD_SigSetAllProtocol", leaf("all-protocol", "x")},
        UnknownCase{"IPS_UD_SigSetAllCategory", leaf("all-category", "x")},
        UnknownCase{"IPS_UD_SigSetSpecifiedApplication", leaf("specifed-application", "all")},
        UnknownCase{"IPS_UD_SigSetSpecifiedProtocol", leaf("specifed-protocol", "all")},
        UnknownCase{"IPS_UD_SigSetSpecifiedCategory", "<specifed-category><name>all</name></specifed-category>"},
        UnknownCase{"IPS_UD_SigSetSSCategory", "<sub-category><name>all</name></sub-category>"}));

} // namespace
