// `qn-ips check-module`: does a build of the library fit this server and the YANG module? Says everything that does
// not.
#include <fmt/format.h>

#include <cstdio>
#include <string>
#include <vector>

#include "cli/command.h"
#include "server/load_error.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/yang_schema.h"

namespace qnips::cli
{

namespace
{

// All findings; with none, `report` is that of a module that can be loaded.
std::vector<std::string> findings_of(const std::filesystem::path& file, const YangSchema& schema, ModuleReport& report)
{
    try {
        report = inspect_module(SharedLibrary(file));
        std::vector<std::string> findings = report.findings;
        const std::vector<std::string> misfits = table_findings(report.rows, schema);
        findings.insert(findings.end(), misfits.begin(), misfits.end());
        if (findings.empty())
            const PluginModule loaded(file); // also initialises it
        return findings;
    } catch (const LoadError& error) {
        return error.findings();
    }
}

ExitCode run(const std::filesystem::path& file, const std::vector<std::filesystem::path>& yang)
{
    const YangSchema schema(yang);
    ModuleReport report;
    const std::vector<std::string> findings = findings_of(file, schema, report);

    for (const std::string& finding : findings)
        fmt::print("{}: {}\n", file.string(), finding);
    if (!findings.empty()) {
        std::fflush(stdout);
        fmt::print(stderr, "qn-ips: error: {} does not fit: {} finding{}\n", file.string(), findings.size(),
                   findings.size() == 1 ? "" : "s");
        return exit_refused;
    }
    fmt::print("{}: {} rows, interface version {}, fits the server and the YANG module: ok\n", file.string(),
               report.rows.size(), TRANSAPI_VERSION);
    return exit_ok;
}

} // namespace

Command add_check_module_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("check-module", "Verify the exported tables of a build of the module");
    const CLI::Option* library =
        command->add_option("library", "The build to check; without it the module of --module")->type_name("LIB.so");
    return {.app = command, .run = [&options, library] {
                const auto file =
                    library->count() > 0 ? std::filesystem::path(library->as<std::string>()) : options.module;
                return run(file, options.yang);
            }};
}

} // namespace qnips::cli
