#include "counted_allocations.h"

#include <atomic>
#include <cstdlib>

#include <mimalloc.h>

namespace
{

std::atomic<std::size_t> g_allocations = 0;

} // namespace

extern "C" {

void* malloc(std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return mi_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return mi_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return mi_realloc(memory, size);
}
}

// The form that all the others of the standard library come down to.
void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return mi_new(size);
}

void operator delete(void* memory) noexcept
{
    mi_free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    mi_free(memory);
}

namespace qnips::bench
{

std::size_t allocations() noexcept
{
    return g_allocations.load(std::memory_order_relaxed);
}

} // namespace qnips::bench
