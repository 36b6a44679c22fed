// What one can subscribe to at the scripted TV service: signals, packets and captions.

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Journal.h"
#include "ScriptedTvState.h"

namespace TTMLTest {

// Signal subscriptions of one callback.
class TvSubscriber : public TVServiceAPI::ISignalSubscriber, public TvObject
{
public:
    struct Subscription
    {
        ESignalType signal;
        void* userData;
        EProfile profile;
        unsigned short index;
        std::shared_ptr<CallbackSlot> slot;
    };

    TvSubscriber(unsigned int number, TSSignalCallback callback)
        : TvObject(number)
        , m_callback(callback)
    {}

    int Subscribe(ESignalType signal, void* userData, EProfile profile, unsigned short index,
                  TSSignalCallback callback) override;
    int Unsubscribe(ESignalType signal, EProfile profile, unsigned short index,
                    TSSignalCallback callback) override;

    // The rest with the state's mutex held.
    TSSignalCallback Callback() const { return m_callback; }
    const std::vector<Subscription>& Subscriptions() const { return m_subscriptions; }
    // Takes the subscriptions away.
    std::vector<Subscription> TakeAll();

private:
    static std::string Text(const char* name, ESignalType signal, EProfile profile, unsigned short index);
    std::vector<Subscription> Take(ESignalType signal);

