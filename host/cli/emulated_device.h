// An emulated device with all that it takes to edit and to read it: module, schema, engine, catalogue.
#pragma once

#include <filesystem>

#include "cli/command.h"
#include "platform/emulator.h"
#include "platform/signature_catalogue.h"
#include "server/edit_engine.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/yang_schema.h"

namespace qnips::cli
{

class EmulatedDevice
{
public:
    // A device without a configuration.
    explicit EmulatedDevice(const GlobalOptions& options);

    // Gives the device the configuration in the file, as any other: by command lines. Throws std::runtime_error when
    // the file holds none or the device does not take it.
    void bring_up(const std::filesystem::path& running);

    // Throws like EditEngine::edit.
    PassResult edit(const EditRequest& request) { return engine_.edit(request, platform_, AfterEdit::keep); }

    // What the device says when the module asks for its configuration, in the order of the schema.
    std::string configuration();

    [[nodiscard]] const PluginModule& module() const { return module_; }
    [[nodiscard]] const YangSchema& schema() const { return schema_; }
    [[nodiscard]] CommandPlatform& platform() { return platform_; }

private:
    PluginModule module_;
    YangSchema schema_;
    NodeTable table_;
    SignatureCatalogue catalogue_;
    EmulatedPlatform platform_;
    EditEngine engine_;
};

} // namespace qnips::cli
