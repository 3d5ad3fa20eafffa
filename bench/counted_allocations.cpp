#include "counted_allocations.h"

#include <atomic>
#include <cstdlib>

// The names under which the C library offers its own functions to a program that puts others before them.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace
{

std::atomic<std::size_t> g_allocations = 0;

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(memory, size);
}
}

namespace qnips::bench
{

std::size_t allocations() noexcept
{
    return g_allocations.load(std::memory_order_relaxed);
}

} // namespace qnips::bench
