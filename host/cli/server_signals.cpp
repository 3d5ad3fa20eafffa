#include "cli/server_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

namespace qnips::cli
{

ServerSignals::ServerSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) != 0)
        throw std::runtime_error("signals cannot be blocked");
    constexpr int new_descriptor = -1;
    descriptor_ = signalfd(new_descriptor, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "signals cannot be read");
}

ServerSignals::~ServerSignals()
{
    close(descriptor_);
}

std::optional<ServerSignal> ServerSignals::next() const
{
    signalfd_siginfo signal{};
    if (read(descriptor_, &signal, sizeof signal) != static_cast<ssize_t>(sizeof signal))
        return std::nullopt;
    return signal.ssi_signo == SIGHUP ? ServerSignal::reload : ServerSignal::end;
}

} // namespace qnips::cli
