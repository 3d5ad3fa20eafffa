#include "netconf/server_log.h"

#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <spdlog/details/file_helper.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>

namespace qnips
{

namespace
{

// The logging library's own file sink cannot open its file again.
class FileSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit FileSink(const std::string& file) { file_.open(file); }

    bool reopen()
    {
        const std::lock_guard guard(mutex_);
        try {
            spdlog::details::file_helper next;
            next.open(file_.filename());
        } catch (const spdlog::spdlog_ex&) {
            return false;
        }
        file_.reopen(false);
        return true;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        base_sink<std::mutex>::formatter_->format(message, line);
        file_.write(line);
    }
    void flush_() override { file_.flush(); }

private:
    spdlog::details::file_helper file_;
};

spdlog::level::level_enum level_of(LogLevel level)
{
    switch (level) {
    case LogLevel::trace:
        return spdlog::level::trace;
    case LogLevel::debug:
        return spdlog::level::debug;
    case LogLevel::info:
        return spdlog::level::info;
    case LogLevel::warning:
        return spdlog::level::warn;
    case LogLevel::error:
        return spdlog::level::err;
    case LogLevel::off:
        break;
    }
    return spdlog::level::off;
}

// Of a value as it stands in the line. Far more than a command line or a path has, and little enough for one who writes
// the log by names that are no user's.
constexpr std::size_t longest_value = 4096;
constexpr std::string_view cut_mark = "...";

bool is_plain(std::string_view text)
{
    constexpr std::string_view special = " =\"\\";
    for (const char c : text)
        if (special.find(c) != std::string_view::npos || c <= ' ' || c >= '\x7f')
            return false;
    return !text.empty();
}

struct Character {
    std::string_view bytes;
    char32_t code = 0; // the replacement character, of one byte, where there is no UTF-8
};

// The first of a text that is not empty.
Character first_character(std::string_view text)
{
    constexpr char32_t replacement = 0xfffd;
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t size = byte(0) < 0x80 ? 1 : byte(0) < 0xe0 ? 2 : byte(0) < 0xf0 ? 3 : 4;
    if (size == 1)
        return {text.substr(0, 1), byte(0)};
    const Character none{text.substr(0, 1), replacement};
    if (byte(0) < 0xc2 || byte(0) > 0xf4 || text.size() < size)
        return none;
    char32_t code = byte(0) & (0x7fU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xc0U) != 0x80)
            return none;
        code = (code << 6U) | (byte(i) & 0x3fU);
    }
    const bool is_surrogate = code >= 0xd800 && code <= 0xdfff;
    const bool is_too_long = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    return is_surrogate || is_too_long || code > 0x10ffff ? none : Character{text.substr(0, size), code};
}

// What a reader cannot see, or takes for something else: controls, ends of lines, marks without width and those that
// turn the direction of a text.
bool has_to_be_escaped(char32_t code)
{
    return code < 0x20 || (code >= 0x7f && code <= 0x9f) || code == 0xad || (code >= 0x200b && code <= 0x200f) ||
           (code >= 0x2028 && code <= 0x202e) || (code >= 0x2060 && code <= 0x206f) || code == 0xfeff || code == 0xfffd;
}

std::string json_character(const Character& character)
{
    switch (character.code) {
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        break;
    }
    if (has_to_be_escaped(character.code))
        return fmt::format("\\u{:04x}", static_cast<std::uint32_t>(character.code));
    return std::string(character.bytes);
}

// A string of JSON on one line, in valid UTF-8.
std::string json_text(std::string_view text)
{
    std::string quoted = "\"";
    while (!text.empty()) {
        const Character character = first_character(text);
        const std::string part = json_character(character);
        if (quoted.size() + part.size() > longest_value + 1)
            return quoted.append(cut_mark) + '"';
        quoted += part;
        text.remove_prefix(character.bytes.size());
    }
    return quoted + '"';
}

std::string plain_text(std::string_view text)
{
    std::string plain(text.substr(0, longest_value));
    return text.size() > longest_value ? plain.append(cut_mark) : plain;
}

