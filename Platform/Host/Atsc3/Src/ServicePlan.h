#ifndef SERVICE_PLAN_H
#define SERVICE_PLAN_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CaptionTimeline.h"
#include "Mpd.h"
#include "SegmentIndex.h"

namespace TTMLHost {

// How a service is played.
enum class ServicePace
{
    Stored,   // an MPD that is complete: all of it, its clock starts at tune-in
    Live,     // segments are followed by the wall clock as they become available
    Recorded, // what is left of a live service: the segments that are there, in order, as if stored
};

// What is to be done next.
struct PlanStep
{
    enum class Kind
    {
        Fetch,  // `segment`; then say how it went: Fetched() or Missing()
        Wait,   // until `untilNs`, then ask again
        Reload, // read the MPD again; then say how it went: Update() or Reloaded()
        End     // `error` is empty at the regular end
    };

    Kind kind = Kind::End;
    Segment segment;
    const MpdPeriod* period = nullptr; // of the segment
    const CaptionSet* set = nullptr;   // of the segment
    std::int64_t untilNs = 0;
    std::string error;
};

// Goes through the caption segments of a service. It fetches nothing and never waits: who uses it does, and
// says what time it is by the wall clock, in nanoseconds since 1970. One thread.
class ServicePlan
{
public:
    // The numbers, in order, of the media segments of a caption set that are there; nothing when nobody can
    // tell.
    using Listing = std::function<std::optional<std::vector<std::int64_t>>(const CaptionSet&)>;

    // `input` is the MPD's name in error lines. The MPD's caption sets are settled; it has some in `language`
    // (a tag; empty for any).
    ServicePlan(std::string input, std::string language, Listing listing);

    // Tunes in. `mpd` is kept.
    void Begin(std::shared_ptr<const Mpd> mpd, std::int64_t nowNs);

    // A pointer of the step is valid until the MPD is replaced.
    PlanStep Next(std::int64_t nowNs);

    // The segment is there: goes on to the next one. Returns a line about those that were missing before it,
    // or nothing.
    std::string Fetched();
    // The segment is not there, as `line` says: it will be asked for again, or is given up. Returns what is
    // to be told about it: `line`, or nothing.
    std::string Missing(std::int64_t nowNs, const std::string& line);

    // Whether the segment of the last step, which is not there or not complete, may still come.
    bool MayStillCome(std::int64_t nowNs) const;

    // Goes on in another MPD, behind what has been played of the one before.
    void Update(std::shared_ptr<const Mpd> mpd, std::int64_t nowNs);
    // The MPD is still the same, or could not be read: it is asked for again after its update period.
    void Reloaded(std::int64_t nowNs);

    ServicePace Pace() const { return m_pace; }
    const Mpd& CurrentMpd() const { return *m_mpd; }
    // The captions of the next step; null behind the last period. Valid until the MPD is replaced.
    const CaptionSet* CurrentSet() const { return m_set; }

private:
    bool Enter(std::size_t period);
    bool EnterNext();
    void EnterAt(std::int64_t presentationNs);
    void ChoosePace(std::int64_t nowNs);
    bool Follows(const std::vector<std::int64_t>& numbers, std::int64_t anchorNs, std::int64_t nowNs) const;
    bool IsOver(std::int64_t nowNs) const;
    void GoToEdge(std::int64_t nowNs);
    std::int64_t AvailableNs(const Segment& segment) const;
    std::int64_t PeriodEndNs() const;
    std::int64_t PatienceNs(const Segment& segment) const;
    bool FindListed();
    PlanStep NextLive(const Segment& segment, std::int64_t nowNs);
    PlanStep AtEndOfAll(std::int64_t nowNs);
    PlanStep WaitStep(std::int64_t untilNs) const;
    PlanStep FetchStep(const Segment& segment) const;
    std::string MissingForGood(const Segment& segment, const std::string& line);
    void Skip();

    const std::string m_input;
    const std::string m_language;
    const Listing m_listing;

    std::shared_ptr<const Mpd> m_mpd;
    ServicePace m_pace = ServicePace::Stored;
    std::int64_t m_anchorNs = 0; // availability start; 0 too for segments that count from 1970
    std::optional<std::int64_t> m_reloadNs;

    std::size_t m_period = 0;
    const CaptionSet* m_set = nullptr; // null: behind the last period
    std::optional<SegmentIndex> m_index;
    std::int64_t m_ordinal = 0;          // of the next segment
    std::vector<std::int64_t> m_numbers; // listed in the period, once one was missing or it is recorded
    bool m_isListed = false;
    std::int64_t m_positionNs = 0; // behind the last segment, on the presentation's timeline
    std::int64_t m_retryNs = 0;

    std::int64_t m_fetched = 0;
    std::int64_t m_missing = 0; // in a row
    std::string m_firstMissing; // what is to be told of those before the first one that is there
    std::string m_firstReason;  // why the first of them is not, where nobody can tell which are
    std::string m_endError;
};

} // namespace TTMLHost

#endif
