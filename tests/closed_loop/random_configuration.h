// Random configurations of the module, valid by its schema, in small worlds: few names and numbers, so that edits meet.
#pragma once

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/server/configuration_model.h"
#include "platform/signature_catalogue.h"
#include "server/yang_schema.h"

namespace qnips::test
{

class RandomConfiguration
{
public:
    // Both must outlive the object. Categories are those of the catalogue, as a device knows no others.
    RandomConfiguration(const YangSchema& schema, const SignatureCatalogue& catalogue, std::mt19937& random);

    // The configuration with so many changes at random nodes of the schema: values, entries and containers that come
    // and go, entries that move, another case of a choice.
    Config changed(Config config, std::size_t changes);

    // The same with some of its entries gone, so that its size is no more than `most`.
    Config reduced(Config config, std::size_t most);

private:
    void change(Config& config);         // anywhere in the schema
    void change_present(Config& config); // where the configuration has something
    void act(Config& siblings, const lysc_node* schema, const ConfigNode& parent);
    void act_on_list(Config& siblings, const lysc_node* schema, const ConfigNode& parent);
    ConfigNode& descend(Config& siblings, const lysc_node* schema, const ConfigNode& parent);
    ConfigNode make(const lysc_node* schema, const ConfigNode& parent);
    ConfigNode frame(const lysc_node* schema, const ConfigNode& parent);
    void put(Config& siblings, ConfigNode node);
    bool may_go(const ConfigNode& node);
    std::string value(const lysc_node* leaf, const ConfigNode& parent);
    std::vector<std::string> candidates(const lysc_node* leaf) const;
    bool chance(unsigned percent) { return random_() % 100 < percent; }
    std::size_t below(std::size_t count) { return random_() % count; }

    const YangSchema& schema_;
    const SignatureCatalogue& catalogue_;
    std::mt19937& random_;
    std::vector<const lysc_node*> targets_; // all that an edit can change, keys left out
    std::unordered_map<const lysc_node*, std::vector<std::string>> values_;
};

// Nodes of what is configured per virtual system. The rest does not count: what is said of a predefined signature can
// often not be removed again.
std::size_t size_of(const Config& config);

} // namespace qnips::test
