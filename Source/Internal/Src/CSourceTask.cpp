#include "CSourceTask.h"

#include <exception>
#include <new>

#include "CInbandData.h"
#include "Lock.h"
#include "Log.h"
#include "PlatformFileManager.h"
#include "Require.h"
#include "TCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTML {

namespace {

// Results of the commands.
constexpr unsigned int RESULT_OK = 0;
constexpr unsigned int RESULT_FAILED = 1;

struct SReleaseFetcher
{
    void operator()(IFileUtil* pFetcher) const { pFetcher->Destroy(); }
};

struct SReleaseText
{
    IFileUtil* pFetcher;
    void operator()(char* pText) const { pFetcher->ReleaseText(pText); }
};

CInbandData* CreateInbandData(void (*deliver)(void*, void*), void* userData)
{
    try {
        return new (std::nothrow) CInbandData(deliver, userData);
    } catch (const std::exception&) {
        // No memory for its queue: the same as none for the object.
        return nullptr;
    }
}

} // namespace

CSourceTask::CSourceTask()
    : m_pTaskMutex(nullptr)
{
    TTML_LOGI("");
    m_pTaskMutex = IMutex::Create();
    m_Initialize();
}

CSourceTask::~CSourceTask()
{
    TTML_LOGI("");
    m_Destroy();
    {
        const TTML::Lock lock(m_pTaskMutex);
        m_nTrackState = TRACK_INVALID;
    }
    if (m_pTaskMutex != nullptr) {
        m_pTaskMutex->Destroy();
    }
    // Only this class knows what the entries are.
    while (void* const record = t_TakeUnhandled()) {
        delete static_cast<SourceHeader*>(record);
    }
}

bool CSourceTask::m_Initialize()
{
    TTML_LOG_SCOPE();
    m_pInbandData = CreateInbandData(m_InbandData_Cb, this);
    if (m_pInbandData == nullptr) {
        return false;
    }
    Connect(new (std::nothrow) TCallback<CSourceTask>(this, &CSourceTask::m_ProcessQueue), nullptr);
    TTML_LOGI("Initialize end");
    return true;
}

void CSourceTask::m_Destroy()
{
    TTML_LOG_SCOPE();
    Stop();
    delete m_pInbandData;
    m_pInbandData = nullptr;
}

void CSourceTask::StartSourceThread()
{
    TTML_LOG_SCOPE();
    {
        const TTML::Lock lock(m_pTaskMutex);
        m_nTrackState = TRACK_STOPPED;
    }
    Start("Source");
}

void CSourceTask::StopSourceThread()
{
    TTML_LOG_SCOPE();
    Reset();
}

void CSourceTask::EndSourceThread()
{
    t_EndWorker();
}

// Commands: each becomes an event of the source thread.

unsigned int CSourceTask::PlayTrack(unsigned int trackId, const char* url, const char* descriptor)
{
    TTML_LOG_SCOPE();
    try {
        if (descriptor != nullptr) {
            std::string copy(descriptor);
            const CLeafGuard guard(m_leafLock);
            m_strTrackDescriptor.swap(copy);
        }
        std::unique_ptr<SourcePlayData> record(new (std::nothrow) SourcePlayData);
        if (!record) {
            return RESULT_FAILED;
        }
        record->trackId = trackId;
        record->type = SOURCE_EVENT_PLAY;
        if (url != nullptr) {
            record->url = url;
        }
        record->inBand = record->url.empty();
        {
            const TTML::Lock lock(m_pDataMutex);
            m_bInband = record->inBand;
        }
        return m_Post(std::move(record), __func__);
    } catch (const std::exception&) {
        // No memory for a text: the same as none for the record.
        return RESULT_FAILED;
    }
}

unsigned int CSourceTask::PauseTrack(bool argument)
{
    TTML_LOG_SCOPE();
    const unsigned int epoch = m_nEpoch;
    std::unique_ptr<SourcePauseData> record(new (std::nothrow) SourcePauseData);
    if (!record) {
        return RESULT_FAILED;
    }
    record->argument = argument;
    record->type = SOURCE_EVENT_PAUSE;
    const unsigned int result = m_Post(std::move(record), __func__);
    if (result != RESULT_OK) {
        m_SetErrorState(epoch);
    }
    return result;
}

