#include "CInbandData.h"

#include <exception>
#include <memory>
#include <new>

#include "CPthreadGuard.h"
#include "Lock.h"
#include "Log.h"
#include "PlatformFileManager.h"
#include "TCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTML {

CInbandData::CInbandData(void (*deliver)(void* rawDataInfo, void* userData), void* userData)
    : m_pMutex(nullptr)
    , m_pUserData(userData)
    , m_pDeliver(deliver)
{
    TTML_LOGI("");
    m_pMutex = IMutex::Create();
    m_Initialize();
}

CInbandData::~CInbandData()
{
    TTML_LOGI("");
    // The thread must be gone before the mutex and the semaphore that it uses: the base's destructor would
    // end it too late, and never when it is frozen. What is still queued is dropped, for a paused caption
    // must not appear while its source is taken down.
    if (t_HasWorker()) {
        m_SetStopping(true);
        if (m_bFrozen) {
            m_bFrozen = false;
            m_freezeSignal.Post();
        }
        TTML_LOGI("Task still running. Stopping now.");
        SetTaskState(true);
        CTask::Stop();
    }
    if (m_pMutex != nullptr) {
        m_pMutex->Destroy();
    }
    m_Destroy();
    // Only this class knows what the entries are.
    while (void* const record = t_TakeUnhandled()) {
        delete static_cast<TTMLRawDataInfo*>(record);
    }
}

bool CInbandData::m_Initialize()
{
    TTML_LOG_SCOPE();
    auto* const pProcessor = new (std::nothrow) TCallback<CInbandData>(this, &CInbandData::m_ProcessQueue);
    auto* const pCleanup = new (std::nothrow) TCallback<CInbandData>(this, &CInbandData::m_CleanupCb);
    Connect(pProcessor, pCleanup);
    pthread_mutexattr_init(&m_freezeMutexAttribute);
    pthread_mutexattr_settype(&m_freezeMutexAttribute, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_freezeMutex, &m_freezeMutexAttribute);
    if (!m_freezeSignal.Init()) {
        TTML_LOGE("Error returned by sem_init");
    }
    return true;
}

void CInbandData::m_Destroy()
{
    TTML_LOG_SCOPE();
    m_freezeSignal.Destroy();
    pthread_mutex_destroy(&m_freezeMutex);
    pthread_mutexattr_destroy(&m_freezeMutexAttribute);
}

void CInbandData::Start(unsigned int trackId)
{
    TTML_LOG_SCOPE();
    // Held to the end: behind a stop under way, the new thread would still find samples to be dropped.
    const CPthreadGuard freeze(&m_freezeMutex);
    if (!t_HasWorker()) {
        // A pause that came between the end of one thread and the start of the next may have left the
        // queue frozen, with no resume to come: the new track would never show a caption.
        m_bFrozen = false;
    }
    {
        const TTML::Lock lock(m_pMutex);
        m_nTrackId = trackId;
    }
    CTask::Start("Inband");
}

void CInbandData::AddData(void* buffer, TTMLSubtitleExtraData& extra)
{
    TTML_LOG_SCOPE();
    if (buffer == nullptr) {
        TTML_LOGW("Buffer is NULL");
        return;
    }
    std::unique_ptr<TTMLRawDataInfo> record(new (std::nothrow) TTMLRawDataInfo);
    if (!record) {
        TTML_LOGE("new failed.");
        return;
    }
    record->index = extra.index;
    record->timestamp = extra.timestamp;
    try {
        record->data = static_cast<const char*>(buffer);
        TTML_LOGI("index[%d], timestamp[%lld]", record->index, static_cast<long long>(record->timestamp));
        if (!extra.segStartTime.empty() && !extra.segEndTime.empty()) {
            record->segStartTimeMs = ConvertTimeExpressionToMS(extra.segStartTime, 0.0, 0);
            record->segEndTimeMs = ConvertTimeExpressionToMS(extra.segEndTime, 0.0, 0);
            TTML_LOGI("segStartTime string[%s], segEndTime string[%s]", extra.segStartTime.c_str(),
                      extra.segEndTime.c_str());
            TTML_LOGI("segStartTime in MS[%llu], segEndTime in MS[%llu]",
                      static_cast<unsigned long long>(record->segStartTimeMs),
                      static_cast<unsigned long long>(record->segEndTimeMs));
        }
    } catch (const std::exception&) {
        // No memory for the text: the player's thread must not see an exception.
        TTML_LOGE("new failed.");
        return;
    }
    if (!SendEvent(record.get())) {
        TTML_LOGE("new failed.");
        return;
    }
    // Owned by the queue from here on.
    static_cast<void>(record.release());
}

void CInbandData::Freeze()
{
    TTML_LOG_SCOPE();
    const CPthreadGuard freeze(&m_freezeMutex);
    m_bFrozen = true;
}

void CInbandData::Resume()
{
    TTML_LOG_SCOPE();
    const CPthreadGuard freeze(&m_freezeMutex);
    m_bFrozen = false;
    if (!m_freezeSignal.Post()) {
        TTML_LOGW("Error returned by sem_post");
    }
}

void CInbandData::StopInbandData()
{
    TTML_LOG_SCOPE();
    // Held to the end, so that nobody can freeze the thread again before it is joined.
    const CPthreadGuard freeze(&m_freezeMutex);
    // Set before the thread is let go: a sample that it holds for a paused track must not slip out.
    m_SetStopping(true);
    if (m_bFrozen) {
        TTML_LOGI("Inband data thread is in paused mode, un-freezing it");
        Resume();
    }
    CTask::Stop();
    m_SetStopping(false);
}

void CInbandData::m_SetStopping(bool stopping)
{
    const TTML::Lock lock(m_pMutex);
    m_bStopping = stopping;
}

void CInbandData::m_ProcessQueue(void* record)
{
    TTML_LOG_SCOPE();
    if (record == nullptr) {
        TTML_LOGI("pData is NULL");
        return;
    }
    if (m_bFrozen) {
        TTML_LOGI("Before sem wait");
        if (!m_freezeSignal.Wait()) {
            TTML_LOGE("Error returned by sem_wait");
        }
        TTML_LOGI("After sem wait");
    }
    {
        const TTML::Lock lock(m_pMutex);
        if (m_bStopping) {
            delete static_cast<TTMLRawDataInfo*>(record);
            return;
        }
    }
    m_pDeliver(record, m_pUserData);
}

void CInbandData::m_CleanupCb(void* record)
{
    TTML_LOG_SCOPE();
    delete static_cast<TTMLRawDataInfo*>(record);
}

} // namespace TTML
