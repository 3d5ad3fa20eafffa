#include "netconf/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <toml++/toml.h>

namespace qnips
{

namespace
{

// A value of the file with its key, for what is said about it.
class Setting
{
public:
    Setting(const toml::node& node, std::string key, const std::filesystem::path& file)
        : node_(node), key_(std::move(key)), file_(file)
    {
    }

    [[nodiscard]] const std::string& key() const { return key_; }

    [[noreturn]] void refuse(std::string_view reason) const
    {
        throw std::runtime_error(fmt::format("{}:{}: {}: {}", file_.string(), node_.source().begin.line, key_, reason));
    }

    [[nodiscard]] std::string text() const
    {
        const toml::value<std::string>* text = node_.as_string();
        if (text == nullptr)
            refuse("expected: a text");
        return text->get();
    }

    [[nodiscard]] std::vector<std::string> texts() const
    {
        const toml::array* array = node_.as_array();
        if (array == nullptr)
            refuse("expected: a list of texts");
        std::vector<std::string> texts;
        for (const toml::node& element : *array)
            texts.push_back(Setting(element, key_, file_).text());
        return texts;
    }

    template <class Number>
    [[nodiscard]] Number number(std::int64_t least, std::int64_t most) const
    {
        const toml::value<std::int64_t>* number = node_.as_integer();
        if (number == nullptr || number->get() < least || number->get() > most)
            refuse(fmt::format("expected: a whole number, {} to {}", least, most));
        return static_cast<Number>(number->get());
    }

    [[nodiscard]] std::chrono::seconds seconds(std::int64_t least, std::int64_t most) const
    {
        return std::chrono::seconds(number<std::int64_t>(least, most));
    }

    // Empty stays empty: the default.
    [[nodiscard]] std::filesystem::path path() const
    {
        const std::filesystem::path path = text();
        return path.empty() ? path : file_.parent_path() / path;
    }

