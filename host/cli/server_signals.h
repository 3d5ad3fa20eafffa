// The signals to a server, taken one by one instead of as interruptions.
#pragma once

#include <optional>

namespace qnips::cli
{

enum class ServerSignal { end, reload };

class ServerSignals
{
public:
    // From now on SIGTERM, SIGINT (end) and SIGHUP (reload) wait here. To be made before any other thread, which
    // inherits that they are blocked. Throws std::runtime_error.
    ServerSignals();
    ~ServerSignals();
    ServerSignals(const ServerSignals&) = delete;
    ServerSignals& operator=(const ServerSignals&) = delete;

    // The next one that has arrived; nullopt when there is none.
    [[nodiscard]] std::optional<ServerSignal> next() const;

private:
    int descriptor_ = -1;
};

} // namespace qnips::cli
