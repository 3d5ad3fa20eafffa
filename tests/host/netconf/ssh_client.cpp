#include "ssh_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace qnips::test
{

std::uint16_t free_port()
{
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const bool found = bind(probe, reinterpret_cast<const sockaddr*>(&address), size) == 0 &&
                       getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    close(probe);
    if (!found)
        throw std::runtime_error("no free port");
    return ntohs(address.sin_port);
}

Said shell(const std::string& command)
{
    Said said;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("popen");
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;)
        said.text += static_cast<char>(c);
    said.status = WEXITSTATUS(pclose(pipe));
    return said;
}

} // namespace qnips::test
