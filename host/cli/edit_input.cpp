#include "cli/edit_input.h"

#include <fmt/format.h>

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

// Why the file cannot be read; empty when it is there.
std::string file_fault(const std::string& file)
{
    std::error_code fault; // a folder on the way that may not be searched counts as missing
    if (!std::filesystem::exists(file, fault))
        return fmt::format("{} does not exist", file);
    return std::filesystem::is_directory(file, fault) ? fmt::format("{} is a folder, not a file", file) : "";
}

} // namespace

void add_edit_files(CLI::App& command, EditFiles& files)
{
    const CLI::Validator existing_file(file_fault, ""); // no description: the help needs no ":FILE"
    command.add_option("EDIT.xml", files.edit, "An <rpc> with <edit-config>, an <edit-config>, a <config> or data")
        ->required()
        ->type_name("")
        ->check(existing_file);
    command.add_option("--running", files.running, "The configuration that is edited (default: an empty one)")
        ->type_name("RUNNING.xml")
        ->check(existing_file);
}

std::string read_file(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream)
        throw std::runtime_error(fmt::format("{} cannot be read", file.string()));
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        throw std::runtime_error(fmt::format("{} is empty", file.string()));
    return text;
}

ConfigTree read_running(const YangSchema& schema, const std::filesystem::path& file)
{
    const std::string text = read_file(file);
    try {
        return ConfigTree(schema.parse_configuration(text));
    } catch (const RpcError& error) {
        const std::string node = error.path().empty() ? "" : fmt::format("\n  node:   {}", error.path());
        throw std::runtime_error(fmt::format("the running configuration in {} is not valid{}\n  reason: {}",
                                             file.string(), node, error.what()));
    }
}

} // namespace qnips::cli
