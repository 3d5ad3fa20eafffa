// Which violations an edit's closure shows, as which error; and which modules are refused because it could not.
#include "server/edit_validation.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "engine_fixture.h"

namespace qnips::test
{
namespace
{

struct ViolationCase {
    const char* title;
    const char* before;
    const char* edit;
    const char* error;
};

TEST(EditValidation, FindsWhatTheEditViolates)
{
    const std::vector<ViolationCase> cases = {
        {"a must with its own app-tag", "", "<range><start>4</start><end>3</end></range>",
         "operation-failed /et:top/range range-order"},
        {"a must of an entry, after a removal", "<item><name>a</name><strict>true</strict><size>1</size></item>",
         "<item><name>a</name><size nc:operation='remove'/></item>",
         "operation-failed /et:top/item[name='a'] must-violation"},
        {"a must on a container about an entry below it",
         "<item><name>a</name><filters><all>true</all></filters></item>",
         "<item><name>a</name><filters><filter><name>f</name></filter></filters></item>",
         "operation-failed /et:top/item[name='a']/filters must-violation"},
        {"the same the other way round: the entry is there, unchanged",
         "<item><name>a</name><filters><filter><name>f</name></filter></filters></item>",
         "<item><name>a</name><filters><all>true</all></filters></item>",
         "operation-failed /et:top/item[name='a']/filters must-violation"},
        {"a must of an unchanged entry about a leaf outside of it",
         "<item><name>a</name><size>1</size><step><name>s</name><limited>true</limited></step></item>",
         "<item><name>a</name><size nc:operation='remove'/></item>",
         "operation-failed /et:top/item[name='a']/step[name='s']/limited must-violation"},
        {"a must about a key of an ancestor", "<item><name>longname</name></item>",
         "<item><name>longname</name><step><name>steps</name></step></item>",
         "operation-failed /et:top/item[name='longname']/step[name='steps'] must-violation"},
        {"a mandatory leaf of a new entry", "", "<pair><left>a</left><right>1</right></pair>",
         "data-missing /et:top/pair[left='a'][right='1']/weight"},
        {"a mandatory leaf removed", "<pair><left>a</left><right>1</right><weight>1</weight></pair>",
         "<pair><left>a</left><right>1</right><weight nc:operation='remove'/></pair>",
         "data-missing /et:top/pair[left='a'][right='1']/weight"},
        {"a mandatory leaf of a container with presence", "", "<feature/>", "data-missing /et:top/feature/mode"},
        {"nothing", "<feature><mode>fast</mode></feature>", "<feature><note>x</note></feature>", ""},
        {"nothing, down to an empty configuration", "<single>x</single>", "<single nc:operation='remove'/>", ""},
    };
    const ValidationRules rules(engine_schema());
    for (const ViolationCase& test : cases) {
        ConfigTree tree = config(test.before);
        AppliedEdit edit(tree, edit_of(test.edit));
        EXPECT_EQ(error_of([&] { validate_edit(rules, edit.changes()); }), test.error) << test.title;
        edit.commit();
        EXPECT_EQ(error_of([&] { validate_tree(engine_schema(), tree); }), test.error) << test.title;
    }
}

TEST(EditValidation, TellsTheClientTheModulesOwnWords)
{
    const ValidationRules rules(engine_schema());
    ConfigTree tree;
    const AppliedEdit edit(tree, edit_of("<range><start>4</start><end>3</end></range>"));
    try {
        validate_edit(rules, edit.changes());
        FAIL() << "accepted";
    } catch (const RpcError& error) {
        EXPECT_STREQ(error.what(), "start is above end");
    }
}

TEST(EditValidation, LeavesTheEditAsItIs)
{
    const ValidationRules rules(engine_schema());
    ConfigTree tree = config("<single>x</single>");
    const AppliedEdit edit(tree, edit_of("<settings><label>x</label></settings>"));
    const std::string applied = text_of(tree);
    validate_edit(rules, edit.changes());
    EXPECT_EQ(text_of(tree), applied);
}

// A module with one rule, written to a folder of its own.
class OneRuleModule
{
public:
    explicit OneRuleModule(const std::string& body)
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "one-rule-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
        std::ofstream(folder_ / "one-rule.yang")
            << "module one-rule { namespace \"urn:one-rule\"; prefix or; container top { " << body << " } }";
    }
    ~OneRuleModule() { std::filesystem::remove_all(folder_); }
    OneRuleModule(const OneRuleModule&) = delete;
    OneRuleModule& operator=(const OneRuleModule&) = delete;

