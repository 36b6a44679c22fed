#ifndef SCRIPTED_TV_SERVICE_H
#define SCRIPTED_TV_SERVICE_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "PlatformTvService.h"

namespace TTMLTest {

// What is on, as the scripted TV service answers it. A new scene is a service with id 1001, not locked, with
// a TTML stream of the IMSC1 profile.
struct TvScene
{
    bool terminated = false;

    int tvMode = 5;
    bool hasAttributes = true;
    std::map<int, TCServiceValue> attributes = {{SERVICE_ATTRIBUTE_ID, {0, 1001}},
                                                {SERVICE_ATTRIBUTE_LOCK, {0, 0}}};
    int sourceType = 0;
    bool parentalLock = false;
    int rating = 0;
    bool ratingPermitted = true;
    std::map<int, int> specValues = {{SO_SPEC_VALUE_LOCK_TYPE, 8}, {0, 1}};

    int languageCode = 0x656e67; // "eng"
    int index = 2;
    TSHybridSBT stream = {HYBRID_SBT_TYPE_TTML, HYBRID_SBT_PROFILE_IMSC1};
    unsigned long long stc = 0;

    std::optional<TCCaption> caption; // without one the question fails the test
    bool captionProfileTold = true;   // false: the profile in the record that is asked with stays as it is
    std::optional<std::string> mpd;   // the same
};

// Calls that can be made to answer something else.
enum class TvCall
{
    CREATE_SIGNAL_SUBSCRIBER,
    SUBSCRIBE,
    UNSUBSCRIBE,
    DESTROY_SIGNAL_SUBSCRIBER,
    CREATE_SERVICE_NAVIGATION,
    GET_TV_MODE,
    GET_CURRENT_SERVICE_INFO,
    CREATE_SOURCE_CONTROL,
    GET_CURRENT_SOURCE_INFO,
    CREATE_AV_CONTROL,
    GET_PARENTAL_LOCK,
    CREATE_RATING_UTIL,
    GET_RATING,
    CREATE_SO_SPEC_APP,
    GET_VALUE,
    CREATE_DATA_CONTROL,
    GET_CURRENT_HYBRID_SBT,
    GET_STC_COUNT,
    GET_CURRENT_CAPTION,
    SERVICE_DATA_AUX,
    GET_HYBRID_SBT,
    CREATE_ATSC3_DATA_CONTROL,
    GET_MPD_DATA,
    CREATE_DATA_SUBSCRIBER,
    SUBSCRIBE_CAPTION,
    UNSUBSCRIBE_CAPTION,
    SUBSCRIBE_PES,
    UNSUBSCRIBE_PES,
    IS_TVS_TERMINATED,
    DESTROY // of a session; it has no answer
};

// What one call answers instead of success with the scene's values.
struct TvAnswer
{
    static TvAnswer Usual() { return {}; }
    // A failure, which creates and writes nothing, removes nothing and takes no subscription.
    static TvAnswer Failure(int result) { return {result, false}; }
    // For calls that create: success, but null.
    static TvAnswer Null() { return {0, false}; }
    // The result given, beside the scene's values.
    static TvAnswer Result(int result) { return {result, true}; }

    std::optional<int> result;
    bool effect = true;
};

// The scripted TV service. It answers from the scene that the test shows; while none is shown every call
// fails the test. The journal (service "tv service") shows each call with its arguments and its answer,
// session objects and signal subscribers by the number of their creation:
//     IsTvsTerminated() = 0
//     CreateSignalSubscriber() = 0, #1
//     #1.Subscribe(59, 1, 0) = 1                                signal, profile, index
//     #1.Unsubscribe(59, 1, 0) = 1
//     DestroySignalSubscriber() = 0, #1
//     CreateServiceNavigation(1, 0) = 0, #2                     profile, group
//     Fetch(12)
//     GetNavigationCriteria(0, -1, -1, -1, [12])
//     #2.GetTvMode() = 1, 5
//     #2.GetCurrentServiceInfo(5, 0, -1, -1, -1, [12]) = 1
//     Destroy(#2)
//     #3.GetCurrentHybridSBT(-1, 65535) = 1, 6647399, 2         the values before and after
//     #4.GetHybridSBT(1001, 2, 6647399) = 1, 2, 3
//     SubscribePES("ttml") = 1
//     UnsubscribePES("ttml") = 1
// What is wrong by the contract of the boundary fails the test at once (an object that is used after its
// release or by two threads at the same time, another callback than the one of the creation), and Verify()
// fails it for sessions, subscribers and subscriptions that are left and for answers that nobody asked for.
// What a call of the test's was told not to give up is not missed.
//
// Signals, packets and captions come when the test sends them, on the thread that does so.
class ScriptedTvService
{
public:
    // Profile and group of the process, which are not those that the calls are to name themselves.
    static constexpr int kProfile = 7;
    static constexpr int kGroup = 3;

    static void Show(const TvScene& scene);
    // Changes what is shown.
    static void Change(const std::function<void(TvScene&)>& change);

    // The next call of the kind, or the next behind those that have an answer already, answers this.
    static void Answer(TvCall call, TvAnswer answer, unsigned int times = 1);

    // Runs `action` on the calling thread inside each call of the kind, ahead of what it does, or when it has
    // done that and is about to return. It may block, and use the library. Null ends it.
    static void During(TvCall call, std::function<void()> action);
    static void AtEndOf(TvCall call, std::function<void()> action);

    // Sends a signal to all who subscribed to it; the results of their callbacks.
    static std::vector<int> Signal(int signal, const TSSignalData& data = {});
    // The user data of the subscriptions to a signal, the oldest first.
    static std::vector<void*> SubscribedTo(int signal);

    // Send a packet or a caption to all subscriptions of that kind. How many were called.
    static unsigned int Packet(const TSPESData& packet);
    static unsigned int Packet(const std::vector<unsigned char>& bytes);
    static unsigned int Caption(const TSCaption& caption);
    // The subscriptions to packets under the name "ttml", and to captions, that were not taken back.
    static unsigned int PacketSubscriptions();
    static unsigned int CaptionSubscriptions();

    // Call the callback with which somebody subscribed last, subscribed or not any more, as a call does that
    // comes where it should not.
    static int LateSignal(int signal, void* userData, const TSSignalData& data = {});
    static void LatePacket(const TSPESData& packet, void* userData);
    // The caption is the one that the callback gets, and changes.
    static void LateCaption(TSCaption& caption, void* userData);

    static void Reset();
    static void Verify();
};

} // namespace TTMLTest

#endif
