#include "platform/emulator.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/command_grammar.h"
#include "platform/device_dump.h"
#include "platform/device_state.h"
#include "platform/device_view.h"
#include "platform/device_xml.h"
#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

// Why a command cannot be carried out.
class Impossible : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// One line of a script on its way into the configuration.
class Execution
{
public:
    Execution(DeviceTree& device, const SignatureCatalogue& catalogue, Place place, const Command& command,
              Captures parts)
        : device_(device), catalogue_(catalogue), place_(std::move(place)), command_(command), parts_(std::move(parts)),
          node_(node())
    {
    }

    // Throws Impossible.
    void run()
    {
        switch (command_.meaning) {
        case Meaning::create:
            return create();
        case Meaning::remove:
            return remove();
        case Meaning::clear:
            device_.erase(node_);
            return;
        case Meaning::set:
            return set_leaves();
        case Meaning::replace:
            return replace_leaves();
        case Meaning::move_after:
        case Meaning::move_before:
            return move();
        case Meaning::select_all:
            return select_all();
        case Meaning::select_none:
            device_.erase(node_);
            return;
        case Meaning::select:
            return select();
        case Meaning::category:
            return category();
        case Meaning::undo_category:
            return undo_category();
        case Meaning::create_rule:
            return create_rule();
        case Meaning::remove_rule:
            return remove_rule();
        case Meaning::address:
            return address();
        case Meaning::undo_address:
            return undo_address();
        case Meaning::undo_request_type:
            return undo_request_type();
        }
    }

private:
    // The command's node with the keys that the line names, which are leaves of their entries no more.
    DevicePath node()
    {
        DevicePath path = place_.node;
        std::string_view rest = command_.node == "." ? std::string_view() : command_.node;
        while (!rest.empty()) {
            std::string_view step = rest.substr(0, rest.find('/'));
            rest.remove_prefix(std::min(step.size() + 1, rest.size()));
            const std::size_t bracket = step.find('[');
            std::string key;
            if (bracket != std::string_view::npos) {
                key_parts_.push_back(step.substr(bracket + 1, step.size() - bracket - 2));
                key = parts_.at(key_parts_.back());
                step = step.substr(0, bracket);
            }
            path.push_back({std::string(step), std::move(key)});
        }
        return path;
    }

    [[nodiscard]] bool is_key(std::string_view part) const
    {
        return std::ranges::find(key_parts_, part) != key_parts_.end();
    }

    [[nodiscard]] DevicePath parent() const { return {node_.begin(), node_.end() - 1}; }

    void create()
    {
        const bool is_new = device_.find(node_) == nullptr;
        device_.set(node_);
        const std::string& name = node_.back().name;
        if (is_new && name == "signature-set")
            device_.place(parent(), node_.back().key);
        if (is_new && name == "signature")
            device_.set(below(node_, "associated-enable"), "false"); // until a rule says otherwise
    }

    void remove()
    {
        if (device_.find(node_) == nullptr)
            throw Impossible("there is no " + node_.back().name + " " + node_.back().key);
        if (node_.back().name == "signature-set")
            device_.take_place(parent(), node_.back().key);
        device_.erase(node_);
    }

    void set_leaves()
    {
        for (const auto& [name, value] : parts_.all()) {
            if (!is_key(name))
                device_.set(below(node_, std::string(name)), value);
        }
        if (!command_.constant.empty())
            set_constant();
        if (node_.back().name == "protocol-rules")
            device_.set(below({node_.begin(), node_.end() - 2}, "associated-enable"), "false");
    }

    void set_constant()
    {
        const std::size_t equals = command_.constant.find('=');
        const std::string leaf(command_.constant.substr(0, equals));
        std::string_view value = command_.constant.substr(equals + 1);
        if (value.starts_with('<')) {
            if (parts_.find(leaf) != nullptr)
                return;
            value = parts_.at(value.substr(1, value.size() - 2));
        }
        device_.set(below(node_, leaf), std::string(value));
    }

    void replace_leaves()
    {
        device_.set(node_);
        for (const std::string_view name : command_.pattern.capture_names()) {
            if (parts_.find(name) == nullptr)
                device_.erase(below(node_, std::string(name)));
        }
        set_leaves();
    }

    void move()
    {
        const DeviceNode* list = device_.find(parent());
        const std::string& name = node_.back().key;
        const std::string& target = parts_.at("target");
        for (const std::string& wanted : {name, target}) {
            if (list == nullptr || !list->order.contains(wanted))
                throw Impossible("there is no signature-set " + wanted);
        }
        if (name == target)
            return;
        if (command_.meaning == Meaning::move_before)
            return device_.place(parent(), name, target);
        const std::string* next = list->order.next(target);
        if (next == nullptr || *next != name) // else it stands there already
            device_.place(parent(), name, next != nullptr ? std::string(*next) : std::string());
    }

    // all-application of application, and so on.
    static std::string all_leaf(const DevicePath& selection) { return "all-" + selection.back().name; }

    void select_all()
    {
        device_.erase(node_);
        device_.set(below(node_, all_leaf(node_)), "true");
    }

    void select()
    {
        device_.set(below(parent(), all_leaf(parent())), "false");
        device_.set(node_);
    }

    void category()
    {
        const std::string& word = parts_.at("category");
        if (catalogue_.is_category(word)) {
            device_.erase(category_path(word));
            device_.set(below(category_path(word), "all-sub-category"), "true");
        } else if (const auto category = catalogue_.category_of(word)) {
            const DevicePath path = category_path(std::string(*category));
            if (device_.value(below(path, "all-sub-category")) == "true")
                return;
            device_.set(below(path, "all-sub-category"), "false");
            device_.set(below(path, "sub-category", word));
        } else {
            throw Impossible("there is no category " + word);
        }
        device_.set(below(node_, all_leaf(node_)), "false");
    }

