#include "CTask.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <new>

#include <sys/syscall.h>
#include <unistd.h>

#include "CPthreadGuard.h"
#include "Log.h"

namespace TTML {

namespace {

// Events that a trim leaves in the queue.
constexpr std::size_t MIN_QUEUE_SIZE = 20;

// What a thread's name can hold, with its terminating zero.
constexpr std::size_t THREAD_NAME_SIZE = 16;

// The system's text for an error number, whichever of its two forms strerror_r has here.
const char* ErrorText(const char* text, const char* /*buffer*/)
{
    return text;
}

[[maybe_unused]] const char* ErrorText(int /*result*/, const char* buffer)
{
    return buffer;
}

} // namespace

CTask::CTask()
{
    TTML_LOG_SCOPE();
    m_Create();
}

CTask::~CTask()
{
    TTML_LOG_SCOPE();
    if (m_IsRunning() || m_IsPreparing()) {
        TTML_LOGI("Task still running. Stopping now.");
        SetTaskState(true);
        m_bDestroying = true;
        Stop();
    }
    {
        // A worker that a marker from outside ended is still to be joined, or its stack would leak.
        const CPthreadGuard lifecycle(&m_lifecycleMutex);
        m_JoinWorker();
    }
    m_Destroy();
    delete m_pProcessor;
    delete m_pCleanup;
}

void CTask::m_Create()
{
    TTML_LOG_SCOPE();
    if (!m_resetSignal.Init()) {
        TTML_LOGE("Error returned by sem_init");
    }
    pthread_mutexattr_init(&m_queueMutexAttribute);
    pthread_mutexattr_settype(&m_queueMutexAttribute, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_queueMutex, &m_queueMutexAttribute);
    pthread_mutex_init(&m_stateMutex, nullptr);
    pthread_mutex_init(&m_preparingMutex, nullptr);
    pthread_mutex_init(&m_ignoreMutex, nullptr);
    pthread_cond_init(&m_queueCondition, nullptr);
}

void CTask::m_Destroy()
{
    TTML_LOG_SCOPE();
    pthread_cond_destroy(&m_queueCondition);
    pthread_mutex_destroy(&m_ignoreMutex);
    pthread_mutex_destroy(&m_stateMutex);
    pthread_mutex_destroy(&m_preparingMutex);
    pthread_mutexattr_destroy(&m_queueMutexAttribute);
    pthread_mutex_destroy(&m_queueMutex);
    m_resetSignal.Destroy();
    pthread_cond_destroy(&m_phaseCondition);
    pthread_mutex_destroy(&m_phaseMutex);
    pthread_mutex_destroy(&m_lifecycleMutex);
}

void CTask::Connect(ICallback* processor, ICallback* cleanup)
{
    TTML_LOG_SCOPE();
    m_pProcessor = processor;
    m_pCleanup = cleanup;
}

void CTask::Start(const char* name)
{
    TTML_LOG_SCOPE();
    // Asked before the lifecycle mutex is taken: a Start that is to be refused must not wait behind a
    // Reset or Stop that waits for the very thread it is called on.
    if (m_IsRunning() || m_IsPreparing()) {
        TTML_LOGE("Thread is already created. New request for creation should not be made!");
        return;
    }
    const CPthreadGuard lifecycle(&m_lifecycleMutex);
    if (t_HasWorker()) {
        // Another Start came first.
        TTML_LOGE("Thread is already created. New request for creation should not be made!");
        return;
    }
    m_JoinWorker();
    m_SetPhase(START_CREATED);
    if (pthread_create(&m_thread, nullptr, m_ThreadRoutine, this) != 0) {
        m_SetPhase(START_IDLE);
        TTML_LOGE("pthread_create FAILED !!");
        return;
    }
    m_bJoinable = true;
    if (name != nullptr) {
        char text[THREAD_NAME_SIZE] = {};
        std::strncpy(text, name, sizeof(text) - 1);
        if (std::strlen(name) > sizeof(text) - 1) {
            TTML_LOGW("Name [%s] is too long", name);
        }
        pthread_setname_np(m_thread, text);
    }
    m_SetPreparing(true);
    // The worker was held until here, so that its first line on the log carries its name and so that it
    // cannot clear the preparing flag before it was set. Waiting for its loop makes a Reset that follows
    // a real barrier: it would find no running task otherwise and return at once.
    m_SetPhase(START_NAMED);
    m_AwaitPhaseAfter(START_NAMED);
}

bool CTask::SendEvent(void* event)
{
    TTML_LOG_SCOPE();
    const bool queued = m_Push(event);
    if (m_IsRunning()) {
        return queued;
    }
    if (m_QueueSize() > MIN_QUEUE_SIZE && !m_IsPreparing()) {
        m_Clear(false);
    }
    return queued;
}

void CTask::Stop()
{
    TTML_LOG_SCOPE();
    {
        // Held across the join, so that of two Stops only one joins and the other returns after it, and so
        // that no Start creates a worker which this call's marker would end.
        const CPthreadGuard lifecycle(&m_lifecycleMutex);
        if (m_IsRunning() || m_bEndedEarly || m_IsPreparing()) {
            SendEvent(nullptr);
            const int result = m_bEndedEarly ? m_nEarlyResult : m_JoinWorker();
            m_bEndedEarly = false;
            if (result != 0) {
                char buffer[128] = {};
                TTML_LOGW("pthread_join FAILED with errorCode: [%d][%s]!", result,
                          ErrorText(strerror_r(result, buffer, sizeof(buffer)), buffer));
            }
            TTML_LOGI("After pthread_join");
            m_SetPreparing(false);
            // The worker may have been ended by another marker than ours, which would end the next worker.
            const CPthreadGuard queue(&m_queueMutex);
            m_PurgeMarkers();
            return;
        }
        m_JoinWorker();
    }
    // Outside the lifecycle mutex: the cleanup callback may use the task.
    const std::size_t size = m_QueueSize();
    TTML_LOGI("Task is neither running nor in preparation stage! Q Size=[%zu]", size);
    // A worker that a marker from outside ended while the task is destroyed leaves events behind, which must
    // reach no callback any more.
    if (size > 0 && !m_bDestroying) {
        m_Clear(true);
    }
}

void CTask::Reset()
{
    TTML_LOG_SCOPE();
    if (!m_IsRunning()) {
        TTML_LOGI("Returning as task is not running");
        return;
    }
    // Held across the wait, so that no Stop can end the worker before it has reached this marker. The
    // worker itself never takes it.
    const CPthreadGuard lifecycle(&m_lifecycleMutex);
    bool consuming = false;
    {
        const CPthreadGuard queue(&m_queueMutex);
        consuming = m_bConsuming;
        if (consuming) {
            ++m_nResetMarkers;
            m_bResetPending = true;
        }
    }
    if (!consuming) {
        TTML_LOGI("Returning as task is not running");
        return;
    }
    SendEvent(nullptr);
    if (!m_resetSignal.Wait()) {
        TTML_LOGE("Error returned by sem_wait");
    }
    const CPthreadGuard queue(&m_queueMutex);
    if (!m_bConsuming) {
        // The worker ended without reaching the marker, which would end the next worker.
        m_PurgeMarkers();
    }
}

void CTask::m_Clear(bool all)
{
    TTML_LOG_SCOPE();
    std::size_t size = m_QueueSize();
    if (m_pCleanup == nullptr) {
        TTML_LOGW("No Cleanup CB is registered!!! queueSize=[%zu]", size);
        return;
    }
    const std::size_t limit = all ? 0 : MIN_QUEUE_SIZE;
    if (size <= limit) {
        TTML_LOGI("Event queueSize is less than minQueueSize. queueSize=[%zu]", size);
        return;
    }
    for (;;) {
        void* event = nullptr;
        {
            // Both are tested again for each entry: another thread may be trimming too, and an empty queue
            // must not be popped; and a worker may have been started, whose events and markers a belated
            // trim would take away.
            const CPthreadGuard queue(&m_queueMutex);
            if (m_queue.size() <= limit || m_bConsuming) {
                return;
            }
            event = m_Pop();
        }
        m_pCleanup->Invoke(event);
    }
}

bool CTask::m_IsRunning()
{
    TTML_LOG_SCOPE();
    return t_HasWorker();
}

bool CTask::m_IsPreparing()
{
    TTML_LOG_SCOPE();
    const CPthreadGuard preparing(&m_preparingMutex);
    return m_bPreparing;
}

void CTask::m_SetPreparing(bool preparing)
{
    const CPthreadGuard guard(&m_preparingMutex);
    m_bPreparing = preparing;
}

void CTask::SetTaskState(bool ignored)
{
    TTML_LOG_SCOPE();
    const CPthreadGuard guard(&m_ignoreMutex);
    m_bTaskIgnored = ignored;
}

bool CTask::IsTaskIgnored()
{
    TTML_LOG_SCOPE();
    const CPthreadGuard guard(&m_ignoreMutex);
    return m_bTaskIgnored;
}

void CTask::Lock()
{
    TTML_LOG_SCOPE();
    pthread_mutex_lock(&m_queueMutex);
}

void CTask::Unlock()
{
    TTML_LOG_SCOPE();
    pthread_mutex_unlock(&m_queueMutex);
}

bool CTask::t_HasWorker()
{
    const CPthreadGuard state(&m_stateMutex);
    return m_nRunningThreadId != 0;
}

void* CTask::t_TakeUnhandled()
{
    const CPthreadGuard queue(&m_queueMutex);
    while (!m_queue.empty()) {
        void* const event = m_Pop();
        if (event != nullptr) {
            return event;
        }
    }
    return nullptr;
}

void CTask::t_EndWorker()
{
    const CPthreadGuard lifecycle(&m_lifecycleMutex);
    if (!t_HasWorker()) {
        return;
    }
    m_Push(nullptr);
    m_nEarlyResult = m_JoinWorker();
    m_SetPreparing(false);
    m_bEndedEarly = true;
    const CPthreadGuard queue(&m_queueMutex);
    m_PurgeMarkers();
}

bool CTask::m_Push(void* event)
{
    const CPthreadGuard queue(&m_queueMutex);
    try {
        m_queue.push_back(event);
    } catch (const std::bad_alloc&) {
        if (event != nullptr) {
            // The poster keeps the event: dropped here it would leak, and nobody would know that it is lost.
            return false;
        }
        // A marker that got lost would leave a Stop or Reset waiting for ever.
        m_nUnqueuedBehind = m_queue.size();
        ++m_nUnqueuedMarkers;
    }
    pthread_cond_signal(&m_queueCondition);
    return true;
}

// Removes and returns the head entry. The caller holds the queue mutex and has found the queue not empty.
void* CTask::m_Pop()
{
    void* const event = m_queue.front();
    m_queue.pop_front();
    if (m_nUnqueuedBehind > 0) {
        --m_nUnqueuedBehind;
    }
    return event;
}

std::size_t CTask::m_QueueSize()
{
    const CPthreadGuard queue(&m_queueMutex);
    return m_queue.size();
}

// Removes all markers once no worker is left for them. The caller holds the queue mutex. Needs no memory.
void CTask::m_PurgeMarkers()
{
    m_queue.erase(std::remove(m_queue.begin(), m_queue.end(), nullptr), m_queue.end());
    m_nUnqueuedMarkers = 0;
    m_nUnqueuedBehind = 0;
}

// Joins a worker that is not joined yet; returns the result of the system's call, 0 when there is none. The
// caller holds the lifecycle mutex.
int CTask::m_JoinWorker()
{
    if (!m_bJoinable) {
        return 0;
    }
    m_bJoinable = false;
    const int result = pthread_join(m_thread, nullptr);
    if (result != 0 && pthread_equal(pthread_self(), m_thread) == 0) {
        // A thread that could not be joined may still use the task, which its owner will destroy next.
        m_AwaitPhaseAfter(START_LOOPING);
    }
    return result;
}

void CTask::m_SetPhase(EStartPhase phase)
{
    const CPthreadGuard guard(&m_phaseMutex);
    m_phase = phase;
    pthread_cond_broadcast(&m_phaseCondition);
}

void CTask::m_AwaitPhaseAfter(EStartPhase phase)
{
    const CPthreadGuard guard(&m_phaseMutex);
    while (m_phase == phase) {
        pthread_cond_wait(&m_phaseCondition, &m_phaseMutex);
    }
}

// From here on everything runs on the worker.

void* CTask::m_ThreadRoutine(void* task)
{
    auto* const pTask = static_cast<CTask*>(task);
    if (pTask != nullptr) {
        pTask->m_AwaitPhaseAfter(START_CREATED);
    }
    TTML_LOG_SCOPE();
    if (pTask != nullptr) {
        pTask->m_Execute();
        // The last touch of the task: a Stop that could not join waits for it.
        pTask->m_SetPhase(START_IDLE);
    }
    return nullptr;
}

void CTask::m_Execute()
{
    TTML_LOG_SCOPE();
    {
        const CPthreadGuard state(&m_stateMutex);
        m_nRunningThreadId = static_cast<int>(syscall(SYS_gettid));
    }
    m_SetPreparing(false);
    {
        const CPthreadGuard queue(&m_queueMutex);
        m_bConsuming = true;
    }
    m_SetPhase(START_LOOPING);
    for (;;) {
        void* const entry = m_WaitForEntry();
        if (entry != nullptr) {
            // Without a processor nobody knows what the event is, so it is skipped and not freed.
            if (m_pProcessor != nullptr) {
                m_pProcessor->Invoke(entry);
            }
            continue;
        }
        if (!m_TakeResetMarker()) {
            break;
        }
        if (!m_resetSignal.Post()) {
            TTML_LOGE("Error returned by sem_post");
        }
    }
    TTML_LOGI("Task: Stop task event: stopping infinite loop.");
    if (m_LeaveLoop() && !m_resetSignal.Post()) {
        TTML_LOGE("Error returned by sem_post");
    }
}

// Removes and returns the head entry, null for a marker; waits while there is none.
void* CTask::m_WaitForEntry()
{
    const CPthreadGuard queue(&m_queueMutex);
    for (;;) {
        if (m_nUnqueuedMarkers > 0 && m_nUnqueuedBehind == 0) {
            --m_nUnqueuedMarkers;
            return nullptr;
        }
        if (!m_queue.empty()) {
            return m_Pop();
        }
        timespec deadline{};
        clock_gettime(CLOCK_REALTIME, &deadline);
        ++deadline.tv_sec;
        pthread_cond_timedwait(&m_queueCondition, &m_queueMutex, &deadline);
    }
}

// Whether the marker that was met is a reset's: resets are counted, and a Stop posts its marker only when
// no Reset is under way.
bool CTask::m_TakeResetMarker()
{
    const CPthreadGuard queue(&m_queueMutex);
    if (m_nResetMarkers == 0) {
        return false;
    }
    --m_nResetMarkers;
    m_bResetPending = m_nResetMarkers != 0;
    return true;
}

// Ends the running state. True when a Reset still waits for its marker: one from outside ended the loop ahead
// of it, and it would wait for ever.
bool CTask::m_LeaveLoop()
{
    bool abandoned = false;
    {
        const CPthreadGuard queue(&m_queueMutex);
        m_bConsuming = false;
        abandoned = m_nResetMarkers != 0;
        m_nResetMarkers = 0;
        m_bResetPending = false;
    }
    const CPthreadGuard state(&m_stateMutex);
    m_nRunningThreadId = 0;
    return abandoned;
}

} // namespace TTML
