#include "CTTMLSource.h"

#include <exception>
#include <new>

#include "CSourceTask.h"
#include "Log.h"

namespace TTML {

namespace {

// The mode of a source that does not say otherwise.
constexpr int DEFAULT_SUBTITLE_MODE = 66;

CSourceTask* CreateSourceTask()
{
    try {
        return new (std::nothrow) CSourceTask;
    } catch (const std::exception&) {
        // A task whose queue found no memory is no more use than none, and nothing may be thrown at the
        // client: the source goes on without a thread.
        return nullptr;
    }
}

} // namespace

CTTMLSource::CTTMLSource()
{
    TTML_LOGI("");
    m_pSourceTask = CreateSourceTask();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask null");
    }
}

CTTMLSource::~CTTMLSource()
{
    TTML_LOGI("");
    delete m_pSourceTask;
    m_pSourceTask = nullptr;
}

bool CTTMLSource::RegisterCallBack(void (*callback)(int event, void* data), void* userData)
{
    TTML_LOG_SCOPE();
    return m_pSourceTask != nullptr && m_pSourceTask->RegisterCallBack(callback, userData);
}

void CTTMLSource::UnRegisterCallBack()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->UnRegisterCallBack();
    }
}

const std::list<std::string>& CTTMLSource::GetDownloadableFontsInfo() const
{
    return m_listDownloadableFonts;
}

int CTTMLSource::GetSubtitleMode()
{
    return DEFAULT_SUBTITLE_MODE;
}

bool CTTMLSource::t_Initialize(const char* userAgent)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGE("m_pSourceTask is NULL");
        return false;
    }
    m_pSourceTask->SetUserAgent(userAgent);
    return true;
}

void CTTMLSource::t_Destroy()
{}

void CTTMLSource::Destroy()
{
    TTML_LOG_SCOPE();
    delete this;
}

void CTTMLSource::Invalidate()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->Invalidate();
    }
}

void CTTMLSource::PlayTrack(unsigned int trackId, const char* url, const char* arg)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->PlayTrack(trackId, url, arg);
    }
}

void CTTMLSource::StopTrack()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->StopTrack();
    }
}

void CTTMLSource::PauseTrack(bool argument)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->PauseTrack(argument);
    }
}

void CTTMLSource::ResumeTrack()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->ResumeTrack();
    }
}

void CTTMLSource::SeekStart(long long position)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->SeekStart(position);
    }
}

void CTTMLSource::SeekCompleted()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->SeekCompleted();
    }
}

void CTTMLSource::OnSubtitleData(void* sample, TTMLSubtitleExtraData& extra)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null.");
        return;
    }
    m_pSourceTask->OnSubtitleData(sample, extra);
}

void CTTMLSource::OnSubtitleData(void* rawDataInfo)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null.");
        CSourceTask::FreeRawData(rawDataInfo);
        return;
    }
    m_pSourceTask->OnSubtitleData(rawDataInfo);
}

void CTTMLSource::SetDNTOption(int flag)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->SetDNTOption(flag);
    }
}

void CTTMLSource::OnErrorDownloadableFonts(std::list<std::string> fonts)
{
    TTML_LOGI("");
    if (m_pSourceTask == nullptr) {
        return;
    }
    // Taken over instead of copied: it is this call's own list, and a copy could run out of memory.
    m_listDownloadableFonts.swap(fonts);
    m_pSourceTask->OnErrorDownloadableFonts();
    m_listDownloadableFonts.clear();
    TTML_LOGI("");
}

void CTTMLSource::OnStart()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->StartSourceThread();
    }
}

void CTTMLSource::OnStop()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->StopSourceThread();
    }
}

void CTTMLSource::OnShow()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->OnShow();
    }
}

void CTTMLSource::OnHide()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->OnHide();
    }
}

bool CTTMLSource::SendEventToSourceThread(void* data, SourceCallbackFunc handler)
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null");
        return false;
    }
    return m_pSourceTask->SendEventToSourceThread(data, handler);
}

void CTTMLSource::t_NotifyPlayTrack()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null");
        return;
    }
    m_pSourceTask->NotifyPlayTrack();
}

void CTTMLSource::t_NotifyStopTrack()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null");
        return;
    }
    m_pSourceTask->StopTrack();
}

void CTTMLSource::t_NotifyRegisterMenuCB()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask == nullptr) {
        TTML_LOGW("m_pSourceTask is null");
        return;
    }
    m_pSourceTask->NotifyRegisterMenuCB();
}

void CTTMLSource::t_NotifyUnRegisterMenuCB()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->NotifyUnRegisterMenuCB();
    }
}

void CTTMLSource::t_NotifySetMenuLang()
{
    TTML_LOG_SCOPE();
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->NotifySetMenuLang();
    }
}

void CTTMLSource::t_EndSourceThread()
{
    if (m_pSourceTask != nullptr) {
        m_pSourceTask->EndSourceThread();
    }
}

} // namespace TTML
