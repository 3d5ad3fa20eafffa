#include "random_work.h"

#include <cstdlib>

namespace qnips::test
{

unsigned long number_from(const char* variable, unsigned long otherwise)
{
    const char* text = std::getenv(variable);
    return text != nullptr ? std::stoul(text) : otherwise;
}

} // namespace qnips::test
