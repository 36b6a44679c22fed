#include "TvService.h"

#include <cmath>
#include <exception>
#include <system_error>
#include <utility>

#include "Atsc3Input.h"
#include "BroadcastInput.h"
#include "InputError.h"
#include "PlatformSettings.h"

namespace TTMLHost {

namespace {

// First word of SIGNAL_ATSC3_SIGNALING: a new MPD has arrived.
constexpr std::int32_t kNewMpd = 8;

constexpr char kChannelLockKey[] = "db/menu/broadcasting/channel_lock";

bool IsChannelLockOn()
{
    int on = 0;
    return vconf_get_bool(kChannelLockKey, &on) == 0 && on != 0;
}

// Written so that a speed that is no number is refused, too.
bool IsSpeed(double speed)
{
    return speed > 0.0 && std::isfinite(speed);
}

} // namespace

TvService& TvService::Instance()
{
    static TvService* const service = new TvService();
    return *service;
}

TvService::TvService()
    : m_signals([this](ESignalType signal, const TSSignalData& data) { HandOut(signal, data); })
{}

bool TvService::Open(const TvOptions& options, TvListener* listener, std::string* error)
{
    ServiceOutput* const output = this;
    return OpenWith(std::make_shared<BroadcastInput>(options, output), options.input, options.speed, listener,
                    error);
}

bool TvService::Open(const TvAtsc3Options& options, TvListener* listener, std::string* error)
{
    ServiceOutput* const output = this;
    return OpenWith(std::make_shared<Atsc3Input>(options, output), options.input, options.speed, listener,
                    error);
}

// `name`: the input's in error lines.
bool TvService::OpenWith(const std::shared_ptr<ServiceInput>& input, const std::string& name, double speed,
                         TvListener* listener, std::string* error)
{
    const std::lock_guard<std::mutex> opening(m_opening);
    if (listener == nullptr) {
        *error = DescribeInputFailure("open", name, "nobody listens", "give a listener");
        return false;
    }
    if (!IsSpeed(speed)) {
        *error = DescribeInputFailure("play", name, "the speed is not above 0", "give 1 for normal speed");
        return false;
    }
    if (OpenInput() != nullptr) {
        *error =
            DescribeInputFailure("open", name, "the TV service has an input already", "close that first");
        return false;
    }
    if (!input->Open(error)) {
        return false;
    }
    try {
        m_signals.Open();
    } catch (const std::exception& failure) {
        CloseInput(input);
        *error = DescribeInputFailure("play", name,
                                      std::string("no thread could be started (") + failure.what() + ")",
                                      "free some resources");
        return false;
    }
    m_listener.Set(listener);
    m_signals.Mute(false);
    m_terminated = false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_input = input;
    return true;
}

void TvService::Close()
{
    const std::lock_guard<std::mutex> opening(m_opening);
    std::shared_ptr<ServiceInput> input;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        input = std::move(m_input);
        m_input = nullptr;
        m_locks.ForgetServices();
    }
    if (input != nullptr) {
        input->RequestStop();
    }
    // The input's thread may be waiting for a signal to be handed out, so the signals end first.
    m_signals.Mute(true);
    m_signals.Close();
    if (input != nullptr) {
        input->Join();
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_statistics = input->Statistics();
    }
    m_listener.Set(nullptr);
    m_signals.Mute(m_terminated);
}

void TvService::CloseInput(const std::shared_ptr<ServiceInput>& input)
{
    input->RequestStop();
    input->Join();
}

std::shared_ptr<ServiceInput> TvService::OpenInput() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_input;
}

std::shared_ptr<const ServiceInput> TvService::Input() const
{
    return m_terminated ? nullptr : OpenInput();
}

void TvService::Start()
{
    if (const auto input = OpenInput()) {
        input->Start();
    }
}

bool TvService::Tune(const std::string& service, std::string* error)
{
    if (const auto input = OpenInput(); input != nullptr && !m_terminated) {
        return input->Tune(service, error);
    }
    *error = "Cannot tune to service '" + service +
             "': " + (m_terminated ? "the TV service has ended" : "there is no input") + "; open one";
    return false;
}

void TvService::RaiseSignal(ESignalType signal)
{
    Raise(signal);
}

void TvService::Terminate()
{
    m_terminated = true;
    m_signals.Mute(true);
}

