#include "SignalSubscribers.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace TTMLHost {

namespace {

constexpr int kSubscribed = 1;
constexpr int kFailed = 0;
// What signals are raised for: there is one screen.
constexpr EProfile kProfile = PROFILE_MAIN;
constexpr unsigned short kIndex = 0;

} // namespace

class SignalSubscribers::Subscriber final : public TVServiceAPI::ISignalSubscriber
{
public:
    Subscriber(SignalSubscriptions* subscriptions, std::uint64_t id, TSSignalCallback callback)
        : m_subscriptions(subscriptions)
        , m_id(id)
        , m_callback(callback)
    {}
    virtual ~Subscriber() = default;
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    TSSignalCallback Callback() const { return m_callback; }

    // How well it suits an order to destroy one subscriber of its callback.
    enum class Fit
    {
        UsedUp, // everything it had is taken back
        Unused, // its owner may be about to subscribe
        InUse
    };

    Fit FitToGo() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_targets.empty()) {
            return Fit::InUse;
        }
        return m_used ? Fit::UsedUp : Fit::Unused;
    }

    int Subscribe(ESignalType signal, void* userData, EProfile profile, unsigned short index,
                  TSSignalCallback callback) override
    {
        if (callback == nullptr) {
            return kFailed;
        }
        const SignalTarget target{m_id, signal, profile, index, callback};
        try {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_targets.reserve(m_targets.size() + 1);
            m_subscriptions->Register(target, userData);
            m_targets.push_back(target);
            m_used = true;
            return kSubscribed;
        } catch (const std::exception&) {
            return kFailed;
        }
    }

    int Unsubscribe(ESignalType signal, EProfile profile, unsigned short index,
                    TSSignalCallback callback) override
    {
        const SignalTarget target{m_id, signal, profile, index, callback};
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto gone = std::remove(m_targets.begin(), m_targets.end(), target);
            if (gone == m_targets.end()) {
                return kFailed;
            }
            m_targets.erase(gone, m_targets.end());
        }
        End(target);
        return kSubscribed;
    }

    // Ends everything that is still subscribed.
    void EndAll()
    {
        std::vector<SignalTarget> targets;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            targets.swap(m_targets);
        }
        for (const SignalTarget& target : targets) {
            End(target);
        }
    }

private:
    // Waits for calls, so no lock is held. One unsubscription ends all subscriptions of the kind.
    void End(const SignalTarget& target)
    {
        while (m_subscriptions->Unregister(target)) {
        }
    }

    SignalSubscriptions* const m_subscriptions;
    const std::uint64_t m_id;
    const TSSignalCallback m_callback;
    mutable std::mutex m_mutex;
    std::vector<SignalTarget> m_targets; // guarded by m_mutex
    bool m_used = false;                 // guarded by m_mutex
};

SignalSubscribers::SignalSubscribers() = default;

SignalSubscribers::~SignalSubscribers() = default;

TVServiceAPI::ISignalSubscriber* SignalSubscribers::Create(TSSignalCallback callback)
{
    try {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscribers.push_back(std::make_unique<Subscriber>(&m_subscriptions, ++m_newest, callback));
        return m_subscribers.back().get();
    } catch (const std::exception&) {
        return nullptr;
    }
}

bool SignalSubscribers::Destroy(TSSignalCallback callback)
{
    const std::unique_ptr<Subscriber> subscriber = Take(callback);
    if (subscriber == nullptr) {
        return false;
    }
    subscriber->EndAll();
    return true;
}

// Of two sources with the same callback, one that goes must not take away what the other one uses.
std::unique_ptr<SignalSubscribers::Subscriber> SignalSubscribers::Take(TSSignalCallback callback)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto fit : {Subscriber::Fit::UsedUp, Subscriber::Fit::Unused, Subscriber::Fit::InUse}) {
        const auto found = std::find_if(m_subscribers.begin(), m_subscribers.end(), [&](const auto& one) {
            return one->Callback() == callback && one->FitToGo() == fit;
        });
        if (found != m_subscribers.end()) {
            std::unique_ptr<Subscriber> taken = std::move(*found);
            m_subscribers.erase(found);
            return taken;
        }
    }
    return nullptr;
}

void SignalSubscribers::Call(ESignalType signal, const TSSignalData& data)
{
    m_subscriptions.Call(
        [signal](const SignalTarget& target) {
            return target.signal == signal && target.profile == kProfile && target.index == kIndex;
        },
        [&data](const SignalTarget& target, void* userData) {
            // The service does not care whether it was taken.
            (void)target.callback(target.signal, target.profile, target.index, data, userData);
        });
}

} // namespace TTMLHost
