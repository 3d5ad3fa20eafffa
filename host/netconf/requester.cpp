#include "netconf/requester.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <vector>

namespace qnips
{

namespace
{

constexpr std::size_t first_guess = 1024; // bytes, doubled until an entry fits
constexpr std::size_t largest_entry = 1 << 20;

struct SystemUser {
    uid_t id = 0;
    gid_t group = 0;
};

std::optional<SystemUser> system_user(const std::string& name)
{
    for (std::size_t size = first_guess; size <= largest_entry; size *= 2) {
        std::vector<char> buffer(size);
        passwd entry{};
        passwd* found = nullptr;
        const int result = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
        if (found != nullptr)
            return SystemUser{entry.pw_uid, entry.pw_gid};
        if (result != ERANGE)
            return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> group_name(gid_t id)
{
    for (std::size_t size = first_guess; size <= largest_entry; size *= 2) {
        std::vector<char> buffer(size);
        group entry{};
        group* found = nullptr;
        const int result = getgrgid_r(id, &entry, buffer.data(), buffer.size(), &found);
        if (found != nullptr)
            return entry.gr_name;
        if (result != ERANGE)
            return std::nullopt;
    }
    return std::nullopt;
}

std::vector<gid_t> group_ids(const std::string& name, gid_t group)
{
    int count = 0;
    getgrouplist(name.c_str(), group, nullptr, &count); // tells how many there are
    std::vector<gid_t> ids(static_cast<std::size_t>(count));
    if (getgrouplist(name.c_str(), group, ids.data(), &count) < 0)
        ids.clear();
    return ids;
}

} // namespace

AccessUser local_user(const std::string& name)
{
    AccessUser user{.name = name};
    const std::optional<SystemUser> known = system_user(name);
    if (!known)
        return user;
    user.is_recovery = known->id == 0 || known->id == geteuid();
    for (const gid_t id : group_ids(name, known->group))
        if (auto group = group_name(id))
            user.groups.push_back(std::move(*group));
    return user;
}

} // namespace qnips
