// The order of signature sets: after an edit the device has them in the order of the datastore, whatever the edit
// creates, moves and removes, and no set is moved that could have stayed.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "platform/signature_set_order.h"
#include "server/edit_engine.h"
#include "server/known_order.h"
#include "server/module_loader.h"
#include "server/node_table.h"

namespace qnips
{

namespace
{

using Names = std::vector<std::string>;

// A device that has one profile and refuses to order a set that it does not know.
class OrderedDevice final : public CommandPlatform
{
public:
    std::optional<PlatformError> execute(std::span<const CommandLine> script, int) override
    {
        for (const CommandLine& line : script) {
            if (!order.execute(line))
                return PlatformError{NC_ERR_COMMAND_EXECUTE, "no such signature set", line};
            if (line.text.starts_with("signature-set move "))
                ++moves;
        }
        return std::nullopt;
    }
    std::optional<PlatformError> remove_vsys(std::string_view name) override
    {
        order.remove_vsys(name);
        return std::nullopt;
    }
    PlatformAnswer configuration() override { return PlatformAnswer::none(); }
    PlatformAnswer state() override { return PlatformAnswer::none(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        const Names& sets = order.sets(std::string(vsys), std::string(profile));
        return sets.empty() ? PlatformAnswer::none() : PlatformAnswer::of(sets.front());
    }

    SignatureSetOrder order;
    std::size_t moves = 0;
};

std::string in_profile(const std::string& sets)
{
    return fmt::format("<ips-config xmlns=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\">"
                       "<user-defined-ips><vsys><name>branch</name><profiles><profile><name>webguard</name>"
                       "<signature-sets>{}</signature-sets></profile></profiles></vsys></user-defined-ips>"
                       "</ips-config>",
                       sets);
}

std::string configuration(const Names& sets)
{
    std::string text;
    for (const std::string& name : sets)
        text += fmt::format("<signature-set><name>{}</name></signature-set>", name);
    return in_profile(text);
}

std::string edit(const std::string& entries)
{
    return fmt::format("<config xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                       "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                       "xmlns:yang=\"urn:ietf:params:xml:ns:yang:1\" "
                       "xmlns:q=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\">{}</config>",
                       in_profile(entries));
}

std::string entry(const std::string& attributes, const std::string& name)
{
    return fmt::format("<signature-set {}><name>{}</name></signature-set>", attributes, name);
}

// Composes an edit and does, on a plain list, what RFC 7950 (7.8.6) says about each of its entries.
class EditOfSets
{
public:
    EditOfSets(Names sets, std::mt19937& random) : sets_(std::move(sets)), random_(random) {}

    void add_random(const std::string& name)
    {
        const bool exists = position(name) != sets_.end();
        switch (below(exists ? 6 : 5)) {
        case 0:
            merge(name, exists);
            break;
        case 1:
            place(name, "yang:insert='first'", 0);
            break;
        case 2:
            place(name, "yang:insert='last'", sets_.size() - (exists ? 1 : 0));
            break;
        case 3:
            place_beside(name, "before");
            break;
        case 4:
            place_beside(name, "after");
            break;
        default:
            text_ += entry("nc:operation='delete'", name);
            sets_.erase(position(name));
        }
    }

    [[nodiscard]] const std::string& text() const { return text_; }
    [[nodiscard]] const Names& sets() const { return sets_; }

private:
    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

    Names::iterator position(const std::string& name) { return std::find(sets_.begin(), sets_.end(), name); }

    void merge(const std::string& name, bool exists)
    {
        text_ += entry("", name);
        if (!exists)
            sets_.push_back(name);
    }

    void place(const std::string& name, const std::string& attributes, std::size_t index)
    {
        text_ += entry(attributes, name);
        std::erase(sets_, name);
        sets_.insert(sets_.begin() + static_cast<std::ptrdiff_t>(index), name);
    }

