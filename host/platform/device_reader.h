// Reading a part of the device's tree without asking at each step whether it is there: what is missing is empty.
#pragma once

#include <string_view>
#include <vector>

#include "platform/device_tree.h"

namespace qnips
{

// A node of the tree or its absence. Valid until the tree changes.
class DeviceReader
{
public:
    explicit DeviceReader(const DeviceTree& tree) : node_(&tree.root()) {}

    [[nodiscard]] bool exists() const { return node_ != nullptr; }

    // A node below this one, by the names of the steps that lead there.
    template <typename... Names>
    [[nodiscard]] DeviceReader at(std::string_view name, Names... deeper) const
    {
        const DeviceReader next = entry(name, {});
        if constexpr (sizeof...(deeper) == 0)
            return next;
        else
            return next.at(deeper...);
    }

    // An entry of a list.
    [[nodiscard]] DeviceReader entry(std::string_view name, std::string_view key) const;

    // The value of a leaf below this node; `otherwise` when it is missing.
    [[nodiscard]] std::string_view leaf(std::string_view name, std::string_view otherwise = {}) const;

    // Keys of the list `name`, or values of the leaf-list: first those that the user has ordered, in that order.
    [[nodiscard]] std::vector<std::string_view> keys(std::string_view name) const;

    // Whether there is a node of this name anywhere below this one.
    [[nodiscard]] bool contains(std::string_view name) const;

private:
    explicit DeviceReader(const DeviceNode* node) : node_(node) {}

    const DeviceNode* node_; // null when there is none
};

} // namespace qnips
