#include "platform/device_state.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

#include "platform/device_reader.h"
#include "platform/signature_selection.h"
#include "platform/xml_writer.h"

namespace qnips
{

namespace
{

constexpr const char* yang_namespace = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention";
constexpr std::string_view root_system = "public";

// Hits, packets, policies: nothing reaches an emulated device and nothing refers to it.
constexpr std::uint64_t none_seen = 0;

// A user-defined signature, as far as signature sets look at it: it belongs to no application, operating system or
// category, so that a set that names some does not select it.
Signature user_defined_signature(const DeviceReader& entry)
{
    const DeviceReader rules = entry.at("signature-rule-information");
    Signature signature;
    signature.severity = entry.leaf("severity", signature.severity);
    signature.target = entry.leaf("target", signature.target);
    signature.protocol = rules.at("protocol-rules").leaf("protocol", rules.at("associated-rule").leaf("protocol"));
    return signature;
}

// By number: the tree has them by their texts.
std::vector<std::string_view> in_order(std::vector<std::string_view> ids)
{
    std::ranges::stable_sort(ids, {}, [](std::string_view id) { return std::pair(id.size(), id); });
    return ids;
}

class StateWriter
{
public:
    StateWriter(const DeviceTree& configuration, const SignatureCatalogue& catalogue, const DeviceFacts& facts)
        : configuration_(configuration), catalogue_(catalogue), facts_(facts), xml_("ips-state", yang_namespace)
    {
    }

    std::string write() &&
    {
        write_engine();
        write_database();
        write_predefined_signatures();
        write_categories();
        write_statistics();
        return std::move(xml_).finish();
    }

private:
    void write_engine();
    void write_database();
    void write_predefined_signatures();
    void write_predefined_signature(const Signature& signature);
    void write_correlation(const Signature& signature, const DeviceReader& configured);
    void write_categories();
    void write_statistics();
    void write_vsys(std::string_view name);
    void write_profile(std::string_view name, const DeviceReader& profile, const std::vector<Signature>& user_defined);
    void write_user_defined_signature(std::string_view id, const DeviceReader& signature);

    [[nodiscard]] std::vector<std::string_view> vsys_names() const;
    [[nodiscard]] std::vector<std::string_view> profile_names(const DeviceReader& profiles) const;
    [[nodiscard]] DeviceReader vsys(std::string_view name) const
    {
        return configuration_.at("user-defined-ips").entry("vsys", name);
    }

