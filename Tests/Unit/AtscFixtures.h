#ifndef ATSC_FIXTURES_H
#define ATSC_FIXTURES_H

// What the tests of the ATSC 3.0 source share.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BroadcastFixtures.h"
#include "CATSCSource.h"
#include "ZoneGuard.h"

namespace TTMLTest {

constexpr int kAtsc3Signal = 178;
constexpr int kMpdIsThere = 8; // the signal's first word

// What the source does on a platform on which everything goes well; `session` is the number of the first
// session object.
Texts AsksForService(int attribute, int session);
Texts AsksWhetherAtsc3(int session);                           // one object
Texts FetchesMpd(int session);                                 // two objects
Texts ReadsMpd();                                              // kMpd
Texts UpdatesMpd(int session);                                 // two objects
Texts SubscribesToCaptions(int session, int subscription = 1); // four objects, the second one stays
Texts EndsCaptions(int subscriber, int subscription = 1);
// Writes the banner's key, and is told of it.
Texts WritesBanner(int value);
// Signals, with the signal subscriber's number.
Texts RegistersSignals(int subscriber, bool korea = false);
Texts UnregistersSignals(int subscriber, bool korea = false);

// The source's fields.
struct AtscState
{
    bool subscribed;
    bool hasSubscriber;
    TCCaption caption;
    std::uint32_t sysTime;
    std::int64_t referenceTime;
    std::int64_t offset;
    std::int64_t afterCal;
    std::int32_t subscriptionId;
    bool bannerStatus;
    bool korea;
    bool pvr;
    std::vector<unsigned char> last;
    long long start;
    long long delay;
};
AtscState StateOf(TTML::CATSCSource& source);
void ForceSubscriber(TTML::CATSCSource& source, TVServiceAPI::IDataSubscriber* subscriber);
void ForceSubscribed(TTML::CATSCSource& source, bool subscribed);
void ForceProfile(TTML::CATSCSource& source, unsigned char profile);

// A caption with the text, or with bytes.
TSCaption CaptionOf(const std::string& text, long long referenceTime = 2000000000, long long offset = 0);

// An ATSC 3.0 source with a client, on a platform on which everything goes well: a service with captions of
// profile 0 and an MPD, captions switched on, a clock that stands still, and UTC for the local time.
class AtscTest : public BroadcastTest
{
public:
    // Makes the platform of a BroadcastTest that one.
    static void ShowCaptionService();

protected:
    AtscTest();

    // Make the source anew on the platform as it is; they forget what that did.
    void Make();
    void MakeInKorea();
    void MakeInThePvrPlayer();

    // Starts the source, and forgets what that did.
    void Start();
    // What happens by the action, on all threads.
    Texts StoryOfAll(const std::function<void()>& action);
    // What happens by the action on this thread, while others may be at work.
    static Texts OwnStoryOf(const std::function<void()>& action);
    // What a TV service signal, sent on a thread of the service's, brings about.
    Texts StoryOfSignal(int signal, int word = 0);

    // The operations for derived sources, through the virtual table.
    void Subscribe();
    void Unsubscribe();
    void Register();
    void Unregister();

    // Delivers a caption to all who subscribed.
    static void Deliver(const TSCaption& caption) { ScriptedTvService::Caption(caption); }
    // What came to the client last.
    TTML::TTMLRawDataInfo LastRecord() const;

    const ZoneGuard m_zone{"UTC0"};
    std::unique_ptr<TTML::CATSCSource> m_source;
};

} // namespace TTMLTest

#endif
