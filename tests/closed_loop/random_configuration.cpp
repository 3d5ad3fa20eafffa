#include "random_configuration.h"

#include <algorithm>
#include <array>
#include <set>
#include <stdexcept>
#include <string_view>

#include <libyang/libyang.h>

#include "configuration_rules.h"

namespace qnips::test
{

namespace
{

struct Words {
    std::string_view leaf; // last steps of its path
    std::vector<std::string> words;
};

// What leaves of free text and numbers are given. Words that commands are made of stand among them.
const std::vector<Words>& words()
{
    static const std::vector<std::string> names = {"web", "mail", "wide  gap", "default", "a;b#c\\"};
    static const std::vector<std::string> predefined = {"1025", "1026", "1100", "16777216"};
    static const std::vector<std::string> networks = {"10.0.0.1", "10.0.0.1/32", "10.0.0.0/8",
                                                      "fc00::1",  "fc00::1/128", "FC00::/7"};
    static const std::vector<std::string> ends = {"10.0.0.1",    "10.0.0.1/32", "9.0.0.3",
                                                  "fc00::2/128", "fc00::1",     "fc00::3"};
    static const std::vector<std::string> ports = {"1", "80", "8080", "65535"};
    static const std::vector<std::string> types = {"0", "1", "28", "35", "65535"};
    static const std::vector<Words> all = {
        {"vsys/name", {"public", "branch", "site 2"}},
        {"profile/name", names},
        {"signature-set/name", {"first", "second", "third set", "4", "after"}},
        {"description", {"x", "wide  gap", "\"in marks\" and 'more'", "enable", std::string(255, 'd')}},
        {"specifed-application", {"web-server", "database", "all-in-one", "application"}},
        {"specifed-protocol", {"HTTP", "DNS", "TLS"}},
        {"exception-domain-name", {"example.com", "*.example.org", "a-b.test"}},
        {"exception-signature/id", {"7", "1024", "1025", "16777216"}},
        {"start-type", types},
        {"end-type", types},
        {"blacklist", {"bad.example", "*.example", "all", "check"}},
        {"whitelist", {"192.0.2.1", "192.0.2.2", "all"}},
        {"user-defined-signatures/signature/id", {"1", "2", "17", "1024"}},
        {"user-defined-signatures/signature/name", {"Traversal", "wide  gap", "name"}},
        {"protocol-rules/protocol", {"HTTP", "DNS"}},
        {"associated-rule/protocol", {"HTTP", "SSH"}},
        {"signature-rule/name", {"upward", "wide  gap", "-rule-"}},
        {"source-ip", networks},
        {"destination-ip", networks},
        {"start-ip", ends},
        {"end-ip", ends},
        {"start-port", ports},
        {"end-port", ports},
        {"field-name", {"URI", "Host", "value"}},
        {"rule-condition/value", {"abc", "wide  gap", "offset", "5", std::string(253, 'v')}},
        {"qualifier-http-method", {"GET", "POST", "direction"}},
        {"associated-condition/signature-id", {"1", "1025", "16777216"}},
        {"predefined-signatures/signature/id", predefined},
        {"session-number-signature/signature-id", predefined},
    };
    return all;
}

// For the other leaves, those that the type accepts.
constexpr std::array numbers = {"0", "1", "2", "3", "4", "5", "7", "10", "30", "50", "60", "500", "1000", "65535"};

// A category that the schema accepts and the device refuses.
const std::string unknown_to_the_device = "Unheard-of";

bool is_term(const lysc_node* schema)
{
    return (schema->nodetype & LYD_NODE_TERM) != 0;
}

std::string plain_path(const lysc_node* schema)
{
    std::string path;
    for (; schema != nullptr; schema = lysc_data_parent(schema))
        path.insert(0, schema->name).insert(0, 1, '/');
    return path;
}

void collect_targets(const lysc_node* parent, const lys_module* module, std::vector<const lysc_node*>& targets)
{
    const lysc_node* schema = nullptr;
    while ((schema = lys_getnext(schema, parent, module->compiled, 0)) != nullptr) {
        if ((schema->flags & LYS_CONFIG_R) != 0 || lysc_is_key(schema))
            continue;
        targets.push_back(schema);
        if (!is_term(schema))
            collect_targets(schema, module, targets);
    }
}

std::vector<std::size_t> instances(const Config& siblings, const lysc_node* schema)
{
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < siblings.size(); ++place)
        if (siblings[place].schema == schema)
            places.push_back(place);
    return places;
}

void erase_at(Config& siblings, std::size_t place)
{
    siblings.erase(siblings.begin() + static_cast<std::ptrdiff_t>(place));
}

struct Spot {
    Config* siblings;
    std::size_t place;
    const ConfigNode* parent;
};

void collect_spots(Config& siblings, const ConfigNode& parent, std::vector<Spot>& spots)
{
    for (std::size_t place = 0; place < siblings.size(); ++place) {
        ConfigNode& node = siblings[place];
        if (lysc_is_key(node.schema))
            continue;
        spots.push_back({&siblings, place, &parent});
        collect_spots(node.children, node, spots);
    }
}

// Whether it is an entry that the module lets go, whatever it holds.
bool is_free_entry(const Spot& spot)
{
    static const std::set<std::string_view> lists = {"vsys",           "profile",      "signature-set",
                                                     "signature-rule", "request-type", "exception-signature"};
    ConfigNode& node = (*spot.siblings)[spot.place];
    const bool is_own = std::string_view(node.schema->name) == "signature" && child(node, "associated-enable");
    return is_own || lists.contains(node.schema->name);
}

std::size_t node_count(const Config& config)
{
    std::size_t count = config.size();
    for (const ConfigNode& node : config)
        count += node_count(node.children);
    return count;
}

} // namespace