unsigned int CSourceTask::ResumeTrack()
{
    TTML_LOG_SCOPE();
    const unsigned int epoch = m_nEpoch;
    std::unique_ptr<SourceHeader> record(new (std::nothrow) SourceHeader(SOURCE_EVENT_RESUME));
    if (!record) {
        return RESULT_FAILED;
    }
    const unsigned int result = m_Post(std::move(record), __func__);
    if (result != RESULT_OK) {
        m_SetErrorState(epoch);
    }
    return result;
}

unsigned int CSourceTask::StopTrack()
{
    TTML_LOG_SCOPE();
    return m_PostHeader(SOURCE_EVENT_STOP, __func__);
}

unsigned int CSourceTask::SeekStart(long long position)
{
    TTML_LOG_SCOPE();
    std::unique_ptr<SourceSeekData> record(new (std::nothrow) SourceSeekData);
    if (!record) {
        return RESULT_FAILED;
    }
    record->position = position;
    record->type = SOURCE_EVENT_SEEK_START;
    return m_Post(std::move(record), __func__);
}

unsigned int CSourceTask::SeekCompleted()
{
    TTML_LOG_SCOPE();
    return m_PostHeader(SOURCE_EVENT_SEEK_COMPLETED, __func__);
}

bool CSourceTask::SendEventToSourceThread(void* data, SourceCallbackFunc func)
{
    TTML_LOG_SCOPE();
    std::unique_ptr<SourceCallbackData> pSourceData(new (std::nothrow) SourceCallbackData);
    Require(pSourceData != nullptr, "pSourceData", "Source/Internal/Src/CSourceTask.cpp", __LINE__,
            "void TTML::CSourceTask::SendEventToSourceThread(void*, TTML::SourceCallbackFunc)");
    pSourceData->data = data;
    pSourceData->function = func;
    pSourceData->type = SOURCE_EVENT_CALLBACK;
    return m_Post(std::move(pSourceData), __func__) == RESULT_OK;
}

unsigned int CSourceTask::m_PostHeader(int type, const char* operation)
{
    std::unique_ptr<SourceHeader> record(new (std::nothrow) SourceHeader(type));
    if (!record) {
        return RESULT_FAILED;
    }
    return m_Post(std::move(record), operation);
}

unsigned int CSourceTask::m_Post(std::unique_ptr<SourceHeader> record, const char* operation)
{
    if (!m_AddToQueue(record.get())) {
        TTML_LOGW_FOR(operation, "Failed to add data in queue");
        return RESULT_FAILED;
    }
    // Owned by the queue from here on.
    static_cast<void>(record.release());
    return RESULT_OK;
}

bool CSourceTask::m_AddToQueue(void* record)
{
    TTML_LOG_SCOPE();
    return record != nullptr && SendEvent(record);
}

// Sets the error state, unless the track was invalidated since `epoch`.
void CSourceTask::m_SetErrorState(unsigned int epoch)
{
    // Not waited for: this may run in a client callback on the in-band thread, which a play that holds the
    // task mutex is just joining. Without the mutex an invalidation may come at any point; it raises the
    // count before it sets the state, so that one of the two tests sees it.
    const bool locked = m_pTaskMutex != nullptr && m_pTaskMutex->TryLock(0);
    int state = m_nTrackState;
    if (epoch == m_nEpoch && m_nTrackState.compare_exchange_strong(state, TRACK_ERROR) && epoch != m_nEpoch) {
        m_nTrackState = TRACK_INVALID;
    }
    if (locked) {
        m_pTaskMutex->Unlock();
    }
}

void CSourceTask::m_ProcessQueue(void* record)
{
    TTML_LOG_SCOPE();
    if (record == nullptr) {
        TTML_LOGW("Source Header NULL");
        return;
    }
    const std::unique_ptr<SourceHeader> header(static_cast<SourceHeader*>(record));
    switch (header->type) {
    case SOURCE_EVENT_PLAY:
        m_PlayTrack(static_cast<SourcePlayData*>(header.get()));
        break;
    case SOURCE_EVENT_PAUSE:
        m_PauseTrack(static_cast<SourcePauseData*>(header.get()));
        break;
    case SOURCE_EVENT_RESUME:
        m_ResumeTrack();
        break;
    case SOURCE_EVENT_STOP:
        m_StopTrack();
        break;
    case SOURCE_EVENT_SEEK_START:
        m_SeekStart(static_cast<SourceSeekData*>(header.get()));
        break;
    case SOURCE_EVENT_SEEK_COMPLETED:
        m_SeekCompleted();
        break;
    case SOURCE_EVENT_CALLBACK: {
        const auto* const callback = static_cast<SourceCallbackData*>(header.get());
        if (callback->function == nullptr) {
            TTML_LOGW("null pointer issue!");
        } else {
            callback->function(SOURCE_CALLBACK_CODE, callback->data);
        }
        break;
    }
    default:
        TTML_LOGI("in default");
        break;
    }
}

