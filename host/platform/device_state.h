// The state tree of the emulated device as XML of the YANG module: what follows from its configuration and its
// signature catalogue, and facts that are told. An emulated device sees no traffic, so all that counts traffic is zero.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/device_tree.h"
#include "platform/signature_catalogue.h"

namespace qnips
{

// What neither the configuration nor the catalogue says. Times are as in RFC 3339.
struct DeviceFacts {
    std::string engine_version = "1.0.0";
    std::string engine_start_time = "2026-01-01T00:00:00Z";
    unsigned memory_usage = 0; // percent
    std::string database_version = "1.0.0";
    std::string database_release_time = "2026-01-01T00:00:00Z";
    std::optional<std::string> previous_database_version;
    std::optional<std::string> last_update_time;
    std::string last_update_result = "none"; // a word of the YANG module
    // Profiles that every virtual system has without configuring them.
    std::vector<std::string> built_in_profiles = {"default",         "ids",         "outside_firewall", "dmz",
                                                  "inside_firewall", "mail_server", "dns_server",       "file_server",
                                                  "web_server",      "strict"};
};

// The element ips-state.
std::string state_xml(const DeviceTree& configuration, const SignatureCatalogue& catalogue,
                      const DeviceFacts& facts = {});

} // namespace qnips
