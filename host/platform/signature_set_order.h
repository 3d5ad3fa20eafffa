// The order of the signature sets of each profile, as command lines make it.
//
// The module asks for a profile's first set while an edit is under way, so even a platform that only records has to
// know this much of a device.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/command_platform.h"

namespace qnips
{

class SignatureSetOrder
{
public:
    // Adds a set behind the others, as if the device had it already.
    void append(const std::string& vsys, const std::string& profile, std::string set);

    // Carries out a line; lines about other things change nothing. Returns false, and changes nothing, when it names a
    // set that is not there.
    bool execute(const CommandLine& line);

    // Takes along all profiles of a virtual system.
    void remove_vsys(std::string_view vsys);

    // In order; empty when the profile has none or does not exist.
    [[nodiscard]] const std::vector<std::string>& sets(const std::string& vsys, const std::string& profile) const;

private:
    using Profile = std::pair<std::string, std::string>; // virtual system and name

    bool execute_in_profile(const Profile& profile, std::string_view text);
    static bool move(std::vector<std::string>& sets, std::string_view text);

    std::map<Profile, std::vector<std::string>> profiles_;
};

} // namespace qnips