// The client's callback. Function and user data are copied together under the leaf lock, so that a call
// never pairs one registration's function with another's data, and the lock is not held across the call.

bool CSourceTask::RegisterCallBack(void (*callback)(int, void*), void* userData)
{
    TTML_LOG_SCOPE();
    if (callback == nullptr) {
        TTML_LOGW("Null pointer");
        return false;
    }
    const CLeafGuard guard(m_leafLock);
    m_pCoreCBFunc = callback;
    m_pUserData = userData;
    return true;
}

void CSourceTask::UnRegisterCallBack()
{
    TTML_LOG_SCOPE();
    const CLeafGuard guard(m_leafLock);
    m_pCoreCBFunc = nullptr;
    m_pUserData = nullptr;
}

CSourceTask::SClient CSourceTask::m_GetClient()
{
    const CLeafGuard guard(m_leafLock);
    return {m_pCoreCBFunc, m_pUserData};
}

// Sends a code whose payload is the user data. False when no callback is registered.
bool CSourceTask::m_Notify(int code)
{
    const SClient client = m_GetClient();
    if (client.function == nullptr) {
        return false;
    }
    client.function(code, client.userData);
    return true;
}

void CSourceTask::m_NotifyOrWarn(int code, const char* operation)
{
    if (!m_Notify(code)) {
        TTML_LOGW_FOR(operation, "m_pCoreCBFunc is null!");
    }
}

void CSourceTask::OnErrorDownloadableFonts()
{
    TTML_LOG_SCOPE();
    m_Notify(CALLBACK_FONTS_ERROR);
}

void CSourceTask::OnShow()
{
    TTML_LOG_SCOPE();
    m_Notify(CALLBACK_SHOW);
}

void CSourceTask::OnHide()
{
    TTML_LOG_SCOPE();
    m_Notify(CALLBACK_HIDE);
}

void CSourceTask::NotifyRegisterMenuCB()
{
    TTML_LOG_SCOPE();
    m_NotifyOrWarn(CALLBACK_REGISTER_MENU, __func__);
}

void CSourceTask::NotifyUnRegisterMenuCB()
{
    TTML_LOG_SCOPE();
    m_NotifyOrWarn(CALLBACK_UNREGISTER_MENU, __func__);
}

void CSourceTask::NotifySetMenuLang()
{
    TTML_LOG_SCOPE();
    m_NotifyOrWarn(CALLBACK_SET_MENU_LANG, __func__);
}

// Data.

void CSourceTask::OnSubtitleData(void* rawDataInfo)
{
    TTML_LOG_SCOPE();
    m_SendRawData(rawDataInfo);
}

void CSourceTask::OnSubtitleData(void* buffer, TTMLSubtitleExtraData& extra)
{
    TTML_LOG_SCOPE();
    if (m_pInbandData != nullptr) {
        m_pInbandData->AddData(buffer, extra);
    }
}

void CSourceTask::m_InbandData_Cb(void* rawDataInfo, void* task)
{
    TTML_LOG_SCOPE();
    if (task != nullptr) {
        static_cast<CSourceTask*>(task)->m_SendRawData(rawDataInfo);
    }
}

void CSourceTask::FreeRawData(void* rawDataInfo)
{
    delete static_cast<TTMLRawDataInfo*>(rawDataInfo);
}

void CSourceTask::m_SendRawData(void* record)
{
    TTML_LOG_SCOPE();
    if (record == nullptr) {
        TTML_LOGW("rawDataInfo is null!");
        return;
    }
    const SClient client = m_GetClient();
    if (client.function == nullptr) {
        TTML_LOGW("m_pCoreCBFunc is null!");
        FreeRawData(record);
        return;
    }
    auto* const info = static_cast<TTMLRawDataInfo*>(record);
    try {
        const CLeafGuard guard(m_leafLock);
        info->trackDescriptor = m_strTrackDescriptor;
    } catch (const std::exception&) {
        // Without memory for the descriptor the caption still goes out: it is what the viewer needs.
        info->trackDescriptor.clear();
    }
    info->userData = client.userData;
    client.function(CALLBACK_DATA, info);
}

