#ifndef SIGNAL_SUBSCRIBERS_H
#define SIGNAL_SUBSCRIBERS_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "CallbackList.h"
#include "PlatformTvService.h"

namespace TTMLHost {

// What a signal subscription is taken back with.
struct SignalTarget
{
    std::uint64_t subscriber = 0; // each subscriber has subscriptions of its own
    ESignalType signal{};
    EProfile profile{};
    unsigned short index = 0;
    TSSignalCallback callback = nullptr;

    bool operator==(const SignalTarget& other) const
    {
        return subscriber == other.subscriber && signal == other.signal && profile == other.profile &&
               index == other.index && callback == other.callback;
    }
};

using SignalSubscriptions = CallbackList<SignalTarget, void*>;

// All signal subscribers of the process and their subscriptions. Any thread may make any call, also inside a
// callback.
class SignalSubscribers
{
public:
    SignalSubscribers();
    ~SignalSubscribers();
    SignalSubscribers(const SignalSubscribers&) = delete;
    SignalSubscribers& operator=(const SignalSubscribers&) = delete;

    // Null without memory. The subscriber is released with Destroy().
    TVServiceAPI::ISignalSubscriber* Create(TSSignalCallback callback);
    // Releases one subscriber of the callback, if there is one.
    bool Destroy(TSSignalCallback callback);

    // Calls all that have subscribed to the signal. One thread.
    void Call(ESignalType signal, const TSSignalData& data);

private:
    class Subscriber;

    std::unique_ptr<Subscriber> Take(TSSignalCallback callback);

    SignalSubscriptions m_subscriptions;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Subscriber>> m_subscribers; // guarded by m_mutex; oldest first
    std::uint64_t m_newest = 0;                             // guarded by m_mutex
};

} // namespace TTMLHost

#endif
