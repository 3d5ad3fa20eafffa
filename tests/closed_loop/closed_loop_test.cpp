// Random edits through the real module to an emulated device: what the datastore has, the device has, and what is
// refused changes neither.
//
// QN_IPS_EDITS is the number of edits in all, QN_IPS_SEED the number that they come from.
#include <algorithm>
#include <map>
#include <random>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "configuration_edit.h"
#include "host/server/random_edit.h"
#include "loop.h"
#include "random_configuration.h"
#include "random_work.h"
#include "smallest_case.h"

namespace qnips::test
{
namespace
{

unsigned long all_edits()
{
    static const unsigned long edits = number_from("QN_IPS_EDITS", 10000);
    return edits;
}

struct Scenario {
    const char* name;
    std::size_t start;     // changes that lead to the first configuration
    std::size_t most;      // size of a configuration (see size_of)
    unsigned long percent; // of all edits
};

// What a scenario has met, for the reader and for the check that it has met anything.
struct Tally {
    std::size_t accepted = 0;
    std::size_t unchanged = 0; // of those, the ones for which nothing was sent
    std::size_t refused = 0;
    std::size_t half_done = 0; // of those, the ones refused after lines had reached the device
    std::size_t sizes = 0;     // of all configurations that were edited
};

class ClosedLoop : public testing::TestWithParam<Scenario>
{
protected:
    ClosedLoop()
        : seed_(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)) + static_cast<unsigned>(GetParam().most)),
          random_(seed_), configurations_(world().schema, world().catalogue, random_), wild_(world().schema, seed_)
    {
    }

    // A random configuration may hold what the module does not take; then another one is tried.
    void start()
    {
        Loop::Outcome outcome{.accepted = GetParam().start == 0, .reason = {}};
        for (int attempt = 0; attempt < 20 && !outcome.accepted; ++attempt) {
            const Config first =
                configurations_.reduced(configurations_.changed({}, GetParam().start), GetParam().most);
            outcome = loop_.edit("merge", edit_xml_of(first));
            if (outcome.accepted)
                expect_same({}, first, "the configuration to start from");
            else
                loop_.replace_device();
        }
        if (!outcome.accepted)
            fail("no configuration to start from is accepted: " + outcome.reason);
    }

    void step()
    {
        const Config before = loop_.running();
        tally_.sizes += size_of(before);
        const std::string device = loop_.device_text();
        Config after = before;
        const std::string edit = chance(10) ? wild_edit(before) : valid_edit(before, after);
        if (edit.empty())
            return;
        const Loop::Outcome outcome = loop_.edit("merge", edit);
        count(outcome);
        if (outcome.accepted)
            return expect_same(before, loop_.running(), edit);

        if (canonical(loop_.running()) != canonical(before))
            fail(fmt::format("a refused edit has changed the datastore\n{}", edit));
        if (outcome.effects == 0 && loop_.device_text() != device)
            fail(fmt::format("a refused edit has changed the device\n{}", edit));
        const std::string difference = loop_.difference();
        if (!difference.empty())
            fail(fmt::format("a refused edit was not taken back\n{}by the edit\n{}\nrefused for\n{}\non\n{}",
                             difference, edit, outcome.reason, edit_xml_of(before)));
        if (chance(10))
            renew_device(before, edit);
    }

    // A device made anew has to become the same by the datastore's configuration alone.
    void renew_device(const Config& before, const std::string& edit)
    {
        const std::string refusal = loop_.replace_device();
        if (!refusal.empty())
            return fail(fmt::format("a fresh device does not accept the running configuration: {}\n{}", refusal,
                                    edit_xml_of(loop_.running())));
        expect_same(before, loop_.running(), "all of it, to a fresh device, after " + edit);
    }

    void finish()
    {
        fmt::print("{}: {} edits accepted, {} of them without a line; {} refused, {} of them after lines had reached "
                   "the device; {} nodes on average\n",
                   GetParam().name, tally_.accepted, tally_.unchanged, tally_.refused, tally_.half_done,
                   tally_.sizes / std::max<std::size_t>(1, tally_.accepted + tally_.refused));
        for (const auto& [reason, times] : half_done_)
            fmt::print("  half done {} times: {}\n", times, reason);
    }

    [[nodiscard]] const Tally& tally() const { return tally_; }
    Loop& loop() { return loop_; }

private:
    bool chance(unsigned percent) { return random_() % 100 < percent; }

    std::string wild_edit(const Config& before)
    {
        EditModel edit = wild_.edit(before, EditOperation::merge);
        // What removes nearly everything is tried now and then only, or no configuration would ever grow.
        for (EditModelNode& root : edit) {
            root.stated = root.stated && chance(5);
            for (EditModelNode& part : root.children)
                part.stated = part.stated && chance(10);
        }
        return xml_of(edit);
    }

