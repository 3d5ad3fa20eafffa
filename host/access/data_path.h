// The path of an access rule: which nodes of the data it covers (RFC 8341, node-instance-identifier).
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct lyd_node;
struct lysc_node;

namespace qnips
{

// A node of a data tree with its ancestors, the root first and the node last.
using NodeLine = std::span<const lyd_node* const>;

// Resolved to a schema node and the values that keys must have when it is read, so that a match compares pointers and
// a few values. A list without keys in the path stands for all its entries. Holds schema nodes: the schema outlives it.
class DataPath
{
public:
    // Reads a leaf of the type node-instance-identifier. Throws RpcError "invalid-value" for what is no data node, and
    // for an entry that is named by its position. What is no path at all libyang has refused before, and with it two
    // kinds that RFC 8341 knows: the variable $USER, and an entry of which only some of the keys are named.
    static DataPath read(const lyd_node* leaf);

    // Whether it covers instances of this schema node: is the path's own node, or an ancestor of it.
    [[nodiscard]] bool reaches(const lysc_node* schema) const;

    // Whether it covers all instances of the schema nodes that it reaches.
    [[nodiscard]] bool is_for_all_instances() const { return tests_.empty(); }

    // Whether it covers this instance of a schema node that it reaches.
    [[nodiscard]] bool covers(NodeLine line) const;

private:
    struct ValueTest {
        std::size_t index = 0;          // of the list entry or leaf-list entry in the line
        const lysc_node* key = nullptr; // null for a leaf-list entry, which has the value itself
        std::string value;              // canonical
    };
    class Reader;

    const lysc_node* target_ = nullptr; // null for "/": all there is
    std::vector<ValueTest> tests_;
};

} // namespace qnips
