#include "HeapWindow.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <malloc.h>
#include <unistd.h>

extern "C" {
// The C library's allocator under the names that stay when the usual ones are replaced.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* pointer, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* pointer);
}

namespace TTMLBench {

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long long> g_bytes{0};

bool Counting()
{
    return g_counting.load(std::memory_order_relaxed);
}

void* Taken(void* pointer)
{
    if (Counting() && pointer != nullptr) {
        g_bytes.fetch_add(static_cast<long long>(malloc_usable_size(pointer)), std::memory_order_relaxed);
    }
    return pointer;
}

void GivenBack(void* pointer)
{
    if (Counting() && pointer != nullptr) {
        g_bytes.fetch_sub(static_cast<long long>(malloc_usable_size(pointer)), std::memory_order_relaxed);
    }
}

} // namespace

HeapWindow::HeapWindow()
{
    g_bytes = 0;
    g_counting = true;
}

HeapWindow::~HeapWindow()
{
    g_counting = false;
}

long long HeapWindow::Bytes() const
{
    return g_bytes;
}

long long ResidentBytes()
{
    long long total = 0;
    long long resident = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    if (file != nullptr) {
        // The kernel's own numbers, always in range.
        if (std::fscanf(file, "%lld %lld", &total, &resident) != 2) { // NOLINT(cert-err34-c)
            resident = 0;
        }
        (void)std::fclose(file);
    }
    return resident * sysconf(_SC_PAGESIZE);
}

} // namespace TTMLBench

// These stand in for the C library's functions in the whole process, shared libraries included.
#define BENCH_REPLACES __attribute__((visibility("default")))

extern "C" {

BENCH_REPLACES void* malloc(std::size_t size)
{
    return TTMLBench::Taken(__libc_malloc(size));
}

BENCH_REPLACES void* calloc(std::size_t count, std::size_t size)
{
    return TTMLBench::Taken(__libc_calloc(count, size));
}

BENCH_REPLACES void* realloc(void* pointer, std::size_t size)
{
    const std::size_t before = TTMLBench::Counting() && pointer != nullptr ? malloc_usable_size(pointer) : 0;
    void* const result = __libc_realloc(pointer, size);
    // Of a failed one the old block stays; one to no bytes frees it and returns null.
    if (result != nullptr || size == 0) {
        if (TTMLBench::Counting()) {
            TTMLBench::g_bytes.fetch_sub(static_cast<long long>(before), std::memory_order_relaxed);
        }
        TTMLBench::Taken(result);
    }
    return result;
}

BENCH_REPLACES void* memalign(std::size_t alignment, std::size_t size)
{
    return TTMLBench::Taken(__libc_memalign(alignment, size));
}

BENCH_REPLACES void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return TTMLBench::Taken(__libc_memalign(alignment, size));
}

BENCH_REPLACES int posix_memalign(void** pointer, std::size_t alignment, std::size_t size)
{
    if (alignment % sizeof(void*) != 0 || alignment == 0 || (alignment & (alignment - 1)) != 0) {
        return EINVAL;
    }
    void* const result = TTMLBench::Taken(__libc_memalign(alignment, size));
    if (result == nullptr) {
        return ENOMEM;
    }
    *pointer = result;
    return 0;
}

BENCH_REPLACES void free(void* pointer)
{
    TTMLBench::GivenBack(pointer);
    __libc_free(pointer);
}
}
