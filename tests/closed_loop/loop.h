// A datastore and an emulated device behind the real module, and what has to hold between them after each edit.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "command_coverage.h"
#include "host/server/configuration_model.h"
#include "platform/emulator.h"
#include "platform/faulty_platform.h"
#include "server/running_datastore.h"
#include "store/commit_store.h"
#include "support/world.h"

namespace qnips::test
{

// A device that counts what takes effect on it, and that can be made anew.
class CountedDevice final : public CommandPlatform
{
public:
    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override { return device_->configuration(); }
    PlatformAnswer state() override { return device_->state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        return device_->first_signature_set(vsys, profile);
    }

    // From now on it has no configuration.
    void renew() { device_ = std::make_unique<EmulatedPlatform>(world().catalogue); }

    // Scripts with lines, and virtual systems that have gone.
    [[nodiscard]] std::size_t effects() const { return effects_; }

private:
    std::unique_ptr<EmulatedPlatform> device_ = std::make_unique<EmulatedPlatform>(world().catalogue);
    std::size_t effects_ = 0;
};

class Loop
{
public:
    // What became of an edit. `reason` is the refusal's; `effects` counts what had reached the device before it was
    // taken back.
    struct Outcome {
        bool accepted = false;
        std::string reason{};
        std::size_t effects = 0;
        EditOutcome::Effect effect = EditOutcome::Effect::none;
    };
    Outcome edit(const std::string& default_operation, const std::string& edit_xml,
                 ErrorOption error_option = ErrorOption::rollback_on_error);

    // Everything in which datastore and device differ, a line each; empty if nothing.
    [[nodiscard]] std::string difference();

    // Why a read of the device, completed from the datastore, is not what the datastore has; empty when it is. For a
    // device and a datastore without a difference.
    [[nodiscard]] std::string completion_fault();

    [[nodiscard]] Config running() const { return config_of(datastore_.configuration().first()); }
    [[nodiscard]] std::string device_text() { return device_.configuration().text(); }
    // The way to the device, for faults on it.
    [[nodiscard]] FaultyPlatform& channel() { return channel_; }
    [[nodiscard]] RunningDatastore& datastore() { return datastore_; }
    [[nodiscard]] CommitStore& store() { return store_; }
    // What accepted edits have sent.
    [[nodiscard]] const CommandCoverage& commands() const { return commands_; }

    // Puts a fresh device in the place of this one and gives it the datastore's configuration. The reason when the
    // device does not accept it.
    std::string replace_device();

private:
    CountedDevice device_;
    FaultyPlatform channel_{device_};
    CommitStore store_{":memory:"};
    RunningDatastore datastore_{world().schema, world().table, channel_, store_};
    CommandCoverage commands_;
};

// A whole configuration as the content of an edit.
std::string edit_xml_of(const Config& config);

} // namespace qnips::test
