// Tells a platform that only records what order of signature sets a configuration stands for.
#pragma once

#include "platform/signature_set_order.h"
#include "server/config_tree.h"
#include "server/yang_schema.h"

namespace qnips
{

// Adds the signature sets of all profiles of `configuration`. Costs a walk of the configuration.
void append_signature_sets(const ConfigTree& configuration, SignatureSetOrder& order);

} // namespace qnips
