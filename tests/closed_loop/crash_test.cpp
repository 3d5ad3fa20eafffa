// A host that is killed at any moment of its edits: at the next start the device has what the datastore has, every edit
// that was acknowledged is there, and none is there by half.
//
// QN_IPS_KILLS is how often the host is killed.
#include <chrono>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "host/store/child_process.h"
#include "host/store/temporary_folder.h"
#include "platform/kept_device.h"
#include "random_work.h"

namespace qnips::test
{
namespace
{

// All that stays when the process ends.
class Host
{
public:
    explicit Host(const TemporaryFolder& folder)
        : store_(folder.file("history.db")), device_(folder.file("device.db"), world().catalogue)
    {
    }

    RunningDatastore& datastore() { return datastore_; }
    CommitStore& store() { return store_; }

private:
    CommitStore store_;
    KeptDevice device_;
    RunningDatastore datastore_{world().schema, world().table, device_, store_};
};

std::size_t fingerprint(const ConfigTree& configuration)
{
    return std::hash<std::string>()(edit_xml_of(canonical(config_of(configuration.first()))));
}

// Edits until it is killed, and says "<commit> <fingerprint>" of each one that has been acknowledged.
void work(const TemporaryFolder& folder, unsigned seed, const Reports& reports)
{
    Host host(folder);
    host.datastore().start();
    RandomWork random(seed);
    while (true) {
        const std::string edit = random.edit(host.datastore());
        if (edit.empty())
            continue;
        try {
            const EditOutcome outcome =
                host.datastore().edit(parse_edit_request(world().schema, edit), {"tester", "edit-config"});
            if (outcome.effect == EditOutcome::Effect::whole)
                reports.say(fmt::format("{} {}", outcome.commit, fingerprint(host.datastore().configuration())));
        } catch (const RpcError&) {
            continue; // refused before anything was sent
        }
    }
}

// Long enough for some edits after the start.
constexpr std::chrono::milliseconds most_work{120};

struct Acknowledged {
    std::int64_t commit = 0;
    std::size_t fingerprint = 0;
};

std::vector<Acknowledged> read(const std::string& lines)
{
    std::vector<Acknowledged> all;
    std::istringstream stream(lines);
    for (Acknowledged one; stream >> one.commit >> one.fingerprint;)
        all.push_back(one);
    return all;
}

TEST(Crash, LosesNoAcknowledgedEditAndLeavesNothingHalf)
{
    world(); // made once, before the children
    const TemporaryFolder folder;
    std::mt19937 random(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)));
    std::size_t acknowledged = 0;
    std::size_t interrupted = 0;
    std::size_t standing = 0;
    const auto kills = static_cast<unsigned>(number_of_kills());
    for (unsigned round = 0; round < kills && !HasFailure(); ++round) {
        const auto seed = static_cast<unsigned>(random());
        ChildProcess child([&](const Reports& reports) { work(folder, seed, reports); });
        std::string said = child.line(); // on a busy machine the start alone may take longer than the work
        if (!said.empty())
            said += '\n';
        kill_within(child, most_work, random);
        said += child.rest();
        ASSERT_EQ(said.find("exception"), std::string::npos) << said;
        const std::vector<Acknowledged> done = read(said);
        acknowledged += done.size();

        Host host(folder);
        const StartOutcome start = host.datastore().start();
        SCOPED_TRACE(fmt::format("round {}, {} edits acknowledged, {}", round, done.size(),
                                 start.interrupted ? "interrupted: " + start.interrupted->edit : "not interrupted"));
        EXPECT_TRUE(start.errors.empty()) << start.errors.front().what();
        EXPECT_TRUE(start.drift.empty()) << start.drift.front().line;
        EXPECT_FALSE(host.store().open_intent().has_value());
        for (const Acknowledged& one : done)
            EXPECT_EQ(fingerprint(host.datastore().at(one.commit)), one.fingerprint);
        interrupted += start.interrupted ? 1U : 0U;
        standing += start.interrupted_stands ? 1U : 0U;
    }
    RecordProperty("edits_acknowledged", fmt::to_string(acknowledged));
    RecordProperty("edits_interrupted", fmt::to_string(interrupted));
    RecordProperty("of_these_whole_on_the_device", fmt::to_string(standing));
    // The kills are only worth something if they come in the middle of work.
    EXPECT_GT(acknowledged, 0U);
    EXPECT_GT(interrupted, 0U);
}

} // namespace
} // namespace qnips::test
