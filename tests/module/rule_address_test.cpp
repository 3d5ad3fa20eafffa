// The addresses that a rule's source-ip and destination-ip take and refuse, and how a changed one is weighed against
// what the edit does to the other direction.
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

class Address : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(Address, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

// One of the two leaves, which mirror each other.
struct Direction {
    const char* handler;
    const char* leaf_name; // also the command
    std::string other;     // the leaf of the other direction
    std::string removed;   // the start of the debug line of a change that removes
    std::string not_found; // the debug line of a range of the other direction without a start
};

const std::vector<Direction> directions = {
    {"IPS_UD_SigRuleSourceIP", "source-ip", "destination-ip",
     "[IPS]Operation: XMLDIFF_REM, acCmdMes: ", "[IPS]INFO: Do not find value.\r\n\r\n"},
    {"IPS_UD_SigRuleDesIP", "destination-ip", "source-ip", "[IPS]Operation:  ", "[IPS]INFO: not find value.\r\n\r\n"},
};

const std::string rule = leaf("name", "login");
const std::string v4 = "192.0.2.7";
const std::string v6 = "2001:db8::7";

// What the comparison says of the operations of the other direction's leaf and range.
std::string compared(const std::string& leaf_op, const std::string& range_op)
{
    return "[IPS]INFO: uiIP_OP is " + leaf_op + ".\r\n\r\n[IPS]INFO: uiRange_OP is " + range_op + ".\r\n\r\n";
}

const std::string none = "4294967295";
const std::string alone = compared(none, none);

ValueCase with_output(ValueCase test, const std::string& before)
{
    test.output = before + test.output;
    return test;
}

// -------------------------------------------------------------------------------------------------------- the texts --

std::vector<ValueCase> faulty()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        for (const ValueCase& test : faulty_texts(direction.handler, direction.leaf_name, any_operation))
            cases.push_back(test);
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Faulty, Address, testing::ValuesIn(faulty()), value_name);

// The text and what stands of it in the line.
const std::vector<std::pair<std::string, std::string>> good_addresses = {
    {"192.0.2.1", "ipv4 192.0.2.1"},
    {"0.0.0.0", "ipv4 0.0.0.0"},
    {"255.255.255.255", "ipv4 255.255.255.255"},
    {"192.0.2.0/24", "ipv4 192.0.2.0 24"},
    {"192.0.2.0/1", "ipv4 192.0.2.0 1"},
    {"192.0.2.0/32", "ipv4 192.0.2.0 32"},
    {"192.0.2.0/-1", "ipv4 192.0.2.0 -1"},
    {"192.0.2.0/24/8", "ipv4 192.0.2.0 24 8"},
    {"192.0.2.0/24 x", "ipv4 192.0.2.0 24 x"},
    {"2001:db8::1", "ipv6 2001:db8::1"},
    {"2001:DB8::A", "ipv6 2001:DB8::A"},
    {"2001:db8::/64", "ipv6 2001:db8:: 64"},
    {"2001:db8::/128", "ipv6 2001:db8:: 128"},
    {"::1", "ipv6 ::1"},
    {"::ffff:192.0.2.1", "ipv6 ::ffff:192.0.2.1"},
    // a copy of 127 characters is judged and sent
    {"192.0.2.0/" + std::string(115, '0') + "24", "ipv4 192.0.2.0 " + std::string(115, '0') + "24"},
    {"192.0.2.0/" + std::string(116, '0') + "24", "ipv4 192.0.2.0 " + std::string(116, '0') + "2"},
    {"192.0.2.0/24" + std::string(115, 'x') + ":", "ipv4 192.0.2.0 24" + std::string(115, 'x')},
};

const std::string bad_v4 = error_line("The Ipv4 number info is wrong.");
const std::string bad_v6 = error_line("The Ipv6 number info is wrong.");
const std::string reserved = error_line("The Ipv6 info is wrong.");
const std::string bad_mask4 = error_line("Failed to fill the iMaskLen of ipv4 address, the iMaskLen is illegal.");
const std::string bad_mask6 = error_line("Failed to fill the iMaskLen of ipv6 address, the iMaskLen is illegal.");

// The text and the debug line of its check.
const std::vector<std::pair<std::string, std::string>> bad_addresses = {
    {"192.0.2.256", bad_v4},
    {"192.0.2", bad_v4},
    {"192.0.2.1.2", bad_v4},
    {"host", bad_v4},
    {"/24", bad_v4},
    {"192.0.2.1 /24", bad_v4},
    {"192.0.2.1/0", bad_mask4},
    {"192.0.2.1/33", bad_mask4},
    {"192.0.2.1/", bad_mask4},
    {"192.0.2.1/x", bad_mask4},
    {"192.0.2.1:80", bad_v6},
    {"2001:db8::g", bad_v6},
    {"2001:db8", bad_v6},
    {"192.0.2.0/24" + std::string(114, 'x') + ":", bad_v6},
    {"::", reserved},
    {"::/64", reserved},
    {"ff02::1", reserved},
    {"::100:0", reserved},
    {"2001:db8::/129", bad_mask6},
    {"2001:db8::/0", bad_mask6},
    {std::string(200, '1'), bad_v4},
};