    std::string valid_edit(const Config& before, Config& after)
    {
        std::size_t changes = 1;
        while (changes < 30 && chance(changes < 4 ? 35 : 80))
            ++changes;
        after = configurations_.changed(before, changes);
        if (size_of(after) > GetParam().most)
            after = configurations_.reduced(std::move(after), GetParam().most * 3 / 4);
        const EditStyle style{.create = chance(30) ? 50U : 0U,
                              .replace = chance(30) ? 25U : 0U,
                              .delete_it = chance(50) ? 70U : 0U,
                              .repetition = chance(20) ? 20U : 0U};
        return xml_of(edit_between(before, after, style, random_));
    }

    void count(const Loop::Outcome& outcome)
    {
        ++(outcome.accepted ? tally_.accepted : tally_.refused);
        tally_.unchanged += outcome.accepted && outcome.effects == 0 ? 1 : 0;
        tally_.half_done += !outcome.accepted && outcome.effects > 0 ? 1 : 0;
        if (!outcome.accepted && outcome.effects > 0)
            ++half_done_[without_instances(outcome.reason)];
    }

    // A reason that is the same for all instances of a node, and without the line at fault.
    static std::string without_instances(const std::string& reason)
    {
        std::string text;
        int depth = 0;
        char quote = 0;
        for (const char character : reason) {
            if (depth > 0 && (character == '\'' || character == '"') && (quote == 0 || quote == character))
                quote = quote == 0 ? character : '\0';
            depth += quote == 0 && character == '[' ? 1 : 0;
            if (depth == 0)
                text += character;
            depth -= quote == 0 && character == ']' && depth > 0 ? 1 : 0;
        }
        return text.substr(0, text.find(" (line "));
    }

    void expect_same(const Config& before, const Config& after, const std::string& edit)
    {
        std::string difference = loop_.difference();
        if (difference.empty() && chance(25)) // reading takes longer than the edit
            difference = loop_.completion_fault();
        if (difference.empty())
            return;
        const EditCase smallest = smallest_case({before, after}, goes_wrong);
        std::mt19937 unused; // NOLINT(cert-msc51-cpp): the plain style leaves nothing to chance
        fail(fmt::format("datastore and device differ\n{}by the edit\n{}\nwhich does the same as\n{}\non\n{}",
                         difference, edit, xml_of(edit_between(smallest.before, smallest.after, plain_style, unused)),
                         edit_xml_of(smallest.before)));
    }

    static bool goes_wrong(const EditCase& edit)
    {
        Loop loop;
        const auto is_wrong = [&] { return !loop.difference().empty() || !loop.completion_fault().empty(); };
        if (!edit.before.empty() && (!loop.edit("merge", edit_xml_of(edit.before)).accepted || is_wrong()))
            return false;
        std::mt19937 unused; // NOLINT(cert-msc51-cpp): the plain style leaves nothing to chance
        const std::string xml = xml_of(edit_between(edit.before, edit.after, plain_style, unused));
        return !xml.empty() && loop.edit("merge", xml).accepted && is_wrong();
    }

    void fail(const std::string& what) const
    {
        ADD_FAILURE() << GetParam().name << ", QN_IPS_SEED=" << seed_ - static_cast<unsigned>(GetParam().most)
                      << ", QN_IPS_EDITS=" << all_edits() << ": " << what;
    }

    unsigned seed_;
    std::mt19937 random_;
    RandomConfiguration configurations_;
    RandomEdit wild_;
    Loop loop_;
    Tally tally_;
    std::map<std::string, std::size_t> half_done_;
};

TEST_P(ClosedLoop, DeviceAndDatastoreStayAlike)
{
    start();
    for (unsigned long round = all_edits() * GetParam().percent / 100; round > 0 && !HasFailure(); --round)
        step();
    finish();
    // The edits are only worth something if both kinds come up.
    EXPECT_GT(tally().accepted, tally().refused);
    if (tally().accepted > 200) {
        EXPECT_GT(tally().refused, 0U);
    }
    // And if nearly all commands of the device come up, with many edits all of them.
    if (tally().accepted > 2000) {
        const std::size_t limit = tally().accepted > 20000 ? 0 : 3;
        const std::vector<std::string> missed = loop().commands().missed();
        EXPECT_LE(missed.size(), limit) << testing::PrintToString(missed);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, ClosedLoop,
                         testing::Values(Scenario{"tiny", 0, 40, 60}, Scenario{"small", 60, 150, 36},
                                         Scenario{"large", 1500, 1500, 4}),
                         [](const auto& scenario) { return std::string(scenario.param.name); });

} // namespace
} // namespace qnips::test
