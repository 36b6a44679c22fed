#include "CaptionFeed.h"

#include <algorithm>
#include <utility>

#include "CaptionChoice.h"

namespace TTMLHost {

CaptionFeed::CaptionFeed(SegmentStore* store, std::string input, std::string language, double speed,
                         CaptionTimeline::Receiver receiver)
    : m_store(store)
    , m_input(std::move(input))
    , m_language(std::move(language))
    , m_speed(speed)
    , m_receiver(receiver)
    , m_plan(m_input, m_language, [store](const CaptionSet& set) { return store->Numbers(set); })
{}

bool CaptionFeed::Load(const std::string& text, Mpd* mpd, std::string* error)
{
    std::optional<Mpd> read = ReadMpd(text, m_input, error);
    if (!read) {
        return false;
    }
    SettleCaptions(&*read, [this](const CaptionSet& set) { return HoldsTtml(set); });
    *mpd = *std::move(read);
    return HasCaptions(*mpd, m_language, m_input, error);
}

bool CaptionFeed::HoldsTtml(const CaptionSet& set)
{
    const StoredFile file = m_store->Fetch(set, set.segments.initialization);
    return file.kind == StoredFile::Kind::Fetched && SegmentReader::HoldsTtml(file.bytes);
}

bool CaptionFeed::Open(std::vector<std::string>* warnings, std::string* error)
{
    StoredFile file = m_store->FetchMpd();
    if (file.kind != StoredFile::Kind::Fetched) {
        *error = file.error;
        return false;
    }
    Mpd mpd;
    if (!Load(file.bytes, &mpd, error)) {
        return false;
    }
    *warnings = mpd.warnings;
    m_text = std::move(file.bytes);
    m_mpd = std::make_shared<const Mpd>(std::move(mpd));
    for (const MpdPeriod& period : m_mpd->periods) {
        if (const CaptionSet* const set = ChooseCaptions(period, m_language)) {
            m_captions = set->caption;
            break;
        }
    }
    return true;
}

void CaptionFeed::Tune(std::int64_t nowNs)
{
    m_plan.Begin(m_mpd, nowNs);
    m_timeline.emplace(*m_mpd, m_receiver);
    m_clock.emplace(m_plan.Pace(), m_speed);
    m_noBeginning.clear();
    m_overNs = nowNs;
}

bool CaptionFeed::Initialize()
{
    const CaptionSet* const set = m_plan.CurrentSet();
    if (set == nullptr || FetchInitialization(*set).kind != StoredFile::Kind::Fetched) {
        return false;
    }
    m_captions = set->caption;
    return true;
}

FeedStep CaptionFeed::Next(std::int64_t nowNs)
{
    const PlanStep step = m_plan.Next(nowNs);
    FeedStep result;
    switch (step.kind) {
    case PlanStep::Kind::Fetch:
        return Fetch(step, nowNs);
    case PlanStep::Kind::Reload:
        return Reload(nowNs);
    case PlanStep::Kind::Wait:
        result.kind = FeedStep::Kind::Wait;
        result.untilNs = step.untilNs;
        break;
    case PlanStep::Kind::End:
        return End(step.error);
    }
    return result;
}

FeedStep CaptionFeed::End(std::string error)
{
    FeedStep result;
    result.kind = FeedStep::Kind::End;
    result.error = std::move(error);
    result.untilNs = m_overNs;
    if (!m_noBeginning.empty()) {
        if (result.error.empty()) {
            result.warnings.push_back(std::exchange(m_noBeginning, {}));
        } else {
            // This is why nothing came.
            result.error = std::exchange(m_noBeginning, {});
        }
    }
    return result;
}

FeedStep CaptionFeed::Reload(std::int64_t nowNs)
{
    FeedStep result;
    StoredFile file = m_store->FetchMpd();
    if (file.kind == StoredFile::Kind::Interrupted) {
        result.kind = FeedStep::Kind::Interrupted;
        return result;
    }
    const bool isFetched = file.kind == StoredFile::Kind::Fetched;
    if (isFetched && file.bytes == m_text) {
        m_reloadFailed = false;
        m_plan.Reloaded(nowNs);
        return result;
    }
    Mpd mpd;
    std::string error = file.error;
    if (!isFetched || !Load(file.bytes, &mpd, &error)) {
        // What plays goes on by the MPD that is there. One that is just being written is read next time.
        if (!std::exchange(m_reloadFailed, true)) {
            result.warnings.push_back(error);
        }
        m_plan.Reloaded(nowNs);
        return result;
    }
    m_reloadFailed = false;
    result.kind = FeedStep::Kind::NewMpd;
    result.warnings = mpd.warnings;
    m_text = std::move(file.bytes);
    m_mpd = std::make_shared<const Mpd>(std::move(mpd));
    m_plan.Update(m_mpd, nowNs);
    m_timeline.emplace(*m_mpd, m_receiver);
    return result;
}

// Makes the reader ready for the set.
StoredFile CaptionFeed::FetchInitialization(const CaptionSet& set)
{
    StoredFile file;
    file.kind = StoredFile::Kind::Fetched;
    const std::string& name = set.segments.initialization;
    const std::string place = m_store->PlaceOf(set, name);
    if (m_initialized == place) {
        return file;
    }
    SegmentReader reader;
    if (!name.empty()) {
        file = m_store->Fetch(set, name);
        if (file.kind != StoredFile::Kind::Fetched) {
            return file;
        }
        if (!reader.SetInitialization(file.bytes, place, &file.error)) {
            file.kind = StoredFile::Kind::Failed;
            return file;
        }
    }
    m_reader = reader;
    m_initialized = place;
    return file;
}

FeedStep CaptionFeed::NotThere(const std::string& line, std::int64_t nowNs)
{
    FeedStep result;
    std::string told = m_plan.Missing(nowNs, line);
    if (!told.empty()) {
        result.warnings.push_back(std::move(told));
    }
    return result;
}

// The segments of a stored service all fail for the same reason then, which is told once, by the end at the
// latest.
FeedStep CaptionFeed::NotInitialized(const std::string& line, std::int64_t nowNs)
{
    FeedStep result = NotThere(line, nowNs);
    if (m_plan.Pace() != ServicePace::Live) {
        m_noBeginning = line;
        result.warnings.clear();
    }
    return result;
}

FeedStep CaptionFeed::Fetch(const PlanStep& step, std::int64_t nowNs)
{
    StoredFile file = FetchInitialization(*step.set);
    const bool isReady = file.kind == StoredFile::Kind::Fetched;
    if (isReady) {
        file = m_store->Fetch(*step.set, step.segment.reference);
    }
    if (file.kind == StoredFile::Kind::Interrupted) {
        FeedStep result;
        result.kind = FeedStep::Kind::Interrupted;
        return result;
    }
    if (file.kind != StoredFile::Kind::Fetched) {
        return isReady ? NotThere(file.error, nowNs) : NotInitialized(file.error, nowNs);
    }
    SegmentContent content = m_reader.Read(file.bytes, m_store->PlaceOf(*step.set, step.segment.reference));
    if (content.endsEarly && m_plan.MayStillCome(nowNs)) {
        // It is still being written.
        return NotThere(content.warnings.front(), nowNs);
    }
    FeedStep result;
    const std::string noBeginning = std::exchange(m_noBeginning, {});
    if (!noBeginning.empty()) {
        result.warnings.push_back(noBeginning);
    }
    std::string told = m_plan.Fetched();
    if (!told.empty() && told != noBeginning) {
        result.warnings.push_back(std::move(told));
    }
    for (std::string& warning : content.warnings) {
        result.warnings.push_back(std::move(warning));
    }
    m_captions = step.set->caption;
    for (CaptionSample& sample : content.samples) {
        AddCaption(step, std::move(sample), nowNs, &result);
    }
    return result;
}

void CaptionFeed::AddCaption(const PlanStep& step, CaptionSample sample, std::int64_t nowNs, FeedStep* result)
{
    const CaptionTime time = m_timeline->Of(*step.period, *step.set, sample.time, sample.timescale);
    DueCaption due;
    due.caption.type = CLOSED_CAPTION_TYPE_ATSC3;
    due.caption.data = std::move(sample.payload);
    due.caption.referenceTime = time.referenceNs;
    due.caption.offset = time.offsetNs;
    due.dueNs = m_clock->DueNs(step.segment, time, nowNs);
    m_overNs = std::max(m_overNs, m_clock->OverNs(step.segment, time, due.dueNs));
    result->captions.push_back(std::move(due));
}

} // namespace TTMLHost
