// Which callbacks an edit leads to, in which order, and what is replaced because a leaf speaks through its parent.
#include "server/callback_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "callback_fixture.h"
#include "server/operation_names.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

// An edit with its documents and its plan.
struct Planned {
    Planned(const std::string& running, const std::string& edit_xml) : edit(running, edit_xml)
    {
        mark_replaced(edit.changes(), ips_table());
        before.emplace(edit.changes(), View::before);
        after.emplace(edit.changes(), View::after);
        steps = plan_callbacks(edit.changes(), ips_table(), *before, *after);
    }

    // "55 REM profiles/profile[name='web']" of all steps from that priority up.
    [[nodiscard]] std::vector<std::string> lines(int lowest_priority) const
    {
        std::vector<std::string> result;
        for (const CallbackStep& step : steps) {
            if (step.row->priority >= lowest_priority)
                result.push_back(fmt::format("{} {} {}", step.row->priority,
                                             operation_names(step.change->op(step.phase)),
                                             below_branch(instance_path(step.change->node))));
        }
        return result;
    }

    StandingEdit edit;
    std::optional<CallbackDocument> before;
    std::optional<CallbackDocument> after;
    std::vector<CallbackStep> steps;
};

constexpr int sets_and_removals = 16; // rows below that are of nodes without a handler

TEST(CallbackPlan, CreatesParentsFirstInDocumentOrderByDescendingPriority)
{
    const Planned plan(branch(""),
                       branch("<profiles><profile><name>a</name><description>x</description></profile>"
                              "<profile><name>b</name></profile></profiles><ips-enable>false</ips-enable>"));
    EXPECT_THAT(plan.lines(0),
                ElementsAre("56 ADD ips-enable", "55 ADD profiles/profile[name='b']",
                            "55 ADD profiles/profile[name='a']", "54 ADD profiles/profile[name='a']/description",

                            "23 ADD ips-enable", "19 ADD profiles/profile[name='a']",
                            "19 ADD profiles/profile[name='b']", "18 ADD profiles/profile[name='a']/name",
                            "18 ADD profiles/profile[name='a']/description", "18 ADD profiles/profile[name='b']/name",

                            "0 CHAIN /qn-ips:ips-config/user-defined-ips",
                            "0 CHAIN /qn-ips:ips-config/user-defined-ips/vsys[name='branch']", "0 ADD profiles"));
}

TEST(CallbackPlan, RemovesParentsFirstFromTheLastSiblingToTheFirst)
{
    const Planned plan(branch("<profiles><profile><name>a</name><description>x</description>"
                              "<associated-check-enable>true</associated-check-enable></profile>"
                              "<profile><name>b</name></profile><profile><name>c</name></profile></profiles>"),
                       branch("<profiles nc:operation='delete'/>"));
    EXPECT_THAT(plan.lines(sets_and_removals),
                ElementsAre("55 REM profiles/profile[name='c']", "55 REM profiles/profile[name='b']",
                            "55 REM profiles/profile[name='a']",
                            "54 REM profiles/profile[name='a']/associated-check-enable",
                            "54 REM profiles/profile[name='a']/description",

                            "19 REM profiles/profile[name='a']", "19 REM profiles/profile[name='b']",
                            "19 REM profiles/profile[name='c']", "18 REM profiles/profile[name='a']/name",
                            "18 REM profiles/profile[name='a']/description",
                            "18 REM profiles/profile[name='a']/associated-check-enable",
                            "18 REM profiles/profile[name='b']/name", "18 REM profiles/profile[name='c']/name"));
}

TEST(CallbackPlan, AChangedLeafIsToldToBothItsRowsAndItsAncestorsToTheirs)
{
    const Planned plan(branch("<profiles><profile><name>a</name><description>x</description></profile></profiles>"),
                       branch("<profiles><profile><name>a</name><description>y</description></profile></profiles>"));
    EXPECT_THAT(plan.lines(sets_and_removals),
                ElementsAre("55 CHAIN profiles/profile[name='a']", "54 MOD profiles/profile[name='a']/description",
                            "19 CHAIN profiles/profile[name='a']", "18 MOD profiles/profile[name='a']/description"));
}