// Request options.

void CSourceTask::SetUserAgent(const char* userAgent)
{
    TTML_LOG_SCOPE();
    if (userAgent == nullptr) {
        TTML_LOGW("Handle to user agent is null");
        return;
    }
    TTML_LOGI("User agent =%s", userAgent);
    try {
        std::string copy(userAgent);
        const CLeafGuard guard(m_leafLock);
        m_strUserAgent.swap(copy);
    } catch (const std::exception&) {
        // No memory: requests go on with the old user agent.
        TTML_LOGE("new failed.");
    }
}

void CSourceTask::SetDNTOption(int flag)
{
    TTML_LOG_SCOPE();
    TTML_LOGI("DNT flag value is  %d", flag);
    const char* header = nullptr;
    switch (flag) {
    case 0:
        header = "DNT: 0";
        break;
    case 1:
        header = "DNT: 1";
        break;
    case 2:
        header = "DNT: null";
        break;
    default:
        TTML_LOGW("Invalid value of DNT flag");
        return;
    }
    // Short enough for the string's own storage, so it cannot fail.
    const CLeafGuard guard(m_leafLock);
    m_strDntHeader = header;
}

bool CSourceTask::m_GetPlayerSubtitleDataOutband(const char* url, const char* userAgent)
{
    TTML_LOG_SCOPE();
    const std::unique_ptr<IFileUtil, SReleaseFetcher> fetcher(IFileUtil::Create());
    if (!fetcher) {
        return false;
    }
    std::string header;
    {
        const CLeafGuard guard(m_leafLock);
        header = m_strDntHeader;
    }
    fetcher->SetRequestHeader(header.c_str());
    unsigned long length = 0;
    const std::unique_ptr<char, SReleaseText> text(fetcher->Fetch(url, userAgent, &length),
                                                   SReleaseText{fetcher.get()});
    if (!text) {
        return false;
    }
    std::unique_ptr<TTMLRawDataInfo> record(new (std::nothrow) TTMLRawDataInfo);
    if (!record) {
        TTML_LOGE("new failed.");
        return false;
    }
    try {
        record->data = text.get();
    } catch (const std::exception&) {
        TTML_LOGE("new failed.");
        return false;
    }
    m_SendRawData(record.release());
    return true;
}

// The track. Commands are handled on the source thread; NotifyPlayTrack, NotifyStopTrack, StartSourceThread
// and Invalidate run on other threads at the same time. A handler remembers the invalidation count with
// the state it found and changes nothing once the count has moved on: otherwise a handler that Invalidate
// overtook would set the track playing again, with nobody left to stop it. In the same way a stop does not
// end a track that was played while the stop was under way. A null in-band queue (there was no memory for
// it) is skipped: the track's states and notices go on without data.

CSourceTask::STrackState CSourceTask::m_GetTrackState()
{
    const TTML::Lock lock(m_pTaskMutex);
    return {m_nTrackState, m_nStateBeforePause, m_nEpoch, m_nPlays};
}

bool CSourceTask::m_SetTrackState(int state, unsigned int epoch)
{
    const TTML::Lock lock(m_pTaskMutex);
    if (epoch != m_nEpoch) {
        return false;
    }
    m_nTrackState = state;
    return true;
}

bool CSourceTask::m_IsInband()
{
    const TTML::Lock lock(m_pDataMutex);
    return m_bInband;
}

void CSourceTask::NotifyPlayTrack()
{
    TTML_LOG_SCOPE();
    SourcePlayData record;
    m_PlayTrack(&record);
}

void CSourceTask::NotifyStopTrack()
{
    TTML_LOG_SCOPE();
    m_StopTrack();
}

