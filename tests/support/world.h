// What every host is made of, the real module with its schema and node table, and the signatures of the emulated
// device.
#pragma once

#include "platform/signature_catalogue.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/yang_schema.h"

namespace qnips::test
{

struct World {
    PluginModule module;
    YangSchema schema;
    NodeTable table;
    SignatureCatalogue catalogue;

    // From this build.
    World();
};

// Made once in a program, which has to be a server that modules can be loaded into.
const World& world();

} // namespace qnips::test
