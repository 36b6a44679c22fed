#include "SampleReader.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "AvError.h"

namespace TTMLHost {

namespace {

constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

// Gives a sample whose end depends on what follows its end; `next` is null when nothing follows.
void SettleEnd(DemuxedSample* sample, const DemuxedSample* next)
{
    std::int64_t end = sample->latestEndMs;
    if (next != nullptr && next->timed) {
        end = std::min(end, next->startMs);
    }
    sample->endMs = end != kNoLimit && end > sample->startMs ? end : kUnknownTime;
    sample->endsWithNext = false;
}

// Whether a sample that starts at or before the position is over there.
bool EndsBy(const DemuxedSample& sample, std::int64_t positionMs)
{
    if (sample.endsWithNext) {
        return sample.latestEndMs <= positionMs;
    }
    return sample.endMs != kUnknownTime && sample.endMs <= positionMs;
}

} // namespace

SampleReader::SampleReader(std::string input, const PlayerOptions& options, std::function<bool()> stop)
    : m_input(std::move(input))
    , m_options(options)
    , m_stop(std::move(stop))
{}

bool SampleReader::Open(std::string* error)
{
    if (!Reopen(error)) {
        return false;
    }
    m_startMs = m_demuxer->StartMs();
    if (m_startMs != kUnknownTime) {
        return true;
    }
    m_ahead.push_back(ReadOne());
    const Result& first = m_ahead.front();
    m_startMs = first.status == ReadStatus::Sample ? first.sample.startMs : 0;
    if (first.status == ReadStatus::Sample || first.status == ReadStatus::End) {
        return true;
    }
    *error = first.status == ReadStatus::Stopped
                 ? DescribeError("open", m_input, "it was cancelled", "start it again when it is wanted")
                 : first.error;
    return false;
}

bool SampleReader::Reopen(std::string* error)
{
    auto demuxer = std::make_unique<Demuxer>(m_input, m_options, m_stop);
    if (!demuxer->Open(error)) {
        return false;
    }
    m_demuxer = std::move(demuxer);
    m_lastReadMs = kUnknownTime;
    m_spent = false;
    return true;
}

SampleReader::Result SampleReader::ReadOne()
{
    if (m_demuxer->Manifest().live) {
        return ReadLive();
    }
    Result result;
    result.status = m_demuxer->Read(&result.sample, &result.error);
    if (result.status == ReadStatus::Sample) {
        m_lastReadMs = result.sample.startMs;
    }
    m_spent = result.status != ReadStatus::Sample;
    return result;
}

SampleReader::Result SampleReader::ReadLive()
{
    const std::int64_t newerThanMs = m_lastReadMs;
    // An input that was opened again begins with samples that have been read before. Otherwise an old one
    // means that libavformat, for want of a new segment, went back to one that it had already.
    std::int64_t skippedMs = newerThanMs;
    if (m_waiting) {
        std::string why;
        const bool opened = Reopen(&why);
        m_lastReadMs = newerThanMs;
        if (!opened) {
            return NotYet(why);
        }
        skippedMs = kUnknownTime;
    }
    for (;;) {
        Result result;
        result.status = m_demuxer->Read(&result.sample, &result.error);
        if (result.status == ReadStatus::NotYet) {
            return NotYet(result.error);
        }
        if (result.status != ReadStatus::Sample) {
            return result;
        }
        const std::int64_t startMs = result.sample.startMs;
        if (newerThanMs == kUnknownTime || startMs > newerThanMs) {
            m_waiting = false;
            m_lastReadMs = startMs;
            return result;
        }
        if (skippedMs != kUnknownTime && startMs <= skippedMs) {
            return NotYet(DescribeError("read", m_input, "the live presentation has nothing new",
                                        "check that the server still receives it"));
        }
        skippedMs = startMs;
    }
}

SampleReader::Result SampleReader::NotYet(const std::string& why)
{
    Result result;
    if (m_stop()) {
        result.status = ReadStatus::Stopped;
        return result;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!m_waiting) {
        m_waiting = true;
        m_waitingSince = now;
    }
    const bool lasts = now - m_waitingSince >= std::chrono::milliseconds(m_options.networkTimeoutMs);
    result.status = lasts ? ReadStatus::Failed : ReadStatus::NotYet;
    result.error = why;
    return result;
}

ReadStatus SampleReader::Read(DemuxedSample* sample, std::string* error)
{
    if (m_ahead.empty()) {
        m_ahead.push_back(ReadOne());
    }
    if (m_ahead.front().status == ReadStatus::Sample && m_ahead.front().sample.endsWithNext) {
        if (m_ahead.size() == 1) {
            Result next = ReadOne();
            if (next.status == ReadStatus::Stopped) {
                return next.status;
            }
            m_ahead.push_back(std::move(next));
        }
        const Result& next = m_ahead[1];
        SettleEnd(&m_ahead[0].sample, next.status == ReadStatus::Sample ? &next.sample : nullptr);
    }
    Result result = std::move(m_ahead.front());
    m_ahead.pop_front();
    *sample = std::move(result.sample);
    *error = std::move(result.error);
    return result.status;
}

ReadStatus SampleReader::SeekTo(std::int64_t positionMs, std::string* error)
{
    m_ahead.clear();
    bool atStart = false;
    if (m_spent || m_lastReadMs == kUnknownTime || positionMs < m_lastReadMs) {
        // libavformat's own way back is not to be trusted: what it finds depends on what it has seen, and
        // some of its demuxers leak when they are used after their end.
        if (!Reopen(error)) {
            return m_stop() ? ReadStatus::Stopped : ReadStatus::Failed;
        }
        atStart = true;
    }
    if (m_demuxer->SeekBefore(positionMs)) {
        atStart = false;
    }
    bool tooLate = false;
    ReadStatus status = FindCovering(positionMs, atStart, &tooLate, error);
    if (tooLate) {
        if (!Reopen(error)) {
            return m_stop() ? ReadStatus::Stopped : ReadStatus::Failed;
        }
        status = FindCovering(positionMs, true, &tooLate, error);
    }
    return status;
}

ReadStatus SampleReader::FindCovering(std::int64_t positionMs, bool atStart, bool* tooLate,
                                      std::string* error)
{
    *tooLate = false;
    std::optional<Result> candidate;
    for (bool isFirst = true;; isFirst = false) {
        if (m_stop()) {
            return ReadStatus::Stopped;
        }
        Result result = ReadOne();
        const bool isSample = result.status == ReadStatus::Sample;
        if (isFirst && !atStart && (!isSample || result.sample.startMs > positionMs)) {
            *tooLate = true;
            return result.status;
        }
        if (isSample && result.sample.startMs <= positionMs) {
            if (EndsBy(result.sample, positionMs)) {
                candidate.reset();
            } else {
                candidate = std::move(result);
            }
            continue;
        }
        if (!isSample && !candidate) {
            *error = std::move(result.error);
            return result.status;
        }
        if (candidate) {
            m_ahead.push_back(std::move(*candidate));
        }
        m_ahead.push_back(std::move(result));
        return ReadStatus::Sample;
    }
}

} // namespace TTMLHost
