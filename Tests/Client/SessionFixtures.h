#ifndef SESSION_FIXTURES_H
#define SESSION_FIXTURES_H

#include <cerrno>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "CTTMLSource.h"
#include "Content.h"
#include "Event.h"
#include "TTMLCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

using Calls = std::vector<std::string>;

// A source that records what it is asked for, and calls back as the test tells it to.
class RecordingSource : public TTML::CTTMLSource
{
public:
    explicit RecordingSource(Calls& calls)
        : m_calls(calls)
    {}
    ~RecordingSource() override { m_calls.push_back("gone"); }

    bool RegisterCallBack(void (*callback)(int, void*), void* userData) override
    {
        m_calls.push_back("RegisterCallBack");
        m_callback = callback;
        m_userData = userData;
        return true;
    }
    void UnRegisterCallBack() override { m_calls.push_back("UnRegisterCallBack"); }
    int GetVideoCurrentTime(long long* pTimeInMS) override
    {
        *pTimeInMS = 77;
        return mediaTimeResult;
    }
    const std::list<std::string>& GetDownloadableFontsInfo() const override { return m_fonts; }
    void Invalidate() override { m_calls.push_back("Invalidate"); }
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override
    {
        m_calls.push_back("PlayTrack " + std::to_string(trackId) + " '" + url + "' " +
                          (arg != nullptr ? arg : "null"));
        if (startsTracks) {
            Started();
        }
    }
    void StopTrack() override
    {
        m_calls.push_back("StopTrack");
        Notify(TTML::CALLBACK_STOPPED);
    }
    void PauseTrack(bool) override { m_calls.push_back("PauseTrack"); }
    void ResumeTrack() override { m_calls.push_back("ResumeTrack"); }
    void SeekStart(long long position) override
    {
        m_calls.push_back("SeekStart " + std::to_string(position));
    }
    void SeekCompleted() override { m_calls.push_back("SeekCompleted"); }
    void SetDNTOption(int option) override { m_calls.push_back("SetDNTOption " + std::to_string(option)); }
    void OnErrorDownloadableFonts(std::list<std::string> fonts) override
    {
        m_fonts = std::move(fonts);
        Notify(TTML::CALLBACK_FONTS_ERROR);
    }
    void OnStart() override { m_calls.push_back("OnStart"); }
    void OnStop() override { m_calls.push_back("OnStop"); }
    bool SendEventToSourceThread(void* data, TTML::SourceCallbackFunc handler) override
    {
        m_calls.push_back("event");
        if (takesEvents) {
            handler(14, data);
        }
        return takesEvents;
    }
    void OnShow() override { Notify(TTML::CALLBACK_SHOW); }
    void OnHide() override { Notify(TTML::CALLBACK_HIDE); }

    void Notify(int code) { m_callback(code, m_userData); }
    void Started()
    {
        TTML::TTMLStartNotice notice{true, m_userData};
        m_callback(TTML::CALLBACK_STARTED, &notice);
    }
    void SeekStarted(long long position)
    {
        TTML::TTMLSeekNotice notice{position, m_userData};
        m_callback(TTML::CALLBACK_SEEK_STARTED, &notice);
    }
    void Deliver(const std::string& document)
    {
        auto* info = new TTML::TTMLRawDataInfo;
        info->data = document;
        info->userData = m_userData;
        m_callback(TTML::CALLBACK_DATA, info);
    }

    int mediaTimeResult = 0;
    bool startsTracks = false;
    bool takesEvents = true;

private:
    Calls& m_calls;
    void (*m_callback)(int, void*) = nullptr;
    void* m_userData = nullptr;
    std::list<std::string> m_fonts;
};

class RecordingPrinter : public TTMLClient::EventPrinter
{
public:
    bool Print(const TTMLClient::Event& event) override
    {
        std::string line = std::to_string(event.code);
        if (event.mediaTimeMs) {
            line += " @" + std::to_string(*event.mediaTimeMs);
        }
        if (event.data != nullptr) {
            line += " " + event.data->data;
        }
        if (event.code == TTML::CALLBACK_SEEK_STARTED) {
            line += " to " + std::to_string(event.positionMs);
        }
        if (event.code == TTML::CALLBACK_STARTED) {
            line += event.inBand ? " in band" : " out of band";
        }
        for (const std::string& font : event.fonts) {
            line += " " + font;
        }
        if (event.hidden) {
            line += " hidden";
        }
        lines.push_back(line);
        errno = failure;
        return failure == 0;
    }

    Calls lines;
    int failure = 0; // what printing fails with
};

class RecordingContent : public TTMLClient::Content
{
public:
    explicit RecordingContent(Calls& calls)
        : m_calls(calls)
    {}

    void Play() override { m_calls.push_back("content plays"); }
    void Pause() override { m_calls.push_back("content pauses"); }
    void HoldSamples() override { m_calls.push_back("content holds"); }
    void Seek(long long positionMs) override
    {
        m_calls.push_back("content seeks " + std::to_string(positionMs));
    }
    void WaitDelivered() override { m_calls.push_back("content waits"); }

private:
    Calls& m_calls;
};

} // namespace TTMLTest

#endif
