// The values that handlers of user-defined signatures take and refuse.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/value_case.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* entry_handler = "IPS_UD_Signature";
constexpr const char* name_handler = "IPS_UD_SignatureName";
constexpr const char* description_handler = "IPS_UD_SignatureDescription";
constexpr const char* target_handler = "IPS_UD_SignatureTarget";
constexpr const char* severity_handler = "IPS_UD_SignatureSeverity";
constexpr const char* action_handler = "IPS_UD_SignatureAction";
constexpr const char* protocol_handler = "IPS_UD_SignatureProtocolRules";

constexpr int undone_addition = XMLDIFF_ADD | XMLDIFF_ROLLBACK;
constexpr int undone_removal = XMLDIFF_REM | XMLDIFF_ROLLBACK;

const std::vector<int> set_ops = {XMLDIFF_ADD, XMLDIFF_MOD, XMLDIFF_CFGR, undone_removal, XMLDIFF_ADD | XMLDIFF_CHAIN};
const std::vector<int> undo_ops = {XMLDIFF_REM, undone_addition, XMLDIFF_REM | XMLDIFF_CHAIN};
const std::vector<int> all_ops = {XMLDIFF_ADD,  XMLDIFF_MOD,   XMLDIFF_REM,    undone_addition,
                                  XMLDIFF_NONE, XMLDIFF_CHAIN, XMLDIFF_REORDER};

class SignatureValue : public ServerTestBase<testing::TestWithParam<ValueCase>>
{
};

TEST_P(SignatureValue, IsSentOrRefused)
{
    expect_value(server, GetParam());
}

std::string id(std::string_view text)
{
    return leaf("id", text);
}

std::string nature(std::string_view text)
{
    return leaf("associated-enable", text);
}

std::string entry(const std::string& leaves)
{
    return "<signature>" + leaves + "</signature>";
}

const std::string basic = nature("false");
const std::string wrong_id = "The signature id is wrong.";
const std::string wrong_nature = "Failed to check the value of associated-enable.";
const std::string wrong_word = "Failed to check the information.";
const std::string chain_message = "[IPS]SUCCESS: The operation is CHAIN.\r\n\r\n";

// ------------------------------------------------------------------------------------------------- texts in general --

INSTANTIATE_TEST_SUITE_P(FaultyNature, SignatureValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "associated-enable", all_ops,
                                                               "<signature>" + id("7"), "</signature>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyId, SignatureValue,
                         testing::ValuesIn(faulty_texts_within(entry_handler, "id", all_ops, "<signature>",
                                                               basic + "</signature>")),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyName, SignatureValue, testing::ValuesIn(faulty_texts(name_handler, "name", all_ops)),
                         value_name);
