// A command platform with faults, in front of one without: for trying what becomes of an edit when the device fails.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "platform/command_platform.h"

namespace qnips
{

// What goes wrong, and when. Lines, scripts and questions are counted from 1 since the fault was set; a fault happens
// once, but for a lost channel, which stays lost.
struct Fault {
    enum class Kind {
        line_refused,   // the line number `number` cannot be carried out, so that its script is not
        script_refused, // the script number `number` is not carried out
        channel_lost,   // from the message number `number` on nothing reaches the device; questions count as well
        no_answer,      // the script number `number` is carried out, and nobody hears of it
        wrong_answer,   // the question number `number` is answered with `answer`
        slow,           // every message takes `delay`
    };

    Kind kind;
    std::size_t number = 1;
    std::string answer{};
    std::chrono::milliseconds delay{0};
};

class FaultyPlatform final : public CommandPlatform
{
public:
    // The device has to outlive it.
    explicit FaultyPlatform(CommandPlatform& device) : device_(device) {}

    // Replaces the fault before.
    void set(Fault fault);
    void clear() { fault_.reset(); }

    // Whether the fault has happened.
    [[nodiscard]] bool has_happened() const { return happened_; }

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override;
    std::optional<PlatformError> remove_vsys(std::string_view name) override;
    PlatformAnswer configuration() override;
    PlatformAnswer state() override;
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override;

private:
    // Whether the fault of that kind happens at the count that is reached now.
    bool happens(Fault::Kind kind, std::size_t count);
    bool channel_is_lost();
    std::optional<PlatformAnswer> false_answer();
    std::optional<PlatformError> refused_line(std::span<const CommandLine> script);

    CommandPlatform& device_;
    std::optional<Fault> fault_;
    bool happened_ = false;
    std::size_t messages_ = 0;
    std::size_t scripts_ = 0;
    std::size_t lines_ = 0;
    std::size_t questions_ = 0;
};

} // namespace qnips