unsigned int CSourceTask::m_PlayTrack(SourcePlayData* pSourcePlayData)
{
    TTML_LOG_SCOPE();
    if (pSourcePlayData == nullptr) {
        TTML_LOGW("pSourcePlayData is NULL");
        return RESULT_FAILED;
    }
    STrackState found = {};
    {
        // Held across the stop of a running track, notice included, so that nobody else can take the track
        // between its stop and its new start. The mutex is recursive: m_StopTrack takes it again.
        const TTML::Lock lock(m_pTaskMutex);
        found = m_GetTrackState();
        TTML_LOGI("State is: [%d]", found.state);
        if (!m_AcceptPlay(found)) {
            if (found.state == TRACK_PAUSED) {
                TTML_LOGW("Not a proper state to play, state:[%d] stateBeforePause:[%d]", found.state,
                          found.stateBeforePause);
            } else {
                TTML_LOGW("Not a proper state to play, state:[%d]", found.state);
            }
            return RESULT_FAILED;
        }
    }
    if (!pSourcePlayData->url.empty()) {
        TTML_LOGI("Out of band data, url : %s", pSourcePlayData->url.c_str());
        std::string userAgent;
        bool fetched = false;
        try {
            {
                const CLeafGuard guard(m_leafLock);
                userAgent = m_strUserAgent;
            }
            fetched = m_GetPlayerSubtitleDataOutband(pSourcePlayData->url.c_str(), userAgent.c_str());
        } catch (const std::exception&) {
            TTML_LOGE("new failed.");
        }
        if (!fetched) {
            TTML_LOGW("GetData failed!");
            return RESULT_FAILED;
        }
    } else {
        m_StartInband(pSourcePlayData->trackId, found.epoch);
        TTML_LOGI("in-band data, trackId : %d", static_cast<int>(pSourcePlayData->trackId));
    }
    if (m_bPlayPending) {
        return RESULT_OK;
    }
    return m_StartTrack(found.epoch);
}

// Takes the track for a play. False when its state allows none. The caller holds the task mutex.
bool CSourceTask::m_AcceptPlay(const STrackState& found)
{
    const bool isPaused = found.state == TRACK_PAUSED;
    switch (isPaused ? found.stateBeforePause : found.state) {
    case TRACK_PLAYING:
        // A paused track stays stopped, with the play pending: it is not put back to paused.
        m_StopTrack();
        break;
    case TRACK_STOPPED:
        if (!isPaused) {
            m_nTrackState = TRACK_PLAYING;
        }
        break;
    default:
        return false;
    }
    if (isPaused) {
        m_bPlayPending = true;
    }
    ++m_nPlays;
    return true;
}

void CSourceTask::m_StartInband(unsigned int trackId, unsigned int epoch)
{
    // Under the mutex with which Invalidate counts: after it has, no in-band thread may start.
    const TTML::Lock lock(m_pTaskMutex);
    if (epoch == m_nEpoch && m_pInbandData != nullptr) {
        m_pInbandData->Start(trackId);
    }
}

unsigned int CSourceTask::m_StartTrack(unsigned int epoch)
{
    TTML_LOG_SCOPE();
    if (epoch != m_nEpoch) {
        // Invalidated meanwhile: a start notice behind the invalidation's would never be followed by a stop.
        return RESULT_FAILED;
    }
    const SClient client = m_GetClient();
    if (client.function == nullptr) {
        TTML_LOGW("No call back function to be called");
        return RESULT_FAILED;
    }
    TTMLStartNotice notice = {m_IsInband(), client.userData};
    client.function(CALLBACK_STARTED, &notice);
    TTML_LOGI("CBBSource::PlayTrack start notify callback called");
    m_SetTrackState(TRACK_PLAYING, epoch);
    TTML_LOGI("Start successful.");
    return RESULT_OK;
}

void CSourceTask::m_StopTrack()
{
    TTML_LOG_SCOPE();
    const STrackState found = m_GetTrackState();
    TTML_LOGI("State is: [%d]", found.state);
    if (found.state == TRACK_INVALID || found.state == TRACK_STOPPED ||
        (found.state == TRACK_PAUSED && found.stateBeforePause == TRACK_STOPPED)) {
        TTML_LOGW("Wrong state for StopTrack to be called");
        return;
    }
    // For the stop inside a play this is already the new track's flag; that is how the clients know it.
    if (m_IsInband() && m_pInbandData != nullptr) {
        m_pInbandData->StopInbandData();
    }
    if (!m_Notify(CALLBACK_STOPPED)) {
        TTML_LOGW("No call back function registered for StopNotify");
    }
    const TTML::Lock lock(m_pTaskMutex);
    if (found.plays == m_nPlays) {
        m_SetTrackState(TRACK_STOPPED, found.epoch);
    }
}