std::size_t size_of(const Config& config)
{
    std::size_t count = 0;
    for (const ConfigNode& root : config)
        for (const ConfigNode& part : root.children)
            count += std::string_view(part.schema->name) == "user-defined-ips" ? node_count(part.children) : 0;
    return count;
}

RandomConfiguration::RandomConfiguration(const YangSchema& schema, const SignatureCatalogue& catalogue,
                                         std::mt19937& random)
    : schema_(schema), catalogue_(catalogue), random_(random)
{
    collect_targets(nullptr, schema.module(), targets_);
}

Config RandomConfiguration::changed(Config config, std::size_t changes)
{
    for (; changes > 0; --changes) {
        if (chance(20))
            change_present(config);
        else
            change(config);
        make_valid(config, [this](const lysc_node* leaf, const ConfigNode& parent) { return value(leaf, parent); });
    }
    return config;
}

Config RandomConfiguration::reduced(Config config, std::size_t most)
{
    const ConfigNode root;
    std::vector<Spot> spots;
    while (size_of(config) > most) {
        spots.clear();
        collect_spots(config, root, spots);
        std::erase_if(spots, [](const Spot& spot) { return !is_free_entry(spot); });
        if (spots.empty())
            break;
        const Spot& spot = spots[below(spots.size())];
        erase_at(*spot.siblings, spot.place);
    }
    return changed(std::move(config), 0);
}

void RandomConfiguration::change(Config& config)
{
    const lysc_node* target = targets_[below(targets_.size())];
    std::vector<const lysc_node*> way;
    for (const lysc_node* up = lysc_data_parent(target); up != nullptr; up = lysc_data_parent(up))
        way.insert(way.begin(), up);

    ConfigNode root;
    ConfigNode* parent = &root;
    Config* siblings = &config;
    for (const lysc_node* step : way) {
        parent = &descend(*siblings, step, *parent);
        siblings = &parent->children;
    }
    act(*siblings, target, *parent);
}

void RandomConfiguration::change_present(Config& config)
{
    const ConfigNode root;
    std::vector<Spot> spots;
    collect_spots(config, root, spots);
    if (spots.empty())
        return;
    const Spot& spot = spots[below(spots.size())];
    const ConfigNode& node = (*spot.siblings)[spot.place];
    if (chance(50))
        act(*spot.siblings, node.schema, *spot.parent);
    else if ((node.schema->flags & LYS_MAND_TRUE) == 0 && may_go(node))
        erase_at(*spot.siblings, spot.place);
}

// An instance on the way to the node that changes: mostly one that is there.
ConfigNode& RandomConfiguration::descend(Config& siblings, const lysc_node* schema, const ConfigNode& parent)
{
    const std::vector<std::size_t> there = instances(siblings, schema);
    if (!there.empty() && (schema->nodetype != LYS_LIST || chance(85)))
        return siblings[there[below(there.size())]];
    ConfigNode fresh = frame(schema, parent);
    const std::string id = fresh.id();
    for (const std::size_t place : there)
        if (siblings[place].id() == id)
            return siblings[place];
    keep_case_of(siblings, schema);
    siblings.push_back(std::move(fresh));
    return siblings.back();
}

