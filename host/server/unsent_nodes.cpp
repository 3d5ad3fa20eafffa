#include "server/unsent_nodes.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <libyang/libyang.h>

#include "server/libyang_error.h"
#include "server/rpc_error.h"

namespace qnips
{

namespace
{

bool is_term(const lyd_node* node)
{
    return (node->schema->nodetype & LYD_NODE_TERM) != 0;
}

std::string_view value_of(const lyd_node* leaf)
{
    return leaf != nullptr ? lyd_get_value(leaf) : "";
}

lyd_node* child(const lyd_node* parent, std::string_view name)
{
    for (lyd_node* node = lyd_child(parent); node != nullptr; node = node->next) {
        if (name == node->schema->name)
            return node;
    }
    return nullptr;
}

std::string_view value_beside(const lyd_node* node, std::string_view name)
{
    return value_of(child(lyd_parent(node), name));
}

bool is_at(const lysc_node* schema, std::string_view tail)
{
    for (; schema != nullptr; schema = lysc_data_parent(schema)) {
        const std::size_t slash = tail.rfind('/');
        if (tail.substr(slash + 1) != schema->name) // npos + 1 is 0: the last step that is left
            return false;
        if (slash == std::string_view::npos)
            return true;
        tail.remove_suffix(tail.size() - slash);
    }
    return false;
}

// ------------------------------------------------------------------------------------------------------ table --

bool always(const lyd_node*)
{
    return true;
}

bool is_false(const lyd_node* leaf)
{
    return value_of(leaf) == "false";
}

bool has_default_value(const lyd_node* node)
{
    if (node->schema->nodetype != LYS_LEAF)
        return false;
    const auto* leaf = reinterpret_cast<const lysc_node_leaf*>(node->schema);
    return leaf->dflt != nullptr && value_of(node) == lyd_value_get_canonical(LYD_CTX(node), leaf->dflt);
}

bool is_beside_filter_off(const lyd_node* action)
{
    return value_beside(action, "domain-filter-enable") != "true";
}

bool is_beside_action_without_timeout(const lyd_node* timeout)
{
    const std::string_view action = value_beside(timeout, "action");
    return action != "block-source-ip" && action != "block-destination-ip";
}

bool is_without_action(const lyd_node* interworking)
{
    return value_beside(interworking, "action").empty();
}

bool is_of_associated_signature(const lyd_node* target)
{
    return value_beside(target, "associated-enable") == "true";
}

bool is_beside_all_applications(const lyd_node* single)
{
    return value_beside(single, "all-application") == "true";
}

bool is_beside_all_protocols(const lyd_node* single)
{
    return value_beside(single, "all-protocol") == "true";
}

bool never_as_a_whole(const lyd_node*)
{
    return false;
}

constexpr std::string_view single_ones_have_lines =
    "It only says that single ones are selected, and each of them has its line; a container that selects nothing is to "
    "the device as one that is not there.";
constexpr std::string_view all_says_enough =
    "The line that selects all of them says enough; the schema accepts no single one beside it.";
constexpr std::string_view mask_means_nothing = "The end of a range is one address.";

struct Rule {
    UnsentNode text;
    bool (*applies)(const lyd_node*) = nullptr;
};

constexpr Rule table[] = {
    {{"*", "it has its default value",
      "The line of its removal sets the default: the device does not know whether a default was given."},
     has_default_value},
    {{"user-defined-ips/vsys", "",
      "Virtual systems belong to the platform: of an entry the device only knows what is in it."},
     always},
    {{"command-and-control-domain-filter/domain-filter-enable", "it is false",
      "The line that switches the filter off is the one of its removal."},
     is_false},
    {{"command-and-control-domain-filter/action", "the filter is off",
      "The action goes with the line that switches the filter on."},
     is_beside_filter_off},
    {{"application/all-application", "it is false", single_ones_have_lines}, is_false},
    {{"application/specifed-application", "all applications are selected", all_says_enough},
     is_beside_all_applications},
    {{"signature-set/protocol/all-protocol", "it is false", single_ones_have_lines}, is_false},
    {{"signature-set/protocol/specifed-protocol", "all protocols are selected", all_says_enough},
     is_beside_all_protocols},
    {{"category/all-category", "it is false", single_ones_have_lines}, is_false},
    {{"category/specifed-category", "",
      "The line of a sub-category does not name its category: the device knows it from its catalogue."},
     always},
    {{"specifed-category/all-sub-category", "it is false", single_ones_have_lines}, is_false},
    {{"exception-signature/timeout", "the action is neither block-source-ip nor block-destination-ip",
      "Only these actions block an address for a time; the schema accepts no timeout with others."},
     is_beside_action_without_timeout},
    {{"exception-signature/interworking", "there is no action",
      "Without an action the line of an exception ends with its number; the schema accepts no interworking there."},
     is_without_action},
    {{"user-defined-signatures/signature/associated-enable", "",
      "The nature of a signature shows in what the signature holds."},
     always},
    {{"user-defined-signatures/signature/target", "the signature is associated",
      "An associated signature has no target; the schema accepts none."},
     is_of_associated_signature},
    {{"start-ip", "its mask, which can only be of the full length", mask_means_nothing}, never_as_a_whole},
    {{"end-ip", "its mask, which can only be of the full length", mask_means_nothing}, never_as_a_whole},
    {{"associated-rule/protocol", "",
      "The protocol under which an associated signature is listed changes nothing on the device."},
     always},
    {{"predefined-signatures/signature", "",
      "The signature database has every predefined signature: of an entry the device only knows what is in it."},
     always},
};

bool is_unsent(const lyd_node* node)
{
    return std::any_of(std::begin(table), std::end(table), [&](const Rule& rule) {
        return (rule.text.node == "*" || is_at(node->schema, rule.text.node)) && rule.applies(node);
    });
}

// Whether a line is sent for the node itself. Keys go with the line of their entry, and no container has a line that
// does not say something that it holds.
bool has_line(const lyd_node* node)
{
    if (lysc_is_key(node->schema) || (node->schema->nodetype & LYS_CONTAINER) != 0)
        return false;
    return !is_unsent(node);
}

// Whether a line is sent for the node or for anything below it.
bool speaks(const lyd_node* node)
{
    if (has_line(node))
        return true;
    for (const lyd_node* below = lyd_child(node); below != nullptr; below = below->next) {
        if (speaks(below))
            return true;
    }
    return false;
}

std::string_view sent_value(const lyd_node* node)
{
    std::string_view value = value_of(node);
    if (is_at(node->schema, "start-ip") || is_at(node->schema, "end-ip"))
        value = value.substr(0, value.find('/'));
    return value;
}

// ------------------------------------------------------------------------------------------------ normal form --

std::string predicates(const lyd_node* entry)
{
    std::string text;
    for (const lyd_node* key = lyd_child(entry); key != nullptr; key = key->next) {
        if (lysc_is_key(key->schema))
            text += fmt::format("[{}='{}']", key->schema->name, value_of(key));
    }
    return text;
}

class NormalForm
{
public:
    void add(const lyd_node* first, const std::string& path)
    {
        std::string order;
        for (const lyd_node* node = first; node != nullptr; node = node->next) {
            if (is_term(node))
                add_value(node, path);
            else
                add_inner(node, path);
            if (node->schema->nodetype == LYS_LIST && lysc_is_userordered(node->schema))
                order += predicates(node);
        }
        if (!order.empty())
            lines_.push_back(fmt::format("{} in this order = {}", path, order));
    }

