#ifndef CAPTION_SCHEDULE_H
#define CAPTION_SCHEDULE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "CaptionFeed.h"

namespace TTMLHost {

// A caption that waits, with its track.
struct ScheduledCaption
{
    DueCaption due;
    TCCaption track;
};

// Keeps the captions of a feed until they are due, and says what is to be done next. It never waits: the
// caller does, and says what time it is. One thread.
class CaptionSchedule
{
public:
    enum class Task
    {
        Deliver, // Take()
        AskFeed, // then Add() what came
        Wait,    // until UntilNs(), then ask again
        End      // Error() says why, or is empty at the regular end
    };

    // `isLive`: the feed is to be asked although captions wait, as what it finds does not wait for them.
    // `fast`: nothing waits for its time.
    CaptionSchedule(bool isLive, bool fast);

    Task Next(std::int64_t nowNs);
    std::int64_t UntilNs() const { return m_untilNs; }
    const std::string& Error() const { return m_error; }

    // `track`: that of the step's captions.
    void Add(FeedStep* step, const TCCaption& track);
    ScheduledCaption Take();

private:
    bool MayAsk() const;

    const bool m_isLive;
    const bool m_fast;
    std::deque<ScheduledCaption> m_waiting;
    std::size_t m_bytes = 0;  // of those
    std::int64_t m_askNs = 0; // the feed has nothing before
    std::int64_t m_untilNs = 0;
    bool m_isOver = false; // nothing more comes from the feed
    std::int64_t m_overNs = 0;
    std::string m_error;
};

} // namespace TTMLHost

#endif
