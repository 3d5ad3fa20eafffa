#include "platform/device_reader.h"

#include <algorithm>
#include <set>
#include <string>

namespace qnips
{

DeviceReader DeviceReader::entry(std::string_view name, std::string_view key) const
{
    if (node_ == nullptr)
        return DeviceReader(nullptr);
    const auto found = node_->children.find({std::string(name), std::string(key)});
    return DeviceReader(found == node_->children.end() ? nullptr : found->second.get());
}

std::string_view DeviceReader::leaf(std::string_view name, std::string_view otherwise) const
{
    const DeviceReader found = at(name);
    return found.node_ == nullptr ? otherwise : std::string_view(found.node_->value);
}

std::vector<std::string_view> DeviceReader::keys(std::string_view name) const
{
    if (node_ == nullptr)
        return {};
    std::vector<std::string_view> keys;
    std::set<std::string_view> ordered;
    for (const std::string& key : node_->order) {
        if (entry(name, key).node_ != nullptr && ordered.insert(key).second)
            keys.emplace_back(key);
    }
    const auto end = node_->children.end();
    for (auto at = node_->children.lower_bound({std::string(name), {}}); at != end && at->first.name == name; ++at) {
        if (!ordered.contains(at->first.key))
            keys.emplace_back(at->first.key);
    }
    return keys;
}

bool DeviceReader::contains(std::string_view name) const
{
    return node_ != nullptr && std::ranges::any_of(node_->children, [&](const auto& child) {
               return child.first.name == name || DeviceReader(child.second.get()).contains(name);
           });
}

} // namespace qnips
