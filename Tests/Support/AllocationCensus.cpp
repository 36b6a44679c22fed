#include "AllocationCensus.h"

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <unordered_set>

#include "FaultInjection.h"

namespace TTMLTest {

namespace {

// What counts the allocations must not be counted among them.
template <class Value>
struct PlainAllocator
{
    using value_type = Value;

    PlainAllocator() = default;
    template <class Other>
    PlainAllocator(const PlainAllocator<Other>& /*other*/) // NOLINT(google-explicit-constructor)
    {}
    Value* allocate(std::size_t count) { return static_cast<Value*>(std::malloc(count * sizeof(Value))); }
    void deallocate(Value* memory, std::size_t /*count*/) { std::free(memory); }
    friend bool operator==(const PlainAllocator& /*one*/, const PlainAllocator& /*other*/) { return true; }
    friend bool operator!=(const PlainAllocator& /*one*/, const PlainAllocator& /*other*/) { return false; }
};

using Pointers = std::unordered_set<void*, std::hash<void*>, std::equal_to<void*>, PlainAllocator<void*>>;

std::atomic<bool> g_taken{false};
std::mutex g_mutex;
// The current thread is at the count, whose own memory comes this way too.
thread_local bool t_counting = false;

bool IsOfInterest(const void* memory)
{
    return memory != nullptr && g_taken.load(std::memory_order_relaxed) && !t_counting;
}

// Never destroyed: memory is freed until the process is gone.
Pointers& Living()
{
    static void* const place = std::malloc(sizeof(Pointers));
    static Pointers* const living = new (place) Pointers;
    return *living;
}

} // namespace

AllocationCensus::AllocationCensus()
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    t_counting = true;
    Living().clear();
    t_counting = false;
    g_taken.store(true);
}

AllocationCensus::~AllocationCensus()
{
    g_taken.store(false);
}

std::size_t AllocationCensus::Live()
{
    const std::lock_guard<std::mutex> guard(g_mutex);
    return Living().size();
}

void AllocationCensus::Allocated(void* memory)
{
    if (IsOfInterest(memory) && !FaultPause::IsOn()) {
        const std::lock_guard<std::mutex> guard(g_mutex);
        t_counting = true;
        Living().insert(memory);
        t_counting = false;
    }
}

void AllocationCensus::Freed(void* memory)
{
    // Before it is freed, so that the address is struck off before another allocation gets it.
    if (IsOfInterest(memory)) {
        const std::lock_guard<std::mutex> guard(g_mutex);
        t_counting = true;
        Living().erase(memory);
        t_counting = false;
    }
}

} // namespace TTMLTest
