#ifndef CSOURCE_TASK_H
#define CSOURCE_TASK_H

#include <atomic>
#include <memory>
#include <string>

#include "CLeafLock.h"
#include "CTask.h"
#include "IMutex.h"
#include "SourceEvents.h"
#include "TTMLCallback.h"
#include "TTMLSubtitleExtraData.h"

namespace TTML {

class CInbandData;

// What the track of a source is doing. The numbers appear on the log.
enum ETrackState
{
    TRACK_INVALID = 0,
    TRACK_STOPPED = 2,
    TRACK_PLAYING = 3,
    TRACK_PAUSED = 4,
    TRACK_ERROR = 6
};

// The source thread of one source: commands become events, handled one at a time on the thread "Source",
// and notices and data go to the client's callback.
//
// Any thread may call the public operations, except StartSourceThread(), StopSourceThread() and Invalidate()
// on the source thread or inside a client callback. No operation but the constructor throws.
class CSourceTask : public CTask
{
public:
    // Throws std::bad_alloc when there is no memory for the queue.
    CSourceTask();
    ~CSourceTask() override;

    virtual void OnErrorDownloadableFonts();
    virtual void OnShow();
    virtual void OnHide();

    void StartSourceThread();
    // Waits until everything queued so far has been handled.
    void StopSourceThread();
    // Has everything queued handled and ends the source thread, silently, ahead of the destruction. Nothing
    // may be called afterwards.
    void EndSourceThread();

    // Queue a command. Return 0, or 1 when there was no memory.
    unsigned int PlayTrack(unsigned int trackId, const char* url, const char* descriptor);
    unsigned int PauseTrack(bool argument);
    unsigned int ResumeTrack();
    unsigned int StopTrack();
    unsigned int SeekStart(long long position);
    unsigned int SeekCompleted();

    // Has `func(14, data)` called on the source thread. Returns false, and `data` stays the caller's, when
    // it could not be queued. Not called any more when the task is destroyed first.
    bool SendEventToSourceThread(void* data, SourceCallbackFunc func);

    // These run at once on the calling thread.
    bool RegisterCallBack(void (*callback)(int, void*), void* userData);
    void UnRegisterCallBack();
    void NotifyRegisterMenuCB();
    void NotifyUnRegisterMenuCB();
    void NotifySetMenuLang();
    void NotifyPlayTrack();
    void NotifyStopTrack();
    // Stops the data path, waits until everything queued has been handled, and tells the client. Returns 0.
    unsigned int Invalidate();
    // Takes over a TTMLRawDataInfo and delivers it, or deletes it when there is no callback.
    void OnSubtitleData(void* rawDataInfo);
    void OnSubtitleData(void* buffer, TTMLSubtitleExtraData& extra);
    void SetUserAgent(const char* userAgent);
    void SetDNTOption(int flag);

    // Deletes a TTMLRawDataInfo that cannot be delivered; null is ignored.
    static void FreeRawData(void* rawDataInfo);

    // The in-band queue's delivery function; `task` is a CSourceTask.
    static void m_InbandData_Cb(void* rawDataInfo, void* task);

private:
    // The client's callback with the user data that belongs to it.
    struct SClient
    {
        SourceCallbackFunc function;
        void* userData;
    };

    bool m_Initialize();
    void m_Destroy();

    bool m_AddToQueue(void* record);
    unsigned int m_Post(std::unique_ptr<SourceHeader> record, const char* operation);
    unsigned int m_PostHeader(int type, const char* operation);
    void m_SetErrorState(unsigned int epoch);
    void m_ProcessQueue(void* record);
    void m_SendRawData(void* record);

    SClient m_GetClient();
    bool m_Notify(int code);
    void m_NotifyOrWarn(int code, const char* operation);

    // The handlers of the track's commands.
    unsigned int m_PlayTrack(SourcePlayData* pSourcePlayData);
    unsigned int m_StartTrack(unsigned int epoch);
    void m_StopTrack();
    void m_PauseTrack(SourcePauseData* pSourcePauseData);
    void m_ResumeTrack();
    void m_SeekStart(SourceSeekData* pSourceSeekData);
    void m_SeekCompleted();

    // The track's state as a handler found it, and the counts of invalidations and plays that go with it.
    struct STrackState
    {
        int state;
        int stateBeforePause;
        unsigned int epoch;
        unsigned int plays;
    };

    STrackState m_GetTrackState();
    bool m_AcceptPlay(const STrackState& found);
    void m_StartInband(unsigned int trackId, unsigned int epoch);
    bool m_IsInband();
    bool m_SetTrackState(int state, unsigned int epoch);
    void m_InvalidateTrack();

    bool m_GetPlayerSubtitleDataOutband(const char* url, const char* userAgent);

    std::atomic<int> m_nTrackState{TRACK_INVALID};       // changed under m_pTaskMutex
    std::atomic<int> m_nStateBeforePause{TRACK_INVALID}; // changed under m_pTaskMutex
    IMutex* m_pTaskMutex;                                // null when it could not be created
    std::string m_strDntHeader TTML_GUARDED_BY(m_leafLock);
    std::string m_strUserAgent TTML_GUARDED_BY(m_leafLock);
    std::string m_strTrackDescriptor TTML_GUARDED_BY(m_leafLock);
    void* m_pUserData TTML_GUARDED_BY(m_leafLock) = nullptr;
    SourceCallbackFunc m_pCoreCBFunc TTML_GUARDED_BY(m_leafLock) = nullptr;
    IMutex* m_pDataMutex = nullptr;          // never assigned: its guards lock nothing
    std::atomic<bool> m_bInband{true};       // the current track has no URL
    std::atomic<bool> m_bPlayPending{false}; // a play came while paused; it starts on resume
    std::atomic<bool> m_bSeekStarted{false};
    CInbandData* m_pInbandData = nullptr; // null when it could not be created

    CLeafLock m_leafLock;
    std::atomic<unsigned int> m_nEpoch{0}; // counts invalidations; changed under m_pTaskMutex
    std::atomic<unsigned int> m_nPlays{0}; // counts accepted plays; changed under m_pTaskMutex
};

} // namespace TTML

#endif
