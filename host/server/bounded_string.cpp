// The bounds-checked string functions of the server contract.
//
// Whatever goes wrong, the destination is left terminated: a caller that does not look at the result sends an empty
// text rather than what the memory held before.
#include "transapi/bounded_string.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace
{

// True when not a single byte may be written.
bool unwritable(const void* dest, size_t dest_max)
{
    return dest == nullptr || dest_max == 0;
}

int emptied(void* dest, int error)
{
    *static_cast<char*>(dest) = '\0';
    return error;
}

} // namespace

extern "C" int memcpy_s(void* dest, size_t dest_max, const void* src, size_t count)
{
    if (unwritable(dest, dest_max))
        return EINVAL;
    if (src == nullptr)
        return emptied(dest, EINVAL);
    if (count > dest_max)
        return emptied(dest, ERANGE);
    std::memcpy(dest, src, count);
    return 0;
}

extern "C" int memset_s(void* dest, size_t dest_max, int c, size_t count)
{
    if (unwritable(dest, dest_max))
        return EINVAL;
    if (count > dest_max)
        return emptied(dest, ERANGE);
    std::memset(dest, c, count);
    return 0;
}

extern "C" int strncpy_s(char* dest, size_t dest_max, const char* src, size_t count)
{
    if (unwritable(dest, dest_max))
        return EINVAL;
    if (src == nullptr)
        return emptied(dest, EINVAL);
    const size_t length = strnlen(src, count);
    if (length >= dest_max)
        return emptied(dest, ERANGE);
    std::memcpy(dest, src, length);
    dest[length] = '\0';
    return 0;
}

extern "C" int snprintf_s(char* dest, size_t dest_max, size_t count, const char* format, ...)
{
    if (unwritable(dest, dest_max))
        return -1;
    if (format == nullptr)
        return emptied(dest, -1);

    const bool may_cut = count < dest_max;
    const size_t limit = may_cut ? count : dest_max - 1;

    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(dest, limit + 1, format, arguments);
    va_end(arguments);

    if (length < 0)
        return emptied(dest, -1);
    if (static_cast<size_t>(length) <= limit)
        return length;
    return may_cut ? -1 : emptied(dest, -1);
}