void TvService::LockService(bool locked)
{
    const auto input = OpenInput();
    const std::optional<TunedService> service = input != nullptr ? input->Current() : std::nullopt;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!service) {
            m_locks.SetForNext(locked);
            return;
        }
        m_locks.Set(service->id, locked);
    }
    if (locked) {
        Raise(SIGNAL_SERVICE_LOCKED);
    }
}

void TvService::SetRatingLimit(std::optional<int> age)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_locks.SetRatingLimit(age);
    }
    const auto input = OpenInput();
    if (const auto service = input != nullptr ? input->Current() : std::nullopt) {
        OnRatingChanged(*service);
    }
}

void TvService::Settle()
{
    m_signals.Settle();
}

TvStatistics TvService::Statistics() const
{
    if (const auto input = OpenInput()) {
        return input->Statistics();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_statistics;
}

bool TvService::SubscribePes(const std::string& name, TSPESCallback callback, void* userData)
{
    if (callback == nullptr || m_terminated) {
        return false;
    }
    m_pesSubscriptions.Register(name, {callback, userData});
    return true;
}

bool TvService::UnsubscribePes(const std::string& name)
{
    return m_pesSubscriptions.Unregister(name);
}

bool TvService::SubscribeCaption(TSCaptionCallback callback, void* userData, int* subscriptionId)
{
    if (callback == nullptr || m_terminated) {
        return false;
    }
    const int id = ++m_newestCaptionSubscription;
    m_captionSubscriptions.Register(id, {callback, userData});
    *subscriptionId = id;
    return true;
}

bool TvService::UnsubscribeCaption(int subscriptionId)
{
    return m_captionSubscriptions.Unregister(subscriptionId);
}

bool TvService::IsLocked(std::uint64_t service) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_locks.IsLocked(service);
}

bool TvService::Permits(std::optional<int> rating) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_locks.Permits(rating);
}

bool TvService::IsWithheld(const TunedService& service) const
{
    return !Permits(service.rating) || (IsLocked(service.id) && IsChannelLockOn());
}

void TvService::Raise(ESignalType signal)
{
    m_signals.Raise(signal, TSSignalData());
}

void TvService::RaiseNewMpd()
{
    TSSignalData data = {};
    data.data.l[0] = kNewMpd;
    m_signals.Raise(SIGNAL_ATSC3_SIGNALING, data);
}

void TvService::OnTuned(const TunedService& service)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_locks.OnTuned(service.id);
    }
    if (IsWithheld(service)) {
        Raise(SIGNAL_SERVICE_LOCKED);
    }
}

void TvService::OnRatingChanged(const TunedService& service)
{
    if (!Permits(service.rating)) {
        Raise(SIGNAL_SERVICE_LOCKED);
    }
}

bool TvService::OnPes(const TSPESData& packet)
{
    bool taken = false;
    const auto lend = [&](const std::string&, const Subscription<TSPESCallback>& subscription) {
        if (m_terminated) {
            return;
        }
        // Each callback may change what it is lent.
        m_lentPacket = packet;
        taken = true;
        subscription.callback(m_lentPacket, subscription.userData);
    };
    m_pesSubscriptions.Call(lend);
    return taken;
}

void TvService::OnPesDelivered()
{
    m_listener.OnPesDelivered();
}

bool TvService::OnCaption(const TSCaption& caption)
{
    bool taken = false;
    const auto lend = [&](int, const Subscription<TSCaptionCallback>& subscription) {
        if (m_terminated) {
            return;
        }
        m_lentCaption = caption;
        taken = true;
        subscription.callback(m_lentCaption, subscription.userData);
    };
    m_captionSubscriptions.Call(lend);
    return taken;
}

void TvService::OnCaptionDelivered()
{
    m_listener.OnCaptionDelivered();
}

void TvService::OnWarning(const std::string& line)
{
    m_listener.OnWarning(line);
}

void TvService::OnTuneFailed(const std::string& line)
{
    m_listener.OnTuneFailed(line);
}

void TvService::OnEnd(const std::string& error)
{
    m_listener.OnEnd(error);
}

void TvService::AwaitSignals()
{
    m_signals.Settle();
}

void TvService::HandOut(ESignalType signal, const TSSignalData& data)
{
    m_subscribers.Call(signal, data);
    m_listener.OnSignal(signal);
}

} // namespace TTMLHost
