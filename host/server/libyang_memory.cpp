#include "server/libyang_memory.h"

#include <cstdlib>
#include <new>

#include <libyang/libyang.h>

namespace qnips
{

void LibyangDeleter::operator()(char* text) const noexcept
{
    std::free(text);
}

void LibyangDeleter::operator()(ly_in* input) const noexcept
{
    ly_in_free(input, 0);
}

void LibyangDeleter::operator()(ly_set* set) const noexcept
{
    ly_set_free(set, nullptr);
}

InputPtr input_of(const std::string& text)
{
    ly_in* input = nullptr;
    if (ly_in_new_memory(text.c_str(), &input) != LY_SUCCESS)
        throw std::bad_alloc();
    return InputPtr(input);
}

} // namespace qnips
