#include "platform/user_order.h"

#include <iterator>

namespace qnips
{

UserOrder::UserOrder(const std::vector<std::string>& keys)
{
    for (const std::string& key : keys)
        place(key, {});
}

const std::string* UserOrder::next(std::string_view key) const
{
    const auto found = places_.find(key);
    if (found == places_.end())
        return nullptr;
    const auto next = std::next(found->second);
    return next != keys_.end() ? &*next : nullptr;
}

void UserOrder::place(const std::string& key, std::string_view next)
{
    if (key == next)
        return;
    const auto before = places_.find(next);
    const auto place = before != places_.end() ? before->second : keys_.end();
    const auto known = places_.find(key);
    if (known != places_.end()) {
        keys_.splice(place, keys_, known->second);
        return;
    }
    const auto made = keys_.insert(place, key);
    places_.emplace(*made, made);
}

void UserOrder::erase(std::string_view key)
{
    const auto found = places_.find(key);
    if (found == places_.end())
        return;
    const auto entry = found->second;
    places_.erase(found);
    keys_.erase(entry);
}

} // namespace qnips