TEST(CallbackPlan, AMovedEntryWithAChangeInsideIsToldBoth)
{
    const Planned plan(
        branch("<profiles><profile><name>p</name><signature-sets><signature-set><name>a</name></signature-set>"
               "<signature-set><name>b</name></signature-set></signature-sets></profile></profiles>"),
        branch("<profiles><profile><name>p</name><signature-sets><signature-set yang:insert='first'><name>b</name>"
               "<target>server</target></signature-set></signature-sets></profile></profiles>"));
    EXPECT_THAT(plan.lines(54),
                ElementsAre("55 CHAIN profiles/profile[name='p']",
                            "54 SIBLING|CHAIN profiles/profile[name='p']/signature-sets/signature-set[name='b']",
                            "54 ADD profiles/profile[name='p']/signature-sets/signature-set[name='b']/target"));
}

TEST(CallbackPlan, OptionalQualifiersGoBeforeTheRuleThatHoldsThem)
{
    const char* condition = "<user-defined-signatures><signature><id>7</id>"
                            "<associated-enable>false</associated-enable><name>s</name><signature-rule-information>"
                            "<protocol-rules><protocol>HTTP</protocol><rules><signature-rule><name>r</name>"
                            "<basic-conditions><rule-condition><id>0</id><field-name>HTTP.Host</field-name>"
                            "<operator>pattern-match</operator><value>v</value><offset>4</offset></rule-condition>"
                            "</basic-conditions></signature-rule></rules></protocol-rules>"
                            "</signature-rule-information></signature></user-defined-signatures>";
    const Planned plan(branch(condition), branch("<user-defined-signatures nc:operation='delete'/>"));
    const std::string signature = "user-defined-signatures/signature[id='7']";
    const std::string rules = signature + "/signature-rule-information/protocol-rules";
    const std::string rule = rules + "/rules/signature-rule[name='r']";
    const std::vector<std::string> lines = plan.lines(52);
    EXPECT_THAT(lines, ElementsAre("57 REM " + rule + "/basic-conditions/rule-condition[id='0']/offset",
                                   "53 REM " + signature, "52 REM " + rules, "52 REM " + rule));
}

struct PlanCase {
    const char* title;
    const char* running;
    const char* edit;
};

const PlanCase plan_cases[] = {
    {"creation", "",
     "<profiles><profile><name>a</name><description>x</description></profile><profile><name>b</name></profile>"
     "</profiles><ips-enable>true</ips-enable>"},
    {"removal", "<profiles><profile><name>a</name><description>x</description></profile></profiles>",
     "<profiles nc:operation='remove'/>"},
    {"mixed",
     "<profiles><profile><name>a</name><description>x</description></profile><profile><name>b</name></profile>"
     "</profiles>",
     "<profiles><profile><name>a</name><description>y</description><associated-check-enable>true"
     "</associated-check-enable></profile><profile nc:operation='delete'><name>b</name></profile>"
     "<profile><name>c</name></profile></profiles>"},
    {"replaced",
     "<user-defined-signatures><signature><id>7</id><associated-enable>false</associated-enable><name>s</name>"
     "<signature-rule-information><protocol-rules><protocol>HTTP</protocol><rules>"
     "<signature-rule><name>r</name><scope>flow</scope></signature-rule>"
     "<signature-rule><name>q</name></signature-rule></rules></protocol-rules>"
     "</signature-rule-information></signature></user-defined-signatures>",
     "<user-defined-signatures><signature><id>7</id><signature-rule-information><protocol-rules>"
     "<protocol>DNS</protocol><rules><signature-rule nc:operation='delete'><name>r</name></signature-rule>"
     "<signature-rule><name>t</name></signature-rule></rules>"
     "</protocol-rules></signature-rule-information></signature></user-defined-signatures>"},
};

