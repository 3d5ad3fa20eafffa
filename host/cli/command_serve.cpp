// `qn-ips serve`: a NETCONF server for an emulated device that is kept.
#include <fmt/format.h>

#include <sys/stat.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "access/access_control.h"
#include "cli/command.h"
#include "cli/emulated_device.h"
#include "cli/server_signals.h"
#include "netconf/access_file.h"
#include "netconf/descriptor_limit.h"
#include "netconf/host_key.h"
#include "netconf/operations.h"
#include "netconf/server.h"
#include "netconf/server_log.h"
#include "netconf/sessions.h"
#include "netconf/settings.h"
#include "netconf/users.h"
#include "server/datastores.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

// What stands on the command line, empty where nothing does; it comes before what stands in the file.
struct ServeOptions {
    std::filesystem::path config;
    ServeSettings settings;
    std::vector<std::string> ssh;
    std::string log_level;
    std::string log_format;
    std::string log_target;
};

void override_path(std::filesystem::path& setting, const std::filesystem::path& option)
{
    if (!option.empty())
        setting = option;
}

ServeSettings settings_of(const ServeOptions& options)
{
    ServeSettings settings = options.config.empty() ? ServeSettings() : load_settings(options.config);
    override_path(settings.state, options.settings.state);
    override_path(settings.socket, options.settings.socket);
    override_path(settings.host_key, options.settings.host_key);
    override_path(settings.users, options.settings.users);
    override_path(settings.access_rules, options.settings.access_rules);
    if (!options.ssh.empty())
        settings.ssh.clear();
    for (const std::string& text : options.ssh)
        settings.ssh.push_back(read_endpoint(text));
    if (!options.log_level.empty())
        settings.log.level = read_log_level(options.log_level);
    if (!options.log_format.empty())
        settings.log.format = read_log_format(options.log_format);
    if (!options.log_target.empty())
        settings.log.target = options.log_target;

    if (settings.state.empty())
        throw std::runtime_error("no state folder: give --state, or \"state\" in the settings");
    if (settings.socket.empty() && settings.ssh.empty())
        throw std::runtime_error("nothing to serve on: give --unix, --ssh or both, or say so in the settings");
    if (settings.users.empty())
        settings.users = settings.state / "users";
    if (settings.host_key.empty())
        settings.host_key = settings.state / "ssh_host_ed25519_key";
    return settings;
}

// Who may log in, and what they may do: what is read again while the server runs.
class Rights
{
public:
    Rights(const ServeSettings& settings, const YangSchema& schema, ServerLog& log)
        : settings_(settings), schema_(schema), log_(log), rules_file_(settings.access_rules)
    {
        load_users();
        load_rules();
    }

    [[nodiscard]] const LoginUsers& users() const { return users_; }
    [[nodiscard]] AccessControl& access() { return access_; }
    // Where the rules are from; empty when there are none.
    [[nodiscard]] const std::filesystem::path& rules_file() const { return rules_file_; }

    // What cannot be read stays as it was.
    void reload()
    {
        if (!settings_.ssh.empty())
            reload_one("users", settings_.users, [this] { load_users(); });
        find_rules();
        if (!rules_file_.empty())
            reload_one("access-rules", rules_file_, [this] { load_rules(); });
    }

private:
    void load_users()
    {
        if (!settings_.ssh.empty())
            users_.replace(Users::load(settings_.users));
    }

    void load_rules()
    {
        find_rules();
        if (!rules_file_.empty())
            load_access_rules(access_, schema_, rules_file_);
    }

    // A file that is named has to be there, the other one may come later. Once it was there it has to stay: that it is
    // gone must not give rights to anybody.
    void find_rules()
    {
        const std::filesystem::path usual = settings_.state / "nacm.xml";
        std::error_code error; // of what is there and cannot be looked at; reading it says why
        if (rules_file_.empty() && (std::filesystem::exists(usual, error) || error))
            rules_file_ = usual;
    }

    template <class Load>
    void reload_one(const char* what, const std::filesystem::path& file, Load load)
    {
        try {
            load();
            log_.write(LogLevel::info, "reload", {{"what", what}, {"file", file.string()}, {"outcome", "ok"}});
        } catch (const std::runtime_error& error) {
            log_.write(LogLevel::error, "reload",
                       {{"what", what}, {"file", file.string()}, {"outcome", "error"}, {"message", error.what()}});
        }
    }

    const ServeSettings& settings_;
    const YangSchema& schema_;
    ServerLog& log_;
    std::filesystem::path rules_file_;
    LoginUsers users_;
    AccessControl access_;
};

void recover(Datastores& datastores)
{
    const auto outcome = datastores.recover(user_name());
    if (!outcome)
        return;
    fmt::print(stderr, "qn-ips: note: a confirmed commit that nobody has confirmed is taken back\n");
    for (const RpcError& error : outcome->errors)
        fmt::print(stderr, "qn-ips: warning: {}: {}\n", error.path(), error.what());
}

ServerSettings server_settings(const ServeSettings& settings, const Rights& rights, ServerLog& log)
{
    ServerSettings server;
    if (!settings.socket.empty())
        server.unix_socket = settings.socket;
    server.socket_mode = settings.socket_mode;
    server.ssh = settings.ssh;
    server.host_key = settings.host_key;
    server.users = &rights.users();
    server.log = &log;
    server.limits = settings.limits;
    return server;
}

