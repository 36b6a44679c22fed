#include "CaptionSchedule.h"

#include <algorithm>
#include <utility>

namespace TTMLHost {

namespace {

// Captions are small. Who sends more than this ahead of time waits with the rest.
constexpr std::size_t kMostBytes = std::size_t{16} << 20U;

} // namespace

CaptionSchedule::CaptionSchedule(bool isLive, bool fast)
    : m_isLive(isLive)
    , m_fast(fast)
{}

// Whether the feed may be asked, once it is time.
bool CaptionSchedule::MayAsk() const
{
    return !m_isOver && (m_waiting.empty() || (m_isLive && m_bytes < kMostBytes));
}

CaptionSchedule::Task CaptionSchedule::Next(std::int64_t nowNs)
{
    if (!m_waiting.empty() && (m_fast || m_waiting.front().due.dueNs <= nowNs)) {
        return Task::Deliver;
    }
    if (MayAsk() && m_askNs <= nowNs) {
        return Task::AskFeed;
    }
    if (m_waiting.empty() && m_isOver) {
        m_untilNs = m_overNs;
        return m_fast || m_overNs <= nowNs ? Task::End : Task::Wait;
    }
    m_untilNs = MayAsk() ? m_askNs : INT64_MAX;
    if (!m_waiting.empty()) {
        m_untilNs = std::min(m_untilNs, m_waiting.front().due.dueNs);
    }
    return Task::Wait;
}

void CaptionSchedule::Add(FeedStep* step, const TCCaption& track)
{
    for (DueCaption& due : step->captions) {
        m_bytes += due.caption.data.size();
        m_waiting.push_back({std::move(due), track});
    }
    step->captions.clear();
    if (step->kind == FeedStep::Kind::Wait) {
        m_askNs = step->untilNs;
    } else if (step->kind == FeedStep::Kind::End) {
        m_isOver = true;
        m_overNs = step->untilNs;
        m_error = std::move(step->error);
    }
}

ScheduledCaption CaptionSchedule::Take()
{
    ScheduledCaption caption = std::move(m_waiting.front());
    m_waiting.pop_front();
    m_bytes -= caption.due.caption.data.size();
    return caption;
}

} // namespace TTMLHost