    // What a function makes of the text, whose complaint gets the place.
    template <class Function>
    auto read(Function function) const
    {
        const std::string value = text();
        try {
            return function(value);
        } catch (const std::runtime_error& error) {
            refuse(error.what());
        }
    }

private:
    const toml::node& node_;
    std::string key_;
    const std::filesystem::path& file_;
};

// Octal, as of chmod: nobody may be given more than reading and writing, which is what a socket needs.
unsigned read_mode(const std::string& text)
{
    unsigned mode = 0;
    constexpr int octal = 8;
    constexpr unsigned read_and_write = 0666;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, mode, octal);
    if (error != std::errc() || rest != end || (mode & ~read_and_write) != 0)
        throw std::runtime_error(fmt::format("\"{}\" is no mode of a socket, such as 0600 or 0660", text));
    return mode;
}

std::vector<SshEndpoint> read_endpoints(const Setting& setting)
{
    std::vector<SshEndpoint> endpoints;
    for (const std::string& text : setting.texts()) {
        try {
            endpoints.push_back(read_endpoint(text));
        } catch (const std::runtime_error& error) {
            setting.refuse(error.what());
        }
    }
    return endpoints;
}

std::string read_target(const Setting& setting)
{
    const std::string target = setting.text();
    return target == "stderr" || target == "syslog" ? target : setting.path().string();
}

struct Row {
    std::string_view key;
    void (*read)(const Setting&, ServeSettings&);
};

constexpr std::int64_t most_sessions = 10000;
constexpr std::int64_t least_message = 4096;
constexpr std::int64_t most_message = std::int64_t{1} << 31;
constexpr std::int64_t most_seconds = 65535; // the NETCONF library's
constexpr std::int64_t most_attempts = 100;

constexpr Row rows[] = {
    {"state", [](const Setting& value, ServeSettings& all) { all.state = value.path(); }},
    {"unix.socket", [](const Setting& value, ServeSettings& all) { all.socket = value.path(); }},
    {"unix.mode", [](const Setting& value, ServeSettings& all) { all.socket_mode = value.read(read_mode); }},
    {"ssh.listen", [](const Setting& value, ServeSettings& all) { all.ssh = read_endpoints(value); }},
    {"ssh.host-key", [](const Setting& value, ServeSettings& all) { all.host_key = value.path(); }},
    {"ssh.users", [](const Setting& value, ServeSettings& all) { all.users = value.path(); }},
    {"access.rules", [](const Setting& value, ServeSettings& all) { all.access_rules = value.path(); }},
    {"limits.sessions", [](const Setting& value,
                           ServeSettings& all) { all.limits.sessions = value.number<std::size_t>(1, most_sessions); }},
    {"limits.message-size",
     [](const Setting& value, ServeSettings& all) {
         all.limits.message_bytes = value.number<std::size_t>(least_message, most_message);
     }},
    {"limits.hello-timeout",
     [](const Setting& value, ServeSettings& all) { all.limits.hello_seconds = value.seconds(1, most_seconds); }},
    {"limits.idle-timeout",
     [](const Setting& value, ServeSettings& all) { all.limits.idle_seconds = value.seconds(0, most_seconds); }},
    {"limits.login-attempts",
     [](const Setting& value, ServeSettings& all) {
         all.limits.login_attempts = value.number<std::uint16_t>(1, most_attempts);
     }},
    {"limits.login-timeout",
     [](const Setting& value, ServeSettings& all) { all.limits.login_seconds = value.seconds(1, most_seconds); }},
    {"log.level", [](const Setting& value, ServeSettings& all) { all.log.level = value.read(read_log_level); }},
    {"log.format", [](const Setting& value, ServeSettings& all) { all.log.format = value.read(read_log_format); }},
    {"log.target", [](const Setting& value, ServeSettings& all) { all.log.target = read_target(value); }},
};

bool is_section(std::string_view key)
{
    return std::ranges::any_of(rows, [key](const Row& row) {
        return row.key.starts_with(key) && row.key.substr(key.size()).starts_with('.');
    });
}

void read(const Setting& setting, ServeSettings& settings)
{
    for (const Row& row : rows)
        if (row.key == setting.key())
            return row.read(setting, settings);
    setting.refuse("there is no such setting");
}

void read_table(const toml::table& table, const std::string& prefix, const std::filesystem::path& file,
                ServeSettings& settings)
{
    for (const auto& [name, node] : table) {
        const std::string key = prefix + std::string(name.str());
        if (const toml::table* inner = node.as_table(); inner != nullptr && is_section(key))
            read_table(*inner, key + ".", file, settings);
        else
            read(Setting(node, key, file), settings);
    }
}

template <class Value>
struct Word {
    std::string_view text;
    Value value;
};

template <class Value, std::size_t count>
Value word(const Word<Value> (&words)[count], std::string_view text, std::string_view what)
{
    std::string known;
    for (const Word<Value>& one : words) {
        if (one.text == text)
            return one.value;
        known += fmt::format("{}{}", known.empty() ? "" : ", ", one.text);
    }
    throw std::runtime_error(fmt::format("\"{}\" is no {}; there are {}", text, what, known));
}

} // namespace

LogLevel read_log_level(std::string_view text)
{
    static constexpr Word<LogLevel> words[] = {{"trace", LogLevel::trace}, {"debug", LogLevel::debug},
                                               {"info", LogLevel::info},   {"warning", LogLevel::warning},
                                               {"error", LogLevel::error}, {"off", LogLevel::off}};
    return word(words, text, "level of the log");
}

LogFormat read_log_format(std::string_view text)
{
    static constexpr Word<LogFormat> words[] = {{"text", LogFormat::text}, {"json", LogFormat::json}};
    return word(words, text, "format of the log");
}

SshEndpoint read_endpoint(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    SshEndpoint endpoint;
    const char* end = text.data() + text.size();
    const char* digits = colon == std::string::npos ? end : text.data() + colon + 1;
    const auto [rest, error] = std::from_chars(digits, end, endpoint.port);
    if (colon == std::string::npos || colon == 0 || error != std::errc() || rest != end)
        throw std::runtime_error(fmt::format("\"{}\" is no address with a port, such as 127.0.0.1:830", text));
    endpoint.address = text.substr(0, colon);
    if (endpoint.address.front() == '[' && endpoint.address.back() == ']')
        endpoint.address = endpoint.address.substr(1, endpoint.address.size() - 2);
    return endpoint;
}

ServeSettings load_settings(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream)
        throw std::runtime_error(fmt::format("the settings {} cannot be read", file.string()));
    return parse_settings(text, file);
}

ServeSettings parse_settings(std::string_view text, const std::filesystem::path& name)
{
    ServeSettings settings;
    try {
        read_table(toml::parse(text, name.string()), {}, name, settings);
    } catch (const toml::parse_error& error) {
        throw std::runtime_error(
            fmt::format("{}:{}: {}", name.string(), error.source().begin.line, error.description()));
    }
    return settings;
}

} // namespace qnips