void tell(const ServeSettings& settings, const Server& server, const Rights& rights, ServerLog& log)
{
    log.write(LogLevel::info, "start",
              {{"state", settings.state.string()},
               {"access_rules", rights.rules_file().empty() ? "none" : rights.rules_file().string()}});
    if (!settings.socket.empty())
        fmt::print("qn-ips: serving NETCONF on {}\n", settings.socket.string());
    for (const SshEndpoint& endpoint : server.ssh_endpoints())
        fmt::print("qn-ips: serving NETCONF over SSH on {} port {}\n", endpoint.address, endpoint.port);
    if (rights.rules_file().empty())
        fmt::print("qn-ips: note: there are no access rules, so nobody may write but the local administrator; see "
                   "--nacm\n");
    std::fflush(stdout);
}

// The log is opened anew, with the level that the settings have now unless an option has given it.
void reload(const ServeOptions& options, const ServeSettings& settings, ServerLog& log)
{
    if (!log.reopen())
        log.write(LogLevel::error, "reload", {{"what", "log"}, {"file", settings.log.target}, {"outcome", "error"}});
    if (options.config.empty() || !options.log_level.empty())
        return;
    try {
        log.set_level(load_settings(options.config).log.level);
    } catch (const std::runtime_error& error) {
        log.write(
            LogLevel::error, "reload",
            {{"what", "settings"}, {"file", options.config.string()}, {"outcome", "error"}, {"message", error.what()}});
    }
}

// A session has several file descriptors, and the usual limit is not meant for servers.
void raise_limits(const ServerLimits& limits, ServerLog& log)
{
    const std::uint64_t limit = raise_descriptor_limit();
    const std::uint64_t needed = descriptors_needed(limits);
    if (limit < needed)
        log.write(LogLevel::warning, "few-descriptors",
                  {{"limit", limit}, {"needed", needed}, {"sessions", limits.sessions}});
}

ExitCode run(const GlobalOptions& global, const ServeOptions& options)
{
    const ServeSettings settings = settings_of(options);
    const ServerSignals signals;
    std::signal(SIGPIPE, SIG_IGN); // a client that goes away is no reason to end
    umask(S_IRWXG | S_IRWXO);      // who could read its files would read what access control denies
    std::filesystem::create_directories(settings.state);
    ServerLog log(settings.log);
    raise_limits(settings.limits, log);
    if (!settings.ssh.empty())
        ensure_host_key(settings.host_key);

    EmulatedDevice device(global, settings.state, server_yang_modules());
    Rights rights(settings, device.schema(), log);
    device.start();
    Datastores datastores(device.schema(), device.datastore(), device.store());

    SessionTable sessions(std::time(nullptr));
    Operations operations(device.schema(), datastores, sessions, rights.access(),
                          {[&device] { return device.running_tree(); },
                           [&device] { return read_state(device.module(), device.platform()); }});
    operations.set_log(log);
    recover(datastores);
    Server server(device.schema(), operations, sessions, server_settings(settings, rights, log));
    tell(settings, server, rights, log);
    const bool has_ended = server.run([&] {
        while (const std::optional<ServerSignal> signal = signals.next()) {
            if (*signal == ServerSignal::end)
                return true;
            reload(options, settings, log);
            rights.reload();
        }
        return false;
    });
    log.write(LogLevel::info, "stop", {{"sessions", has_ended ? "ended" : "abandoned"}});
    if (!has_ended)
        std::_Exit(exit_ok); // everything that counts is in the store
    return exit_ok;
}

constexpr const char* help_footer = R"(
Who may do what: without access rules everybody who can log in reads everything, and nobody writes but the local
administrator, which is the user of this process, or root, over the socket. To let others write, copy
examples/nacm.xml, put their names into its groups, and give it by --nacm.

Signals: SIGHUP reads users, access rules and the log's level again and opens the log anew; SIGTERM and SIGINT end the server when the
edit in progress is done.)";

} // namespace

Command add_serve_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("serve", "Serve an emulated device by NETCONF");
    auto serve = std::make_shared<ServeOptions>();
    command->footer(help_footer);
    command->add_option("--config", serve->config, "Settings; what is given by other options comes before them")
        ->type_name("FILE");
    add_state_option(*command, serve->settings.state);
    command
        ->add_option("--unix", serve->settings.socket, "Socket to listen on, for the user of this process and for root")
        ->type_name("SOCKET");
    command->add_option("--ssh", serve->ssh, "Address to listen on for SSH, port 0 for any that is free; repeatable")
        ->type_name("ADDRESS:PORT")
        ->allow_extra_args(false);
    command
        ->add_option("--users", serve->settings.users, "Who may log in over SSH, and how (default: \"users\" in DIR)")
        ->type_name("FILE");
    command
        ->add_option("--nacm", serve->settings.access_rules,
                     "Who may do what, a <nacm> of RFC 8341 (default: \"nacm.xml\" in DIR, if it is there)")
        ->type_name("FILE");
    command
        ->add_option("--host-key", serve->settings.host_key,
                     "Private key of the SSH server, made when it is missing (default: in DIR)")
        ->type_name("FILE");
    command->add_option("--log-level", serve->log_level, "trace, debug, info, warning, error or off (default: info)")
        ->type_name("LEVEL");
    command->add_option("--log-format", serve->log_format, "text or json (default: text)")->type_name("FORMAT");
    command->add_option("--log-target", serve->log_target, "stderr, syslog, or a file (default: stderr)")
        ->type_name("TARGET");
    return {command, [&options, serve] { return run(options, *serve); }};
}

} // namespace qnips::cli
