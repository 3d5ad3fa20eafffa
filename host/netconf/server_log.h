// The server's log: one line an event, made of names and values, for people (key=value) or for programs (JSON).
//
// What a client has sent can stand in a value, never in a name; a value cannot end a line or begin another field, nor
// can it give orders to a terminal, and a long one is cut. It is told what has happened, never by which password.
#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qnips
{

// `trace` has a line for every callback and command line of a transaction.
enum class LogLevel { trace, debug, info, warning, error, off };
enum class LogFormat { text, json };

struct LogSettings {
    LogLevel level = LogLevel::info;
    LogFormat format = LogFormat::text;
    std::string target = "stderr"; // "stderr", "syslog", or a file to which lines are added
};

struct LogField {
    using Value = std::variant<std::string, std::int64_t, double>;

    LogField(std::string_view title, std::string_view content) : name(title), value(std::string(content)) {}
    LogField(std::string_view title, const std::string& content) : name(title), value(content) {}
    LogField(std::string_view title, const char* content) : name(title), value(std::string(content)) {}
    LogField(std::string_view title, std::int64_t content) : name(title), value(content) {}
    LogField(std::string_view title, std::uint32_t content) : name(title), value(std::int64_t{content}) {}
    LogField(std::string_view title, std::size_t content) : name(title), value(static_cast<std::int64_t>(content)) {}
    LogField(std::string_view title, int content) : name(title), value(std::int64_t{content}) {}
    LogField(std::string_view title, double content) : name(title), value(content) {}

    std::string_view name; // a literal
    Value value;
};
using LogFields = std::vector<LogField>;

// The fields of one event as they stand in a line, without time and level: `event=session-start user=ada`, or
// `"event":"session-start","user":"ada"`.
std::string log_text(LogFormat format, std::string_view event, const LogFields& fields);

// Threads may share it.
class ServerLog
{
public:
    // A log that keeps nothing.
    ServerLog();
    // Throws std::runtime_error when the target cannot be opened.
    explicit ServerLog(const LogSettings& settings);
    ~ServerLog();
    ServerLog(const ServerLog&) = delete;
    ServerLog& operator=(const ServerLog&) = delete;

    [[nodiscard]] bool keeps(LogLevel level) const;
    // A line that cannot be written is lost; nothing is thrown for it.
    void write(LogLevel level, std::string_view event, const LogFields& fields);

    // What is kept from now on.
    void set_level(LogLevel level);

    // Opens the file again, so that one which was moved away is left to whoever moved it. False when that fails; lines
    // go on to the old file then.
    bool reopen();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_; // null: keeps nothing
};

} // namespace qnips