void collect(const std::vector<Change*>& changes, std::vector<const Change*>& all)
{
    for (const Change* change : changes) {
        all.push_back(change);
        collect(change->children, all);
    }
}

TEST(CallbackPlan, PrioritiesNeverRiseAndAllRemovalsComeBeforeAllSets)
{
    for (const PlanCase& test : plan_cases) {
        SCOPED_TRACE(test.title);
        const Planned plan(branch(test.running), branch(test.edit));
        ASSERT_FALSE(plan.steps.empty());
        EXPECT_TRUE(std::is_sorted(plan.steps.begin(), plan.steps.end(), [](const auto& left, const auto& right) {
            return left.row->priority > right.row->priority;
        }));
        for (const CallbackStep& step : plan.steps)
            EXPECT_EQ(step.phase, step.row->priority >= first_removal_priority ? Phase::removal : Phase::set);
    }
}

TEST(CallbackPlan, EachRowOfEachChangedNodeIsCalledExactlyOnce)
{
    for (const PlanCase& test : plan_cases) {
        SCOPED_TRACE(test.title);
        Planned plan(branch(test.running), branch(test.edit));
        std::multiset<std::pair<const Change*, const Row*>> wanted;
        std::vector<const Change*> all;
        collect(plan.edit.changes().roots(), all);
        for (const Change* change : all) {
            for (const Phase phase : {Phase::removal, Phase::set}) {
                if (change->op(phase) == XMLDIFF_NONE)
                    continue;
                for (const Row& row : ips_table().rows(change->schema, phase))
                    wanted.emplace(change, &row);
            }
        }
        std::multiset<std::pair<const Change*, const Row*>> planned;
        for (const CallbackStep& step : plan.steps)
            planned.emplace(step.change, step.row);
        EXPECT_EQ(planned, wanted);
    }
}

TEST(CallbackPlan, WithinOnePriorityParentsComeBeforeChildren)
{
    for (const PlanCase& test : plan_cases) {
        SCOPED_TRACE(test.title);
        const Planned plan(branch(test.running), branch(test.edit));
        for (auto step = plan.steps.begin(); step != plan.steps.end(); ++step) {
            const auto after_its_child = std::find_if(plan.steps.begin(), step, [&](const CallbackStep& earlier) {
                if (earlier.row->priority != step->row->priority)
                    return false;
                const Change* above = earlier.change->parent;
                while (above != nullptr && above != step->change)
                    above = above->parent;
                return above != nullptr;
            });
            EXPECT_EQ(after_its_child, step) << below_branch(instance_path(step->change->node));
        }
    }
}

// The paths of what is replaced, without what is replaced only because it is inside.
std::vector<std::string> replaced(const std::vector<Change*>& changes)
{
    std::vector<std::string> result;
    for (const Change* change : changes) {
        if (change->replaced) {
            result.push_back(below_branch(instance_path(change->node)));
            continue;
        }
        const std::vector<std::string> below = replaced(change->children);
        result.insert(result.end(), below.begin(), below.end());
    }
    std::sort(result.begin(), result.end());
    return result;
}

const std::string basic_signature = "<user-defined-signatures><signature><id>7</id>"
                                    "<associated-enable>false</associated-enable><name>s</name>"
                                    "<signature-rule-information><protocol-rules><protocol>HTTP</protocol><rules>"
                                    "<signature-rule><name>r</name><scope>flow</scope></signature-rule></rules>"
                                    "</protocol-rules></signature-rule-information></signature>"
                                    "<signature><id>8</id><associated-enable>false</associated-enable><name>t</name>"
                                    "</signature></user-defined-signatures>";

const std::string categories = "<profiles><profile><name>p</name><signature-sets><signature-set><name>a</name>"
                               "<category><all-category>false</all-category>"
                               "<specifed-category><name>trojan</name><all-sub-category>true</all-sub-category>"
                               "</specifed-category><specifed-category><name>worm</name>"
                               "<all-sub-category>true</all-sub-category></specifed-category></category>"
                               "</signature-set></signature-sets></profile></profiles>";

