#include "netconf/server_log.h"

#include <array>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
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

bool is_plain(std::string_view text)
{
    constexpr std::string_view special = " =\"\\";
    for (const char c : text)
        if (special.find(c) != std::string_view::npos || static_cast<unsigned char>(c) < 0x21 || c == 0x7f)
            return false;
    return !text.empty();
}

std::string json_text(std::string_view text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
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
    return format == LogFormat::text && is_plain(text) ? text : json_text(text);
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
