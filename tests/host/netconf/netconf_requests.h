// Configurations and requests of the NETCONF tests, as texts.
#pragma once

#include <string>
#include <string_view>

namespace qnips::test
{

// Names written without a prefix belong to the module.
inline constexpr std::string_view ips_namespace = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention";

// The reply to an operation that has nothing to tell.
inline constexpr std::string_view ok = "<ok/>";

// "<ips-config ...>" around profiles of the virtual system "branch".
std::string config_with(const std::string& profiles);
// A profile with a name and what it has.
std::string profile(const std::string& name, const std::string& content = {});

std::string get_config(const std::string& source, const std::string& more = {});
std::string edit(const std::string& target, const std::string& config, const std::string& more = {});
std::string with_target(const std::string& operation, const std::string& target);
std::string subtree(const std::string& content);
// `expression` may use the prefix of the module.
std::string xpath(const std::string& expression);

} // namespace qnips::test