std::string signature_edit(const std::string& id, const std::string& content)
{
    return "<user-defined-signatures><signature><id>" + id + "</id>" + content +
           "</signature></user-defined-signatures>";
}

std::string category_edit(const std::string& content)
{
    return "<profiles><profile><name>p</name><signature-sets><signature-set><name>a</name><category>" + content +
           "</category></signature-set></signature-sets></profile></profiles>";
}

std::string protocol_rules(const std::string& content)
{
    return "<signature-rule-information><protocol-rules>" + content + "</protocol-rules></signature-rule-information>";
}

struct ReplacedCase {
    const char* title;
    std::string running;
    std::string edit;
    std::vector<std::string> replaced;
};

TEST(Replaced, IsTheNearestAncestorWithAHandlerOfALeafThatHasNone)
{
    const std::string signature = "user-defined-signatures/signature[id='7']";
    const std::string rules = signature + "/signature-rule-information/protocol-rules";
    const std::string category =
        "profiles/profile[name='p']/signature-sets/signature-set[name='a']/category/specifed-category";
    const ReplacedCase cases[] = {
        {"another protocol", basic_signature, signature_edit("7", protocol_rules("<protocol>DNS</protocol>")), {rules}},
        {"a protocol that goes",
         basic_signature,
         signature_edit("7", protocol_rules("<protocol nc:operation='delete'/>")),
         {rules}},
        {"another nature",
         basic_signature,
         signature_edit("7", "<associated-enable>true</associated-enable>"),
         {signature}},
        {"both: the inner one is inside the outer one",
         basic_signature,
         signature_edit("7",
                        "<associated-enable>true</associated-enable>" + protocol_rules("<protocol>DNS</protocol>")),
         {signature}},
        {"two signatures, each for its own reason",
         basic_signature,
         "<user-defined-signatures><signature><id>7</id>" + protocol_rules("<protocol>DNS</protocol>") +
             "</signature><signature><id>8</id><associated-enable>true</associated-enable></signature>"
             "</user-defined-signatures>",
         {rules, "user-defined-signatures/signature[id='8']"}},
        {"all sub-categories or not, of one category",
         categories,
         category_edit("<specifed-category><name>worm</name><all-sub-category>false</all-sub-category>"
                       "<sub-category><name>mail</name></sub-category></specifed-category>"),
         {category + "[name='worm']"}},
        {"a leaf with a handler", basic_signature, signature_edit("7", "<name>other</name>"), {}},
        {"a leaf with a handler inside the rules",
         basic_signature,
         signature_edit("7", protocol_rules("<rules><signature-rule><name>r</name><scope>packet</scope>"
                                            "</signature-rule></rules>")),
         {}},
        {"the same value again", basic_signature, signature_edit("7", protocol_rules("<protocol>HTTP</protocol>")), {}},
        {"a new signature",
         basic_signature,
         signature_edit("9", "<associated-enable>true</associated-enable><name>u</name>"),
         {}},
        {"a signature that goes",
         basic_signature,
         "<user-defined-signatures><signature nc:operation='delete'><id>7</id></signature></user-defined-signatures>",
         {}},
        {"rules that come with their protocol",
         basic_signature,
         signature_edit("8", protocol_rules("<protocol>DNS</protocol>")),
         {}},
        {"rules that go with their protocol",
         basic_signature,
         signature_edit("7", "<signature-rule-information><protocol-rules nc:operation='delete'/>"
                             "</signature-rule-information>"),
         {}},
        {"another nature while the rules go",
         basic_signature,
         signature_edit("7", "<associated-enable>true</associated-enable><signature-rule-information>"
                             "<protocol-rules nc:operation='delete'/></signature-rule-information>"),
         {signature}},
        {"a category that comes",
         categories,
         category_edit("<specifed-category><name>virus</name><all-sub-category>true</all-sub-category>"
                       "</specifed-category>"),
         {}},
    };
    for (const ReplacedCase& test : cases) {
        SCOPED_TRACE(test.title);
        StandingEdit edit(branch(test.running), branch(test.edit));
        mark_replaced(edit.changes(), ips_table());
        EXPECT_EQ(replaced(edit.changes().roots()), test.replaced);
    }
}

