#include "ResolverGate.h"

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>

#include <dlfcn.h>
#include <netdb.h>

#include <gtest/gtest.h>

#include "Gate.h"

namespace TTMLTest {

namespace {

struct Resolver
{
    std::mutex mutex;
    std::condition_variable changed;
    bool closed = false; // guarded by mutex
    int waiting = 0;     // guarded by mutex
};

// Never destroyed: a look-up may outlast the fetch that wanted it.
Resolver& TheResolver()
{
    static auto* const resolver = new Resolver;
    return *resolver;
}

void WaitAtGate()
{
    Resolver& resolver = TheResolver();
    std::unique_lock<std::mutex> lock(resolver.mutex);
    ++resolver.waiting;
    resolver.changed.notify_all();
    resolver.changed.wait(lock, [&] { return !resolver.closed; });
    --resolver.waiting;
    resolver.changed.notify_all();
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

ResolverGate::ResolverGate()
{
    Resolver& resolver = TheResolver();
    const std::lock_guard<std::mutex> lock(resolver.mutex);
    resolver.closed = true;
}

ResolverGate::~ResolverGate()
{
    Resolver& resolver = TheResolver();
    std::unique_lock<std::mutex> lock(resolver.mutex);
    resolver.closed = false;
    resolver.changed.notify_all();
    EXPECT_TRUE(resolver.changed.wait_for(lock, kPatience, [&] { return resolver.waiting == 0; }))
        << "a look-up did not end";
}

bool ResolverGate::WaitForLookUp() const
{
    Resolver& resolver = TheResolver();
    std::unique_lock<std::mutex> lock(resolver.mutex);
    if (resolver.changed.wait_for(lock, kPatience, [&] { return resolver.waiting > 0; })) {
        return true;
    }
    ADD_FAILURE() << "nothing was looked up";
    return false;
}

} // namespace TTMLTest

// Stands before the C library's, also for the libraries that this program loads.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (name != nullptr && TTMLTest::EndsWith(name, ".invalid")) {
        return EAI_NONAME;
    }
    if (name != nullptr && std::strcmp(name, "stalled.test") == 0) {
        TTMLTest::WaitAtGate();
        return EAI_NONAME;
    }
    return next(name, service, hints, result);
}
