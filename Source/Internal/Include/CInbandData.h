#ifndef CINBAND_DATA_H
#define CINBAND_DATA_H

#include <atomic>

#include <pthread.h>
#include <semaphore.h>

#include "CCountedSemaphore.h"
#include "CTask.h"
#include "IMutex.h"
#include "TTMLSubtitleExtraData.h"

namespace TTML {

// Delivers the samples that the media player pushes, in order, on the thread "Inband", and holds them
// back while frozen.
//
// AddData() is called on the player's thread; Start, Freeze, Resume and StopInbandData on the threads that
// run the track's handlers. StopInbandData must not be called on the in-band thread. No operation but the
// constructor throws.
class CInbandData : public CTask
{
public:
    // `deliver` is called on the in-band thread with a TTMLRawDataInfo*, which it owns from then on, and
    // with `userData`. Throws std::bad_alloc when there is no memory for the queue.
    CInbandData(void (*deliver)(void* rawDataInfo, void* userData), void* userData);
    ~CInbandData() override;

    // Starts the thread, unfrozen; a running one is left as it is.
    void Start(unsigned int trackId);
    // Queues a copy of the zero-terminated `buffer`, which stays the caller's.
    void AddData(void* buffer, TTMLSubtitleExtraData& extra);
    // Holds back what the thread takes next, until Resume().
    void Freeze();
    // Releases the thread. A resume of a queue that is not frozen lets one sample through a later freeze.
    void Resume();
    // Ends the thread; samples queued ahead of the call are dropped.
    void StopInbandData();
    // Whether the thread runs.
    bool HasThread() { return t_HasWorker(); }

private:
    bool m_Initialize();
    void m_Destroy();
    void m_ProcessQueue(void* record);
    void m_CleanupCb(void* record);
    void m_SetStopping(bool stopping);

    IMutex* m_pMutex;                     // guards the next two; null when it could not be created
    std::atomic<bool> m_bStopping{false}; // samples are dropped
    std::atomic<unsigned int> m_nTrackId{0};
    std::atomic<bool> m_bFrozen{false};
    pthread_mutexattr_t m_freezeMutexAttribute{};
    pthread_mutex_t m_freezeMutex = TTML_RECURSIVE_MUTEX_INITIALIZER; // taken before m_pMutex
    sem_t m_freezeSemaphore{};
    void* m_pUserData;
    void (*m_pDeliver)(void* rawDataInfo, void* userData);

    CCountedSemaphore m_freezeSignal{&m_freezeSemaphore};
};

} // namespace TTML

#endif
