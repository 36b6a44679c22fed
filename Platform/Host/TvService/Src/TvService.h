#ifndef TV_SERVICE_H
#define TV_SERVICE_H

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "CallbackList.h"
#include "HostTvService.h"
#include "ListenerCalls.h"
#include "PlatformTvService.h"
#include "ServiceInput.h"
#include "SignalDispatcher.h"
#include "SignalSubscribers.h"
#include "ViewerLocks.h"

namespace TTMLHost {

// The TV service of the process: hands out the signals, and what the input brings to those who have
// subscribed to it, keeps the viewer's locks and answers the queries of session objects. Any thread may make
// the calls, unless stated otherwise; those that need memory throw std::bad_alloc.
class TvService final : private ServiceOutput
{
public:
    // Lives as long as the process: subscriptions may be taken back until the very end.
    static TvService& Instance();

    ~TvService() override = default;
    TvService(const TvService&) = delete;
    TvService& operator=(const TvService&) = delete;

    // What the client does; see HostTvService.h.
    bool Open(const TvOptions& options, TvListener* listener, std::string* error);
    bool Open(const TvAtsc3Options& options, TvListener* listener, std::string* error);
    void Start();
    bool Tune(const std::string& service, std::string* error);
    void RaiseSignal(ESignalType signal);
    void RaiseNewMpd() override;
    void Terminate();
    void LockService(bool locked);
    void SetRatingLimit(std::optional<int> age);
    void Settle();
    TvStatistics Statistics() const;
    void Close();

    // What the source layer does; see PlatformTvService.h.
    SignalSubscribers& Subscribers() { return m_subscribers; }
    bool SubscribePes(const std::string& name, TSPESCallback callback, void* userData);
    bool UnsubscribePes(const std::string& name);
    bool SubscribeCaption(TSCaptionCallback callback, void* userData, int* subscriptionId);
    bool UnsubscribeCaption(int subscriptionId);

    bool IsTerminated() const { return m_terminated; }
    // The input for a query: null once the service is terminated, or without one.
    std::shared_ptr<const ServiceInput> Input() const;
    // Whether the viewer has locked the service.
    bool IsLocked(std::uint64_t service) const;
    bool Permits(std::optional<int> rating) const;
    // Whether picture and sound of the service are withheld.
    bool IsWithheld(const TunedService& service) const;

private:
    template <typename Callback>
    struct Subscription
    {
        Callback callback;
        void* userData;

        bool operator==(const Subscription& other) const
        {
            return callback == other.callback && userData == other.userData;
        }
    };

    TvService();

    void Raise(ESignalType signal) override;
    void OnTuned(const TunedService& service) override;
    void OnRatingChanged(const TunedService& service) override;
    bool OnPes(const TSPESData& packet) override;
    void OnPesDelivered() override;
    bool OnCaption(const TSCaption& caption) override;
    void OnCaptionDelivered() override;
    void OnWarning(const std::string& line) override;
    void OnTuneFailed(const std::string& line) override;
    void OnEnd(const std::string& error) override;
    void AwaitSignals() override;

    void HandOut(ESignalType signal, const TSSignalData& data);
    bool OpenWith(const std::shared_ptr<ServiceInput>& input, const std::string& name, double speed,
                  TvListener* listener, std::string* error);
    std::shared_ptr<ServiceInput> OpenInput() const;
    void CloseInput(const std::shared_ptr<ServiceInput>& input);

    SignalSubscribers m_subscribers;
    CallbackList<std::string, Subscription<TSPESCallback>> m_pesSubscriptions; // by name
    CallbackList<int, Subscription<TSCaptionCallback>> m_captionSubscriptions; // by id
    ListenerCalls m_listener;
    SignalDispatcher m_signals;
    std::atomic<bool> m_terminated{false};
    std::atomic<int> m_newestCaptionSubscription{0};

    std::mutex m_opening; // opening and closing are one after the other; held while they last
    mutable std::mutex m_mutex;
    std::shared_ptr<ServiceInput> m_input; // guarded by m_mutex
    ViewerLocks m_locks;                   // guarded by m_mutex
    TvStatistics m_statistics;             // guarded by m_mutex; of the last input

    // The packet as it is lent to a callback; the input's thread only.
    TSPESData m_lentPacket;
    TSCaption m_lentCaption;
};

} // namespace TTMLHost

#endif
