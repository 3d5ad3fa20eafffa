// Faults of the device at every single place of random edits: what the client is told is so, and what was not carried
// out whole is taken back or, where the client asked for it, kept in part by datastore and device alike.
//
// QN_IPS_FAULTED_EDITS is the number of edits for each kind of fault, QN_IPS_SEED the number that they come from.
#include <chrono>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "random_work.h"
#include "server/edit_validation.h"

namespace qnips::test
{
namespace
{

using Effect = EditOutcome::Effect;

struct Trial {
    const char* name;
    Fault::Kind kind;
    ErrorOption error_option;
};

class Faults : public testing::TestWithParam<Trial>
{
protected:
    // The edit with the fault at one place. False when the edit has no such place.
    bool try_at(const std::string& edit, std::size_t number)
    {
        const Config before = loop_.running();
        loop_.channel().set({.kind = GetParam().kind, .number = number});
        const Loop::Outcome outcome = loop_.edit("merge", edit, GetParam().error_option);
        const bool happened = loop_.channel().has_happened();
        loop_.channel().clear();
        SCOPED_TRACE(fmt::format("fault at {}, told: {}\nby the edit\n{}\non\n{}", number, outcome.reason, edit,
                                 edit_xml_of(before)));
        if (!happened) {
            check_told(outcome, before);
            return false;
        }
        ++faults_;
        EXPECT_FALSE(outcome.accepted);
        EXPECT_NE(outcome.effect, Effect::whole);
        check_told(outcome, before);
        return true;
    }

    // Whether what the client was told is so.
    void check_told(const Loop::Outcome& outcome, const Config& before)
    {
        const bool same = canonical(loop_.running()) == canonical(before);
        if (outcome.effect == Effect::unknown) {
            ++unknown_;
            EXPECT_EQ(GetParam().kind, Fault::Kind::channel_lost) << "a device that answers can be brought back";
            EXPECT_TRUE(same) << "the datastore must not follow a device that cannot be asked";
            EXPECT_NE(outcome.reason.find("rollback-failed"), std::string::npos);
            EXPECT_TRUE(loop_.datastore().repair_device({"tester", "repair"}).done());
        } else if (outcome.effect == Effect::part) {
            ++parts_;
            EXPECT_FALSE(same);
            EXPECT_NO_THROW(validate_tree(world().schema, loop_.datastore().configuration()));
        } else if (outcome.effect == Effect::none && !outcome.accepted) {
            EXPECT_TRUE(same);
        }
        EXPECT_EQ(loop_.difference(), "");
        EXPECT_FALSE(loop_.store().open_intent().has_value());
    }

