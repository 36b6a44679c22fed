#ifndef PORT_TEST_CALLBACK_CONTRACT_H
#define PORT_TEST_CALLBACK_CONTRACT_H

// What all subscriptions of the boundary promise, whatever they are called: the tests are in
// CallbackContract.cpp, and the file of each service has them run on its own subscriptions.

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <gtest/gtest.h>

#include "Gate.h"

namespace PortTest {

// What a subscription's user data points to. A call that overlaps another one, or that comes after
// ExpectNoMore(), fails the test.
class Receiver
{
public:
    explicit Receiver(const std::string& name, bool mayOverlap = false);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    // For the callbacks: the object behind their user data.
    static void Call(void* userData);

    // Run by each call from now on, on its thread.
    void During(std::function<void()> action);
    void ExpectNoMore() { m_over = true; }

    unsigned int Calls() const { return m_calls.Count(); }
    // Waits until there have been so many calls, all of which have ended but perhaps the last.
    bool WaitForCalls(unsigned int count) const { return m_calls.WaitFor(count); }

private:
    const std::string m_name;
    const bool m_mayOverlap;
    TTMLTest::CountingGate m_calls;
    std::atomic<unsigned int> m_inside{0};
    std::atomic<bool> m_over{false};
    std::mutex m_mutex;
    std::function<void()> m_action; // guarded by m_mutex
};

// One kind of subscription: two of them, "slots" 0 and 1, that are ended each by itself.
class Subscription
{
public:
    virtual ~Subscription() = default;
    virtual bool Begin(int slot, Receiver* receiver) = 0;
    virtual bool End(int slot) = 0;
    // Has an event come, which may be before the return, or later. What comes by itself needs nothing.
    virtual void Raise() = 0;
};

// How a kind of subscription is had. `make` gives null where the port lacks the ability.
struct SubscriptionKind
{
    std::string name;
    std::string ability;
    std::unique_ptr<Subscription> (*make)();
    bool mayOverlap = false; // calls of one subscription on several threads at once are no failure
};

void PrintTo(const SubscriptionKind& kind, std::ostream* out);
std::string NameOf(const testing::TestParamInfo<SubscriptionKind>& kind);

class CallbackContract : public testing::TestWithParam<SubscriptionKind>
{
protected:
    void SetUp() override;

    // Has events come until the receiver has had `more` further calls.
    bool RaiseUntil(const Receiver& receiver, unsigned int more);

    std::unique_ptr<Subscription> m_subscription;
    Receiver m_first;
    Receiver m_second;

    CallbackContract();
};

// Of subscriptions that are counted by what they are taken back with.
class CountedCallbackContract : public CallbackContract
{};

// Of those that are called on a thread of the service, one call at a time.
class SerialCallbackContract : public CallbackContract
{};

// Has the tests of a contract run on one kind of subscription.
#define PORT_INSTANTIATE(service, contract, kind)                                                            \
    INSTANTIATE_TEST_SUITE_P(service, contract, testing::Values(kind), &PortTest::NameOf)

} // namespace PortTest

#endif
