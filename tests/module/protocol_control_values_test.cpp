// The values that handlers of single actions, HTTP header checks and lists of hosts take and refuse, the texts at the
// limits of their buffers, and edits of several nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;

class ProtocolValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(ProtocolValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// ---------------------------------------------------------------------------------------------- single action leaves
// --

struct ActionLeaf {
    const char* handler;
    const char* name;
    bool may_allow;
    std::string set_start; // of the line, in front of the action
    std::string undo_line;
};

const std::vector<ActionLeaf> action_leaves = {
    {"IPS_UD_ProContDnsMalPacAction", "malformed-packet-action", false, "dns malformed-packet check action ",
     "undo dns malformed-packet check"},
    {"IPS_UD_ProContDnsReqTypeDefAction", "request-type-default-action", true, "dns request-type check default-action ",
     "dns request-type check default-action allow"},
    {"IPS_UD_ProContHTTPMulHostAction", "multi-host-action", false, "http multi-host check action ",
     "undo http multi-host check"},
    {"IPS_UD_ProContHTTPSSHAction", "ssh-over-http-action", false, "http ssh-over-http check action ",
     "undo http ssh-over-http check"},
};

std::vector<ValueCase> faulty_action_leaves()
{
    std::vector<ValueCase> cases;
    for (const ActionLeaf& test : action_leaves) {
        const std::vector<ValueCase> more = faulty_texts(test.handler, test.name, any_operation);
        cases.insert(cases.end(), more.begin(), more.end());
        // the blank is found before the word is compared
        cases.push_back(refused("WordAndBlank", test.handler, leaf(test.name, "alert "), NC_ERR_MISSING_ELEM,
                                invalid_value, XMLDIFF_MOD));
    }
    return cases;
}

std::vector<ValueCase> action_leaf_cases()
{
    std::vector<ValueCase> cases;
    for (const ActionLeaf& test : action_leaves) {
        std::vector<std::string> accepted = {"alert", "block"};
        std::vector<std::string> others = {"Alert",
                                           "BLOCK",
                                           "Allow",
                                           "drop",
                                           "alertx",
                                           "aler",
                                           "al ert",
                                           "%s",
                                           std::string(63, 'a'),
                                           std::string(64, 'a'),
                                           std::string(300, 'a')};
        (test.may_allow ? accepted : others).push_back("allow");

        for (const std::string& word : accepted) {
            for (const int op :
                 {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, XMLDIFF_ADD | XMLDIFF_CFGR, XMLDIFF_REM | XMLDIFF_ROLLBACK})
                cases.push_back(sent("Word", test.handler, leaf(test.name, word), test.set_start + word, op));
        }
        for (const std::string& word : others) {
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, XMLDIFF_REM | XMLDIFF_ROLLBACK})
                cases.push_back(refused("OtherWord", test.handler, leaf(test.name, word), NC_ERR_BAD_ELEM,
                                        "Failed to check the information.", op));
        }
        // what goes is looked at only for its form
        for (const std::string& word : {std::string("alert"), std::string("Drop"), std::string(300, 'a')}) {
            for (const int op : {int{XMLDIFF_REM}, undone_addition})
                cases.push_back(sent("Removed", test.handler, leaf(test.name, word), test.undo_line, op, 1));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(FaultyAction, ProtocolValue, testing::ValuesIn(faulty_action_leaves()), value_name);
INSTANTIATE_TEST_SUITE_P(Action, ProtocolValue, testing::ValuesIn(action_leaf_cases()), value_name);

// ------------------------------------------------------------------------------------------------------ HTTP headers
// --

struct Header {
    std::string name;
    const char* type_handler;
    const char* action_handler;
    std::vector<std::string> types;
    std::vector<std::string> other_types;
    std::string type_debug;
    std::string action_debug;
};

const std::vector<Header> headers = {
    {"x-online-host",
     "IPS_UD_ProContHTTPXOHType",
     "IPS_UD_ProContHTTPXOHAction",
     {"any", "blacklist", "multiple"},
     {"whitelist", "Any", "all"},
     "Failed to check type node information.",
     "Failde to check action node information."},
    {"x-forwarded-for",
     "IPS_UD_ProContHTTPXFFType",
     "IPS_UD_ProContHTTPXFFAction",
     {"any", "whitelist"},
     {"blacklist", "multiple", "ANY", "all"},
     "Failed to check type node inforamtion.",
     "Failed to check action node information."},
};

std::string type(std::string_view text)
{
    return leaf("type", text);
}

std::string action(std::string_view text)
{
    return leaf("action", text);
}

// Both leaves with the same values: the one or the other is the changed one.
void add_both(std::vector<ValueCase>& cases, const Header& header, const std::string& type_text,
              const std::string& action_text, ValueCase test)
{
    test.handler = header.type_handler;
    test.node = type(type_text);
    cases.push_back(in_group(test, action(action_text)));
    test.handler = header.action_handler;
    test.node = action(action_text);
    cases.push_back(in_group(test, type(type_text)));
}

ValueCase header_refused(const char* name, const char* handler, NC_ERR code, const std::string& message,
                         const std::string& debug_text)
{
    ValueCase test = refused(name, handler, "", code, message);
    test.output = error_line(debug_text);
    return test;
}

std::vector<ValueCase> header_cases(const Header& header)
{
    std::vector<ValueCase> cases;
    for (const std::string& type_text : header.types) {
        for (const std::string action_text : {"alert", "block"}) {
            const std::string line = "http " + header.name + " check " + type_text + " action " + action_text;
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, XMLDIFF_REM | XMLDIFF_ROLLBACK})
                add_both(cases, header, type_text, action_text, sent("Check", "", "", line, op));
        }
        for (const std::string& word : {std::string("allow"), std::string("Alert"), std::string(63, 'a')}) {
            add_both(cases, header, type_text, word,
                     header_refused("OtherAction", "", NC_ERR_BAD_ELEM, "Failed to check action node information.",
                                    header.action_debug));
        }
    }
    for (const std::string& other : header.other_types) {
        add_both(cases, header, other, "alert",
                 header_refused("OtherType", "", NC_ERR_BAD_ELEM, "Failed to check the type node information.",
                                header.type_debug));
    }
    return cases;
}