    DeviceReader configuration_;
    const SignatureCatalogue& catalogue_;
    const DeviceFacts& facts_;
    XmlWriter xml_;
};

void StateWriter::write_engine()
{
    xml_.open("engine");
    xml_.leaf("status", "running");
    xml_.leaf("version", facts_.engine_version);
    xml_.leaf("start-time", facts_.engine_start_time);
    xml_.leaf("memory-usage", facts_.memory_usage);
    xml_.leaf("current-sessions", none_seen);
    xml_.leaf("inspected-packets", none_seen);
    xml_.leaf("inspected-bytes", none_seen);
    xml_.leaf("bypassed-packets", none_seen);
    xml_.leaf("blocked-packets", none_seen);
    xml_.leaf("blocked-addresses", none_seen);
    xml_.close();
}

void StateWriter::write_database()
{
    std::size_t user_defined = 0;
    for (const std::string_view name : vsys_names())
        user_defined += vsys(name).at("user-defined-signatures").keys("signature").size();

    xml_.open("signature-database");
    xml_.leaf("version", facts_.database_version);
    xml_.leaf("release-time", facts_.database_release_time);
    if (facts_.previous_database_version)
        xml_.leaf("previous-version", *facts_.previous_database_version);
    if (facts_.last_update_time)
        xml_.leaf("last-update-time", *facts_.last_update_time);
    xml_.leaf("last-update-result", facts_.last_update_result);
    xml_.leaf("predefined-signature-count", catalogue_.signatures().size());
    xml_.leaf("user-defined-signature-count", user_defined);
    xml_.close();
}

void StateWriter::write_predefined_signatures()
{
    xml_.open("predefined-signatures");
    for (const Signature& signature : catalogue_.signatures())
        write_predefined_signature(signature);
    xml_.close();
}

void StateWriter::write_predefined_signature(const Signature& signature)
{
    const std::string id = std::to_string(signature.id);
    const DeviceReader configured = configuration_.at("predefined-signatures").entry("signature", id);
    const std::string_view state_of_all =
        configuration_.at("global-config").leaf("global-signature-state", signature.default_state);

    xml_.open("signature");
    xml_.leaf("id", id);
    xml_.leaf("name", signature.name);
    xml_.leaf("description", signature.description);
    xml_.leaf("severity", signature.severity);
    xml_.leaf("target", signature.target);
    for (const std::string& system : signature.operating_systems)
        xml_.leaf("operating-system", system);
    for (const std::string& application : signature.applications)
        xml_.leaf("application", application);
    xml_.leaf("protocol", signature.protocol);
    xml_.leaf("category", signature.category);
    if (!signature.sub_category.empty())
        xml_.leaf("sub-category", signature.sub_category);
    xml_.leaf("default-action", signature.default_action);
    xml_.leaf("state", configured.leaf("config-state", state_of_all));
    write_correlation(signature, configured.at("associated-condition"));
    xml_.leaf("hit-count", none_seen);
    xml_.close();
}

// What is configured goes before what the catalogue says, leaf by leaf.
void StateWriter::write_correlation(const Signature& signature, const DeviceReader& configured)
{
    xml_.open("associated-condition");
    if (signature.correlation || configured.exists()) {
        const Correlation base = signature.correlation.value_or(Correlation());
        xml_.leaf("threshold", configured.leaf("threshold", std::to_string(base.threshold)));
        xml_.leaf("interval", configured.leaf("interval", std::to_string(base.interval)));
        xml_.leaf("block-time", configured.leaf("block-time", std::to_string(base.block_time)));
        xml_.leaf("correlation", configured.leaf("correlation", base.correlation));
    }
    xml_.close();
}

void StateWriter::write_categories()
{
    std::map<std::string_view, std::size_t> signatures_of;
    for (const Signature& signature : catalogue_.signatures()) {
        signatures_of[signature.category]++;
        if (!signature.sub_category.empty())
            signatures_of[signature.sub_category]++;
    }

    xml_.open("categories");
    for (const Category& category : catalogue_.categories()) {
        xml_.open("category");
        xml_.leaf("name", category.name);
        xml_.leaf("signature-count", signatures_of[category.name]);
        for (const std::string& sub_category : category.sub_categories) {
            xml_.open("sub-category");
            xml_.leaf("name", sub_category);
            xml_.leaf("signature-count", signatures_of[sub_category]);
            xml_.close();
        }
        xml_.close();
    }
    xml_.close();
}

void StateWriter::write_statistics()
{
    xml_.open("statistics");
    for (const std::string_view name : vsys_names())
        write_vsys(name);
    xml_.close();
}

// The root system is there without any configuration.
std::vector<std::string_view> StateWriter::vsys_names() const
{
    std::vector<std::string_view> names = {root_system};
    for (const std::string_view name : configuration_.at("user-defined-ips").keys("vsys")) {
        if (name != root_system)
            names.push_back(name);
    }
    return names;
}

void StateWriter::write_vsys(std::string_view name)
{
    const DeviceReader configured = vsys(name);
    const DeviceReader profiles = configured.at("profiles");
    const DeviceReader signatures = configured.at("user-defined-signatures");
    const std::vector<std::string_view> ids = in_order(signatures.keys("signature"));
    std::vector<Signature> user_defined;
    user_defined.reserve(ids.size());
    for (const std::string_view id : ids)
        user_defined.push_back(user_defined_signature(signatures.entry("signature", id)));

    xml_.open("vsys");
    xml_.leaf("name", name);
    xml_.leaf("ips-assigned", configured.leaf("ips-enable", "true"));
    xml_.leaf("hit-count", none_seen);
    xml_.open("profiles");
    for (const std::string_view profile : profile_names(profiles))
        write_profile(profile, profiles.entry("profile", profile), user_defined);
    xml_.close();
    xml_.open("user-defined-signatures");
    for (const std::string_view id : ids)
        write_user_defined_signature(id, signatures.entry("signature", id));
    xml_.close();
    xml_.close();
}

std::vector<std::string_view> StateWriter::profile_names(const DeviceReader& profiles) const
{
    std::vector<std::string_view> names = profiles.keys("profile");
    for (const std::string& name : facts_.built_in_profiles) {
        if (std::ranges::find(names, name) == names.end())
            names.emplace_back(name);
    }
    return names;
}

// A profile that has never been hit has no last-hit-time.
void StateWriter::write_profile(std::string_view name, const DeviceReader& profile,
                                const std::vector<Signature>& user_defined)
{
    xml_.open("profile");
    xml_.leaf("name", name);
    for (const char* counter : {"reference-count", "alert-count", "block-count", "associated-hit-count",
                                "domain-filter-count", "dns-check-count", "http-check-count"})
        xml_.leaf(counter, none_seen);
    for (const std::string_view set : profile.at("signature-sets").keys("signature-set")) {
        const SignatureSelection selection(profile.at("signature-sets").entry("signature-set", set));
        const auto selects = [&](const Signature& signature) { return selection.selects(signature); };
        const auto count =
            std::ranges::count_if(catalogue_.signatures(), selects) + std::ranges::count_if(user_defined, selects);
        xml_.open("signature-set");
        xml_.leaf("name", set);
        xml_.leaf("signature-count", static_cast<std::uint64_t>(count));
        xml_.leaf("hit-count", none_seen);
        xml_.close();
    }
    xml_.close();
}

void StateWriter::write_user_defined_signature(std::string_view id, const DeviceReader& signature)
{
    const DeviceReader rules = signature.at("signature-rule-information");
    const bool has_condition = rules.contains("rule-condition") || rules.contains("associated-condition");
    xml_.open("signature");
    xml_.leaf("id", id);
    xml_.leaf("load-state", has_condition ? "loaded" : "incomplete");
    xml_.leaf("hit-count", none_seen);
    xml_.close();
}

} // namespace

std::string state_xml(const DeviceTree& configuration, const SignatureCatalogue& catalogue, const DeviceFacts& facts)
{
    return StateWriter(configuration, catalogue, facts).write();
}

} // namespace qnips
