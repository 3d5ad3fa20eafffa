// What the YANG module says about a node, as far as a reader of the table or a run of the module needs it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qnips
{
class YangSchema;
}

namespace qnips::conformance
{

enum class NodeShape { container, list, leaf, leaf_list };

struct Bounds {
    std::uint64_t least = 0;
    std::uint64_t most = 0;
};

struct SchemaFacts {
    NodeShape shape = NodeShape::container;
    bool key = false;
    bool mandatory = false;
    bool ordered_by_user = false;
    std::vector<std::string> words;       // all accepted values of an enumeration or a boolean
    std::optional<Bounds> range;          // of a number
    std::vector<std::string> other_cases; // nodes that cannot stand beside it: it is a case of a choice
    std::string accepts;                  // all of it, as Markdown
    std::vector<std::string> demands;     // error messages of its must statements
    std::string type_name;                // of a text type that has a name

    [[nodiscard]] bool is_value() const { return shape == NodeShape::leaf || shape == NodeShape::leaf_list; }
    [[nodiscard]] bool is_free() const { return is_value() && words.empty(); }
};

// Facts of the node at a registered path. Throws std::invalid_argument when the schema has none.
SchemaFacts schema_facts(const YangSchema& schema, const std::string& path);

// A named type of the YANG module and its description on one line.
struct NamedType {
    std::string name;
    std::string description;
};
std::vector<NamedType> named_types(const YangSchema& schema);

// Loads the module's schema from the build's folders.
YangSchema load_schema();

} // namespace qnips::conformance
