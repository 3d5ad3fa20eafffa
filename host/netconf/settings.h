// The settings of `qn-ips serve`: a TOML file. Says what stands in it, and opens nothing but the file.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "netconf/server.h"
#include "netconf/server_log.h"

namespace qnips
{

// Paths are empty where the file has none; relative ones are meant from the file's folder.
struct ServeSettings {
    std::filesystem::path state;
    std::filesystem::path socket;
    unsigned socket_mode = 0600;
    std::vector<SshEndpoint> ssh;
    std::filesystem::path host_key;
    std::filesystem::path users;
    std::filesystem::path access_rules;
    ServerLimits limits;
    LogSettings log;
};

// Both throw std::runtime_error "FILE:LINE: KEY: reason", also for a key that nobody knows. `name` is the file's.
ServeSettings load_settings(const std::filesystem::path& file);
ServeSettings parse_settings(std::string_view text, const std::filesystem::path& name);

// "127.0.0.1:830", "[::1]:830". Throws std::runtime_error.
SshEndpoint read_endpoint(const std::string& text);

// "trace", "debug", "info", "warning", "error", "off", and "text", "json". Throw std::runtime_error.
LogLevel read_log_level(std::string_view text);
LogFormat read_log_format(std::string_view text);

} // namespace qnips