INSTANTIATE_TEST_SUITE_P(FaultyDescription, SignatureValue,
                         testing::ValuesIn(faulty_texts(description_handler, "description", all_ops)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyTarget, SignatureValue,
                         testing::ValuesIn(faulty_texts(target_handler, "target", all_ops)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultySeverity, SignatureValue,
                         testing::ValuesIn(faulty_texts(severity_handler, "severity", all_ops)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyAction, SignatureValue,
                         testing::ValuesIn(faulty_texts(action_handler, "action", all_ops)), value_name);
INSTANTIATE_TEST_SUITE_P(FaultyProtocol, SignatureValue,
                         testing::ValuesIn(faulty_texts_within(protocol_handler, "protocol", all_ops,
                                                               "<protocol-rules>", "</protocol-rules>")),
                         value_name);

// -------------------------------------------------------------------------------------------------------- the entry --

std::vector<ValueCase> id_cases()
{
    std::vector<ValueCase> cases;
    const std::string zeros(59, '0');
    for (const std::string& text :
         {std::string("1"), std::string("1024"), std::string("007"), std::string("4294967297"), zeros + "1024"}) {
        for (const std::string& of : {basic, nature("true")}) {
            const std::string node = entry(id(text) + of);
            for (const int op : set_ops)
                cases.push_back(sent("Set", entry_handler, node, "ips signature-id " + text, op));
            for (const int op : undo_ops)
                cases.push_back(sent("Undone", entry_handler, node, "undo ips signature-id " + text, op, 1));
            cases.push_back(passed_over("ChangedBelow", entry_handler, node, chain_message, XMLDIFF_CHAIN));
            cases.push_back(passed_over("Reordered", entry_handler, node, chain_message, XMLDIFF_REORDER));
        }
    }
    const std::vector<std::string> bad_ids = {"0",
                                              "1025",
                                              "12a",
                                              "-1",
                                              "+1",
                                              "1 2",
                                              "a",
                                              "0x10",
                                              "7.0",
                                              "4294967296",
                                              "4294968321",
                                              "18446744073709551617",
                                              std::string(63, '9'),
                                              std::string(300, '9'),
                                              std::string(63, '0') + '5'};
    for (const std::string& text : bad_ids) {
        for (const int op : all_ops)
            cases.push_back(refused("BadId", entry_handler, entry(id(text) + basic), NC_ERR_BAD_ELEM, wrong_id, op));
    }
    // a copy of 63 characters is judged and sent
    cases.push_back(
        sent("Of64Digits", entry_handler, entry(id(zeros + "10249") + basic), "ips signature-id " + zeros + "1024"));
    return cases;
}

std::vector<ValueCase> nature_cases()
{
    std::vector<ValueCase> cases;
    for (const std::string& text : {std::string("TRUE"), std::string("False"), std::string("yes"), std::string("1"),
                                    std::string("true false"), std::string("truee"), std::string(64, 't')}) {
        for (const std::string& number : {std::string("7"), std::string("0"), std::string(" 7")}) {
            for (const int op : all_ops)
                cases.push_back(refused("OtherWord", entry_handler, entry(id(number) + nature(text)), NC_ERR_BAD_ELEM,
                                        wrong_nature, op));
        }
    }
    for (const int op : all_ops) {
        cases.push_back(refused("Absent", entry_handler, entry(id("7")), NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(
            refused("AbsentWithABadId", entry_handler, entry(id("0")), NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(refused("EmptyWithABadId", entry_handler, entry(id("0") + "<associated-enable text=''/>"),
                                NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.push_back(refused("WithoutId", entry_handler, entry(basic), NC_ERR_MISSING_ELEM, absent_value, op));
    }
    cases.push_back(sent(
        "FirstOfEach", entry_handler,
        entry("\n<!-- --><x>" + id("9") + nature("X") + "</x>" + id("5") + nature("true") + id("6") + nature("no")),
        "ips signature-id 5"));
    cases.push_back(
        refused("FirstNatureBad", entry_handler, entry(id("5") + nature("no") + basic), NC_ERR_BAD_ELEM, wrong_nature));
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Id, SignatureValue, testing::ValuesIn(id_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Nature, SignatureValue, testing::ValuesIn(nature_cases()), value_name);

// --------------------------------------------------------------------------------------------- name and description --

std::vector<ValueCase> name_cases()
{
    std::vector<ValueCase> cases;
    const auto both = [&](const char* name, const std::string& text, const std::string& in_line) {
        for (const int op : set_ops)
            cases.push_back(sent(name, name_handler, leaf("name", text), "name " + in_line, op));
        for (const int op : undo_ops)
            cases.push_back(sent(name, name_handler, leaf("name", text), "undo name", op, 1));
    };
    both("Bare", "probe", "probe");
    both("Quoted", "two words", "\"two words\"");
    both("QuotedForATab", "two\twords", "\"two\twords\"");
    both("QuotesKept", "\"probe\"", "\"probe\"");
    both("QuotesInQuotes", "a \"b\"", "\"a \"b\"\"");
    both("Formats", "100%s%n", "100%s%n");
    both("Utf8", "p\xc3\xa4th", "p\xc3\xa4th");
    const std::string longest(127, 'n');
    both("BareOf127", longest, longest);
    both("BareOf128", longest + 'n', longest);
    both("BareOf500", std::string(500, 'n'), longest);
    const std::string blank = "n " + std::string(123, 'n');
    both("QuotedOf125", blank, '"' + blank + '"');
    both("QuotedOf126", blank + 'x', '"' + blank + 'x');
    both("QuotedOf127", blank + "xy", '"' + blank + 'x');
    both("QuotedOf500", blank + 'x' + std::string(374, 'y'), '"' + blank + 'x');
    both("BlankBehindTheCut", longest + "n n", '"' + longest.substr(1));
    return cases;
}

std::vector<ValueCase> description_cases()
{
    std::vector<ValueCase> cases;
    const auto both = [&](const char* name, const std::string& text, const std::string& in_line) {
        for (const int op : set_ops) {
            cases.push_back(sent(name, description_handler, leaf("description", text), "description " + in_line, op));
        }
        for (const int op : undo_ops)
            cases.push_back(sent(name, description_handler, leaf("description", text), "undo description", op, 1));
    };
    both("Word", "text", "text");
    both("NotQuoted", "two words", "two words");
    both("Quotes", "a \"b\"", "a \"b\"");
    both("Formats", "100%s%n", "100%s%n");
    const std::string longest(255, 'd');
    both("Of255", longest, longest);
    both("Of256", longest + 'd', longest);
    both("Of2000", std::string(2000, 'd'), longest);
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Name, SignatureValue, testing::ValuesIn(name_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(Description, SignatureValue, testing::ValuesIn(description_cases()), value_name);

// -------------------------------------------------------------------------------------------- leaves of a few words --

struct WordLeaf {
    const char* handler;
    std::string name;
    std::vector<std::string> words;
};

const std::vector<WordLeaf>& word_leaves()
{
    static const std::vector<WordLeaf> leaves = {
        {target_handler, "target", {"both", "client", "server"}},
        {severity_handler, "severity", {"high", "medium", "low", "information"}},
        {action_handler, "action", {"alert", "block", "allow"}},
    };
    return leaves;
}

std::vector<ValueCase> word_cases()
{
    std::vector<ValueCase> cases;
    for (const WordLeaf& of : word_leaves()) {
        for (const std::string& word : of.words) {
            for (const int op : set_ops)
                cases.push_back(sent("Set", of.handler, leaf(of.name, word), of.name + ' ' + word, op));
            for (const int op : undo_ops)
                cases.push_back(sent("Undone", of.handler, leaf(of.name, word), "undo " + of.name, op, 1));
        }
    }
    return cases;
}

// Any text but the words is refused when it is set, and undone as the words are.
std::vector<ValueCase> other_word_cases()
{
    std::vector<ValueCase> cases;
    for (const WordLeaf& of : word_leaves()) {
        std::vector<std::string> texts = {"any",
                                          "none",
                                          "0",
                                          "two words",
                                          "both server",
                                          "high low",
                                          "alert block",
                                          std::string(63, 'a'),
                                          std::string(64, 'a'),
                                          std::string(300, 'a')};
        for (const std::string& word : of.words) {
            std::string capital = word;
            capital[0] = static_cast<char>(capital[0] - 'a' + 'A');
            texts.insert(texts.end(), {capital, word + 's', word.substr(1), word + std::string(60, 'x')});
        }
        for (const std::string& text : texts) {
            const std::string node = leaf(of.name, text);
            for (const int op : set_ops)
                cases.push_back(refused("OtherWord", of.handler, node, NC_ERR_BAD_ELEM, wrong_word, op));
            for (const int op : undo_ops)
                cases.push_back(sent("OtherWordUndone", of.handler, node, "undo " + of.name, op, 1));
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Words, SignatureValue, testing::ValuesIn(word_cases()), value_name);
INSTANTIATE_TEST_SUITE_P(OtherWords, SignatureValue, testing::ValuesIn(other_word_cases()), value_name);

// ----------------------------------------------------------------------------------------------------- the protocol --

std::string rules(const std::string& content)
{
    return "<protocol-rules>" + content + "</protocol-rules>";
}

std::vector<ValueCase> protocol_cases()
{
    std::vector<ValueCase> cases;
    const auto both = [&](const char* name, const std::string& content, const std::string& in_line) {
        for (const int op : set_ops)
            cases.push_back(sent(name, protocol_handler, rules(content), "protocol " + in_line, op));
        for (const int op : undo_ops)
            cases.push_back(sent(name, protocol_handler, rules(content), "undo protocol", op, 1));
    };
    both("Word", leaf("protocol", "HTTP"), "HTTP");
    both("AnyText", leaf("protocol", "two words"), "two words");
    both("Formats", leaf("protocol", "100%s%n"), "100%s%n");
    both("First", "\n<!-- --><x>" + leaf("protocol", "FTP") + "</x>" + leaf("protocol", "DNS") + "<protocol/>", "DNS");
    const std::string longest(63, 'P');
    both("Of63", leaf("protocol", longest), longest);
    both("Of64", leaf("protocol", longest + 'P'), longest);
    both("Of500", leaf("protocol", std::string(500, 'P')), longest);
    for (const int op : all_ops) {
        cases.push_back(refused("Missing", protocol_handler, rules("<x>" + leaf("protocol", "FTP") + "</x>"),
                                NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(
            refused("OwnTextIsOfNoUse", protocol_handler, rules("HTTP"), NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(refused("FirstEmpty", protocol_handler, rules("<protocol/>" + leaf("protocol", "DNS")),
                                NC_ERR_MISSING_ELEM, absent_value, op));
    }
    for (const int op : {int{XMLDIFF_CHAIN}, int{XMLDIFF_REORDER}, XMLDIFF_CHAIN | XMLDIFF_SIBLING}) {
        cases.push_back(
            passed_over("ChangedBelow", protocol_handler, rules(leaf("protocol", "HTTP")), chain_message, op));
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Protocol, SignatureValue, testing::ValuesIn(protocol_cases()), value_name);

} // namespace