    std::vector<std::string> release()
    {
        std::sort(lines_.begin(), lines_.end());
        return std::move(lines_);
    }

private:
    void add_value(const lyd_node* node, const std::string& path)
    {
        if (has_line(node))
            lines_.push_back(fmt::format("{}/{} = {}", path, node->schema->name, sent_value(node)));
    }

    void add_inner(const lyd_node* node, const std::string& path)
    {
        // The line of a sub-category does not say which category it is of.
        const bool of_any = is_at(node->schema, "specifed-category/sub-category");
        const std::size_t above = of_any ? path.size() - predicates(lyd_parent(node)).size() : path.size();
        std::string here = fmt::format("{}/{}", std::string_view(path).substr(0, above), node->schema->name);
        if (node->schema->nodetype == LYS_LIST)
            here += predicates(node);
        if (has_line(node))
            lines_.push_back(here);
        add(lyd_child(node), here);
    }

    std::vector<std::string> lines_;
};

// ------------------------------------------------------------------------------------------------- completion --

class Completion
{
public:
    explicit Completion(ConfigTree& result) : result_(result) {}

    // Gives `parent` (null: the root) what only the datastore can know; `wanted` are the datastore's nodes there.
    void take_over(lyd_node* parent, const lyd_node* wanted)
    {
        for (; wanted != nullptr; wanted = wanted->next) {
            if (lysc_is_key(wanted->schema))
                continue;
            lyd_node* mine = find_counterpart(result_.children(parent), wanted);
            if (mine == nullptr)
                mine = copy(parent, wanted);
            if (mine == nullptr)
                continue;
            if (is_term(mine))
                take_spelling(mine, wanted);
            else
                take_over_below(mine, wanted);
        }
    }

    // Drops what says nothing to the device and the datastore does not have.
    void drop_extras(lyd_node* parent, const lyd_node* wanted_siblings)
    {
        lyd_node* next = nullptr;
        for (lyd_node* mine = result_.children(parent); mine != nullptr; mine = next) {
            next = mine->next;
            const lyd_node* wanted = find_counterpart(wanted_siblings, mine);
            const bool needed = lysc_is_key(mine->schema) ||
                                (mine->schema->nodetype == LYS_LEAF && (mine->schema->flags & LYS_MAND_TRUE) != 0);
            if (wanted == nullptr && !needed && !speaks(mine))
                result_.extract(mine);
            else if (!is_term(mine))
                drop_below(mine, wanted);
        }
    }

private:
    void take_over_below(lyd_node* mine, const lyd_node* wanted)
    {
        take_over(mine, lyd_child(wanted));
        if (is_at(wanted->schema, "signature-set/category"))
            place_sub_categories(mine, wanted);
    }

