// The global allocation functions of the test executables, over malloc so that the sanitizers see them.

#include <cstddef>
#include <cstdlib>
#include <new>

#include "AllocationCensus.h"
#include "FaultInjection.h"

namespace {

void* Allocate(std::size_t size)
{
    void* const memory = std::malloc(size != 0 ? size : 1);
    TTMLTest::AllocationCensus::Allocated(memory);
    return memory;
}

void Free(void* memory)
{
    TTMLTest::AllocationCensus::Freed(memory);
    std::free(memory);
}

void* AllocateOrThrow(std::size_t size)
{
    void* const memory =
        TTMLTest::FaultInjection::Strike(TTMLTest::Call::NEW) == 0 ? Allocate(size) : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* AllocateOrNull(std::size_t size)
{
    return TTMLTest::FaultInjection::Strike(TTMLTest::Call::NEW_NOTHROW) == 0 ? Allocate(size) : nullptr;
}

} // namespace

void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}

void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return AllocateOrNull(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return AllocateOrNull(size);
}

void operator delete(void* memory) noexcept
{
    Free(memory);
}

void operator delete[](void* memory) noexcept
{
    Free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    Free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    Free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    Free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    Free(memory);
}
