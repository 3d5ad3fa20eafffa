// `qn-ips serve`: a NETCONF server for an emulated device that is kept.
#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/signalfd.h>
#include <unistd.h>

#include "access/access_control.h"
#include "cli/command.h"
#include "cli/emulated_device.h"
#include "netconf/access_file.h"
#include "netconf/host_key.h"
#include "netconf/operations.h"
#include "netconf/server.h"
#include "netconf/sessions.h"
#include "netconf/users.h"
#include "server/datastores.h"
#include "server/module_reads.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

namespace
{

struct ServeOptions {
    std::filesystem::path state;
    std::filesystem::path socket;
    std::vector<std::string> ssh;
    std::filesystem::path users;
    std::filesystem::path host_key;
};

// The signals that ask the process to end, taken one by one instead of as interruptions.
class EndingSignals
{
public:
    // To be made before any other thread, which inherits that the signals are blocked.
    EndingSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGTERM);
        sigaddset(&signals, SIGINT);
        if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0)
            throw std::runtime_error("signals cannot be blocked");
        constexpr int new_descriptor = -1;
        descriptor_ = signalfd(new_descriptor, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
        if (descriptor_ < 0)
            throw std::system_error(errno, std::generic_category(), "signals cannot be read");
    }
    ~EndingSignals() { close(descriptor_); }
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    [[nodiscard]] bool arrived() const
    {
        signalfd_siginfo signal{};
        return read(descriptor_, &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal);
    }

private:
    int descriptor_ = -1;
};

// "127.0.0.1:830", "[::1]:830".
SshEndpoint endpoint_of(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    SshEndpoint endpoint;
    if (colon == std::string::npos || colon == 0 || !CLI::detail::lexical_cast(text.substr(colon + 1), endpoint.port))
        throw std::runtime_error(fmt::format("\"{}\" is no address with a port, such as 127.0.0.1:830", text));
    endpoint.address = text.substr(0, colon);
    if (endpoint.address.front() == '[' && endpoint.address.back() == ']')
        endpoint.address = endpoint.address.substr(1, endpoint.address.size() - 2);
    return endpoint;
}

ServerSettings settings_of(const ServeOptions& options, LoginUsers& users)
{
    ServerSettings settings;
    if (!options.socket.empty())
        settings.unix_socket = options.socket;
    for (const std::string& text : options.ssh)
        settings.ssh.push_back(endpoint_of(text));
    if (settings.ssh.empty())
        return settings;
    users.replace(Users::load(options.users.empty() ? options.state / "users" : options.users));
    settings.users = &users;
    settings.host_key = options.host_key.empty() ? options.state / "ssh_host_ed25519_key" : options.host_key;
    ensure_host_key(settings.host_key);
    return settings;
}

void recover(Datastores& datastores)
{
    const auto outcome = datastores.recover(user_name());
    if (!outcome)
        return;
    fmt::print(stderr, "qn-ips: note: a confirmed commit that nobody has confirmed is taken back\n");
    for (const RpcError& error : outcome->errors)
        fmt::print(stderr, "qn-ips: warning: {}: {}\n", error.path(), error.what());
}

void tell(const ServerSettings& settings)
{
    if (settings.unix_socket)
        fmt::print("qn-ips: serving NETCONF on {}\n", settings.unix_socket->string());
    for (const SshEndpoint& endpoint : settings.ssh)
        fmt::print("qn-ips: serving NETCONF over SSH on {} port {}\n", endpoint.address, endpoint.port);
    std::fflush(stdout);
}

ExitCode run(const GlobalOptions& global, const ServeOptions& options)
{
    if (options.socket.empty() && options.ssh.empty())
        throw std::runtime_error("nothing to serve on: give --unix, --ssh or both");
    const EndingSignals signals;
    std::signal(SIGPIPE, SIG_IGN); // a client that goes away is no reason to end
    std::filesystem::create_directories(options.state);
    LoginUsers users;
    const ServerSettings settings = settings_of(options, users);

    EmulatedDevice device(global, options.state, server_yang_modules());
    device.start();
    Datastores datastores(device.schema(), device.datastore(), device.store());
    recover(datastores);

    SessionTable sessions(std::time(nullptr));
    AccessControl access;
    if (const auto rules = options.state / "nacm.xml"; std::filesystem::exists(rules))
        load_access_rules(access, device.schema(), rules);
    Operations operations(device.schema(), datastores, sessions, access,
                          {[&device] { return device.running_tree(); },
                           [&device] { return read_state(device.module(), device.platform()); }});
    Server server(device.schema(), operations, sessions, settings);
    tell(settings);
    server.run([&signals] { return signals.arrived(); });
    return exit_ok;
}

} // namespace

Command add_serve_command(CLI::App& app, const GlobalOptions& options)
{
    CLI::App* command = app.add_subcommand("serve", "Serve an emulated device by NETCONF");
    auto serve = std::make_shared<ServeOptions>();
    add_state_option(*command, serve->state)->required();
    command->add_option("--unix", serve->socket, "Socket to listen on, for the user of this process and for root")
        ->type_name("SOCKET");
    command->add_option("--ssh", serve->ssh, "Address to listen on for SSH; repeatable")
        ->type_name("ADDRESS:PORT")
        ->allow_extra_args(false);
    command->add_option("--users", serve->users, "Who may log in over SSH, and how (default: \"users\" in DIR)")
        ->type_name("FILE");
    command
        ->add_option("--host-key", serve->host_key,
                     "Private key of the SSH server, made when it is missing (default: in DIR)")
        ->type_name("FILE");
    return {command, [&options, serve] { return run(options, *serve); }};
}

} // namespace qnips::cli
