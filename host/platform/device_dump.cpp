#include "platform/device_dump.h"

#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/packed_text.h"

namespace qnips
{

namespace
{

// A node is its value, its order, and its children, each behind its step.
void dump_node(TextPacker& packer, const DeviceNode& node)
{
    packer.add(node.value);
    packer.add(static_cast<std::size_t>(std::distance(node.order.begin(), node.order.end())));
    for (const std::string& key : node.order)
        packer.add(key);
    packer.add(node.children.size());
    for (const auto& [step, child] : node.children) {
        packer.add(step.name);
        packer.add(step.key);
        dump_node(packer, *child);
    }
}

void restore_node(DeviceTree& tree, DevicePath& path, TextUnpacker& unpacker)
{
    tree.set(path, unpacker.text());
    std::vector<std::string> order;
    for (std::size_t places = unpacker.number(); places > 0; --places)
        order.push_back(unpacker.text());
    if (!order.empty())
        tree.set_order(path, order);
    for (std::size_t children = unpacker.number(); children > 0; --children) {
        std::string name = unpacker.text();
        path.push_back({std::move(name), unpacker.text()});
        restore_node(tree, path, unpacker);
        path.pop_back();
    }
}

} // namespace

std::string dump(const DeviceTree& tree)
{
    TextPacker packer;
    dump_node(packer, tree.root());
    return packer.packed();
}

void restore(DeviceTree& tree, std::string_view dump)
{
    TextUnpacker unpacker(dump);
    DevicePath path;
    restore_node(tree, path, unpacker);
    if (!unpacker.is_at_end())
        throw std::invalid_argument("a dump of a device goes on behind its end");
}

} // namespace qnips
