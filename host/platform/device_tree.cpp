#include "platform/device_tree.h"

#include <utility>

namespace qnips
{

std::string to_string(const DevicePath& path)
{
    std::string text;
    for (const DeviceStep& step : path) {
        text += '/' + step.name;
        if (!step.key.empty())
            text += '[' + step.key + ']';
    }
    return text;
}

const DeviceNode* DeviceTree::find(const DevicePath& path) const
{
    const DeviceNode* node = &root_;
    for (const DeviceStep& step : path) {
        const auto found = node->children.find(step);
        if (found == node->children.end())
            return nullptr;
        node = found->second.get();
    }
    return node;
}

DeviceNode* DeviceTree::find_mutable(const DevicePath& path)
{
    return const_cast<DeviceNode*>(std::as_const(*this).find(path));
}

std::string_view DeviceTree::value(const DevicePath& path) const
{
    const DeviceNode* node = find(path);
    return node == nullptr ? std::string_view() : std::string_view(node->value);
}

// Only the topmost new node is written down: taking it back takes along what was made below it.
DeviceNode& DeviceTree::make(const DevicePath& path)
{
    DeviceNode* node = &root_;
    bool is_new = false;
    for (const DeviceStep& step : path) {
        const auto [child, inserted] = node->children.try_emplace(step);
        if (inserted) {
            child->second = std::make_unique<DeviceNode>();
            if (!is_new)
                undo_.emplace_back([node, step] { node->children.erase(step); });
            is_new = true;
        }
        node = child->second.get();
    }
    return *node;
}

void DeviceTree::set(const DevicePath& path, std::string value)
{
    DeviceNode& node = make(path);
    if (node.value == value)
        return;
    undo_.emplace_back([&node, old = node.value] { node.value = old; });
    node.value = std::move(value);
}

bool DeviceTree::erase(const DevicePath& path)
{
    if (path.empty())
        return false;
    const DevicePath parent_path(path.begin(), path.end() - 1);
    DeviceNode* parent = find_mutable(parent_path);
    if (parent == nullptr)
        return false;
    auto taken = parent->children.extract(path.back());
    if (taken.empty())
        return false;
    // A function object must be copyable, a node handle is not.
    auto kept = std::make_shared<DeviceNode::Children::node_type>(std::move(taken));
    undo_.emplace_back([parent, kept] { parent->children.insert(std::move(*kept)); });

    const bool is_container = !parent_path.empty() && parent_path.back().key.empty();
    if (is_container && parent->children.empty())
        erase(parent_path);
    return true;
}

void DeviceTree::set_order(const DevicePath& path, std::vector<std::string> order)
{
    DeviceNode& node = make(path);
    undo_.emplace_back([&node, old = node.order] { node.order = old; });
    node.order = std::move(order);
}

void DeviceTree::roll_back()
{
    while (!undo_.empty()) {
        undo_.back()();
        undo_.pop_back();
    }
}

} // namespace qnips
