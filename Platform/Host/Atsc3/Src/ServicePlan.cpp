#include "ServicePlan.h"

#include <algorithm>
#include <utility>

#include "CaptionChoice.h"
#include "InputError.h"
#include "MediaTime.h"

namespace TTMLHost {

namespace {

constexpr std::int64_t kShortestReloadNs = kNsPerSecond;
// Segments of a live service are near its edge: not older than this, unless its time-shift buffer is
// longer...
constexpr std::int64_t kNearNs = 60 * kNsPerSecond;
// ... and not newer than two clocks may differ.
constexpr std::int64_t kClocksDifferNs = 30 * kNsPerSecond;
// A timeline that ended as long ago as this is that of a recording.
constexpr std::int64_t kOverNs = 3600 * kNsPerSecond;

constexpr std::int64_t kShortestRetryNs = 100 * kNsPerMs;
constexpr std::int64_t kLongestRetryNs = kNsPerSecond;
constexpr std::int64_t kShortestPatienceNs = 4 * kNsPerSecond;

// A stored service whose segments cannot be listed ends behind as many missing ones in a row.
constexpr std::int64_t kMostMissing = 10;

constexpr std::int64_t kBehindAll = INT64_MAX / 4;

constexpr char kFinding[] = "find all caption segments of";
constexpr char kFindingAdvice[] = "check what receives or serves them; the rest is played";

} // namespace

ServicePlan::ServicePlan(std::string input, std::string language, Listing listing)
    : m_input(std::move(input))
    , m_language(std::move(language))
    , m_listing(std::move(listing))
{}

void ServicePlan::Begin(std::shared_ptr<const Mpd> mpd, std::int64_t nowNs)
{
    m_mpd = std::move(mpd);
    m_anchorNs = MsToNs(m_mpd->availabilityStartMs);
    m_fetched = 0;
    m_missing = 0;
    m_firstMissing.clear();
    m_firstReason.clear();
    m_endError.clear();
    Reloaded(nowNs);
    ChoosePace(nowNs);
    if (m_pace == ServicePace::Live) {
        GoToEdge(nowNs);
    } else {
        m_period = 0;
        m_set = nullptr;
        if (!Enter(0)) {
            EnterNext();
        }
    }
}

// Goes to the beginning of a period. False, and behind all periods, when it has no such captions.
bool ServicePlan::Enter(std::size_t period)
{
    m_period = period;
    m_set = nullptr;
    m_index.reset();
    m_ordinal = 0;
    m_numbers.clear();
    m_isListed = false;
    m_retryNs = 0;
    if (period >= m_mpd->periods.size()) {
        return false;
    }
    const MpdPeriod& entered = m_mpd->periods[period];
    m_set = ChooseCaptions(entered, m_language);
    if (m_set == nullptr) {
        return false;
    }
    const auto endNs =
        entered.endMs ? std::optional<std::int64_t>(MsToNs(*entered.endMs)) : std::optional<std::int64_t>();
    m_index.emplace(*m_set, MsToNs(entered.startMs), endNs);
    return true;
}

bool ServicePlan::EnterNext()
{
    while (m_period < m_mpd->periods.size()) {
        if (Enter(m_period + 1)) {
            return true;
        }
    }
    return false;
}

// To the segment at a time, in the last period that has begun by then, or the first one after it.
void ServicePlan::EnterAt(std::int64_t presentationNs)
{
    std::size_t period = 0;
    for (std::size_t i = 0; i < m_mpd->periods.size(); ++i) {
        if (MsToNs(m_mpd->periods[i].startMs) <= presentationNs) {
            period = i;
        }
    }
    if (Enter(period)) {
        m_ordinal = m_index->OrdinalAt(presentationNs);
    } else {
        EnterNext();
    }
}

void ServicePlan::ChoosePace(std::int64_t nowNs)
{
    m_pace = m_mpd->dynamic ? ServicePace::Live : ServicePace::Stored;
    if (!m_mpd->dynamic) {
        return;
    }
    EnterAt(LimitNs(nowNs - m_anchorNs));
    if (m_set == nullptr && !Enter(0) && !EnterNext()) {
        return;
    }
    const auto numbers = m_listing(*m_set);
    if (!numbers) {
        m_pace = IsOver(nowNs) ? ServicePace::Recorded : ServicePace::Live;
        return;
    }
    if (numbers->empty() || Follows(*numbers, m_anchorNs, nowNs)) {
        return;
    }
    if (Follows(*numbers, 0, nowNs)) {
        m_anchorNs = 0;
        return;
    }
    m_pace = ServicePace::Recorded;
}

// Whether one of the segments is from the time around now.
bool ServicePlan::Follows(const std::vector<std::int64_t>& numbers, std::int64_t anchorNs,
                          std::int64_t nowNs) const
{
    const std::int64_t oldest =
        LimitNs(nowNs - anchorNs - std::max(kNearNs, MsToNs(m_mpd->timeShiftBufferDepthMs)));
    const std::int64_t newest = LimitNs(nowNs - anchorNs + kClocksDifferNs);
    return std::any_of(numbers.begin(), numbers.end(), [&](std::int64_t number) {
        const std::optional<Segment> segment = m_index->At(m_index->OrdinalOf(number));
        return segment && segment->endNs >= oldest && segment->endNs <= newest;
    });
}

// Whether the last segment that the MPD lists became available long ago.
bool ServicePlan::IsOver(std::int64_t nowNs) const
{
    const std::optional<std::int64_t> count = m_index->Count();
    const std::optional<Segment> last = count ? m_index->At(*count - 1) : std::nullopt;
    const bool isLast = m_period + 1 == m_mpd->periods.size();
    return isLast && last && AddNs(m_anchorNs, last->endNs) < nowNs - kOverNs;
}

void ServicePlan::GoToEdge(std::int64_t nowNs)
{
    const std::int64_t sinceStartNs = LimitNs(nowNs - m_anchorNs);
    EnterAt(std::max<std::int64_t>(0, sinceStartNs - MsToNs(m_mpd->suggestedPresentationDelayMs)));
    if (!m_index) {
        return;
    }
    // The newest segment that is complete; the one that is to be presented now may be older.
    const std::int64_t early = MsToNs(m_set->segments.availabilityTimeOffsetMs);
    const std::int64_t complete = m_index->OrdinalAt(sinceStartNs + early) - 1;
    m_ordinal = std::min(m_ordinal, std::max<std::int64_t>(complete, 0));
    if (const auto count = m_index->Count()) {
        m_ordinal = std::min(m_ordinal, std::max<std::int64_t>(*count - 1, 0));
    }
}

std::int64_t ServicePlan::PeriodEndNs() const
{
    const MpdPeriod& period = m_mpd->periods[m_period];
    return period.endMs ? MsToNs(*period.endMs) : kFarthestNs;
}

std::int64_t ServicePlan::AvailableNs(const Segment& segment) const
{
    const std::int64_t endNs = std::min(segment.endNs, PeriodEndNs());
    return LimitNs(AddNs(m_anchorNs, endNs) - MsToNs(m_set->segments.availabilityTimeOffsetMs));
}

std::int64_t ServicePlan::PatienceNs(const Segment& segment) const
{
    return std::max(kShortestPatienceNs, std::min(kNearNs, 2 * (segment.endNs - segment.startNs)));
}

PlanStep ServicePlan::WaitStep(std::int64_t untilNs) const
{
    PlanStep step;
    step.kind = PlanStep::Kind::Wait;
    step.untilNs = m_reloadNs ? std::min(untilNs, *m_reloadNs) : untilNs;
    return step;
}

PlanStep ServicePlan::FetchStep(const Segment& segment) const
{
    PlanStep step;
    step.kind = PlanStep::Kind::Fetch;
    step.segment = segment;
    step.period = &m_mpd->periods[m_period];
    step.set = m_set;
    return step;
}

// Moves on to the next segment that is there, where that can be told. False when there is none in the period.
bool ServicePlan::FindListed()
{
    const auto from = [this] {
        return std::lower_bound(m_numbers.begin(), m_numbers.end(), m_set->segments.startNumber + m_ordinal);
    };
    if (from() == m_numbers.end()) {
        // More may have come since.
        m_numbers = m_listing(*m_set).value_or(std::vector<std::int64_t>());
    }
    const auto found = from();
    if (found == m_numbers.end()) {
        return false;
    }
    const std::int64_t ordinal = m_index->OrdinalOf(*found);
    if (m_pace == ServicePace::Recorded && m_ordinal > 0) {
        m_missing += ordinal - m_ordinal;
    }
    m_ordinal = ordinal;
    return m_index->At(m_ordinal).has_value();
}

PlanStep ServicePlan::Next(std::int64_t nowNs)
{
    if (m_reloadNs && nowNs >= *m_reloadNs) {
        PlanStep step;
        step.kind = PlanStep::Kind::Reload;
        return step;
    }
    while (m_set != nullptr && m_endError.empty()) {
        if (m_pace == ServicePace::Recorded && !m_isListed) {
            m_isListed = m_listing(*m_set).has_value();
        }
        const bool isThere = !m_isListed || FindListed();
        const std::optional<Segment> segment = isThere ? m_index->At(m_ordinal) : std::nullopt;
        if (segment) {
            return m_pace == ServicePace::Live ? NextLive(*segment, nowNs) : FetchStep(*segment);
        }
        const std::size_t period = m_period;
        const std::int64_t ordinal = m_ordinal;
        if (!EnterNext()) {
            // Where the last period may still grow, its place is kept.
            if (Enter(period)) {
                m_ordinal = ordinal;
            }
            return AtEndOfAll(nowNs);
        }
    }
    return AtEndOfAll(nowNs);
}

PlanStep ServicePlan::NextLive(const Segment& segment, std::int64_t nowNs)
{
    const std::int64_t availableNs = AvailableNs(segment);
    if (nowNs < availableNs) {
        return WaitStep(availableNs);
    }
    const std::int64_t keptNs = AddNs(std::max(kNearNs, MsToNs(m_mpd->timeShiftBufferDepthMs)),
                                      MsToNs(m_mpd->suggestedPresentationDelayMs));
    if (nowNs - availableNs > keptNs && m_index->OrdinalAt(nowNs - m_anchorNs) > m_ordinal + 1) {
        // The machine slept: what was missed is gone by now, and nobody wants to see it.
        const std::int64_t before = m_ordinal;
        const std::size_t period = m_period;
        GoToEdge(nowNs);
        const std::optional<Segment> newer = m_index ? m_index->At(m_ordinal) : std::nullopt;
        if (newer && (m_period > period || m_ordinal > before)) {
            return nowNs < AvailableNs(*newer) ? WaitStep(AvailableNs(*newer)) : FetchStep(*newer);
        }
    }
    return nowNs < m_retryNs ? WaitStep(m_retryNs) : FetchStep(segment);
}

PlanStep ServicePlan::AtEndOfAll(std::int64_t nowNs)
{
    const bool mayGrow = m_pace == ServicePace::Live && m_reloadNs && !m_mpd->mediaPresentationDurationMs;
    if (mayGrow) {
        return WaitStep(std::max(nowNs, *m_reloadNs));
    }
    PlanStep step;
    step.kind = PlanStep::Kind::End;
    step.error = m_endError;
    if (m_fetched == 0 && !m_firstReason.empty()) {
        step.error = m_firstReason;
    } else if (step.error.empty() && m_fetched == 0) {
        step.error = DescribeInputFailure("play", m_input, "none of its caption segments is there",
                                          "put them where the MPD names them");
    }
    return step;
}

void ServicePlan::Skip()
{
    if (const std::optional<Segment> segment = m_index ? m_index->At(m_ordinal) : std::nullopt) {
        m_positionNs = std::min(segment->endNs, PeriodEndNs());
    }
    ++m_ordinal;
    m_retryNs = 0;
}

std::string ServicePlan::Fetched()
{
    std::string line = std::exchange(m_firstMissing, {});
    if (m_missing > (m_pace == ServicePace::Recorded ? 0 : 1)) {
        const std::string why = m_missing == 1 ? "1 was" : std::to_string(m_missing) + " in a row were";
        line = DescribeInputFailure(kFinding, m_input, why + " not there", kFindingAdvice);
    }
    ++m_fetched;
    m_missing = 0;
    Skip();
    return line;
}

bool ServicePlan::MayStillCome(std::int64_t nowNs) const
{
    const std::optional<Segment> segment = m_index ? m_index->At(m_ordinal) : std::nullopt;
    return segment && m_pace == ServicePace::Live && nowNs < AvailableNs(*segment) + PatienceNs(*segment);
}

std::string ServicePlan::Missing(std::int64_t nowNs, const std::string& line)
{
    const std::optional<Segment> segment = m_index ? m_index->At(m_ordinal) : std::nullopt;
    if (!segment) {
        return std::string();
    }
    if (MayStillCome(nowNs)) {
        const std::int64_t retryNs = (segment->endNs - segment->startNs) / 4;
        m_retryNs = nowNs + std::clamp(retryNs, kShortestRetryNs, kLongestRetryNs);
        return std::string();
    }
    if (m_pace == ServicePace::Live) {
        Skip();
        return m_missing++ == 0 ? line : std::string();
    }
    std::string told = MissingForGood(*segment, line);
    if (m_fetched == 0) {
        // It may be all that there is to say at the end.
        if (m_firstMissing.empty()) {
            m_firstMissing = std::move(told);
            m_firstReason = m_isListed ? std::string() : line;
        }
        return std::string();
    }
    return told;
}

// A segment of a service to which nothing is added any more.
std::string ServicePlan::MissingForGood(const Segment& segment, const std::string& line)
{
    Skip();
    const std::optional<std::int64_t> count = m_index->Count();
    auto listed = m_listing(*m_set);
    m_isListed = listed.has_value();
    m_numbers = std::move(listed).value_or(std::vector<std::int64_t>());
    const auto next = std::upper_bound(m_numbers.begin(), m_numbers.end(), segment.number);
    if (!count && m_fetched > 0 && next == m_numbers.end()) {
        // Nobody said how many there are; this is how one learns.
        m_ordinal = kBehindAll;
        return std::string();
    }
    if (!m_isListed) {
        m_endError = m_missing + 1 >= kMostMissing ? line : std::string();
        return m_missing++ == 0 ? line : std::string();
    }
    const std::int64_t last = next != m_numbers.end() ? *next - 1
                              : count                 ? m_set->segments.startNumber + *count - 1
                                                      : segment.number;
    if (last <= segment.number) {
        return line;
    }
    return DescribeInputFailure(
        kFinding, m_input, std::to_string(segment.number) + " to " + std::to_string(last) + " are not there",
        kFindingAdvice);
}

void ServicePlan::Update(std::shared_ptr<const Mpd> mpd, std::int64_t nowNs)
{
    const Mpd& before = *m_mpd;
    const std::shared_ptr<const Mpd> keep = m_mpd;
    const bool wasLive = m_pace == ServicePace::Live;
    std::optional<std::int64_t> number;
    std::int64_t positionNs = m_positionNs;
    if (m_index) {
        number = m_set->segments.startNumber + m_ordinal;
        if (const std::optional<Segment> next = m_index->At(m_ordinal)) {
            positionNs = next->startNs;
        }
    }
    const std::int64_t movedNs = MsToNs(before.availabilityStartMs) - MsToNs(mpd->availabilityStartMs);
    const std::int64_t retryNs = m_retryNs;
    m_mpd = std::move(mpd);
    Reloaded(nowNs);
    if (m_pace == ServicePace::Recorded && number) {
        // Numbers are all that such segments are found by.
        const std::size_t period = std::min(m_period, m_mpd->periods.empty() ? 0 : m_mpd->periods.size() - 1);
        if (Enter(period)) {
            m_ordinal = m_index->OrdinalOf(*number);
        } else {
            EnterNext();
        }
        return;
    }
    if (wasLive && m_anchorNs != 0) {
        m_anchorNs = MsToNs(m_mpd->availabilityStartMs);
        positionNs = AddNs(positionNs, movedNs);
    }
    if (wasLive && !m_mpd->dynamic) {
        // It is over and complete; what is left has been available for long, and its time is the wall
        // clock's.
        m_reloadNs.reset();
    }
    // A bit later: times are rounded down to nanoseconds, and manifests may round theirs to milliseconds.
    EnterAt(positionNs + kNsPerMs);
    m_retryNs = retryNs;
}

void ServicePlan::Reloaded(std::int64_t nowNs)
{
    m_reloadNs.reset();
    if (m_mpd->dynamic && m_mpd->minimumUpdatePeriodMs) {
        m_reloadNs = AddNs(nowNs, std::max(kShortestReloadNs, MsToNs(*m_mpd->minimumUpdatePeriodMs)));
    }
}

} // namespace TTMLHost
