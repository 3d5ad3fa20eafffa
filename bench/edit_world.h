// What the benchmarks of edits work on: the real module on an emulated device, with the store in memory, and
// configurations of any size.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "platform/emulator.h"
#include "server/running_datastore.h"
#include "store/commit_store.h"
#include "support/world.h"

namespace qnips::bench
{

using test::world;

// Passes everything on and measures how long the device takes.
class TimedDevice final : public CommandPlatform
{
public:
    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override { return device_.configuration(); }
    PlatformAnswer state() override { return device_.state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;

    // Since the last call.
    std::chrono::nanoseconds take_time() { return std::exchange(time_, std::chrono::nanoseconds{}); }

private:
    EmulatedPlatform device_{world().catalogue};
    std::chrono::nanoseconds time_{};
};

// A device and its datastore, and what its edits have cost.
class Bench
{
public:
    // Carries out an edit that has to be accepted; otherwise the benchmark ends with the reason.
    void edit(benchmark::State& state, const std::string& xml);
    // The same without being measured.
    void prepare(benchmark::State& state, const std::string& xml);
    // Makes a whole configuration the running one, as copy-config does.
    void replace(benchmark::State& state, const ConfigTree& goal);

    [[nodiscard]] RunningDatastore& datastore() { return datastore_; }

    // Per edit: callbacks, lines, allocations; and of the time the share of each part, in percent.
    void report(benchmark::State& state) const;

private:
    void add(benchmark::State& state, const EditOutcome& outcome, std::chrono::nanoseconds parse,
             std::size_t allocations);

    TimedDevice device_;
    CommitStore store_{":memory:"};
    RunningDatastore datastore_{world().schema, world().table, device_, store_};

    std::size_t edits_ = 0;
    std::size_t callbacks_ = 0;
    std::size_t lines_ = 0;
    std::size_t allocations_ = 0;
    std::chrono::nanoseconds parse_{};
    std::chrono::nanoseconds platform_{};
    EditTimes times_;
};

// The text of an edit of one virtual system whose content is given.
std::string vsys_edit(const std::string& content);
// Profiles "p<first>" to "p<last - 1>" of four leaves each, as content of a virtual system.
std::string profiles(std::size_t first, std::size_t last, const std::string& description = "made for measuring");

} // namespace qnips::bench