std::vector<ValueCase> incomplete_header_cases(const Header& header)
{
    std::vector<ValueCase> cases;
    const std::string long_text(64, 'a');
    const std::string no_type = "Get error " + header.name + "/type node information.";
    const std::string no_action = "Get error " + header.name + "/action node information.";
    for (const std::string& group : {std::string(), std::string("<action text=''/>"), action(long_text)}) {
        cases.push_back(
            in_group(refused("ActionUnread", header.type_handler, type("any"), NC_ERR_MISSING_ELEM, no_action), group));
    }
    for (const std::string& group : {std::string(), std::string("<type text=''/>"), type(long_text)}) {
        cases.push_back(in_group(
            refused("TypeUnread", header.action_handler, action("alert"), NC_ERR_MISSING_ELEM, no_type), group));
    }
    cases.push_back(in_group(
        refused("TooLongToRead", header.type_handler, type(long_text), NC_ERR_MISSING_ELEM, no_type), action("alert")));
    cases.push_back(
        in_group(refused("TooLongToRead", header.action_handler, action(long_text), NC_ERR_MISSING_ELEM, no_action),
                 type("any")));

    // every operation but the plain removal looks at the form of the value
    for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, undone_addition, int{XMLDIFF_NONE}}) {
        for (const ValueCase& test : faulty_texts(header.type_handler, "type", {op}))
            cases.push_back(test);
        for (const ValueCase& test : faulty_texts(header.action_handler, "action", {op}))
            cases.push_back(test);
    }
    for (const std::string content : {"/>", " text=''/>", " text=' ?'/>", " text='drop'/>"}) {
        const std::string refusal = "The operation is not supported.";
        cases.push_back(
            refused("Removed", header.type_handler, "<type" + content, NC_ERR_OP_FAILED, refusal, XMLDIFF_REM));
        cases.push_back(
            refused("Removed", header.action_handler, "<action" + content, NC_ERR_OP_FAILED, refusal, XMLDIFF_REM));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(OnlineHost, ProtocolValue, testing::ValuesIn(header_cases(headers[0])), value_name);
INSTANTIATE_TEST_SUITE_P(ForwardedFor, ProtocolValue, testing::ValuesIn(header_cases(headers[1])), value_name);
INSTANTIATE_TEST_SUITE_P(IncompleteOnlineHost, ProtocolValue, testing::ValuesIn(incomplete_header_cases(headers[0])),
                         value_name);
INSTANTIATE_TEST_SUITE_P(IncompleteForwardedFor, ProtocolValue, testing::ValuesIn(incomplete_header_cases(headers[1])),
                         value_name);

// ---------------------------------------------------------------------------------------------------- lists of hosts
// --

constexpr const char* blacklist_handler = "IPS_UD_ProContHTTPBlacklist";
constexpr const char* whitelist_handler = "IPS_UD_ProContHTTPWhitelist";

const std::string black_line = "http x-online-host blacklist ";
const std::string white_line = "http x-forwarded-for whitelist ipv4 ";

// A host as it is set and as it is removed; `sent_host` is what becomes of it.
void add_host(std::vector<ValueCase>& cases, const char* name, const std::string& host, const std::string& sent_host)
{
    const std::string black = leaf("blacklist", host);
    const std::string white = leaf("whitelist", host);
    for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, XMLDIFF_REM | XMLDIFF_ROLLBACK}) {
        cases.push_back(sent(name, blacklist_handler, black, black_line + sent_host, op));
        cases.push_back(sent(name, whitelist_handler, white, white_line + sent_host, op));
    }
    for (const int op : {int{XMLDIFF_REM}, undone_addition}) {
        cases.push_back(sent(name, blacklist_handler, black, "undo " + black_line + sent_host, op, 1));
        cases.push_back(sent(name, whitelist_handler, white, "undo " + white_line + sent_host, op, 1));
    }
}

