#include "FailingAllocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace TTMLTest {

namespace {

thread_local unsigned int t_left = 0; // allocations up to the one that fails; 0 when none does
thread_local bool t_failed = false;

// Over malloc, so that the sanitizers see the memory.
void* Allocate(std::size_t size)
{
    if (t_left > 0) {
        --t_left;
        if (t_left == 0) {
            t_failed = true;
            return nullptr;
        }
    }
    return std::malloc(size != 0 ? size : 1);
}

} // namespace

FailingAllocation::FailingAllocation(unsigned int number)
{
    t_left = number;
    t_failed = false;
}

FailingAllocation::~FailingAllocation()
{
    t_left = 0;
}

bool FailingAllocation::Failed() const
{
    return t_failed;
}

} // namespace TTMLTest

void* operator new(std::size_t size)
{
    void* const memory = TTMLTest::Allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return TTMLTest::Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return TTMLTest::Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept
{
    std::free(memory);
}
