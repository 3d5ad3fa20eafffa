// Random edits over any module: mostly applicable ones, around what a configuration holds already.
#pragma once

#include <random>
#include <unordered_map>

#include "configuration_model.h"
#include "server/yang_schema.h"

namespace qnips::test
{

class RandomEdit
{
public:
    RandomEdit(const YangSchema& schema, unsigned seed) : schema_(schema), random_(seed) {}

    EditModel edit(const Config& config, EditOperation default_operation);

private:
    void add_children(EditModel& edits, const lysc_node* parent, const Config& config, EditOperation inherited);
    void add_instances(EditModel& edits, const lysc_node* schema, const Config& config, EditOperation inherited);
    EditModelNode node(const lysc_node* schema, const ConfigNode* existing, const Config& siblings,
                       EditOperation inherited);
    void add_keys(EditModelNode& edit, const ConfigNode* existing);
    void add_insert(EditModelNode& edit, const Config& siblings);
    bool in_chosen_case(const lysc_node* schema, std::unordered_map<const lysc_node*, const lysc_node*>& chosen);
    EditOperation operation(EditOperation inherited, bool& stated);
    const std::string& value(const lysc_node* schema);
    bool chance(unsigned percent) { return random_() % 100 < percent; }
    std::size_t below(std::size_t count) { return random_() % count; }

    const YangSchema& schema_;
    std::mt19937 random_;
    std::unordered_map<const lysc_node*, std::vector<std::string>> values_;
};

} // namespace qnips::test
