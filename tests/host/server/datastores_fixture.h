// What the tests of the datastores share: a server on the real module and an emulated device, with a store in a file, a
// clock that a test moves, and what was told of confirmed commits.
//
// Configurations are one profile, told apart by its description: "a", "b"; "" is none at all.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "host/store/temporary_folder.h"
#include "platform/emulator.h"
#include "platform/faulty_platform.h"
#include "server/datastores.h"
#include "server/edit_request.h"
#include "server/running_datastore.h"
#include "store/commit_store.h"
#include "support/world.h"

namespace qnips::test
{

// Edits, as requests.
EditRequest edit_to(const std::string& description);
EditRequest edit_of_profile(const std::string& content); // of the one profile
EditRequest edit_that_removes_all();
EditRequest invalid_edit(); // can be applied, violates a constraint
EditRequest impossible_edit();

ConfigTree tree_with(const std::string& description);
ConfigTree invalid_tree();

// "" for a configuration without a profile.
std::string description_of(const ConfigTree& tree);

class TestServer
{
public:
    // A store in a file is for tests that open it again or beside the server: it costs more than all the rest.
    enum class Keeping { in_memory, in_file };
    explicit TestServer(Keeping keeping = Keeping::in_memory);

    // As after a crash: what is not in the store or on the device is gone.
    void restart();

    [[nodiscard]] Datastores& all() { return process_->datastores; }
    [[nodiscard]] RunningDatastore& running_datastore() { return process_->running; }
    [[nodiscard]] CommitStore& store() { return *store_; }
    [[nodiscard]] FaultyPlatform& channel() { return channel_; }
    [[nodiscard]] std::string store_file() const { return folder_.file("store"); }

    [[nodiscard]] std::string running() { return description_of(all().running()); }
    [[nodiscard]] std::string candidate() { return description_of(all().candidate()); }
    [[nodiscard]] std::string startup() { return description_of(all().startup()); }
    [[nodiscard]] std::string contents() { return running() + '/' + candidate() + '/' + startup(); }
    [[nodiscard]] std::string device_text() { return device_.configuration().text(); }

    EditOutcome edit(DatastoreName target, const std::string& description, SessionId session = 1);
    EditOutcome commit(SessionId session = 1) { return all().commit(session, "admin", {}); }

    // Time passes, and the server looks at the clock.
    void wait(std::chrono::seconds time);
    // Until the server has something to do; nullopt when it has nothing to wait for.
    [[nodiscard]] std::optional<std::chrono::seconds> time_left();

    // "started by 1 (admin) for 600" and the like, since they were asked for last.
    std::vector<std::string> events();

private:
    struct Process {
        explicit Process(TestServer& server);

        RunningDatastore running;
        Datastores datastores;
    };

    TemporaryFolder folder_;
    Keeping keeping_;
    EmulatedPlatform device_{world().catalogue};
    FaultyPlatform channel_{device_};
    Datastores::Clock::time_point time_{};
    std::vector<std::string> events_;
    std::optional<CommitStore> store_;
    std::optional<Process> process_;
};

// The tag of the RpcError that `action` throws or that its outcome has; "" for none. A lock's holder follows the tag.
std::string tag_of(const auto& action)
{
    const auto text = [](const RpcError& error) {
        const std::string tag(error.tag());
        return error.lock_holder() ? tag + ' ' + std::to_string(*error.lock_holder()) : tag;
    };
    try {
        if constexpr (std::is_void_v<decltype(action())>) {
            action();
            return {};
        } else {
            const EditOutcome outcome = action();
            return outcome.errors.empty() ? std::string() : text(outcome.errors.front());
        }
    } catch (const RpcError& error) {
        return text(error);
    }
}

} // namespace qnips::test