void RandomConfiguration::act(Config& siblings, const lysc_node* schema, const ConfigNode& parent)
{
    if ((schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0)
        return act_on_list(siblings, schema, parent);
    const std::vector<std::size_t> there = instances(siblings, schema);
    const bool mandatory = (schema->flags & LYS_MAND_TRUE) != 0;
    if (!there.empty() && !mandatory && chance(45)) {
        if (may_go(siblings[there.front()]))
            erase_at(siblings, there.front());
        return;
    }
    put(siblings, make(schema, parent));
}

void RandomConfiguration::act_on_list(Config& siblings, const lysc_node* schema, const ConfigNode& parent)
{
    const std::vector<std::size_t> there = instances(siblings, schema);
    if (lysc_is_userordered(schema) && there.size() > 1 && chance(60)) {
        std::swap(siblings[there[below(there.size())]], siblings[there[below(there.size())]]);
        return;
    }
    if (!there.empty() && chance(45)) {
        const std::size_t place = there[below(there.size())];
        if (may_go(siblings[place]))
            erase_at(siblings, place);
        return;
    }
    put(siblings, make(schema, parent));
}

void RandomConfiguration::put(Config& siblings, ConfigNode node)
{
    keep_case_of(siblings, node.schema);
    for (ConfigNode& other : siblings) {
        if (other.schema != node.schema || other.id() != node.id())
            continue;
        if (may_go(other))
            other = std::move(node);
        return;
    }
    siblings.push_back(std::move(node));
}

// Small ones always; the larger a node is, the less often, or no configuration would ever grow.
bool RandomConfiguration::may_go(const ConfigNode& node)
{
    return below(1 + node_count(node.children)) < 10;
}

ConfigNode RandomConfiguration::frame(const lysc_node* schema, const ConfigNode& parent)
{
    ConfigNode node{schema, {}, {}};
    for (const lysc_node* key = lysc_node_child(schema); key != nullptr && lysc_is_key(key); key = key->next)
        node.children.push_back({key, value(key, parent), {}});
    return node;
}

ConfigNode RandomConfiguration::make(const lysc_node* schema, const ConfigNode& parent)
{
    if (is_term(schema))
        return {schema, value(schema, parent), {}};
    ConfigNode node = frame(schema, parent);
    const lysc_node* below_it = nullptr;
    while ((below_it = lys_getnext(below_it, schema, nullptr, 0)) != nullptr) {
        const bool many = (below_it->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0;
        if (lysc_is_key(below_it) || !chance(many ? 50 : 40))
            continue;
        for (std::size_t count = many ? 1 + below(2) : 1; count > 0; --count)
            put(node.children, make(below_it, node));
    }
    return node;
}

std::string RandomConfiguration::value(const lysc_node* leaf, const ConfigNode& parent)
{
    if (lysc_is_key(leaf) && std::string_view(leaf->parent->name) == "sub-category") {
        const auto category =
            std::find_if(catalogue_.categories().begin(), catalogue_.categories().end(),
                         [&](const Category& known) { return known.name == parent.children.front().value; });
        if (category == catalogue_.categories().end())
            return unknown_to_the_device;
        return category->sub_categories[below(category->sub_categories.size())];
    }
    if (lysc_is_key(leaf) && std::string_view(leaf->parent->name) == "specifed-category" && chance(3))
        return unknown_to_the_device;
    std::vector<std::string>& known = values_[leaf];
    if (known.empty())
        known = candidates(leaf);
    return known[below(known.size())];
}

std::vector<std::string> RandomConfiguration::candidates(const lysc_node* leaf) const
{
    const std::string path = plain_path(leaf);
    std::vector<std::string> accepted;
    if (path.ends_with("/specifed-category/name"))
        for (const Category& category : catalogue_.categories())
            if (!category.sub_categories.empty())
                accepted.push_back(category.name);
    for (const Words& known : words())
        if (path.ends_with(std::string(1, '/').append(known.leaf)))
            return known.words;
    const lysc_type* type = reinterpret_cast<const lysc_node_leaf*>(leaf)->type;
    if (type->basetype == LY_TYPE_BOOL)
        accepted = {"true", "false"};
    if (type->basetype == LY_TYPE_ENUM) {
        const lysc_type_bitenum_item* items = reinterpret_cast<const lysc_type_enum*>(type)->enums;
        for (LY_ARRAY_COUNT_TYPE i = 0; i < LY_ARRAY_COUNT(items); ++i)
            accepted.emplace_back(items[i].name);
    }
    if (!accepted.empty())
        return accepted;
    for (const char* number : numbers)
        if (lyd_value_validate(schema_.context(), leaf, number, std::string_view(number).size(), nullptr, nullptr,
                               nullptr) == LY_SUCCESS)
            accepted.emplace_back(number);
    if (accepted.empty())
        throw std::logic_error("no value known for " + path);
    return accepted;
}

} // namespace qnips::test
