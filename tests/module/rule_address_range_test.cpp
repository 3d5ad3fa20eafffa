// The ranges that a rule's source-ip-range and destination-ip-range take and refuse, and how a changed one is weighed
// against what the edit does to the other direction.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "module/value_case.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

class Range : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(Range, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// One of the two containers, which mirror each other.
struct Direction {
    const char* handler;
    std::string command;
    std::string other;   // the leaf of the other direction
    std::string removed; // the start of the debug line of a change that removes

    [[nodiscard]] std::string node(const std::string& ends) const
    {
        return '<' + command + "-range>" + ends + "</" + command + "-range>";
    }
};

const std::vector<Direction> directions = {
    {"IPS_UD_SigRuleSourceIP_Range", "source-ip", "destination-ip", "[IPS]Operation: XMLDIFF_REM, acCmdMes: "},
    {"IPS_UD_SigRuleDesIP_Range", "destination-ip", "source-ip", "[IPS]Operation:  "},
};

std::string start(const std::string& text)
{
    return leaf("start-ip", text);
}

std::string end(const std::string& text)
{
    return leaf("end-ip", text);
}

const std::string rule = leaf("name", "login");
const std::string v4_range = start("10.0.0.1") + end("10.0.0.9");
const std::string v6_range = start("2001:db8::1") + end("2001:db8::9");
const std::string none = "4294967295";
const std::string equal = "[IPS]Info: The start-ip and end-ip is equal.\r\n\r\n";
const std::string right = "[IPS]Info: The start-ip and end-ip range is right.\r\n\r\n";

// What the comparison says of the operations of the other direction's leaf and range.
std::string compared(const std::string& leaf_op, const std::string& range_op)
{
    return "[IPS]INFO: uiIP_OP is " + leaf_op + ".\r\n\r\n[IPS]INFO: uiRange_OP is " + range_op + ".\r\n\r\n";
}

const std::vector<int> restores = {XMLDIFF_CFGR, undone_removal, XMLDIFF_CFGR | XMLDIFF_ADD,
                                   undone_removal | XMLDIFF_CHAIN};
const std::vector<int> changes = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CHAIN, XMLDIFF_CHAIN | XMLDIFF_MOD};
const std::vector<int> undos = {XMLDIFF_REM, undone_addition, XMLDIFF_REM | XMLDIFF_CHAIN};

ValueCase with_output(ValueCase test, const std::string& before)
{
    test.output = before + test.output;
    return test;
}

// --------------------------------------------------------------------------------------------------------- the ends --

struct Ends {
    const char* name;
    std::string content; // of the container
    std::string result;  // behind the command, or the client's text
    std::string output{};
    NC_ERR code = NC_ERR_BAD_ELEM;
};

const std::vector<Ends> good_ends = {
    {"V4", v4_range, " ipv4 10.0.0.1 10.0.0.9", equal},
    {"V6", v6_range, " ipv6 2001:db8::1 2001:db8::9", right},
    {"EqualV4", start("10.0.0.1") + end("10.0.0.1"), " ipv4 10.0.0.1 10.0.0.1", equal},
    {"EqualV6", start("::1") + end("0::1"), " ipv6 ::1 0::1", equal},
    {"EndInFront", end("10.0.0.9") + " <!-- --> <other>x</other>" + start("10.0.0.1"), " ipv4 10.0.0.1 10.0.0.9",
     equal},
    {"LaterOnesCount", start("host") + v4_range + end("10.0.0.7") + start("10.0.0.2"), " ipv4 10.0.0.2 10.0.0.7",
     equal},
    {"LastOctetCountsMost", start("10.0.0.9") + end("9.0.0.10"), " ipv4 10.0.0.9 9.0.0.10", equal},
    // a prefix does not reach the command
    {"Prefixes", start("10.0.0.1/32") + end("10.0.0.9/32"), " ipv4 10.0.0.1 10.0.0.9", equal},
    {"PrefixOfTheStart", start("10.0.0.1/32") + end("10.0.0.9"), " ipv4 10.0.0.1 10.0.0.9", equal},
    {"PrefixOfTheEnd", start("10.0.0.1") + end("10.0.0.9/32/x"), " ipv4 10.0.0.1 10.0.0.9", equal},
    {"PrefixesV6", start("2001:db8::1/128") + end("2001:DB8::9/128"), " ipv6 2001:db8::1 2001:DB8::9", right},
    {"PrefixOf127Characters", start("10.0.0.1/" + std::string(116, '0') + "32") + end("10.0.0.9"),
     " ipv4 10.0.0.1 10.0.0.9", equal},
};

