#include "cli/emulated_device.h"

#include <fmt/format.h>

#include <stdexcept>

#include "cli/edit_input.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"
#include "server/unsent_nodes.h"

namespace qnips::cli
{

EmulatedDevice::EmulatedDevice(const GlobalOptions& options)
    : module_(options.module), schema_(options.yang), table_(module_.rows(), schema_),
      catalogue_(SignatureCatalogue::load(options.catalogue)), platform_(catalogue_), engine_(schema_, table_)
{
}

void EmulatedDevice::bring_up(const std::filesystem::path& running)
{
    read_running(schema_, running); // says what is wrong with the file in its own words
    try {
        edit(parse_edit_request(schema_, read_file(running)));
    } catch (const RpcError& error) {
        throw std::runtime_error(fmt::format("the device does not take the running configuration in {}\n"
                                             "  node:   {}\n  reason: {}",
                                             running.string(), error.path(), error.what()));
    }
}

std::string EmulatedDevice::configuration()
{
    return tree_text(parse_device_configuration(schema_, read_configuration(module_, platform_)).get());
}

} // namespace qnips::cli
