// `qn-ips plan`: a dry run that shows every command line of an edit and the callback that sends it.
#include <memory>
#include <string>
#include <utility>

#include "cli/command.h"
#include "cli/edit_input.h"
#include "cli/edit_output.h"
#include "platform/recording_platform.h"
#include "server/edit_engine.h"
#include "server/known_order.h"
#include "server/module_loader.h"
#include "server/node_table.h"

namespace qnips::cli
{

namespace
{

struct PlanOptions {
    EditFiles files;
    bool json = false;
    bool trace = false;
};

EditReport dry_run(const GlobalOptions& global, const EditFiles& files)
{
    const std::string edit = read_file(files.edit);
    const PluginModule module(global.module);
    const YangSchema schema(global.yang);
    const NodeTable table(module.rows(), schema);

    ConfigTree running;
    if (!files.running.empty())
        running = read_running(schema, files.running);
    RecordingPlatform platform;
    append_signature_sets(running, platform.signature_sets());
    EditEngine engine(schema, table, std::move(running));
    const EditRequest request = parse_edit_request(schema, edit);
    return {.pass = engine.edit(request, platform, AfterEdit::take_back),
            .test_only = request.test_option == TestOption::test_only};
}

ExitCode run(const GlobalOptions& global, const PlanOptions& options)
{
    try {
        const EditReport result = dry_run(global, options.files);
        if (options.json)
            print_json(result);
        else
            print_text(result, options.trace);
        return exit_ok;
    } catch (const RpcError& error) {
        if (options.json)
            print_refusal_json(error);
        print_refusal_text(error, "nothing would be sent");
        return exit_refused;
    }
}

} // namespace

Command add_plan_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("plan", "Show the command lines of an edit without sending them");
    auto plan = std::make_shared<PlanOptions>();
    add_edit_files(*command, plan->files);
    command->add_flag("--json", plan->json, "Print every callback with its lines as JSON");
    command->add_flag("--trace", plan->trace, "Also list every callback that is called");
    return {command, [&options, plan] { return run(options, *plan); }};
}

} // namespace qnips::cli