const std::string no_end = "The value of start-ip or end-ip leaf is NULL.";
const std::string blank = "Invalid value, because of spaces or '?'.";
const std::string wrong = "The range of start-ip and end-ip is wrong.";
const std::string bad_start = error_line("The type of start-ip is wrong.");
const std::string bad_end = error_line("The type of end-ip is wrong.");
const std::string bad_v4 = error_line("The Ipv4 number info is wrong.");
const std::string bad_mask4 = error_line("Failed to fill the iMaskLen of ipv4 address, the iMaskLen is illegal.");
const std::string bad_mask6 = error_line("Failed to fill the iMaskLen of ipv6 address, the iMaskLen is illegal.");
const std::string two_families = error_line("The type of start-ip and end-ip is different.");
const std::string not_in_order = error_line("The start-ip and end-ip range is wrong.");

const std::vector<Ends> bad_ends = {
    {"Empty", "", no_end, "", NC_ERR_MISSING_ELEM},
    {"OtherChildrenOnly", " <!-- --> <other>x</other>", no_end, "", NC_ERR_MISSING_ELEM},
    {"StartOnly", start("10.0.0.1"), no_end, "", NC_ERR_MISSING_ELEM},
    {"EndOnly", end("10.0.0.9"), no_end, "", NC_ERR_MISSING_ELEM},
    {"BadStartOnly", start(" "), no_end, "", NC_ERR_MISSING_ELEM},
    {"StartWithoutText", "<start-ip/>" + end("10.0.0.9"), no_end, "", NC_ERR_MISSING_ELEM},
    {"EndWithoutText", start("10.0.0.1") + "<end-ip/>", no_end, "", NC_ERR_MISSING_ELEM},
    {"EmptyStart", "<start-ip text=''/>" + end("10.0.0.9"), blank},
    {"EmptyEnd", start("10.0.0.1") + "<end-ip text=''/>", blank},
    {"BlankBeforeTheStart", start(" 10.0.0.1") + end("10.0.0.9"), blank},
    {"BlankBehindTheStart", start("10.0.0.1 ") + end("10.0.0.9"), blank},
    {"BlankBehindTheEnd", start("10.0.0.1") + end("10.0.0.9\t"), blank},
    {"MarkedStart", start("10.0.0.?") + end("10.0.0.9"), blank, question_mark},
    {"MarkedEnd", start("10.0.0.1") + end("10.0.0.?"), blank, question_mark},
    {"StartIsJudgedFirst", start("10.0.0.1 ") + end("10.0.0.?"), blank},
    {"BlankInFamilies", start("10.0.0.1 ") + end("::1"), blank},
    {"TwoFamilies", start("10.0.0.1") + end("2001:db8::9"), wrong, two_families},
    {"TwoFamiliesOfNoAddresses", start("host") + end("ho:st"), wrong, two_families},
    {"NoStart", start("host") + end("10.0.0.9"), wrong, bad_v4 + bad_start},
    {"NoEnd", start("10.0.0.1") + end("10.0.0.256"), wrong, bad_v4 + bad_end},
    {"PrefixOfANetwork", start("10.0.0.0/24") + end("10.0.0.9"), wrong, bad_mask4 + bad_start},
    {"PrefixOfANetworkV6", start("2001:db8::1") + end("2001:db8::9/64"), wrong, bad_mask6 + bad_end},
    {"PrefixOf128Characters", start("10.0.0.1/" + std::string(117, '0') + "32") + end("10.0.0.9"), wrong,
     bad_mask4 + bad_start},
    {"NotInOrderV4", start("10.0.0.2") + end("11.0.0.1"), wrong, not_in_order},
    {"NotInOrderV6", start("2001:db8::9") + end("2001:db8::1"), wrong, not_in_order},
};

