// What subcommands read of an edit: the files it is made of.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>

#include "server/config_tree.h"
#include "server/yang_schema.h"

namespace qnips::cli
{

struct EditFiles {
    std::filesystem::path edit;
    std::filesystem::path running; // empty: the edited configuration is
};

// The options of a subcommand that works on an edit. `files` must outlive `command`.
void add_edit_files(CLI::App& command, EditFiles& files);

// Throws std::runtime_error when the file cannot be read or is empty.
std::string read_file(const std::filesystem::path& file);

// Throws std::runtime_error: what is wrong with the edited configuration is no refusal of the edit.
ConfigTree read_running(const YangSchema& schema, const std::filesystem::path& file);

} // namespace qnips::cli
