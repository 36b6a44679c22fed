#ifndef ATSC3_FIXTURE_H
#define ATSC3_FIXTURE_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HostTvService.h"
#include "PlatformTvService.h"
#include "TemporaryFolder.h"
#include "TvRecorder.h"

namespace TTMLTest {

// Subscribes as a source does and notes what it gets: signals from its construction on ("signal 178 8" with
// the first word where that counts), captions from each tune's success to the next tune's start
// ("caption TIME OFFSET SIZE", both times in nanoseconds).
class CaptionViewer
{
public:
    explicit CaptionViewer(TvRecorder* recorder);
    ~CaptionViewer();
    CaptionViewer(const CaptionViewer&) = delete;
    CaptionViewer& operator=(const CaptionViewer&) = delete;

    // What the captions held.
    std::vector<std::string> Payloads() const;

private:
    static int OnSignal(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                        void* userData);
    static void OnCaption(TSCaption& caption, void* userData);

    TvRecorder* const m_recorder;
    TVServiceAPI::ISignalSubscriber* m_signals = nullptr;
    TVServiceAPI::IDataSubscriber* m_captions = nullptr;
    bool m_subscribed = false; // the signal thread's
    int m_subscription = 0;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_payloads; // guarded by m_mutex
};

// Answers of the boundary.
std::string Atsc3Text();                      // "ATSC 3.0", "not ATSC 3.0", "none"
std::string CaptionTrackText();               // "1 eng role 5 aspect 2 easy 0 profile 0 3D 0", "none"
std::string MpdAnswer(std::uint64_t service); // the MPD, "none"

// The caption of a time with offset 0, as it is noted.
std::string CaptionEvent(std::int64_t referenceMs, std::size_t size);

TTMLHost::TvAtsc3Options FastService(const std::string& input, const std::vector<std::string>& also = {});
// The line with which a service that cannot be opened is refused.
std::string ServiceOpenError(const TTMLHost::TvAtsc3Options& options);

// Closes the TV service when it goes.
class OpenAtsc3
{
public:
    OpenAtsc3(const TTMLHost::TvAtsc3Options& options, TvRecorder* recorder);
    ~OpenAtsc3() { TTMLHost::TvClose(); }
    OpenAtsc3(const OpenAtsc3&) = delete;
    OpenAtsc3& operator=(const OpenAtsc3&) = delete;
};

// Part of an MPD with one caption set, "c", whose segments are "seg-$Number$.m4s" from 1 on.
std::string OneCaptionSet(const std::string& mpdAttributes, unsigned segmentMs,
                          const std::string& segmentAttributes = "");

class Atsc3Test : public ::testing::Test
{
protected:
    using Texts = std::vector<std::string>;

    void TearDown() override;

    static std::string Sample(const std::string& name)
    {
        return std::string(TTML_TEST_SAMPLES) + "/atsc3/" + name;
    }

    static std::string SampleContent(const std::string& name);
    // What a sample segment holds.
    static std::string SamplePayload(const std::string& segment);

    // A service in the folder: its MPD, what it begins with, and its first segments of one caption each,
    // whose text is the segment's number.
    std::string Service(const std::string& name, const std::string& mpd, unsigned segments,
                        unsigned segmentMs);
    void WriteSegment(std::int64_t number, std::uint64_t timeMs);

    Texts Captions() const { return m_recorder.EventsLike("caption"); }
    Texts Signals() const { return m_recorder.EventsLike("signal"); }

    // Plays to the end with a viewer; returns the text of the end.
    std::string Play(const TTMLHost::TvAtsc3Options& options);

    TemporaryFolder m_folder;
    TvRecorder m_recorder;
    Texts m_payloads;
    TTMLHost::TvStatistics m_statistics;
};

} // namespace TTMLTest

#endif
