#ifndef CAPTION_TIMELINE_H
#define CAPTION_TIMELINE_H

#include <cstdint>

#include "Mpd.h"

namespace TTMLHost {

// When a sample is to be presented, in nanoseconds.
struct CaptionTime
{
    std::int64_t presentationNs = 0; // on the presentation's timeline
    std::int64_t referenceNs = 0;    // by the wall clock, since 1970-01-01T00:00:00Z
    std::int64_t offsetNs = 0;       // of the reference time from the document's times
};

// Puts samples on the wall clock.
//
// A sample with the time t on its track is presented at
//     presentation = period start + (t - presentation time offset)
//     reference    = availability start + suggested presentation delay + presentation
// by the wall clock. A document's times are on the track's timeline (ISO/IEC 14496-30), so whoever shows it
// needs t for its clock. He takes the offset from the reference time, then the availability start and the
// delay, which he knows from the MPD; hence
//     offset       = period start - presentation time offset
// and what is left is t. The offset is 0 where the track's timeline is the presentation's: always, unless a
// presentation time offset or a later period moves it.
//
// Some broadcasts count t from 1970 under an MPD whose availability start is when somebody tuned in. Theirs
// is t by the wall clock itself. The offset that the MPD should have had follows: it makes t be left here,
// too. For who takes nothing but the offset from the reference time, it leaves t as it is.
class CaptionTimeline
{
public:
    // Whether who shows the captions takes availability start and delay from the reference time.
    enum class Receiver
    {
        ReadsMpd,
        IgnoresMpd
    };

    explicit CaptionTimeline(const Mpd& mpd, Receiver receiver = Receiver::ReadsMpd);

    // `time` in units of the sample's own `timescale`, which is above 0.
    CaptionTime Of(const MpdPeriod& period, const CaptionSet& set, std::int64_t time,
                   std::int64_t timescale) const;

    // Whether a time of such a track is one since 1970, though the availability start is another: as a time
    // since the availability start it would be decades away.
    bool CountsFromEpoch(std::int64_t presentationNs) const;

    // Availability start and delay.
    std::int64_t OriginNs() const { return m_originNs; }

private:
    std::int64_t m_originNs;
    Receiver m_receiver;
};

} // namespace TTMLHost

#endif
