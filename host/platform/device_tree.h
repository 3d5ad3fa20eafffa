// What a device keeps: a tree of named nodes with values, and a journal that takes back what a script has done.
//
// A script takes effect as a whole or not at all, so every change is written down until the script is accepted. The
// cost of a script is that of its lines, whatever the size of the device.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

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
    std::vector<std::string> order; // keys of the children that the user orders
};

class DeviceTree
{
public:
    // Null when there is no such node.
    [[nodiscard]] const DeviceNode* find(const DevicePath& path) const;
    [[nodiscard]] const DeviceNode& root() const { return root_; }

    // The value of a leaf; empty when there is none.
    [[nodiscard]] std::string_view value(const DevicePath& path) const;

    // Makes the node and what is missing above it, and gives it the value.
    void set(const DevicePath& path, std::string value = {});

    // Takes the node away with all below it, and the containers that are left empty. False when there is none.
    bool erase(const DevicePath& path);

    // Orders the children of a node, which is made when it is missing.
    void set_order(const DevicePath& path, std::vector<std::string> order);

    // What has been done since the last of the two calls stays, or is taken back.
    void commit() { undo_.clear(); }
    void roll_back();

private:
    DeviceNode* find_mutable(const DevicePath& path);
    DeviceNode& make(const DevicePath& path);

    DeviceNode root_;
    std::vector<std::function<void()>> undo_;
};

} // namespace qnips