    void place_beside(const std::string& name, const std::string& where)
    {
        Names anchors = sets_;
        std::erase(anchors, name);
        if (anchors.empty()) {
            merge(name, position(name) != sets_.end());
            return;
        }
        const std::size_t anchor = below(anchors.size());
        place(name, fmt::format("yang:insert='{}' yang:key=\"[q:name='{}']\"", where, anchors[anchor]),
              anchor + (where == "after" ? 1 : 0));
    }

    Names sets_;
    std::mt19937& random_;
    std::string text_;
};

Names sets_of(const ConfigTree& tree)
{
    SignatureSetOrder order;
    append_signature_sets(tree, order);
    return order.sets("branch", "webguard");
}

// The entries of `after` that were there before and cannot all stay: those outside a longest common subsequence.
std::size_t least_moves(const Names& before, const Names& after)
{
    std::vector<std::size_t> kept;
    for (const std::string& name : after) {
        const auto found = std::find(before.begin(), before.end(), name);
        if (found != before.end())
            kept.push_back(static_cast<std::size_t>(found - before.begin()));
    }
    std::vector<std::size_t> longest(kept.size(), 1);
    for (std::size_t i = 0; i < kept.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (kept[j] < kept[i])
                longest[i] = std::max(longest[i], longest[j] + 1);
    return kept.size() - (longest.empty() ? 0 : *std::max_element(longest.begin(), longest.end()));
}

std::size_t added(const Names& before, const Names& after)
{
    return static_cast<std::size_t>(std::count_if(after.begin(), after.end(), [&](const std::string& name) {
        return std::find(before.begin(), before.end(), name) == before.end();
    }));
}

class SignatureSetPlaces : public ::testing::TestWithParam<unsigned>
{
protected:
    const YangSchema schema_{{QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR}};
    const PluginModule module_{QN_IPS_MODULE};
    const NodeTable table_{module_.rows(), schema_};
    std::mt19937 random_{GetParam()};

    Names random_names(std::size_t count, std::size_t first)
    {
        Names names;
        for (std::size_t i = first; i < first + count; ++i)
            names.push_back(random_() % 2 == 0 ? fmt::format("set{}", i) : fmt::format("set {}", i));
        return names;
    }

    void check_round()
    {
        const Names before = random_names(random_() % 8, 0);
        Names named = before;
        for (const std::string& name : random_names(random_() % 4, 100))
            named.push_back(name);
        std::shuffle(named.begin(), named.end(), random_);
        named.resize(random_() % (named.size() + 1));

        EditOfSets composed(before, random_);
        for (const std::string& name : named)
            composed.add_random(name);
        if (named.empty())
            return;
        SCOPED_TRACE(fmt::format("before: {}\nedit: {}", fmt::join(before, ", "), composed.text()));

        OrderedDevice device;
        ConfigTree running =
            before.empty() ? ConfigTree() : ConfigTree(schema_.parse_configuration(configuration(before)));
        append_signature_sets(running, device.order);
        EditEngine engine(schema_, table_, std::move(running));
        engine.edit(parse_edit_request(schema_, edit(composed.text())), device, AfterEdit::keep);

        EXPECT_EQ(sets_of(engine.running()), composed.sets());
        EXPECT_EQ(device.order.sets("branch", "webguard"), composed.sets());
        // A new set is told its place as well, unless it is the only one.
        EXPECT_LE(device.moves, least_moves(before, composed.sets()) + added(before, composed.sets()));
    }
};

TEST_P(SignatureSetPlaces, DeviceHasTheOrderOfTheDatastoreAfterAnyEdit)
{
    constexpr int rounds = 400;
    for (int round = 0; round < rounds && !HasFailure(); ++round)
        check_round();
}

INSTANTIATE_TEST_SUITE_P(Seeds, SignatureSetPlaces, ::testing::Range(1U, 6U));

} // namespace

} // namespace qnips