    const TSSignalCallback m_callback;
    std::vector<Subscription> m_subscriptions; // guarded by the state's mutex
};

namespace {

std::lock_guard<std::mutex> LockState()
{
    return std::lock_guard<std::mutex>(TheTvState().mutex);
}

void End(const std::vector<TvSubscriber::Subscription>& subscriptions)
{
    for (const auto& subscription : subscriptions) {
        subscription.slot->End();
    }
}

// The one of the callback's subscribers that goes next: one without subscriptions, else the oldest. Null when
// there is none but such as the test had the platform keep.
TvSubscriber* NextToGo(TSSignalCallback callback)
{
    const auto guard = LockState();
    TvSubscriber* oldest = nullptr;
    for (TvSubscriber* subscriber : TheTvState().subscribers) {
        if (subscriber->Callback() != callback || !subscriber->IsMissed()) {
            continue;
        }
        if (subscriber->Subscriptions().empty()) {
            return subscriber;
        }
        oldest = oldest != nullptr ? oldest : subscriber;
    }
    return oldest;
}

} // namespace

// Signals.

std::string TvSubscriber::Text(const char* name, ESignalType signal, EProfile profile, unsigned short index)
{
    return std::string(name) + "(" + std::to_string(signal) + ", " + std::to_string(profile) + ", " +
           std::to_string(index) + ")";
}

std::vector<TvSubscriber::Subscription> TvSubscriber::Take(ESignalType signal)
{
    const auto guard = LockState();
    std::vector<Subscription> taken;
    const auto isIt = [&](const Subscription& one) { return one.signal == signal; };
    std::copy_if(m_subscriptions.begin(), m_subscriptions.end(), std::back_inserter(taken), isIt);
    m_subscriptions.erase(std::remove_if(m_subscriptions.begin(), m_subscriptions.end(), isIt),
                          m_subscriptions.end());
    return taken;
}

std::vector<TvSubscriber::Subscription> TvSubscriber::TakeAll()
{
    std::vector<Subscription> taken;
    taken.swap(m_subscriptions);
    return taken;
}

int TvSubscriber::Subscribe(ESignalType signal, void* userData, EProfile profile, unsigned short index,
                            TSSignalCallback callback)
{
    TvCallScope call(
        TvCall::SUBSCRIBE, [&] { return Name() + "." + Text("Subscribe", signal, profile, index); }, 1);
    if (IsReleased()) {
        call.Refuse("the subscriber is destroyed");
    } else if (callback != m_callback) {
        call.Refuse("another callback than the subscriber's");
    } else if (call.HasEffect()) {
        Take(signal);
        const auto guard = LockState();
        m_subscriptions.push_back({signal, userData, profile, index,
                                   std::make_shared<CallbackSlot>("signal " + std::to_string(signal))});
    }
    return call.Result();
}

int TvSubscriber::Unsubscribe(ESignalType signal, EProfile profile, unsigned short index,
                              TSSignalCallback callback)
{
    TvCallScope call(
        TvCall::UNSUBSCRIBE, [&] { return Name() + "." + Text("Unsubscribe", signal, profile, index); }, 1);
    if (IsReleased()) {
        call.Refuse("the subscriber is destroyed");
    } else if (callback != m_callback) {
        call.Refuse("another callback than the subscriber's");
    } else if (call.HasEffect()) {
        const std::vector<Subscription> taken = Take(signal);
        call.SetResult(taken.empty() ? 0 : call.Result());
        End(taken);
    }
    return call.Result();
}

std::vector<int> ScriptedTvService::Signal(int signal, const TSSignalData& data)
{
    struct Target
    {
        TSSignalCallback callback;
        TvSubscriber::Subscription subscription;
    };
    std::vector<Target> targets;
    {
        const FaultPause pause;
        const auto guard = LockState();
        for (const TvSubscriber* subscriber : TheTvState().subscribers) {
            for (const auto& subscription : subscriber->Subscriptions()) {
                if (subscription.signal == signal) {
                    targets.push_back({subscriber->Callback(), subscription});
                }
            }
        }
    }
    std::vector<int> results;
    for (const auto& [callback, to] : targets) {
        int result = 0;
        if (to.slot->Run([&, called = callback, &one = to] {
                result = called(one.signal, one.profile, one.index, data, one.userData);
            })) {
            const FaultPause pause;
            results.push_back(result);
        }
    }
    return results;
}

std::vector<void*> ScriptedTvService::SubscribedTo(int signal)
{
    const auto guard = LockState();
    std::vector<void*> users;
    for (const TvSubscriber* subscriber : TheTvState().subscribers) {
        for (const auto& subscription : subscriber->Subscriptions()) {
            if (subscription.signal == signal) {
                users.push_back(subscription.userData);
            }
        }
    }
    return users;
}

int ScriptedTvService::LateSignal(int signal, void* userData, const TSSignalData& data)
{
    TSSignalCallback callback = nullptr;
    {
        const auto guard = LockState();
        callback = TheTvState().signalCallback;
    }
    if (callback == nullptr) {
        ADD_FAILURE() << "nobody created a signal subscriber yet";
        return -1;
    }
    return callback(static_cast<ESignalType>(signal), PROFILE_MAIN, 0, data, userData);
}

// Packets.

unsigned int ScriptedTvService::Packet(const TSPESData& packet)
{
    std::vector<SharedSubscription::User> users;
    TSPESCallback callback = nullptr;
    TSPESData copy;
    {
        const FaultPause pause;
        const auto guard = LockState();
        copy = packet;
        callback = TheTvState().packetCallback;
        for (const auto& [name, subscription] : TheTvState().packets) {
            users.insert(users.end(), subscription.users.begin(), subscription.users.end());
        }
    }
    unsigned int called = 0;
    for (const auto& user : users) {
        called += user.slot->Run([&, data = user.userData] { callback(copy, data); }) ? 1U : 0U;
    }
    return called;
}

unsigned int ScriptedTvService::Packet(const std::vector<unsigned char>& bytes)
{
    TSPESData packet;
    packet.dataType = PES_DATA_TYPE_TTML;
    packet.pesData.pid = 0x123;
    packet.pesData.pts = 90000;
    {
        const FaultPause pause;
        packet.data = bytes;
    }
    return Packet(packet);
}

unsigned int ScriptedTvService::PacketSubscriptions()
{
    const auto guard = LockState();
    const auto found = TheTvState().packets.find("ttml");
    return found == TheTvState().packets.end() ? 0 : found->second.count;
}

void ScriptedTvService::LatePacket(const TSPESData& packet, void* userData)
{
    TSPESCallback callback = nullptr;
    {
        const auto guard = LockState();
        callback = TheTvState().packetCallback;
    }
    if (callback == nullptr) {
        ADD_FAILURE() << "nobody subscribed to packets yet";
        return;
    }
    TSPESData copy;
    {
        const FaultPause pause;
        copy = packet;
    }
    callback(copy, userData);
}

// Captions.

int AddTvCaptionSubscription(TSCaptionCallback callback, void* userData)
{
    const auto guard = LockState();
    const int id = ++TheTvState().captionCount;
    TheTvState().captions[id] = {callback, userData, std::make_shared<CallbackSlot>("captions")};
    TheTvState().captionCallback = callback;
    return id;
}

bool RemoveTvCaptionSubscription(int subscriptionId)
{
    std::shared_ptr<CallbackSlot> slot;
    {
        const auto guard = LockState();
        const auto found = TheTvState().captions.find(subscriptionId);
        if (found == TheTvState().captions.end()) {
            return false;
        }
        slot = found->second.slot;
        TheTvState().captions.erase(found);
    }
    slot->End();
    return true;
}

void GiveUpTvCaptionSubscription(int subscriptionId)
{
    const auto guard = LockState();
    const auto found = TheTvState().captions.find(subscriptionId);
    if (found != TheTvState().captions.end()) {
        found->second.givenUp = true;
    }
}

unsigned int ScriptedTvService::Caption(const TSCaption& caption)
{
    // A subscriber may change the caption that it gets, so each gets one of its own.
    std::vector<std::pair<TvCaptionSubscription, TSCaption>> subscriptions;
    {
        const FaultPause pause;
        const auto guard = LockState();
        for (const auto& [id, subscription] : TheTvState().captions) {
            subscriptions.emplace_back(subscription, caption);
        }
    }
    unsigned int called = 0;
    for (auto& [to, copy] : subscriptions) {
        called += to.slot->Run([&one = to, &own = copy] { one.callback(own, one.userData); }) ? 1U : 0U;
    }
    return called;
}

unsigned int ScriptedTvService::CaptionSubscriptions()
{
    const auto guard = LockState();
    return static_cast<unsigned int>(TheTvState().captions.size());
}

void ScriptedTvService::LateCaption(TSCaption& caption, void* userData)
{
    TSCaptionCallback callback = nullptr;
    {
        const auto guard = LockState();
        callback = TheTvState().captionCallback;
    }
    if (callback == nullptr) {
        ADD_FAILURE() << "nobody subscribed to captions yet";
        return;
    }
    callback(caption, userData);
}

void VerifyTvSubscriptions(TvState& state)
{
    for (const auto& [name, subscription] : state.packets) {
        EXPECT_TRUE(subscription.count == 0 || subscription.givenUp)
            << subscription.count << " subscriptions to packets under the name '" << name << "' are left";
    }
    for (const auto& [id, subscription] : state.captions) {
        EXPECT_TRUE(subscription.givenUp) << "subscriptions to captions are left, the one with the id " << id;
    }
}

} // namespace TTMLTest

