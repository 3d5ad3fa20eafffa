// What the tests of the server over SSH share: a user's password, and clients that are programs.
#pragma once

#include <string>

namespace qnips::test
{

// Of "secret", as the users' file has it.
inline constexpr const char* password_hash =
    "$6$abcdefgh$ltjgWl6579NluT/Vi1nwEvcil.G5Nbc4NiXZaNGStk8PSwGfQv72N2CKPPrVACtLtip/cZ/1GM/O6IND4WQhG.";

struct Said {
    std::string text; // on standard output and standard error
    int status = -1;
};

// Runs a command and waits for its end. Throws std::runtime_error.
Said shell(const std::string& command);

} // namespace qnips::test
