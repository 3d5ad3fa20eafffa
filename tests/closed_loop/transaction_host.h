// A host in memory on a device that a test makes refuse what it likes, and edits of one virtual system and one profile.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/emulator.h"
#include "server/running_datastore.h"
#include "store/commit_store.h"
#include "support/world.h"

namespace qnips::test
{

// What has reached a device: a script, or a virtual system that has gone.
struct Sent {
    std::vector<CommandLine> script;
    std::string vsys;
};

// A device whose faults are a function of the line, and that remembers what it has taken.
class PickyDevice final : public CommandPlatform
{
public:
    explicit PickyDevice(EmulatedPlatform& device) : device_(device) {}

    std::function<bool(const CommandLine&)> refuses = [](const CommandLine&) { return false; };
    std::function<bool()> refuses_removal = [] { return false; }; // of a virtual system
    bool answers = true;                          // otherwise it takes a script and reports a failure all the same
    bool throws_at_removal = false;               // as a platform must not
    std::function<void()> before_reading = [] {}; // of its configuration
    std::vector<Sent> sent;

    // Takes everything from now on.
    void relent();

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override
    {
        before_reading();
        return device_.configuration();
    }
    PlatformAnswer state() override { return device_.state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        return device_.first_signature_set(vsys, profile);
    }

private:
    EmulatedPlatform& device_;
};

inline const Author tester{"tester", "edit-config"};

struct TransactionHost {
    EmulatedPlatform device{world().catalogue};
    PickyDevice platform{device};
    CommitStore store{":memory:"};
    RunningDatastore datastore{world().schema, world().table, platform, store};

    EditOutcome edit(const std::string& xml, ErrorOption option = ErrorOption::rollback_on_error);
    // An edit that has to be carried out whole, and that leaves no difference.
    void prepare(const std::string& xml);
    // The device gets a line from somebody else. It has to take it.
    void by_hand(const CommandLine& line);
    // The newest record of the history, whole.
    [[nodiscard]] CommitRecord newest() const;

    std::vector<std::string> drift();
};

// A line for each difference: what only the device has after '+', what only the datastore has after '-'.
std::vector<std::string> lines_of(const std::vector<Difference>& drift);

// An edit with content for the virtual system "branch", and for the profile "web" in it.
std::string in_vsys(const std::string& content, const std::string& name = "branch");
std::string in_profile(const std::string& content, const std::string& name = "web");
// A signature set, with its list around it.
std::string in_set(const std::string& name, const std::string& content = {});

EditRequest request_of(const std::string& xml, ErrorOption option = ErrorOption::rollback_on_error);

// The edit as the store keeps it, of a configuration that it has not been applied to.
std::string text_of_edit(const ConfigTree& before, const EditRequest& request);

// For messages: what has reached the device, a line each, and what the client was told.
std::string shown(const std::vector<Sent>& sent);
std::string shown(const std::vector<RpcError>& errors);

} // namespace qnips::test
