#ifndef CTASK_H
#define CTASK_H

#include <atomic>
#include <cstddef>
#include <deque>

#include <pthread.h>
#include <semaphore.h>

#include "CCountedSemaphore.h"
#include "CPthreadGuard.h"
#include "ICallback.h"

namespace TTML {

// The library's only kind of worker: one thread that hands opaque events, in the order of their arrival,
// to a processor callback.
//
// Any thread may call any operation, with two exceptions: Reset() and Stop() must not be called on the
// worker itself, and nothing may be called once the destruction has begun. Connect() comes before Start().
// No operation but the constructor throws.
class CTask
{
public:
    // Throws std::bad_alloc when there is no memory for the queue.
    CTask();
    // Ends a running worker. Events that are still queued reach no callback.
    virtual ~CTask();
    CTask(const CTask&) = delete;
    CTask& operator=(const CTask&) = delete;

    // Takes ownership of both callbacks; either may be null. The processor is run on the worker, once for
    // each event, which it owns from then on. The cleanup callback is given the events that are dropped
    // unprocessed.
    void Connect(ICallback* processor, ICallback* cleanup);

    // Starts the worker, named with the first 15 characters of `name` (null leaves it the creator's name).
    // Returns once the worker takes events; a running task is left as it is.
    void Start(const char* name);

    // Queues an event; a null one is a marker that ends the worker. While no worker runs and a cleanup
    // callback is connected, only the 20 newest events are kept; without one all are. Returns false, and the
    // event stays the caller's, when the queue could not grow; a marker always finds room.
    bool SendEvent(void* event);

    // Has the worker handle what is queued and waits for its end. On a task without a worker everything
    // queued goes to the cleanup callback.
    void Stop();

    // Waits until every event posted before the call has been processed. Returns at once, with a line on
    // the log, when no worker runs or the system has no semaphore to wait on.
    void Reset();

    // Whether the task is being torn down.
    void SetTaskState(bool ignored);
    bool IsTaskIgnored();

    // Hold the queue still.
    void Lock();
    void Unlock();

    bool m_IsRunning();
    bool m_IsPreparing();

protected:
    // Whether a worker runs; without a log line.
    bool t_HasWorker();
    // Removes and returns the oldest event that no worker will take any more, null when there is none.
    void* t_TakeUnhandled();
    // Has the worker handle what is queued and waits for its end, without a line on the log: for an owner
    // that is being destroyed and must have no worker left before its first part goes. A Stop() that follows
    // logs as if it had ended the worker itself.
    void t_EndWorker();

private:
    enum EStartPhase
    {
        START_IDLE,    // no worker, or one that is done with the task
        START_CREATED, // the worker waits for its name
        START_NAMED,   // the worker may begin
        START_LOOPING  // the worker takes events
    };

    static void* m_ThreadRoutine(void* task);

    void m_Create();
    void m_Destroy();
    void m_Execute();
    void m_Clear(bool all);

    bool m_Push(void* event);
    void* m_Pop();
    std::size_t m_QueueSize();
    void* m_WaitForEntry();
    bool m_TakeResetMarker();
    bool m_LeaveLoop();
    void m_PurgeMarkers();
    int m_JoinWorker();
    void m_SetPreparing(bool preparing);
    void m_SetPhase(EStartPhase phase);
    void m_AwaitPhaseAfter(EStartPhase phase);

    ICallback* m_pProcessor = nullptr;
    ICallback* m_pCleanup = nullptr;
    int m_nRunningThreadId = 0; // kernel thread id of the worker; guarded by m_stateMutex
    pthread_mutex_t m_stateMutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_t m_thread{};
    pthread_cond_t m_queueCondition = PTHREAD_COND_INITIALIZER;
    pthread_mutexattr_t m_queueMutexAttribute{};
    pthread_mutex_t m_queueMutex = TTML_RECURSIVE_MUTEX_INITIALIZER;
    std::deque<void*> m_queue;                // guarded by m_queueMutex
    std::atomic<bool> m_bResetPending{false}; // a reset marker is on its way
    sem_t m_resetSemaphore{};
    bool m_bTaskIgnored = false; // guarded by m_ignoreMutex
    pthread_mutex_t m_ignoreMutex = PTHREAD_MUTEX_INITIALIZER;
    bool m_bPreparing = false; // guarded by m_preparingMutex
    pthread_mutex_t m_preparingMutex = PTHREAD_MUTEX_INITIALIZER;

    // What follows keeps concurrent Start, Stop and Reset calls from harming each other.

    // Held for the whole of Start, Stop and Reset, so that no worker is joined twice and no marker meets
    // a worker it was not meant for.
    pthread_mutex_t m_lifecycleMutex = PTHREAD_MUTEX_INITIALIZER;
    CCountedSemaphore m_resetSignal{&m_resetSemaphore};
    bool m_bJoinable = false;        // a worker was created and not joined; guarded by m_lifecycleMutex
    bool m_bDestroying = false;      // touched by the destroying thread only, once it is set
    bool m_bEndedEarly = false;      // t_EndWorker() ended the worker; guarded by m_lifecycleMutex
    int m_nEarlyResult = 0;          // of the join then; guarded by m_lifecycleMutex
    bool m_bConsuming = false;       // the loop takes entries; guarded by m_queueMutex
    std::size_t m_nResetMarkers = 0; // of Resets, not yet met by the loop; guarded by m_queueMutex
    // Markers for which the queue could not grow take effect once the entries ahead of them are gone.
    std::size_t m_nUnqueuedMarkers = 0; // guarded by m_queueMutex
    std::size_t m_nUnqueuedBehind = 0;  // entries still ahead of them; guarded by m_queueMutex
    EStartPhase m_phase = START_IDLE;   // guarded by m_phaseMutex
    pthread_mutex_t m_phaseMutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_phaseCondition = PTHREAD_COND_INITIALIZER;
};

} // namespace TTML

#endif
