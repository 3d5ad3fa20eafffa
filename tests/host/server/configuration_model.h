// A plain model of configurations and edits, to hold the engine against: values in vectors, everything found by
// searching, an edit applied by doing what RFC 6241 (7.2) and RFC 7950 (7.7.9, 7.8.6, 7.9) say and the difference found
// by comparing.
#pragma once

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "server/edit_node.h"

namespace qnips::test
{

struct ConfigNode {
    const lysc_node* schema = nullptr;
    std::string value; // of leaves and leaf-list entries
    std::vector<ConfigNode> children;

    // What tells instances of one schema node apart: the keys of an entry, the value of a leaf-list entry.
    [[nodiscard]] std::string id() const;
    [[nodiscard]] std::string step(bool root) const;
    bool operator==(const ConfigNode&) const = default;
};
using Config = std::vector<ConfigNode>;

struct EditModelNode {
    const lysc_node* schema = nullptr;
    std::string value;
    EditOperation operation = EditOperation::merge; // in force, stated or inherited
    bool stated = false;
    InsertAt insert = InsertAt::unspecified;
    std::string anchor; // the value, or the predicates of the keys
    std::vector<EditModelNode> children;

    [[nodiscard]] ConfigNode as_config() const; // without what is below it, but with keys
};
using EditModel = std::vector<EditModelNode>;

Config config_of(const lyd_node* first);

// Siblings in an order that only keeps what has a meaning: the order of entries of user-ordered lists.
Config canonical(Config siblings);

// The edit as the content of <config>.
std::string xml_of(const EditModel& edit);

// The error-tag of an edit that cannot be applied.
class ModelRefusal : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};
Config apply(Config config, const EditModel& edit, EditOperation default_operation);

// The changes as `lines_of` writes them. Which entries count as moved is taken from `moved` (paths); an exception if
// they do not explain the new order, or if fewer would.
std::vector<std::string> difference(const Config& before, const Config& after, const std::set<std::string>& moved);

} // namespace qnips::test
