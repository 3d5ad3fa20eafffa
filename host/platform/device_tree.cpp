#include "platform/device_tree.h"

#include <algorithm>
#include <utility>

namespace qnips
{

namespace
{

using EntryCount = std::pair<std::string, std::size_t>;

// A child that has a key is one more of its list.
void count_in(DeviceNode& node, const DeviceStep& child)
{
    if (child.key.empty())
        return;
    const auto count = std::ranges::find(node.entry_counts, child.name, &EntryCount::first);
    if (count == node.entry_counts.end())
        node.entry_counts.emplace_back(child.name, 1);
    else
        ++count->second;
}

void count_out(DeviceNode& node, const DeviceStep& child)
{
    if (!child.key.empty())
        --std::ranges::find(node.entry_counts, child.name, &EntryCount::first)->second;
}

} // namespace

std::size_t DeviceNode::count_of(std::string_view name) const
{
    const auto count = std::ranges::find(entry_counts, name, &EntryCount::first);
    return count == entry_counts.end() ? 0 : count->second;
}

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
    std::string_view holder;
    bool is_new = false;
    for (const DeviceStep& step : path) {
        auto child = node->children.find(step);
        if (child == node->children.end()) {
            require_room(*node, holder, step);
            child = node->children.emplace(step, std::make_unique<DeviceNode>()).first;
            count_in(*node, step);
            if (!is_new) {
                undo_.emplace_back([node, step] {
                    node->children.erase(step);
                    count_out(*node, step);
                });
            }
            is_new = true;
        }
        node = child->second.get();
        holder = step.name;
    }
    return *node;
}

void DeviceTree::require_room(const DeviceNode& node, std::string_view holder, const DeviceStep& entry) const
{
    if (entry.key.empty())
        return;
    const ListLimit* limit = limits_.find(holder, entry.name);
    if (limit != nullptr && node.count_of(entry.name) >= limit->most)
        throw ListFull(*limit);
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
    count_out(*parent, path.back());
    // A function object must be copyable, a node handle is not.
    auto kept = std::make_shared<DeviceNode::Children::node_type>(std::move(taken));
    undo_.emplace_back([parent, kept] {
        count_in(*parent, kept->key());
        parent->children.insert(std::move(*kept));
    });

    const bool is_container = !parent_path.empty() && parent_path.back().key.empty();
    if (is_container && parent->children.empty())
        erase(parent_path);
    return true;
}

void DeviceTree::set_order(const DevicePath& path, const std::vector<std::string>& order)
{
    DeviceNode& node = make(path);
    // A function object must be copyable, an order is not.
    undo_.emplace_back(
        [&node, old = std::make_shared<UserOrder>(std::move(node.order))] { node.order = std::move(*old); });
    node.order = UserOrder(order);
}

void DeviceTree::place(const DevicePath& path, const std::string& key, std::string_view next)
{
    DeviceNode& node = make(path);
    remember_place(node, key);
    node.order.place(key, next);
}

void DeviceTree::take_place(const DevicePath& path, const std::string& key)
{
    DeviceNode& node = make(path);
    remember_place(node, key);
    node.order.erase(key);
}

void DeviceTree::remember_place(DeviceNode& node, const std::string& key)
{
    if (!node.order.contains(key)) {
        undo_.emplace_back([&node, key] { node.order.erase(key); });
        return;
    }
    const std::string* next = node.order.next(key);
    undo_.emplace_back([&node, key, next = next != nullptr ? *next : std::string()] { node.order.place(key, next); });
}

void DeviceTree::roll_back()
{
    while (!undo_.empty()) {
        undo_.back()();
        undo_.pop_back();
    }
}

} // namespace qnips
