// An emulated device with all that it takes to edit and to read it: module, schema, datastore, history, catalogue.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/command.h"
#include "platform/emulator.h"
#include "platform/kept_device.h"
#include "platform/signature_catalogue.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/running_datastore.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips::cli
{

// The option --state of a subcommand that works on a device that is kept. `folder` must outlive `command`.
CLI::Option* add_state_option(CLI::App& command, std::filesystem::path& folder);

// The history that is kept in a state folder.
std::filesystem::path history_file(const std::filesystem::path& state);

// The name under which this process changes a configuration: the user's.
std::string user_name();

class EmulatedDevice
{
public:
    // A device without a configuration that is forgotten in the end or, with a state folder, the one that is kept
    // there; the folder is made when it is missing. Throws StoreError.
    // `further` are YANG modules besides the module's own.
    explicit EmulatedDevice(const GlobalOptions& options, const std::filesystem::path& state = {},
                            const std::vector<std::string>& further = {});

    // Gives the device the configuration in the file, as any other: by command lines. Throws std::runtime_error when
    // the file holds none or the device does not take it.
    void bring_up(const std::filesystem::path& running);

    // Brings a kept device and its datastore together, and tells on standard error what was to be done; without
    // `tells_drift` not in what they differ. Throws RpcError when the device cannot be read.
    void start(bool tells_drift = true);

    // What the device says when the module asks for its configuration, in the order of the schema.
    std::string configuration();
    // The same, completed by what no line carries: what a client reads of running.
    std::string running();
    ConfigTree running_tree();

    [[nodiscard]] const PluginModule& module() const { return module_; }
    [[nodiscard]] const YangSchema& schema() const { return schema_; }
    [[nodiscard]] CommandPlatform& platform();
    // The device that is not kept.
    [[nodiscard]] EmulatedPlatform& emulator() { return emulator_; }
    [[nodiscard]] RunningDatastore& datastore() { return datastore_; }
    [[nodiscard]] CommitStore& store() { return store_; }

private:
    ConfigTree read();

    PluginModule module_;
    YangSchema schema_;
    NodeTable table_;
    SignatureCatalogue catalogue_;
    CommitStore store_;
    EmulatedPlatform emulator_;
    std::optional<KeptDevice> kept_;
    RunningDatastore datastore_;
};

} // namespace qnips::cli