std::vector<ValueCase> host_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string host :
         {"a", "all", "ALL", "All", "alle", "mail.example", "192.0.2.7", "two words", "\"quoted\"", "100%s%n"})
        add_host(cases, "Host", host, host);
    for (const std::size_t length : {213U, 214U}) // the longest that fits into all lines
        add_host(cases, "LongHost", std::string(length, 'h'), std::string(length, 'h'));
    for (const std::size_t length : {254U, 255U, 256U, 300U}) {
        const std::string node = leaf("blacklist", std::string(length, 'h'));
        const std::string host(std::min<std::size_t>(length, 255), 'h');
        cases.push_back(sent("LongHost", blacklist_handler, node, black_line + host));
        cases.push_back(sent("LongHost", blacklist_handler, node, "undo " + black_line + host, XMLDIFF_REM, 1));
    }
    // 36 characters in front of the host, and 255 in all
    for (const std::size_t length : {218U, 219U, 220U, 255U, 256U, 300U}) {
        cases.push_back(sent("LongHost", whitelist_handler, leaf("whitelist", std::string(length, 'h')),
                             white_line + std::string(std::min<std::size_t>(length, 219), 'h')));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(FaultyBlacklist, ProtocolValue,
                         testing::ValuesIn(faulty_texts(blacklist_handler, "blacklist", any_operation)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyWhitelist, ProtocolValue,
                         testing::ValuesIn(faulty_texts(whitelist_handler, "whitelist", any_operation)), value_name);
INSTANTIATE_TEST_SUITE_P(Hosts, ProtocolValue, testing::ValuesIn(host_cases()), value_name);

using ProtocolEdit = ServerTest;

// A removal never names a part of an address. The line is empty then, and goes its way like any other.
TEST_F(ProtocolEdit, RemovedWhitelistEntryThatDoesNotFitIsAnEmptyLine)
{
    const HandlerCase& test = handler_case(whitelist_handler);
    for (const std::size_t length : {215U, 219U, 255U, 300U}) {
        for (const int op : {int{XMLDIFF_REM}, undone_addition}) {
            SCOPED_TRACE(length);
            const DebugSwitches switches({true, false});
            const CallResult r = server.call(
                test.handler, op, nested(test.above, leaf("whitelist", std::string(length, 'h'))), test.xpath);
            const Lines empty{{"branch", "profile-ips-webguard", "profile-ips", ""}};
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.lines, empty);
            ASSERT_EQ(r.commits.size(), 1U);
            EXPECT_EQ(r.commits[0].lines, empty);
            EXPECT_EQ(r.commits[0].operation, 1U);
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_EQ(r.output, operation_line(""));
        }
    }
}

// --------------------------------------------------------------------------------------- edits of more than one node
// --

// A header's check, all of it with the operation: what container, type and action do.
std::vector<CallResult> edit_check(RecordingServer& server, const std::string& header, int op)
{
    const std::string mark = " op='" + std::string(op == XMLDIFF_REM ? "REM" : "ADD") + "'>";
    const std::string xml = nested(in_profile("branch", "webguard") / Step{"protocol-controlling", "", "CHAIN"} /
                                       Step{"http-check", "", "CHAIN"} / Step{header, "", "CHAIN"},
                                   "<check-type-action" + mark + "<type" + mark + "any</type><action" + mark +
                                       "block</action></check-type-action>");
    const bool is_host = header == "x-online-host";
    return {server.call(is_host ? IPS_UD_ProContHTTPXOHTypeAction : IPS_UD_ProContHTTPXFFTypeAction, op, xml,
                        "//check-type-action"),
            server.call(is_host ? IPS_UD_ProContHTTPXOHType : IPS_UD_ProContHTTPXFFType, op, xml, "//type"),
            server.call(is_host ? IPS_UD_ProContHTTPXOHAction : IPS_UD_ProContHTTPXFFAction, op, xml, "//action")};
}

TEST_F(ProtocolEdit, NewHeaderCheckIsSentByBothLeaves)
{
    for (const Header& header : headers) {
        const std::vector<CallResult> calls = edit_check(server, header.name, XMLDIFF_ADD);
        const Lines line{
            {"branch", "profile-ips-webguard", "profile-ips", "http " + header.name + " check any action block"}};
        EXPECT_TRUE(calls[0].quiet());
        EXPECT_EQ(calls[1].lines, line);
        EXPECT_EQ(calls[2].lines, line);
    }
}

TEST_F(ProtocolEdit, RemovedHeaderCheckSendsItsOwnLineOnly)
{
    for (const Header& header : headers) {
        const std::vector<CallResult> calls = edit_check(server, header.name, XMLDIFF_REM);
        EXPECT_EQ(calls[0].lines,
                  (Lines{{"branch", "profile-ips-webguard", "profile-ips", "undo http " + header.name + " check"}}));
        EXPECT_TRUE(calls[1].quiet());
        EXPECT_TRUE(calls[2].quiet());
    }
}

// The containers and the lists have no group to check.
TEST_F(ProtocolEdit, ContainersAndListsReadOnlyTheNamesAbove)
{
    for (const char* name :
         {"IPS_UD_ProContHTTPXOHTypeAction", "IPS_UD_ProContHTTPXFFTypeAction", blacklist_handler, whitelist_handler}) {
        const HandlerCase& test = handler_case(name);
        const CallResult r = server.call(test.handler, test.sending_op(), nested(test.above, test.node), test.xpath);
        EXPECT_EQ(r.key_lookups, (std::vector<KeyLookup>{{6, "name"}, {4, "name"}})) << name;
    }
}

} // namespace
