// A store that has no room for an edit: before the device is asked, and when the device has already taken it.
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "host/store/child_process.h"
#include "host/store/temporary_folder.h"
#include "transaction_host.h"

namespace qnips::test
{
namespace
{

std::string text_of(const ConfigTree& configuration)
{
    return tree_text(configuration.first());
}

// The tag that an edit is refused or taken back with; empty when it stands.
std::string tag_of(RunningDatastore& datastore, const std::string& xml)
{
    try {
        const EditOutcome outcome = datastore.edit(request_of(xml), tester);
        return outcome.errors.empty() ? std::string() : std::string(outcome.errors.front().tag());
    } catch (const RpcError& error) {
        return std::string(error.tag());
    }
}

TEST(FullStore, TakesEditsUntilThereIsNoRoomAndAgainWhenThereIs)
{
    const TemporaryFolder folder;
    const std::string said = in_child([&](const Reports& reports) {
        EmulatedPlatform device(world().catalogue);
        CommitStore store(folder.file("history.db"));
        RunningDatastore datastore(world().schema, world().table, device, store);
        limit_files(65'536);
        const std::string content = "<description>" + std::string(200, 'x') + "</description>";
        std::string before;
        std::string reason;
        std::size_t made = 0;
        for (; made < 2000 && reason.empty(); ++made) {
            before = text_of(datastore.configuration());
            reason = tag_of(datastore, in_profile(content, fmt::format("p{}", made)));
        }
        reports.say(fmt::format("{} after some: {}", reason, made > 3));
        reports.say(text_of(datastore.configuration()) == before ? "as before" : "changed");
        limit_files(any_size);
        reports.say(fmt::format("drift {}", datastore.drift().size()));
        reports.say("then " + tag_of(datastore, in_profile("", "more")));
    });
    EXPECT_EQ(said, "resource-denied after some: true\nas before\ndrift 0\nthen \n");
}

// A device that has taken an edit which then finds no room in the store. Says what became of it.
std::string record_in_vain(ErrorOption option, bool room_at_once)
{
    const TemporaryFolder folder;
    return in_child([&](const Reports& reports) {
        EmulatedPlatform device(world().catalogue);
        PickyDevice platform(device);
        CommitStore store(folder.file("history.db"));
        RunningDatastore datastore(world().schema, world().table, platform, store);
        platform.refuses = [](const CommandLine&) {
            limit_files(0); // the edit has been announced by now
            return false;
        };
        if (room_at_once)
            platform.before_reading = [&] {
                platform.relent();
                limit_files(any_size);
            };
        const EditOutcome outcome =
            datastore.edit(request_of(in_profile("<description>shop</description>"), option), tester);
        limit_files(any_size);
        platform.relent();
        reports.say(outcome.effect == EditOutcome::Effect::none ? "nothing stands" : "something stands");
        for (const RpcError& error : outcome.errors)
            reports.say(std::string(error.tag()));
        reports.say(fmt::format("drift {}", datastore.drift().size()));
        reports.say("then " + tag_of(datastore, in_profile("", "more")));
        reports.say(fmt::format("records: {}", store.history(10).size()));
    });
}

// What could not be recorded must not stand, and a part of it neither, even if there is room again a moment later.
TEST(FullStore, TakesBackWhatTheDeviceHasTakenWhateverTheErrorOption)
{
    for (const ErrorOption option :
         {ErrorOption::rollback_on_error, ErrorOption::stop_on_error, ErrorOption::continue_on_error}) {
        EXPECT_EQ(record_in_vain(option, true), "nothing stands\nresource-denied\ndrift 0\nthen \nrecords: 2\n");
        // Without room there is no record of the attempt either.
        EXPECT_EQ(record_in_vain(option, false),
                  "nothing stands\nresource-denied\nresource-denied\ndrift 0\nthen \nrecords: 1\n");
    }
}

} // namespace
} // namespace qnips::test
