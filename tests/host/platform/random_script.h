// Random scripts for a device, in a world of a few names so that they meet. Some of them are refused.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "platform/command_platform.h"
#include "platform/signature_catalogue.h"

namespace qnips
{

// Two categories, one of them divided.
SignatureCatalogue catalogue_for_scripts();

class RandomScripts
{
public:
    explicit RandomScripts(std::uint32_t seed) : random_(seed) {}

    std::vector<CommandLine> script(); // of one to six lines
    std::string vsys();
    int number(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

private:
    CommandLine line();
    std::string filled(std::string_view pattern);

    std::mt19937 random_;
};

} // namespace qnips
