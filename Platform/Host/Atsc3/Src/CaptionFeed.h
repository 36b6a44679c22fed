#ifndef CAPTION_FEED_H
#define CAPTION_FEED_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptionTimeline.h"
#include "DeliveryClock.h"
#include "Mpd.h"
#include "PlatformTvServiceData.h"
#include "SegmentReader.h"
#include "SegmentStore.h"
#include "ServicePlan.h"

namespace TTMLHost {

// A caption, and when it is to be delivered by the wall clock.
struct DueCaption
{
    TSCaption caption;
    std::int64_t dueNs = 0;
};

// What came of one step.
struct FeedStep
{
    enum class Kind
    {
        Captions,    // `captions`, perhaps none; there may be more at once
        NewMpd,      // the MPD is another one now
        Wait,        // nothing is to be done before `untilNs`
        Interrupted, // the store was
        End          // `error` is empty at the regular end
    };

    Kind kind = Kind::Captions;
    std::vector<DueCaption> captions;  // as the segment has them
    std::int64_t untilNs = 0;          // of an end: when the last segment is over
    std::vector<std::string> warnings; // one line each
    std::string error;
};

// The captions of a service, step by step. Steps read files and wait for servers, and for nothing else: who
// uses it waits, and says what time it is by the wall clock, in nanoseconds since 1970. One thread.
class CaptionFeed
{
public:
    // `input` names the MPD in error lines, `language` is a tag or empty for any, `speed` that of a
    // DeliveryClock. The store must outlive the feed.
    CaptionFeed(SegmentStore* store, std::string input, std::string language, double speed,
                CaptionTimeline::Receiver receiver = CaptionTimeline::Receiver::ReadsMpd);

    // Reads the MPD and finds its captions. False with one line in `error` when there are none.
    bool Open(std::vector<std::string>* warnings, std::string* error);
    // Tunes in, also again.
    void Tune(std::int64_t nowNs);
    // Fetches what the captions begin with, as the next step that needs it would. False when it is not there
    // (yet): those steps say so, and go on trying.
    bool Initialize();
    // Whether that has been there.
    bool IsInitialized() const { return m_initialized.has_value(); }
    FeedStep Next(std::int64_t nowNs);

    ServicePace Pace() const { return m_plan.Pace(); }
    // The MPD as it stands.
    const std::string& MpdText() const { return m_text; }
    // The captions that are played, or will be first.
    const TCCaption& Captions() const { return m_captions; }

private:
    bool Load(const std::string& text, Mpd* mpd, std::string* error);
    bool HoldsTtml(const CaptionSet& set);
    FeedStep Reload(std::int64_t nowNs);
    FeedStep Fetch(const PlanStep& step, std::int64_t nowNs);
    StoredFile FetchInitialization(const CaptionSet& set);
    FeedStep NotThere(const std::string& line, std::int64_t nowNs);
    FeedStep NotInitialized(const std::string& line, std::int64_t nowNs);
    FeedStep End(std::string error);
    void AddCaption(const PlanStep& step, CaptionSample sample, std::int64_t nowNs, FeedStep* result);

    SegmentStore* const m_store;
    const std::string m_input;
    const std::string m_language;
    const double m_speed;
    const CaptionTimeline::Receiver m_receiver;

    ServicePlan m_plan;
    std::string m_text;
    std::shared_ptr<const Mpd> m_mpd;
    TCCaption m_captions;
    std::optional<CaptionTimeline> m_timeline;
    std::optional<DeliveryClock> m_clock;
    SegmentReader m_reader;
    std::optional<std::string> m_initialized; // place of the initialization that the reader has
    std::string m_noBeginning;                // why the reader is not ready; to be told yet
    bool m_reloadFailed = false;
    std::int64_t m_overNs = 0; // when the newest caption's segment is over
};

} // namespace TTMLHost

#endif