    RandomWork work_{static_cast<unsigned>(number_from("QN_IPS_SEED", 1))};
    Loop loop_;
    std::size_t faults_ = 0;
    std::size_t unknown_ = 0;
    std::size_t parts_ = 0;
};

TEST_P(Faults, AreReportedAsTheyAre)
{
    const unsigned long edits = number_from("QN_IPS_FAULTED_EDITS", 60);
    for (unsigned long round = 0; round < edits && !HasFailure(); ++round) {
        const std::string edit = work_.edit(loop_.datastore());
        if (edit.empty())
            continue;
        // With the part of it in place the edit goes on as another one, which is as good.
        for (std::size_t number = 1; number < 400 && !HasFailure() && try_at(edit, number); ++number) {
        }
    }
    RecordProperty("faults", fmt::to_string(faults_));
    RecordProperty("parts_left", fmt::to_string(parts_));
    RecordProperty("devices_left_unknown", fmt::to_string(unknown_));
    EXPECT_GT(faults_, edits);
    EXPECT_EQ(unknown_ > 0, GetParam().kind == Fault::Kind::channel_lost);
    if (GetParam().error_option == ErrorOption::rollback_on_error)
        EXPECT_EQ(parts_, 0U);
    else
        EXPECT_GT(parts_, 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, Faults,
    testing::Values(Trial{"line_refused", Fault::Kind::line_refused, ErrorOption::rollback_on_error},
                    Trial{"script_refused", Fault::Kind::script_refused, ErrorOption::rollback_on_error},
                    Trial{"no_answer", Fault::Kind::no_answer, ErrorOption::rollback_on_error},
                    Trial{"channel_lost", Fault::Kind::channel_lost, ErrorOption::rollback_on_error},
                    Trial{"line_refused_stop", Fault::Kind::line_refused, ErrorOption::stop_on_error},
                    Trial{"line_refused_continue", Fault::Kind::line_refused, ErrorOption::continue_on_error},
                    Trial{"no_answer_continue", Fault::Kind::no_answer, ErrorOption::continue_on_error}),
    [](const auto& trial) { return std::string(trial.param.name); });

// Between the removal of a signature and its return with another nature the device cannot tell which nature it has.
TEST(TakenBack, IsAChangeOfNature)
{
    const auto edit = [](const std::string& signature, const std::string& category) {
        return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
               R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips><vsys><name>branch</name>)"
               "<profiles><profile><name>web</name><signature-sets><signature-set><name>a</name>" +
               category +
               "</signature-set></signature-sets></profile></profiles><user-defined-signatures><signature><id>7</id>" +
               signature + "</signature></user-defined-signatures></vsys></user-defined-ips></ips-config>";
    };
    Loop loop;
    ASSERT_TRUE(loop.edit("merge", edit("<associated-enable>false</associated-enable><target>client</target>"
                                        "<description>shop</description>",
                                        "<signature-set-action><action>alert</action></signature-set-action>"))
                    .accepted);
    const Loop::Outcome outcome =
        loop.edit("merge", edit(R"(<associated-enable>true</associated-enable><target nc:operation="delete"/>)",
                                "<category><all-category>false</all-category><specifed-category><name>Unheard-of</name>"
                                "<all-sub-category>true</all-sub-category></specifed-category></category>"));
    EXPECT_EQ(outcome.effect, Effect::none) << outcome.reason;
    EXPECT_GT(outcome.effects, 2U) << "the signature has gone and come back before the refusal";
    EXPECT_EQ(loop.difference(), "");
}

// ---------------------------------------------------------------------------------------- answers, and slow ones --

std::string profile_edit(const std::string& content)
{
    return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
           R"( xmlns:yang="urn:ietf:params:xml:ns:yang:1"><user-defined-ips><vsys><name>branch</name><profiles><profile>)"
           "<name>web</name>" +
           content + "</profile></profiles></vsys></user-defined-ips></ips-config>";
}

std::string set(const std::string& name, const std::string& attributes = {})
{
    return fmt::format("<signature-set{}><name>{}</name><signature-set-action><action>alert</action>"
                       "</signature-set-action></signature-set>",
                       attributes, name);
}

// The module asks for a profile's first set before it moves another one there.
TEST(Answers, ThatAreWrongLeadToLinesThatTheDeviceRefuses)
{
    Loop loop;
    ASSERT_TRUE(
        loop.edit("merge", profile_edit("<signature-sets>" + set("a") + set("b") + "</signature-sets>")).accepted);
    const std::string move =
        profile_edit("<signature-sets>" + set("b", R"( yang:insert="first")") + "</signature-sets>");
    loop.channel().set({.kind = Fault::Kind::wrong_answer, .number = 1, .answer = "no-such-set"});
    const Loop::Outcome outcome = loop.edit("merge", move);
    EXPECT_TRUE(loop.channel().has_happened());
    EXPECT_FALSE(outcome.accepted);
    EXPECT_NE(outcome.reason.find("there is no signature-set no-such-set"), std::string::npos) << outcome.reason;
    EXPECT_EQ(outcome.effect, Effect::none);
    EXPECT_EQ(loop.difference(), "");
    EXPECT_TRUE(loop.edit("merge", move).accepted);
    EXPECT_EQ(loop.difference(), "");
}

TEST(Answers, ThatTellNoConfigurationLeaveTheOutcomeOpen)
{
    // Refused in the middle: no category has this name.
    const std::string refused = profile_edit(
        "<signature-sets><signature-set><name>a</name><signature-set-action><action>alert</action></"
        "signature-set-action>"
        "<category><all-category>false</all-category><specifed-category><name>Unheard-of</name>"
        "<all-sub-category>true</all-sub-category></specifed-category></category></signature-set></signature-sets>");
    for (const char* answer : {"<nonsense", "<other xmlns=\"urn:other\"/>"}) {
        Loop loop;
        // The first question is for the first set, the next one for the configuration.
        loop.channel().set({.kind = Fault::Kind::wrong_answer, .number = 2, .answer = answer});
        const Loop::Outcome outcome = loop.edit("merge", refused);
        EXPECT_TRUE(loop.channel().has_happened());
        EXPECT_EQ(outcome.effect, Effect::unknown);
        EXPECT_NE(outcome.reason.find("rollback-failed"), std::string::npos) << outcome.reason;
        EXPECT_NE(outcome.reason.find("the device's configuration cannot be read"), std::string::npos)
            << outcome.reason;
        EXPECT_NE(loop.difference(), "");
        EXPECT_TRUE(loop.datastore().repair_device({"tester", "repair"}).done());
        EXPECT_EQ(loop.difference(), "");
    }
}

TEST(Answers, ThatAreSlowChangeNothing)
{
    Loop loop;
    loop.channel().set({.kind = Fault::Kind::slow, .delay = std::chrono::milliseconds(3)});
    EXPECT_TRUE(loop.edit("merge", profile_edit("<description>patience</description>")).accepted);
    EXPECT_TRUE(loop.channel().has_happened());
    EXPECT_EQ(loop.difference(), "");
}

} // namespace
} // namespace qnips::test