std::vector<ValueCase> text_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        const std::string command = direction.leaf_name;
        const auto node = [&](const std::string& text) { return leaf(direction.leaf_name, text); };
        for (const auto& [text, sent_text] : good_addresses) {
            const std::string line = command + ' ' + sent_text;
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_CFGR}, undone_removal})
                cases.push_back(sent("Good", direction.handler, node(text), line, op));
            cases.push_back(with_output(sent("Changed", direction.handler, node(text), line, XMLDIFF_MOD), alone));
        }
        for (const auto& [text, debug] : bad_addresses) {
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_CFGR}, undone_removal, int{XMLDIFF_MOD}})
                cases.push_back(with_output(
                    refused("Bad", direction.handler, node(text), NC_ERR_BAD_ELEM, "Invalid IP address.", op),
                    (op == XMLDIFF_MOD ? alone : "") + debug));
            // an undo takes any
            for (const int op : {int{XMLDIFF_REM}, undone_addition})
                cases.push_back(sent("Removed", direction.handler, node(text), "undo " + command, op, 1));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Texts, Address, testing::ValuesIn(text_cases()), value_name);

// ---------------------------------------------------------------------------------------------- the other direction --

const std::string conflict = "The source-ip and destiantion-ip is conflicted.";

// What stands in the rule beside the changed address, and what comes of a change of it.
struct Beside {
    const char* name;
    std::string own;    // the changed address
    std::string before; // in the rule
    std::string after;
    bool is_conflict;
    std::string output;
};

std::string marked(const std::string& name, const std::string& op, const std::string& inner)
{
    return '<' + name + (op.empty() ? "" : " op='" + op + '\'') + '>' + inner + "</" + name + '>';
}

std::vector<Beside> other_leaf_cases(const Direction& direction)
{
    const auto other = [&](const std::string& op, const std::string& text) {
        return marked(direction.other, op, text);
    };
    const std::string unread = error_line("Get error " + direction.other + " value.");
    const std::string empty = '<' + direction.other + " op='ADD' text=''/>";
    return {
        {"NotThere", v4, "", "", false, alone},
        {"Unchanged", v4, other("", v6), "", false, compared("0", none)},
        {"NewOfTheFamily", v4, other("ADD", "198.51.100.1"), "", false, compared("1", none)},
        {"NewOfTheOther", v4, other("ADD", v6), "", true, compared("1", none)},
        {"NewBehindIt", v4, "", other("ADD", v6), true, compared("1", none)},
        {"NewOfTheOther", v6, other("ADD", v4), "", true, compared("1", none)},
        {"ChangedOfTheFamily", v6, other("MOD", "::1"), "", false, compared("4", none)},
        {"ChangedOfTheOther", v4, other("MOD", v6), "", true, compared("4", none)},
        {"ChangedBelow", v4, other("CHAIN", v6), "", false, compared("8", none)},
        {"Gone", v4, other("REM", v6), "", false, compared("2", none)},
        {"RolledBack", v4, other("ADD|ROLLBACK", v6), "", false, compared("32769", none)},
        {"Restored", v4, other("MOD|CFGR", v6), "", false, compared("16388", none)},
        {"NewAndEmpty", v4, empty, "", true, compared("1", none) + unread},
        {"NewAndTooLong", v4, other("ADD", std::string(128, '1')), "", true, compared("1", none) + unread},
    };
}

std::vector<Beside> other_range_cases(const Direction& direction)
{
    const auto range = [&](const std::string& op, const std::string& inner) {
        return marked(direction.other + "-range", op, inner);
    };
    const auto start = [](const std::string& text) { return leaf("start-ip", text); };
    const auto found = [](int where) {
        const std::string next = "[IPS]Find next: The cIsFindValue = ";
        const std::string prev = "[IPS]Find prev: The cIsFindValue = ";
        if (where > 0)
            return next + "1.\r\n\r\n";
        return next + "0.\r\n\r\n" + prev + (where < 0 ? "1" : "0") + ".\r\n\r\n";
    };
    const std::string fits = "[IPS]INFO: compare ip ok.\r\n\r\n";
    return {
        {"RangeUnchanged", v4, range("", start(v6)), "", false, compared(none, "0")},
        {"RangeOfTheFamily", v4, range("ADD", start(v4)), "", false, compared(none, "1") + found(-1) + fits},
        {"RangeOfTheOther", v4, range("ADD", start(v6)), "", true, compared(none, "1") + found(-1)},
        {"RangeOfTheOther", v6, range("ADD", start(v4)), "", true, compared(none, "1") + found(-1)},
        {"RangeBehindIt", v4, "", range("MOD", start(v6)), true, compared(none, "4") + found(1)},
        {"RangeBehindItOfTheFamily", v6, "", range("MOD", start(v6)), false, compared(none, "4") + found(1) + fits},
        {"RangeChangedBelow", v4, range("CHAIN", start(v6)), "", true, compared(none, "8") + found(-1)},
        {"RangeGone", v4, range("REM", start(v6)), "", false, compared(none, "2")},
        {"RangeRolledBack", v4, range("ADD|ROLLBACK", start(v6)), "", false, compared(none, "32769")},
        {"RangeRestored", v4, range("ADD|CFGR", start(v6)), "", false, compared(none, "16385")},
        {"RangeWithoutStart", v4, range("ADD", leaf("end-ip", v4)), "", true,
         compared(none, "1") + found(0) + direction.not_found},
        {"RangeWithoutText", v4, range("ADD", "<start-ip/>"), "", false, compared(none, "1") + found(-1) + fits},
        {"RangeWithoutText", v6, range("ADD", "<start-ip/>"), "", true, compared(none, "1") + found(-1)},
        {"LeafBecomesRange", v4, marked(direction.other, "REM", v4) + range("ADD", start(v6)), "", true,
         compared("2", "1") + found(-1)},
        {"LeafBecomesRangeOfTheFamily", v4, marked(direction.other, "REM", v6) + range("ADD", start(v4)), "", false,
         compared("2", "1") + found(-1) + fits},
    };
}

