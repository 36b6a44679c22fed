#include "Session.h"

#include <array>
#include <cerrno>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

#include <pthread.h>

#include "HostFileManager.h"
#include "SourceBarrier.h"
#include "TTMLCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTMLClient {

namespace {

std::string ThreadName()
{
    std::array<char, 16> name{};
    if (pthread_getname_np(pthread_self(), name.data(), name.size()) != 0) {
        return {};
    }
    return name.data();
}

} // namespace

Session::Session(SourcePtr source, const SessionOutput& output, SettleBy settleBy)
    : m_source(std::move(source))
    , m_output(output)
    , m_settleBy(settleBy)
    , m_begin(std::chrono::steady_clock::now())
{}

Session::~Session()
{
    End();
}

bool Session::Start()
{
    if (!m_source->RegisterCallBack(&Session::OnCallback, this)) {
        return false;
    }
    m_source->OnStart();
    return true;
}

TTML::CTTMLSource& Session::Source()
{
    return *m_source;
}

void Session::Settle()
{
    if (m_settleBy == SettleBy::Barrier) {
        WaitForSourceThread(*m_source);
    } else {
        m_source->OnStop();
    }
}

bool Session::TrackStarted() const
{
    const std::lock_guard<std::mutex> lock(m_stateMutex);
    return m_trackStarted;
}

bool Session::TrackPaused() const
{
    const std::lock_guard<std::mutex> lock(m_stateMutex);
    return m_trackPaused;
}

long long Session::Delivered() const
{
    const std::lock_guard<std::mutex> lock(m_stateMutex);
    return m_delivered;
}

void Session::End()
{
    if (!m_source) {
        return;
    }
    if (TrackStarted()) {
        m_source->StopTrack();
    }
    // The last notice must be out before nobody listens any more.
    if (m_settleBy == SettleBy::Barrier) {
        WaitForSourceThread(*m_source);
    }
    m_source->OnStop();
    m_source->UnRegisterCallBack();
    TTMLHost::AbortFetches();
    m_source.reset();
}

void Session::OnCallback(int code, void* data)
{
    // Where the user data stands depends on the code; a record is the client's from here on.
    std::unique_ptr<const TTML::TTMLRawDataInfo> info;
    void* userData = data;
    if (code == TTML::CALLBACK_DATA) {
        info.reset(static_cast<const TTML::TTMLRawDataInfo*>(data));
        userData = info->userData;
    } else if (code == TTML::CALLBACK_STARTED) {
        userData = static_cast<const TTML::TTMLStartNotice*>(data)->userData;
    } else if (code == TTML::CALLBACK_SEEK_STARTED) {
        userData = static_cast<const TTML::TTMLSeekNotice*>(data)->userData;
    }
    static_cast<Session*>(userData)->Handle(code, data, info.get());
}

void Session::Handle(int code, void* data, const TTML::TTMLRawDataInfo* info)
{
    try {
        Event event;
        event.code = code;
        event.thread = ThreadName();
        event.data = info;
        if (code == TTML::CALLBACK_STARTED) {
            event.inBand = static_cast<const TTML::TTMLStartNotice*>(data)->inBand;
        } else if (code == TTML::CALLBACK_SEEK_STARTED) {
            event.positionMs = static_cast<const TTML::TTMLSeekNotice*>(data)->position;
        } else if (code == TTML::CALLBACK_FONTS_ERROR) {
            event.fonts = m_source->GetDownloadableFontsInfo();
        }

        std::string failure;
        const Shown shown = Show(event, failure);
        if (shown == Shown::ReaderGone) {
            m_output.control.Stop(StopReason::Interrupted);
        } else if (shown == Shown::Failed) {
            m_output.control.Fail(failure);
        }
    } catch (const std::exception& error) {
        m_output.control.Fail(std::string("showing what the source delivered failed: ") + error.what());
    }
    Note(code);
}

Session::Shown Session::Show(Event& event, std::string& failure)
{
    const std::lock_guard<std::mutex> lock(m_showMutex);
    if (m_outputLost) {
        return Shown::Done;
    }
    if (event.code == TTML::CALLBACK_HIDE) {
        m_hidden = true;
    } else if (event.code == TTML::CALLBACK_SHOW || event.code == TTML::CALLBACK_SET_MENU_LANG) {
        // A tune hides the caption of the service before; the next one begins with the viewer's own setting,
        // which the source asks for then.
        m_hidden = false;
    }
    event.hidden = m_hidden && event.code == TTML::CALLBACK_DATA;
    event.wallMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_begin)
            .count();
    long long mediaTimeMs = 0;
    if (m_source->GetVideoCurrentTime(&mediaTimeMs) == 0) {
        event.mediaTimeMs = mediaTimeMs;
    }

    if (event.data != nullptr && m_output.writer != nullptr && !m_output.writer->Write(*event.data)) {
        m_outputLost = true;
        failure = m_output.writer->Error();
        return Shown::Failed;
    }
    errno = 0;
    if (!m_output.printer.Print(event)) {
        const int cause = errno;
        m_outputLost = true;
        failure = "writing to standard output failed: " + std::generic_category().message(cause) +
                  "; check where it goes to";
        return cause == EPIPE ? Shown::ReaderGone : Shown::Failed;
    }
    return Shown::Done;
}

void Session::Note(int code)
{
    {
        const std::lock_guard<std::mutex> lock(m_stateMutex);
        if (code == TTML::CALLBACK_DATA) {
            ++m_delivered;
        } else if (code == TTML::CALLBACK_STARTED) {
            m_trackStarted = true;
            m_trackPaused = false;
        } else if (code == TTML::CALLBACK_STOPPED || code == TTML::CALLBACK_INVALIDATED) {
            m_trackStarted = false;
            m_trackPaused = false;
        } else if (code == TTML::CALLBACK_PAUSED || code == TTML::CALLBACK_RESUMED) {
            m_trackPaused = code == TTML::CALLBACK_PAUSED;
        }
    }
    if (m_output.listener != nullptr) {
        m_output.listener->OnNotice(code);
    }
}

} // namespace TTMLClient
