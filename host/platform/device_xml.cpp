#include "platform/device_xml.h"

#include <string_view>
#include <utility>

#include "platform/xml_writer.h"

namespace qnips
{

namespace
{

constexpr const char* yang_namespace = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention";

// The key leaf of each list; what has a key and stands not here is a leaf-list.
constexpr std::pair<std::string_view, std::string_view> list_keys[] = {
    {"vsys", "name"},
    {"profile", "name"},
    {"signature-set", "name"},
    {"specifed-category", "name"},
    {"sub-category", "name"},
    {"exception-signature", "id"},
    {"request-type", "start-type"},
    {"signature", "id"},
    {"signature-rule", "name"},
    {"rule-condition", "id"},
    {"session-number-signature", "signature-id"},
};

const char* key_leaf(std::string_view list)
{
    for (const auto& [name, key] : list_keys) {
        if (name == list)
            return key.data();
    }
    return nullptr;
}

void write_node(XmlWriter& writer, const DeviceStep& step, const DeviceNode& node);

void write_children(XmlWriter& writer, const DeviceNode& node)
{
    for (const std::string& key : node.order) {
        const auto child = node.children.find({"signature-set", key});
        write_node(writer, child->first, *child->second);
    }
    for (const auto& [step, child] : node.children) {
        if (node.order.empty() || step.name != "signature-set")
            write_node(writer, step, *child);
    }
}

void write_node(XmlWriter& writer, const DeviceStep& step, const DeviceNode& node)
{
    const char* name = step.name.c_str();
    const char* key = step.key.empty() ? nullptr : key_leaf(step.name);
    if (!step.key.empty() && key == nullptr)
        return writer.leaf(name, step.key);
    if (!node.value.empty())
        return writer.leaf(name, node.value);
    writer.open(name);
    if (key != nullptr)
        writer.leaf(key, step.key);
    write_children(writer, node);
    writer.close();
}

} // namespace

std::string configuration_xml(const DeviceTree& device)
{
    if (device.root().children.empty())
        return {};
    XmlWriter writer("ips-config", yang_namespace);
    write_children(writer, device.root());
    return std::move(writer).finish();
}

} // namespace qnips