CTVServiceSubscriber::CTVServiceSubscriber(const std::string& name)
{
    const TTMLTest::FaultPause pause;
    m_name = name;
}

CTVServiceSubscriber::~CTVServiceSubscriber() = default;

bool CTVServiceSubscriber::SubscribePES(TSPESCallback callback, void* userData)
{
    using namespace TTMLTest;
    const TvCallScope call(
        TvCall::SUBSCRIBE_PES, [&] { return "SubscribePES(" + Quoted(m_name.c_str()) + ")"; }, 1);
    if (call.HasEffect()) {
        const auto guard = LockState();
        TheTvState().packetCallback = callback;
        TheTvState().packets[m_name].Add("packets of '" + m_name + "'", userData);
    }
    return call.Result() != 0;
}

bool CTVServiceSubscriber::UnsubscribePES()
{
    using namespace TTMLTest;
    TvCallScope call(
        TvCall::UNSUBSCRIBE_PES, [&] { return "UnsubscribePES(" + Quoted(m_name.c_str()) + ")"; }, 1);
    std::vector<SharedSubscription::User> ended;
    {
        const auto guard = LockState();
        auto& subscription = TheTvState().packets[m_name];
        if (!call.HasEffect()) {
            subscription.givenUp = true;
        } else if (subscription.count == 0) {
            call.Refuse("there is no subscription of that name", 0);
        } else {
            ended = subscription.Remove();
        }
    }
    EndCalls(ended);
    return call.Result() != 0;
}

namespace TVServiceAPI {

using namespace TTMLTest;

int CreateSignalSubscriber(TSSignalCallback callback, ISignalSubscriber** subscriber)
{
    TvCallScope call(
        TvCall::CREATE_SIGNAL_SUBSCRIBER, [] { return std::string("CreateSignalSubscriber()"); }, 0);
    if (callback == nullptr || subscriber == nullptr) {
        call.Refuse("no callback, or no place for the subscriber");
        return call.Result();
    }
    const bool succeeds = call.Result() == 0;
    TvSubscriber* const object = succeeds && call.HasEffect() ? NewTvObject<TvSubscriber>(callback) : nullptr;
    call.Add(object != nullptr ? object->Name() : "null");
    if (object != nullptr) {
        const auto guard = LockState();
        TheTvState().signalCallback = callback;
        TheTvState().subscribers.push_back(object);
    }
    if (succeeds) {
        *subscriber = object;
    }
    return call.Result();
}

int DestroySignalSubscriber(TSSignalCallback callback)
{
    TvCallScope call(
        TvCall::DESTROY_SIGNAL_SUBSCRIBER, [] { return std::string("DestroySignalSubscriber()"); }, 0);
    TvSubscriber* const subscriber = NextToGo(callback);
    if (subscriber == nullptr) {
        call.Refuse("the callback has no subscriber");
        return call.Result();
    }
    call.Add(subscriber->Name());
    if (!call.HasEffect()) {
        subscriber->GiveUp();
        return call.Result();
    }
    std::vector<TvSubscriber::Subscription> ended;
    {
        const auto guard = LockState();
        ended = subscriber->TakeAll();
        auto& all = TheTvState().subscribers;
        all.erase(std::remove(all.begin(), all.end(), subscriber), all.end());
    }
    subscriber->MarkReleased();
    End(ended);
    return call.Result();
}

} // namespace TVServiceAPI