    void drop_below(lyd_node* mine, const lyd_node* wanted)
    {
        if (is_at(mine->schema, "user-defined-signatures/signature"))
            settle_nature(mine);
        drop_extras(mine, wanted != nullptr ? lyd_child(wanted) : nullptr);
        const bool empty = is_at(mine->schema, "category/specifed-category") &&
                           value_of(child(mine, "all-sub-category")) != "true" &&
                           child(mine, "sub-category") == nullptr;
        if (empty || (lysc_is_np_cont(mine->schema) && lyd_child(mine) == nullptr))
            result_.extract(mine);
    }

    // A node that the device does not have: nothing of it when a line would be sent for it or, as the device is, for
    // its copy. Of an entry or container without a line of its own the copy is without content at first.
    lyd_node* copy(lyd_node* parent, const lyd_node* wanted)
    {
        const bool whole = !speaks(wanted);
        const bool frame =
            lysc_is_np_cont(wanted->schema) || (wanted->schema->nodetype == LYS_LIST && !has_line(wanted));
        if (!whole && !frame)
            return nullptr;
        lyd_node* made = nullptr;
        const uint32_t options = LYD_DUP_NO_META | (whole ? LYD_DUP_RECURSIVE : 0U);
        check(lyd_dup_single(wanted, nullptr, options, &made), wanted, "copy");
        result_.insert(parent, made);
        if (whole && speaks(made)) {
            result_.extract(made);
            return nullptr;
        }
        return made;
    }

    // What the device does not know or takes for the same is as the datastore has it.
    static void take_spelling(lyd_node* mine, const lyd_node* wanted)
    {
        const bool unknown = !has_line(mine) && !has_line(wanted);
        if (unknown || sent_value(mine) == sent_value(wanted))
            change_value(mine, lyd_get_value(wanted));
    }

    // Sub-categories stand below the categories where the datastore has them.
    void place_sub_categories(lyd_node* mine, const lyd_node* wanted)
    {
        for (const lyd_node* category = lyd_child(wanted); category != nullptr; category = category->next) {
            lyd_node* place = find_counterpart(lyd_child(mine), category);
            if (place == nullptr || value_of(child(place, "all-sub-category")) != "false")
                continue;
            for (const lyd_node* single = lyd_child(category); single != nullptr; single = single->next) {
                if (single->schema->nodetype == LYS_LIST)
                    fetch(mine, place, single);
            }
        }
    }

    void fetch(const lyd_node* categories, lyd_node* place, const lyd_node* single)
    {
        for (const lyd_node* other = lyd_child(categories); other != nullptr; other = other->next) {
            lyd_node* found = other != place ? find_counterpart(lyd_child(other), single) : nullptr;
            if (found != nullptr)
                return result_.insert(place, result_.extract(found).release());
        }
    }

    // What the device has decides the nature; where it says nothing, the nature stays what the datastore said.
    void settle_nature(lyd_node* signature)
    {
        const lyd_node* rules = child(signature, "signature-rule-information");
        lyd_node* associated = child(rules, "associated-rule");
        lyd_node* nature = child(signature, "associated-enable");
        if (nature == nullptr)
            check(lyd_new_term(signature, nullptr, "associated-enable", "false", 0, &nature), signature, "complete");
        if (child(associated, "signature-rule") != nullptr)
            return change_value(nature, "true");
        if (child(rules, "protocol-rules") == nullptr && child(signature, "target") == nullptr)
            return;
        change_value(nature, "false");
        if (associated != nullptr) // no more than the protocol that the datastore had for it
            result_.extract(associated);
    }

    ConfigTree& result_;
};

} // namespace

std::span<const UnsentNode> unsent_nodes()
{
    static constexpr auto nodes = [] {
        std::array<UnsentNode, std::size(table)> all;
        std::transform(std::begin(table), std::end(table), all.begin(), [](const Rule& rule) { return rule.text; });
        return all;
    }();
    return nodes;
}

std::vector<std::string> normal_form(const lyd_node* first)
{
    NormalForm form;
    form.add(first, {});
    return form.release();
}

std::vector<std::string> normal_form(const ConfigTree& tree)
{
    return normal_form(tree.first());
}

TreePtr parse_device_configuration(const YangSchema& schema, std::string_view xml)
{
    if (xml.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return nullptr;
    lyd_node* tree = nullptr;
    const LY_ERR result = lyd_parse_data_mem(schema.context(), std::string(xml).c_str(), LYD_XML,
                                             LYD_PARSE_ONLY | LYD_PARSE_STRICT | LYD_PARSE_NO_STATE, 0, &tree);
    TreePtr owner(tree);
    if (result == LY_SUCCESS)
        return owner;
    LibyangMessage message = last_message(schema.context());
    throw RpcError("operation-failed", std::move(message.path),
                   "the device's configuration cannot be read: " + message.text);
}

ConfigTree complete(ConfigTree device, const ConfigTree& datastore)
{
    Completion completion(device);
    completion.take_over(nullptr, datastore.first());
    completion.drop_extras(nullptr, datastore.first());
    return device;
}

} // namespace qnips
