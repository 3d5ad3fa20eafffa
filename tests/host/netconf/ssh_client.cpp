#include "ssh_client.h"

#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>

namespace qnips::test
{

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
