#include "platform/device_limits.h"

#include <algorithm>
#include <string>

namespace qnips
{

namespace
{

constexpr std::size_t per_device = 262'144; // and per virtual system
constexpr std::size_t per_object = 65'536;
constexpr std::size_t signature_ids = 1024; // 1 to 1024
constexpr std::size_t condition_ids = 5;    // 0 to 4

} // namespace

DeviceLimits::DeviceLimits()
    : lists_{
          // a virtual system
          {"profiles", "profile", "profiles", per_device},
          {"user-defined-signatures", "signature", "user-defined signatures", signature_ids},
          {"exception-domain-name-information", "exception-domain-name", "exception domain names", per_device},
          // a profile
          {"signature-sets", "signature-set", "signature sets of a profile", per_object},
          {"exception-signatures", "exception-signature", "exception signatures of a profile", per_object},
          {"dns-check", "request-type", "DNS request types of a profile", per_object},
          {"x-online-host", "blacklist", "blacklisted hosts of a profile", per_object},
          {"x-forwarded-for", "whitelist", "whitelisted addresses of a profile", per_object},
          // a signature set
          {"application", "specifed-application", "applications of a signature set", per_object},
          {"protocol", "specifed-protocol", "protocols of a signature set", per_object},
          {"category", "specifed-category", "categories of a signature set", per_object},
          {"specifed-category", "sub-category", "sub-categories of a category", per_object},
          // a signature
          {"rules", "signature-rule", "rules of a signature", per_object},
          {"associated-rule", "signature-rule", "rules of an associated signature", per_object},
          {"basic-conditions", "rule-condition", "conditions of a rule", condition_ids},
          // the device
          {"predefined-signatures", "signature", "predefined signatures with settings", per_device},
          {"global-max-session-number", "session-number-signature", "session numbers of signatures", per_device},
      }
{
}

DeviceLimits DeviceLimits::of_all(std::size_t most)
{
    DeviceLimits limits;
    for (ListLimit& list : limits.lists_)
        list.most = most;
    return limits;
}

const ListLimit* DeviceLimits::find(std::string_view holder, std::string_view entry) const
{
    const auto found = std::ranges::find_if(
        lists_, [&](const ListLimit& list) { return list.entry == entry && list.holder == holder; });
    return found == lists_.end() ? nullptr : &*found;
}

void DeviceLimits::set(std::string_view holder, std::string_view entry, std::size_t most)
{
    const ListLimit* list = find(holder, entry);
    if (list == nullptr)
        throw std::out_of_range("the device has no limit for " + std::string(holder) + '/' + std::string(entry));
    lists_[static_cast<std::size_t>(list - lists_.data())].most = most;
}

ListFull::ListFull(const ListLimit& limit)
    : std::runtime_error("the list of " + std::string(limit.title) + " is full: it holds " + std::to_string(limit.most))
{
}

} // namespace qnips
