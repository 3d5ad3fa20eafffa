#include "server/known_order.h"

#include <string>

#include <libyang/libyang.h>

namespace qnips
{

namespace
{

constexpr std::string_view set_path = "/qn-ips:ips-config/qn-ips:user-defined-ips/qn-ips:vsys/qn-ips:profiles"
                                      "/qn-ips:profile/qn-ips:signature-sets/qn-ips:signature-set";

// From a signature set up to its profile, and from there to its virtual system, there is one container in between.
const lyd_node* list_above(const lyd_node* entry)
{
    return lyd_parent(lyd_parent(entry));
}

std::string key(const lyd_node* entry)
{
    return lyd_get_value(lyd_child(entry));
}

void append_below(const lyd_node* node, SignatureSetOrder& order)
{
    if (node->schema->nodetype == LYS_LIST && schema_path(node->schema) == set_path) {
        const lyd_node* profile = list_above(node);
        order.append(key(list_above(profile)), key(profile), key(node));
        return;
    }
    const lyd_node* child = nullptr;
    LY_LIST_FOR(lyd_child(node), child) append_below(child, order);
}

} // namespace

void append_signature_sets(const ConfigTree& configuration, SignatureSetOrder& order)
{
    const lyd_node* root = nullptr;
    LY_LIST_FOR(configuration.first(), root) append_below(root, order);
}

} // namespace qnips
