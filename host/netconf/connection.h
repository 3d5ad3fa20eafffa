// One client from its connection to the end, on a thread of its own: login, then the pipe between it and its session.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>

#include "netconf/file_descriptor.h"
#include "netconf/listener.h"
#include "netconf/netconf_session.h"
#include "netconf/relay.h"
#include "netconf/server.h"

namespace qnips
{

class Connection
{
public:
    enum class Transport { unix_socket, ssh };

    // Begins. Everything has to outlive the connection.
    Connection(SessionEnvironment& environment, const ServerSettings& settings, Transport transport, Accepted client);
    // Waits until it has ended.
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] bool has_ended() const { return has_ended_; }
    [[nodiscard]] SessionStage stage() const { return stage_; }
    // It is to end at once, which it does as soon as it is done with the message or the operation that it is at.
    void abort() { aborts_ = true; }

private:
    void run(Transport transport, Accepted client);
    void serve_local(Accepted client);
    void serve_ssh(Accepted client);
    template <class Channel>
    void serve(Channel& channel, Login login);
    void tell(std::string_view event, const std::string& source, const std::string& reason) const;

    SessionEnvironment& environment_;
    const ServerSettings& settings_;
    RelayClock::time_point hello_deadline_;
    std::atomic<bool> aborts_ = false;
    std::atomic<SessionStage> stage_ = SessionStage::newcomer;
    std::atomic<bool> has_ended_ = false;
    std::jthread thread_;
};

} // namespace qnips
