// The device's command platform as the host sees it: what executes command lines and answers questions about the
// device.
//
// The emulator is the embedded one; a remote device can stand behind the same interface.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace qnips
{

// One line of a script with the place it is executed in.
struct CommandLine {
    std::optional<std::string> vsys; // none: the device itself
    std::string view;
    std::optional<std::string> view_type;
    std::string text;

    bool operator==(const CommandLine&) const = default;
};

// Why the platform refused. `code` is an NC_ERR: NC_ERR_PARSE_COMMAND (22), NC_ERR_SET_VIEW (23) or
// NC_ERR_COMMAND_EXECUTE (24) for a line, NC_ERR_OP_FAILED (1) when the platform cannot be asked at all.
struct PlatformError {
    int code = 0;
    std::string message;
    std::optional<CommandLine> line; // the line at fault, if one is

    bool operator==(const PlatformError&) const = default;
};

// The answer to a question: a text, nothing (the device has none), or an error.
class PlatformAnswer
{
public:
    static PlatformAnswer of(std::string text) { return PlatformAnswer(Content(std::move(text))); }
    static PlatformAnswer none() { return PlatformAnswer(Content(std::monostate())); }
    static PlatformAnswer failure(PlatformError error) { return PlatformAnswer(Content(std::move(error))); }

    [[nodiscard]] bool is_text() const { return std::holds_alternative<std::string>(content_); }
    [[nodiscard]] bool is_none() const { return std::holds_alternative<std::monostate>(content_); }
    [[nodiscard]] bool is_failure() const { return std::holds_alternative<PlatformError>(content_); }

    // Throw std::bad_variant_access when the answer is another one.
    [[nodiscard]] const std::string& text() const { return std::get<std::string>(content_); }
    [[nodiscard]] const PlatformError& error() const { return std::get<PlatformError>(content_); }

    bool operator==(const PlatformAnswer&) const = default;

private:
    using Content = std::variant<std::monostate, std::string, PlatformError>;
    explicit PlatformAnswer(Content content) : content_(std::move(content)) {}

    Content content_;
};

class CommandPlatform
{
public:
    CommandPlatform() = default;
    CommandPlatform(const CommandPlatform&) = delete;
    CommandPlatform& operator=(const CommandPlatform&) = delete;
    virtual ~CommandPlatform() = default;

    // Executes a script as one unit: after an error nothing of it has taken effect. `operation` is the
    // API_CMD_OPERATION of the callback that sends it. An empty script succeeds and changes nothing.
    virtual std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) = 0;

    // A virtual system has gone, and its configuration with it. No command line says so: virtual systems belong to the
    // platform. One that never had a configuration is no error. An error means that the platform was not told.
    virtual std::optional<PlatformError> remove_vsys(std::string_view name) = 0;

    // The device's configuration, as XML of the YANG module (its top-level elements).
    virtual PlatformAnswer configuration() = 0;

    // The device's state tree, as XML of the YANG module.
    virtual PlatformAnswer state() = 0;

    // Name of the first signature set of a profile; none when the profile has none.
    virtual PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) = 0;
};

} // namespace qnips