std::vector<ValueCase> beside_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        std::vector<Beside> all = other_leaf_cases(direction);
        for (const Beside& test : other_range_cases(direction))
            all.push_back(test);
        for (const Beside& test : all) {
            const std::string node = leaf(direction.leaf_name, test.own) + test.after;
            const std::string line =
                std::string(direction.leaf_name) + (test.own == v6 ? " ipv6 " : " ipv4 ") + test.own;
            const auto add = [&](ValueCase value, const std::string& output) {
                cases.push_back(in_group(with_output(std::move(value), output), rule + test.before));
            };
            // a new address is compared with nothing, and neither is one that a rollback or a restore brings back
            for (const int op : {int{XMLDIFF_ADD}, int{XMLDIFF_CFGR}, undone_removal, XMLDIFF_ADD | XMLDIFF_MOD})
                add(sent(test.name, direction.handler, node, line, op), "");
            for (const int op : {int{XMLDIFF_MOD}, XMLDIFF_MOD | XMLDIFF_ROLLBACK}) {
                if (test.is_conflict)
                    add(refused(test.name, direction.handler, node, NC_ERR_BAD_ELEM, conflict, op), test.output);
                else
                    add(sent(test.name, direction.handler, node, line, op), test.output);
            }
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Beside, Address, testing::ValuesIn(beside_cases()), value_name);

// The other direction given twice is an error of its own, which is a conflict only when the server's answer to it
// says 1.
std::vector<ValueCase> choice_cases()
{
    const ClientError choice{NC_ERR_BAD_ELEM, "The choice node is wrong."};
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        const std::string group =
            rule + marked(direction.other, "ADD", v4) + marked(direction.other + "-range", "ADD", leaf("start-ip", v4));
        const std::string node = leaf(direction.leaf_name, v4);
        ValueCase goes_on =
            sent("GivenTwice", direction.handler, node, direction.leaf_name + (" ipv4 " + v4), XMLDIFF_MOD);
        goes_on.more_errors = {choice};
        goes_on.output = compared("1", "1") + error_line(choice.message.value());
        cases.push_back(in_group(goes_on, group));

        ValueCase stops =
            refused("GivenTwice", direction.handler, node, choice.code, choice.message.value(), XMLDIFF_MOD);
        stops.more_errors = {{NC_ERR_BAD_ELEM, conflict}};
        stops.fail_result = 1;
        stops.output = compared("1", "1") + stops.output + error_line(conflict);
        cases.push_back(in_group(stops, group));
    }
    return cases;
}

// The comparison comes first, whether the change sets or removes; what is no address is found behind it.
std::vector<ValueCase> order_cases()
{
    std::vector<ValueCase> cases;
    for (const Direction& direction : directions) {
        for (const int is_delete : {0, 1}) {
            const auto add = [&](ValueCase test) {
                test.is_delete = is_delete;
                cases.push_back(test);
            };
            add(in_group(with_output(refused("BadAndConflicting", direction.handler, leaf(direction.leaf_name, "host"),
                                             NC_ERR_BAD_ELEM, conflict, XMLDIFF_MOD),
                                     compared("4", none)),
                         rule + marked(direction.other, "MOD", v6)));
            add(with_output(refused("Bad", direction.handler, leaf(direction.leaf_name, "host"), NC_ERR_BAD_ELEM,
                                    "Invalid IP address.", XMLDIFF_MOD),
                            alone + bad_v4));
        }
        ValueCase removed = sent("Removed", direction.handler, leaf(direction.leaf_name, v4),
                                 "undo " + std::string(direction.leaf_name), XMLDIFF_MOD, 1);
        removed.is_delete = 1;
        removed.line_start = direction.removed;
        cases.push_back(with_output(removed, alone));
        removed.output = compared("4", none);
        cases.push_back(in_group(removed, rule + marked(direction.other, "MOD", v4)));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(GivenTwice, Address, testing::ValuesIn(choice_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Order, Address, testing::ValuesIn(order_cases()), value_name);

} // namespace