void CSourceTask::m_PauseTrack(SourcePauseData* pSourcePauseData)
{
    TTML_LOG_SCOPE();
    if (pSourcePauseData == nullptr) {
        // The record holds nothing that is needed.
        TTML_LOGW("pSourcePauseData is NULL");
    }
    {
        const TTML::Lock lock(m_pTaskMutex);
        const int state = m_nTrackState;
        TTML_LOGI("State is: [%d]", state);
        if (state != TRACK_PLAYING && state != TRACK_STOPPED) {
            TTML_LOGW("Not a proper state to pause, state : %d", state);
            return;
        }
        m_nStateBeforePause = state;
        m_nTrackState = TRACK_PAUSED;
        if (state == TRACK_STOPPED) {
            return;
        }
        // Frozen before the mutex is released: a stop and a play from another thread in between would
        // leave the new track frozen though it is not paused.
        if (m_IsInband() && m_pInbandData != nullptr) {
            m_pInbandData->Freeze();
        }
    }
    m_Notify(CALLBACK_PAUSED);
}

void CSourceTask::m_ResumeTrack()
{
    TTML_LOG_SCOPE();
    const STrackState found = m_GetTrackState();
    TTML_LOGI("State is: [%d]", found.state);
    if (found.state != TRACK_PAUSED) {
        TTML_LOGW("Current state is not pause, so cannot resume. state:[%d]", found.state);
        return;
    }
    if (m_bPlayPending) {
        if (m_StartTrack(found.epoch) != RESULT_OK) {
            TTML_LOGW("failed to start track");
            return;
        }
        m_bPlayPending = false;
    } else {
        TTML_LOGI("Reverting back to the original state (before Pause):[%d]", found.stateBeforePause);
        if (!m_SetTrackState(found.stateBeforePause, found.epoch)) {
            return;
        }
        if (found.stateBeforePause != TRACK_PLAYING) {
            TTML_LOGI("No playback data is received yet. So, there is nothing to resume. Returning.");
            return;
        }
    }
    if (m_IsInband() && m_pInbandData != nullptr) {
        m_pInbandData->Resume();
    }
    if (!m_Notify(CALLBACK_RESUMED)) {
        TTML_LOGW("No call back function registered for StopNotify");
    }
}

void CSourceTask::m_SeekStart(SourceSeekData* pSourceSeekData)
{
    TTML_LOG_SCOPE();
    if (pSourceSeekData == nullptr) {
        return;
    }
    {
        const TTML::Lock lock(m_pTaskMutex);
        const STrackState found = m_GetTrackState();
        const bool canSeek = found.state == TRACK_PLAYING ||
                             (found.state == TRACK_PAUSED && found.stateBeforePause == TRACK_PLAYING);
        if (!canSeek || m_bSeekStarted) {
            TTML_LOGW("Not a proper state to seek, state : %d", found.state);
            return;
        }
        m_bSeekStarted = true;
    }
    const SClient client = m_GetClient();
    if (client.function != nullptr) {
        TTML_LOGI("CBBSource::Seek Start : %lld", pSourceSeekData->position);
        TTMLSeekNotice notice = {pSourceSeekData->position, client.userData};
        client.function(CALLBACK_SEEK_STARTED, &notice);
    }
}

void CSourceTask::m_SeekCompleted()
{
    TTML_LOG_SCOPE();
    if (!m_bSeekStarted) {
        TTML_LOGW("No seek start received for seek completion");
        return;
    }
    m_bSeekStarted = false;
    if (!m_IsInband()) {
        m_Notify(CALLBACK_SEEK_COMPLETED);
    }
}

unsigned int CSourceTask::Invalidate()
{
    TTML_LOG_SCOPE();
    m_InvalidateTrack();
    if (m_pInbandData != nullptr) {
        m_pInbandData->StopInbandData();
    }
    StopSourceThread();
    // An OnStart in between may have let a queued play through.
    m_InvalidateTrack();
    if (m_pInbandData != nullptr && m_pInbandData->HasThread()) {
        m_pInbandData->StopInbandData();
    }
    m_Notify(CALLBACK_INVALIDATED);
    return RESULT_OK;
}

void CSourceTask::m_InvalidateTrack()
{
    const TTML::Lock lock(m_pTaskMutex);
    ++m_nEpoch;
    m_nTrackState = TRACK_INVALID;
}

} // namespace TTML