    void undo_category()
    {
        const std::string& word = parts_.at("category");
        if (catalogue_.is_category(word)) {
            if (!device_.erase(category_path(word)))
                throw Impossible("category " + word + " is not selected");
            return;
        }
        const auto category = catalogue_.category_of(word);
        if (!category || !device_.erase(below(category_path(std::string(*category)), "sub-category", word)))
            throw Impossible("category " + word + " is not selected");
        if (device_.find(category_path(std::string(*category)))->children.size() == 1)
            device_.erase(category_path(std::string(*category))); // nothing but all-sub-category is left
    }

    [[nodiscard]] DevicePath category_path(const std::string& category) const
    {
        return below(node_, "specifed-category", category);
    }

    void create_rule()
    {
        const DevicePath path = rule_path(device_, place_.node, parts_.at("name"));
        device_.set(path);
        const bool is_associated = path[path.size() - 2].name == "associated-rule";
        device_.set(below(place_.node, "associated-enable"), is_associated ? "true" : "false");
    }

    void remove_rule()
    {
        if (!device_.erase(rule_path(device_, place_.node, parts_.at("name"))))
            throw Impossible("there is no rule " + parts_.at("name"));
    }

    void address()
    {
        const std::string& first = parts_.at("first");
        if ((first.find(':') != std::string::npos) != (parts_.at("family") == "ipv6"))
            throw Impossible(first + " is no " + parts_.at("family") + " address");

        const DevicePath range = below(parent(), node_.back().name + "-range");
        device_.erase(node_);
        device_.erase(range);
        const std::string* second = parts_.find("second");
        if (second == nullptr) {
            device_.set(node_, first);
        } else if (second->find_first_not_of("0123456789") == std::string::npos) {
            device_.set(node_, first + "/" + *second);
        } else {
            device_.set(below(range, "start-ip"), first);
            device_.set(below(range, "end-ip"), *second);
        }
    }

    void undo_address()
    {
        const bool had_address = device_.erase(node_);
        const bool had_range = device_.erase(below(parent(), node_.back().name + "-range"));
        if (!had_address && !had_range)
            throw Impossible("there is no " + node_.back().name);
    }

    void undo_request_type()
    {
        const std::string* end = parts_.find("end-type");
        const std::string& last = end == nullptr ? parts_.at("start-type") : *end;
        if (device_.value(below(node_, "end-type")) != last)
            throw Impossible("there is no request type " + parts_.at("start-type") + " to " + last);
        device_.erase(node_);
    }

    DeviceTree& device_;
    const SignatureCatalogue& catalogue_;
    Place place_;
    const Command& command_;
    Captures parts_;
    std::vector<std::string_view> key_parts_;
    DevicePath node_;
};

std::optional<PlatformError> execute_line(DeviceTree& device, const SignatureCatalogue& catalogue,
                                          const CommandLine& line)
{
    std::variant<Place, PlatformError> found = find_place(device, line);
    if (const auto* error = std::get_if<PlatformError>(&found))
        return *error;
    const Place& place = std::get<Place>(found);

    for (const Command& command : commands()) {
        if (command.view != place.view)
            continue;
        std::optional<Captures> parts = command.pattern.match(line.text);
        if (!parts)
            continue;
        try {
            Execution(device, catalogue, place, command, *std::move(parts)).run();
            return std::nullopt;
        } catch (const Impossible& impossible) {
            return PlatformError{NC_ERR_COMMAND_EXECUTE, impossible.what(), line};
        } catch (const ListFull& full) {
            return PlatformError{NC_ERR_COMMAND_EXECUTE, full.what(), line};
        }
    }
    return PlatformError{NC_ERR_PARSE_COMMAND, "unknown command", line};
}

} // namespace

std::optional<PlatformError> EmulatedPlatform::execute(std::span<const CommandLine> script, int operation)
{
    static_cast<void>(operation); // the lines say it all
    std::optional<PlatformError> error = try_script(script);
    if (!error)
        accept();
    return error;
}

std::optional<PlatformError> EmulatedPlatform::try_script(std::span<const CommandLine> script)
{
    for (const CommandLine& line : script) {
        if (std::optional<PlatformError> error = execute_line(tree_, catalogue_, line)) {
            take_back();
            return error;
        }
    }
    return std::nullopt;
}

std::optional<PlatformError> EmulatedPlatform::remove_vsys(std::string_view name)
{
    try_removal(name);
    accept();
    return std::nullopt;
}

void EmulatedPlatform::try_removal(std::string_view vsys)
{
    tree_.erase(vsys_node_path(vsys));
}

void EmulatedPlatform::restore(std::string_view dump)
{
    qnips::restore(tree_, dump);
    tree_.commit();
}

PlatformAnswer EmulatedPlatform::configuration()
{
    return PlatformAnswer::of(configuration_xml(tree_));
}

PlatformAnswer EmulatedPlatform::state()
{
    return PlatformAnswer::of(state_xml(tree_, catalogue_, DeviceFacts{}));
}

PlatformAnswer EmulatedPlatform::first_signature_set(std::string_view vsys, std::string_view profile)
{
    const DeviceNode* sets = tree_.find(
        below(below(below(vsys_node_path(vsys), "profiles"), "profile", std::string(profile)), "signature-sets"));
    return sets == nullptr || sets->order.empty() ? PlatformAnswer::none() : PlatformAnswer::of(sets->order.front());
}

} // namespace qnips