std::vector<ValueCase> end_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        const auto add = [&](ValueCase test, const std::string& before) {
            cases.push_back(with_output(std::move(test), before));
        };
        for (const Ends& ends : good_ends) {
            const std::string node = direction.node(ends.content);
            for (const int op : restores)
                add(sent(ends.name, direction.handler, node, direction.command + ends.result, op), ends.output);
            for (const int op : changes)
                add(sent(ends.name, direction.handler, node, direction.command + ends.result, op),
                    ends.output + compared(none, none));
        }
        for (const Ends& ends : bad_ends) {
            const std::string node = direction.node(ends.content);
            for (const int op :
                 {int{XMLDIFF_CFGR}, undone_removal, int{XMLDIFF_ADD}, int{XMLDIFF_MOD}, int{XMLDIFF_CHAIN}})
                add(refused(ends.name, direction.handler, node, ends.code, ends.result, op), ends.output);
            // nobody reads the ends of a range that goes, or of an unknown operation
            for (const int op : undos)
                add(sent(ends.name, direction.handler, node, "undo " + direction.command, op, 1), "");
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Ends, Range, testing::ValuesIn(end_cases()), value_name);

TEST(RangeEnds, AreNotReadForAnUnknownOperation)
{
    RecordingServer server;
    for (const Direction& direction : directions) {
        const HandlerCase& test = handler_case(direction.handler);
        for (const int op : {int{XMLDIFF_NONE}, int{XMLDIFF_REORDER}, int{XMLDIFF_SIBLING}, int{XMLDIFF_ROLLBACK}}) {
            const CallResult r = test.call(server, op, nested(test.above, direction.node("")));
            EXPECT_EQ(r.result, 0);
            EXPECT_EQ(r.errors, ClientErrors{});
            EXPECT_EQ(r.lines, Lines{});
            EXPECT_EQ(r.commits.size(), 1U);
        }
    }
}

// ---------------------------------------------------------------------------------------------- the other direction --

const std::string conflict = "The source-ip and destiantion-ip is conflicted.";
const std::string found_before = "[IPS]Find next: The cIsFindValue = 0.\r\n\r\n"
                                 "[IPS]Find prev: The cIsFindValue = 1.\r\n\r\n";
const std::string found_behind = "[IPS]Find next: The cIsFindValue = 1.\r\n\r\n";
const std::string fits = "[IPS]INFO: compare ip ok.\r\n\r\n";

std::string marked(const std::string& name, const std::string& op, const std::string& inner)
{
    return '<' + name + " op='" + op + "'>" + inner + "</" + name + '>';
}

struct Beside {
    const char* name;
    bool is_v6; // the changed range
    std::string before;
    std::string after;
    bool is_conflict;
    std::string output;
};

std::vector<Beside> besides(const Direction& direction)
{
    const auto other = [&](const std::string& op, const std::string& text) {
        return marked(direction.other, op, text);
    };
    const auto range = [&](const std::string& op, const std::string& text) {
        return marked(direction.other + "-range", op, start(text));
    };
    return {
        {"LeafOfTheOther", false, other("ADD", "::1"), "", true, compared("1", none)},
        {"LeafOfTheOther", true, "", other("MOD", "192.0.2.7"), true, compared("4", none)},
        {"LeafOfTheFamily", true, other("ADD", "::1"), "", false, compared("1", none)},
        {"LeafGone", false, other("REM", "::1"), "", false, compared("2", none)},
        {"RangeOfTheOther", false, range("CHAIN", "::1"), "", true, compared(none, "8") + found_before},
        {"RangeOfTheOther", true, "", range("ADD", "192.0.2.7"), true, compared(none, "1") + found_behind},
        {"RangeOfTheFamily", true, range("CHAIN", "::1"), "", false, compared(none, "8") + found_before + fits},
        {"RangeGone", false, range("REM", "::1"), "", false, compared(none, "2")},
        {"LeafBecomesRange", false, other("REM", "192.0.2.7") + range("ADD", "::1"), "", true,
         compared("2", "1") + found_before},
    };
}

