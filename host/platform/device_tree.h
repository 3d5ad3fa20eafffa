// What a device keeps: a tree of named nodes with values, and a journal that takes back what a script has done.
//
// A script takes effect as a whole or not at all, so every change is written down until the script is accepted. The
// cost of a script is that of its lines, whatever the size of the device.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/device_limits.h"
#include "platform/user_order.h"

namespace qnips
{

// One step of a path. An entry of a list or leaf-list has a key, its value; anything else has none.
struct DeviceStep {
    std::string name;
    std::string key;

    bool operator==(const DeviceStep&) const = default;
    bool operator<(const DeviceStep& other) const { return std::tie(name, key) < std::tie(other.name, other.key); }
};

using DevicePath = std::vector<DeviceStep>;

// The path as it is shown to a user: /profiles/profile[webguard]/description.
std::string to_string(const DevicePath& path);

struct DeviceNode {
    using Children = std::map<DeviceStep, std::unique_ptr<DeviceNode>>;

    std::string value; // of a leaf
    Children children;
    UserOrder order;                                               // of the children that the user orders
    std::vector<std::pair<std::string, std::size_t>> entry_counts; // what count_of says, by name

    // How many children of this name have a key. It is kept rather than counted: a list may be long.
    [[nodiscard]] std::size_t count_of(std::string_view name) const;
};

class DeviceTree
{
public:
    explicit DeviceTree(DeviceLimits limits = {}) : limits_(std::move(limits)) {}

    // Null when there is no such node.
    [[nodiscard]] const DeviceNode* find(const DevicePath& path) const;
    [[nodiscard]] const DeviceNode& root() const { return root_; }

    // The value of a leaf; empty when there is none.
    [[nodiscard]] std::string_view value(const DevicePath& path) const;

    // Makes the node and what is missing above it, and gives it the value. Throws ListFull when it would be an entry
    // too many, or be below one; roll_back takes back what has been made above it.
    void set(const DevicePath& path, std::string value = {});

    // Takes the node away with all below it, and the containers that are left empty. False when there is none.
    bool erase(const DevicePath& path);

    // Orders the children of a node, which is made when it is missing: all of them; one before another, or behind all
    // others when `next` has no place; one no more.
    void set_order(const DevicePath& path, const std::vector<std::string>& order);
    void place(const DevicePath& path, const std::string& key, std::string_view next = {});
    void take_place(const DevicePath& path, const std::string& key);

    // What has been done since the last of the two calls stays, or is taken back.
    void commit() { undo_.clear(); }
    void roll_back();

private:
    DeviceNode* find_mutable(const DevicePath& path);
    DeviceNode& make(const DevicePath& path);
    void remember_place(DeviceNode& node, const std::string& key);
    void require_room(const DeviceNode& node, std::string_view holder, const DeviceStep& entry) const;

    DeviceLimits limits_;
    DeviceNode root_;
    std::vector<std::function<void()>> undo_;
};

} // namespace qnips