    // The names of the watched lists, or the reason of the refusal.
    [[nodiscard]] std::string rules() const
    {
        const YangSchema schema({folder_, QN_IPS_IETF_YANG_DIR}, "one-rule");
        try {
            const ValidationRules rules(schema);
            std::set<std::string> names;
            for (const lysc_node* node : rules.watched())
                names.insert(node->name);
            std::string text;
            for (const std::string& name : names)
                text += (text.empty() ? "" : " ") + name;
            return text;
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    }

private:
    std::filesystem::path folder_;
};

TEST(ValidationRules, WatchTheListsThatOtherNodesDependOn)
{
    struct Case {
        const char* body;
        const char* watched;
    };
    const std::vector<Case> cases = {
        {"list l { key k; leaf k {type string;} leaf v {type string; must \"../k != 'x'\";} }", ""},
        {"must \"count(l) < 3\"; list l { key k; leaf k {type string;} }", "l"},
        {"container c { leaf-list m {type string;} } leaf v {type string; must \"not(../c/m = current())\";}", "m"},
        {"leaf v {type string;} list l { key k; must \"../v\"; leaf k {type string;} }", "l"},
        {"list o { key k; leaf k {type string;} leaf v {type string;} list i { key j; leaf j {type string;} "
         "must \"../k != j\"; } }",
         ""},
        {"list o { key k; leaf k {type string;} leaf v {type string;} container c { list i { key j; leaf j {type "
         "string;} must \"../../v != j\"; } } }",
         "i"},
        {"list l { key k; unique v; leaf k {type string;} leaf v {type string;} }", "l"},
        {"leaf-list m { type string; max-elements 3; } leaf-list n { type string; min-elements 1; }", "m n"},
    };
    for (const Case& test : cases)
        EXPECT_EQ(OneRuleModule(test.body).rules(), test.watched) << test.body;
}

TEST(ValidationRules, RefuseWhatTheClosureCannotHold)
{
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"list l { key k; leaf k {type string;} must \"count(../l[k = 'x']) = 0\"; }",
         "/or:top/or:l: its must may look"},
        {"list l { key k; leaf k {type string;} leaf v {type string; must \"/or:top/or:l\";} }",
         "/or:top/or:l/or:v: its must uses an absolute path"},
        {"leaf v {type string; must \"../*\";}", "/or:top/or:v: its must uses the wildcard"},
        {"leaf v {type string; must \"..//v\";}", "/or:top/or:v: its must uses the descendants"},
        {"list l { key k; leaf k {type string;} must \"preceding-sibling::l\"; }",
         "/or:top/or:l: its must uses preceding-sibling::"},
        {"leaf v {type string;} leaf w {type string; when \"../v\";}", "/or:top/or:w: it has a when"},
        {"choice c { case a { when \"v\"; leaf w {type string;} } } leaf v {type string;}", "/or:top"},
        {"leaf v {type string;} leaf w {type leafref {path \"../v\";}}", "/or:top/or:w: its type refers"},
        {"anyxml a;", "/or:top/or:a: it is an anydata or anyxml"},
    };
    for (const auto& [body, reason] : cases) {
        const std::string refusal = OneRuleModule(body).rules();
        EXPECT_TRUE(refusal.starts_with("the edit engine cannot validate ")) << body << '\n' << refusal;
        EXPECT_NE(refusal.find(reason), std::string::npos) << body << '\n' << refusal;
    }
}

TEST(ValidationRules, HoldForTheProduct)
{
    const YangSchema schema({QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR});
    EXPECT_NO_THROW(const ValidationRules rules(schema));
}

} // namespace
} // namespace qnips::test