std::vector<ValueCase> beside_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        for (const Beside& test : besides(direction)) {
            const std::string node = direction.node(test.is_v6 ? v6_range : v4_range) + test.after;
            const std::string line =
                direction.command + (test.is_v6 ? " ipv6 2001:db8::1 2001:db8::9" : " ipv4 10.0.0.1 10.0.0.9");
            const std::string& judged = test.is_v6 ? right : equal;
            const auto add = [&](ValueCase value, const std::string& output) {
                cases.push_back(in_group(with_output(std::move(value), output), rule + test.before));
            };
            for (const int op : restores)
                add(sent(test.name, direction.handler, node, line, op), judged);
            for (const int op : changes) {
                if (test.is_conflict)
                    add(refused(test.name, direction.handler, node, NC_ERR_BAD_ELEM, conflict, op),
                        judged + test.output);
                else
                    add(sent(test.name, direction.handler, node, line, op), judged + test.output);
            }
            for (const int op : undos)
                add(sent(test.name, direction.handler, node, "undo " + direction.command, op, 1), "");
        }
    }
    // what the edit does to the leaf of the same direction is of no interest
    cases.push_back(in_group(with_output(sent("OwnLeafGoes", directions[0].handler, directions[0].node(v4_range),
                                              "source-ip ipv4 10.0.0.1 10.0.0.9"),
                                         equal + compared(none, none)),
                             rule + marked("source-ip", "REM", "::1")));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Beside, Range, testing::ValuesIn(beside_cases()), value_name);

// The other direction given twice is an error of its own, which is a conflict only when the server's answer to it
// says 1.
std::vector<ValueCase> choice_cases()
{
    const ClientError choice{NC_ERR_BAD_ELEM, "The choice node is wrong."};
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        const std::string group = rule + marked(direction.other, "ADD", "192.0.2.7") +
                                  marked(direction.other + "-range", "ADD", start("192.0.2.7"));
        const std::string output = equal + compared("1", "1") + error_line(choice.message.value());
        ValueCase goes_on = sent("GivenTwice", direction.handler, direction.node(v4_range),
                                 direction.command + " ipv4 10.0.0.1 10.0.0.9");
        goes_on.more_errors = {choice};
        goes_on.output = output;
        cases.push_back(in_group(goes_on, group));

        ValueCase stops =
            refused("GivenTwice", direction.handler, direction.node(v4_range), choice.code, choice.message.value());
        stops.more_errors = {{NC_ERR_BAD_ELEM, conflict}};
        stops.fail_result = 1;
        stops.output = output + error_line(conflict);
        cases.push_back(in_group(stops, group));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(GivenTwice, Range, testing::ValuesIn(choice_cases()), value_name);

// A change that removes is judged as one that sets, and sends the undo line.
std::vector<ValueCase> removing_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        for (const int op : changes) {
            const auto add = [&](ValueCase test, const std::string& before) {
                test.is_delete = 1;
                test.line_start = direction.removed;
                cases.push_back(with_output(std::move(test), before));
            };
            const std::string undo = "undo " + direction.command;
            add(sent("Removing", direction.handler, direction.node(v4_range), undo, op, 1),
                equal + compared(none, none));
            add(refused("WithoutEnds", direction.handler, direction.node(""), NC_ERR_MISSING_ELEM, no_end, op), "");
            add(refused("Blank", direction.handler, direction.node(start("10.0.0.1") + end(" ")), NC_ERR_BAD_ELEM,
                        blank, op),
                "");
            add(refused("NotInOrder", direction.handler, direction.node(start("10.0.0.2") + end("10.0.0.1")),
                        NC_ERR_BAD_ELEM, wrong, op),
                not_in_order);
            add(in_group(
                    refused("Conflicting", direction.handler, direction.node(v4_range), NC_ERR_BAD_ELEM, conflict, op),
                    rule + marked(direction.other, "ADD", "::1")),
                equal + compared("1", none));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Removing, Range, testing::ValuesIn(removing_cases()), value_name);

} // namespace