// Digits enough for a microsecond in a day of milliseconds.
std::string number(double value)
{
    return fmt::format("{:.3f}", value);
}

std::string value_text(LogFormat format, const LogField::Value& value)
{
    if (const auto* integer = std::get_if<std::int64_t>(&value))
        return fmt::to_string(*integer);
    if (const auto* real = std::get_if<double>(&value))
        return number(*real);
    const auto& text = std::get<std::string>(value);
    return format == LogFormat::text && is_plain(text) ? plain_text(text) : json_text(text);
}

constexpr const char* text_pattern = "time=%Y-%m-%dT%H:%M:%S.%e%z level=%l %v";
constexpr const char* json_pattern = R"({"time":"%Y-%m-%dT%H:%M:%S.%e%z","level":"%l",%v})";
// syslog has a time and a level of its own.
constexpr const char* json_pattern_of_syslog = "{%v}";

spdlog::sink_ptr sink_of(const LogSettings& settings)
{
    const bool is_json = settings.format == LogFormat::json;
    spdlog::sink_ptr sink;
    if (settings.target == "syslog") {
        sink = std::make_shared<spdlog::sinks::syslog_sink_mt>("qn-ips", 0, LOG_DAEMON, true);
        sink->set_pattern(is_json ? json_pattern_of_syslog : "%v");
        return sink;
    }
    if (settings.target == "stderr")
        sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    else
        sink = std::make_shared<FileSink>(settings.target);
    sink->set_pattern(is_json ? json_pattern : text_pattern);
    return sink;
}

} // namespace

std::string log_text(LogFormat format, std::string_view event, const LogFields& fields)
{
    const bool is_json = format == LogFormat::json;
    std::string text = is_json ? fmt::format("\"event\":{}", json_text(event)) : fmt::format("event={}", event);
    for (const LogField& field : fields)
        text += is_json ? fmt::format(",\"{}\":{}", field.name, value_text(format, field.value))
                        : fmt::format(" {}={}", field.name, value_text(format, field.value));
    return text;
}

class ServerLog::Implementation
{
public:
    explicit Implementation(const LogSettings& settings)
        : format_(settings.format), sink_(sink_of(settings)), logger_("qn-ips", sink_)
    {
        logger_.set_level(level_of(settings.level));
        logger_.flush_on(spdlog::level::trace);
        logger_.set_error_handler([](const std::string&) {}); // there is nowhere left to say it
    }

    [[nodiscard]] bool keeps(LogLevel level) const { return logger_.should_log(level_of(level)); }
    void write(LogLevel level, std::string_view event, const LogFields& fields)
    {
        logger_.log(level_of(level), spdlog::string_view_t(log_text(format_, event, fields)));
    }
    void set_level(LogLevel level) { logger_.set_level(level_of(level)); }
    bool reopen()
    {
        auto* file = dynamic_cast<FileSink*>(sink_.get());
        return file == nullptr || file->reopen();
    }

private:
    LogFormat format_;
    spdlog::sink_ptr sink_;
    spdlog::logger logger_;
};

ServerLog::ServerLog() = default;

ServerLog::ServerLog(const LogSettings& settings)
{
    try {
        implementation_ = std::make_unique<Implementation>(settings);
    } catch (const spdlog::spdlog_ex& error) {
        throw std::runtime_error(fmt::format("the log cannot be opened: {}", error.what()));
    }
}

ServerLog::~ServerLog() = default;

bool ServerLog::keeps(LogLevel level) const
{
    return implementation_ != nullptr && implementation_->keeps(level);
}

void ServerLog::write(LogLevel level, std::string_view event, const LogFields& fields)
{
    if (keeps(level))
        implementation_->write(level, event, fields);
}

void ServerLog::set_level(LogLevel level)
{
    if (implementation_ != nullptr)
        implementation_->set_level(level);
}

bool ServerLog::reopen()
{
    return implementation_ == nullptr || implementation_->reopen();
}

} // namespace qnips
