#include "platform/signature_set_order.h"

#include <algorithm>

namespace qnips
{

namespace
{

constexpr std::string_view profile_view = "profile-ips-";

bool take(std::string_view& text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

// A name in double quotes, or a single word.
std::string take_name(std::string_view& text)
{
    const char end = take(text, "\"") ? '"' : ' ';
    const std::size_t length = std::min(text.find(end), text.size());
    std::string name(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    take(text, " ");
    return name;
}

} // namespace

void SignatureSetOrder::append(const std::string& vsys, const std::string& profile, std::string set)
{
    profiles_[{vsys, profile}].push_back(std::move(set));
}

bool SignatureSetOrder::execute(const CommandLine& line)
{
    const std::string vsys = line.vsys.value_or("");
    std::string_view text = line.text;
    if (line.view == "system") {
        if (take(text, "undo profile type ips name "))
            profiles_.erase({vsys, take_name(text)});
        return true;
    }
    std::string_view profile = line.view;
    if (line.view_type != "profile-ips" || !take(profile, profile_view))
        return true;
    return execute_in_profile({vsys, std::string(profile)}, text);
}

bool SignatureSetOrder::execute_in_profile(const Profile& profile, std::string_view text)
{
    std::vector<std::string>& sets = profiles_[profile];
    if (take(text, "signature-set move "))
        return move(sets, text);

    const bool removes = take(text, "undo signature-set name ");
    if (!removes && !take(text, "signature-set name "))
        return true;
    const std::string name = take_name(text);
    const auto found = std::find(sets.begin(), sets.end(), name);
    const bool exists = found != sets.end();
    if (removes && exists)
        sets.erase(found);
    if (!removes && !exists)
        sets.push_back(name);
    return exists || !removes;
}

bool SignatureSetOrder::move(std::vector<std::string>& sets, std::string_view text)
{
    const std::string name = take_name(text);
    const bool behind = take(text, "after ");
    if (!behind && !take(text, "before "))
        return false;
    const std::string anchor = take_name(text);
    if (std::find(sets.begin(), sets.end(), name) == sets.end() ||
        std::find(sets.begin(), sets.end(), anchor) == sets.end())
        return false;
    if (name == anchor)
        return true;
    std::erase(sets, name);
    const auto place = std::find(sets.begin(), sets.end(), anchor);
    sets.insert(behind ? place + 1 : place, name);
    return true;
}

void SignatureSetOrder::remove_vsys(std::string_view vsys)
{
    std::erase_if(profiles_, [&](const auto& entry) { return entry.first.first == vsys; });
}

const std::vector<std::string>& SignatureSetOrder::sets(const std::string& vsys, const std::string& profile) const
{
    static const std::vector<std::string> none;
    const auto found = profiles_.find({vsys, profile});
    return found == profiles_.end() ? none : found->second;
}

} // namespace qnips