void expect_all_replaced(const std::vector<Change*>& changes)
{
    for (const Change* change : changes) {
        EXPECT_TRUE(change->replaced) << instance_path(change->node);
        expect_all_replaced(change->children);
    }
}

TEST(Replaced, TakesEverythingInItAlongAlsoWhatTheEditLeavesAlone)
{
    StandingEdit edit(branch(basic_signature),
                      branch(signature_edit("7", "<associated-enable>true</associated-enable>")));
    EXPECT_THROW((void)edit.at("user-defined-signatures/signature[id='7']/name"), std::out_of_range);
    mark_replaced(edit.changes(), ips_table());
    const Change& signature = edit.at("user-defined-signatures/signature[id='7']");
    expect_all_replaced({signature.children});
    EXPECT_TRUE(edit.at("user-defined-signatures/signature[id='7']/name").replaced);
    EXPECT_TRUE(edit.at("user-defined-signatures/signature[id='7']/signature-rule-information/protocol-rules/rules/"
                        "signature-rule[name='r']/scope")
                    .replaced);
    EXPECT_FALSE(edit.at("user-defined-signatures").replaced);
}

TEST(Replaced, IsRemovedWithAllThatWasThereAndCreatedWithAllThatIs)
{
    const Planned plan(branch(basic_signature),
                       branch(signature_edit("7", protocol_rules("<protocol>DNS</protocol><rules>"
                                                                 "<signature-rule><name>new</name></signature-rule>"
                                                                 "<signature-rule nc:operation='delete'><name>r</name>"
                                                                 "</signature-rule></rules>"))));
    const std::string rules = "user-defined-signatures/signature[id='7']/signature-rule-information/protocol-rules";
    EXPECT_THAT(plan.lines(sets_and_removals),
                ElementsAre("53 CHAIN user-defined-signatures/signature[id='7']", "52 REM " + rules,
                            "52 REM " + rules + "/rules/signature-rule[name='r']",
                            "51 REM " + rules + "/rules/signature-rule[name='r']/scope",

                            "22 CHAIN user-defined-signatures/signature[id='7']", "21 ADD " + rules,
                            "20 ADD " + rules + "/protocol", "20 ADD " + rules + "/rules/signature-rule[name='new']",
                            "20 ADD " + rules + "/rules/signature-rule[name='new']/name"));
}

TEST(Replaced, ShowsItsOldContentInTheRemovalPhaseAndTheNewOneInTheSetPhase)
{
    const Planned plan(branch(basic_signature),
                       branch(signature_edit("7", protocol_rules("<protocol>DNS</protocol>"))));
    const std::string rules = "user-defined-signatures/signature[id='7']/signature-rule-information/protocol-rules";
    const Change& protocol = plan.edit.at(rules + "/protocol");
    const Change& scope = plan.edit.at(rules + "/rules/signature-rule[name='r']/scope");
    EXPECT_STREQ(reinterpret_cast<const char*>(plan.before->element(protocol)->children->content), "HTTP");
    EXPECT_STREQ(reinterpret_cast<const char*>(plan.after->element(protocol)->children->content), "DNS");
    EXPECT_STREQ(reinterpret_cast<const char*>(plan.before->element(scope)->children->content), "flow");
    EXPECT_STREQ(reinterpret_cast<const char*>(plan.after->element(scope)->children->content), "flow");
    EXPECT_EQ(scope.op(Phase::removal), XMLDIFF_REM);
    EXPECT_EQ(scope.op(Phase::set), XMLDIFF_ADD);
}

TEST(CallbackPlan, AnEditThatChangesNothingCallsNothing)
{
    const Planned plan(branch("<ips-enable>true</ips-enable>"), branch("<ips-enable>true</ips-enable>"));
    EXPECT_THAT(plan.steps, IsEmpty());
}

} // namespace
} // namespace qnips::test
