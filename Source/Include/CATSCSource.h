#ifndef CATSC_SOURCE_H
#define CATSC_SOURCE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include <pthread.h>

#include "CBCSource.h"
#include "CMpdParser.h"
#include "PlatformTvServiceData.h"

struct _keynode_t; // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the platform's name

namespace TVServiceAPI {
class IDataSubscriber;
}

namespace TTML {

struct TTMLRawDataInfo;

// The source for ATSC 3.0 captions (A/343): documents, with an image where there is one, timed by a
// wall-clock reference and the service's MPD. Data are delivered on the TV service's caption thread. Fields
// are in declaration order.
class TTML_EXPORT CATSCSource : public CBCSource
{
public:
    // The creator calls t_Initialize() next; released with Destroy().
    CATSCSource();
    ~CATSCSource() override;

    // The media time in milliseconds: the last caption's reference time, advanced by the time since it came,
    // less the MPD's availability start and presentation delay. Returns 0, or 1 for a null pointer.
    int GetVideoCurrentTime(long long* pTimeInMS) override;
    // 168 in the recorder's player, else 136; as it was at construction.
    int GetSubtitleMode() override;

    // Starts the source thread and registers for the TV service's signals. Where an ATSC 3.0 service is on,
    // and in the recorder's player, it also plays. Does nothing while subscribed.
    void OnStart() override;
    // Ends the subscriptions: no data come after the return, unless OnShow() or the recorder ask for them
    // again. The source thread goes on.
    void OnStop() override;
    // Does nothing while captions are switched off in the settings.
    void OnShow() override;
    void OnHide() override;

protected:
    void t_RegisterTVSCallbacks() override;
    void t_UnregisterTVSCallbacks() override;
    void t_TVSSignalCBHandler(ESignalType signal, TSSignalData data) override;
    void t_SubscribeTTML() override;
    void t_UnSubscribeTTML() override;

private:
    static void m_CaptionCB(TSCaption& caption, void* userData);
    static void m_CCInfoBannerKeyUpdateCb(_keynode_t* node, void* userData);

    void m_ConsumeCaptionData(TSCaption& caption);
    static void m_SplitCaptionAndImageData(std::vector<unsigned char>& payload, TTMLRawDataInfo* pRecord);
    bool m_SetReferenceTimeInfo(long long referenceTime, long long offset);
    long long m_GetMpdTimeOffset();
    bool m_GetMpd(std::string& mpd);
    void m_UpdateMpdProperties();
    bool m_IsATSC3Service();
    bool m_IsKoreaRegion();
    bool m_GetCurrentCaptionFromTVS();
    int m_GetCurrentCaptionProfile();
    void m_SetInfoBannerKey(int value);

    void m_RegisterSignals();
    TTMLRawDataInfo* m_CreateRecord(std::vector<unsigned char>& payload);
    bool m_IsRepeat(const std::vector<unsigned char>& payload);
    void m_RememberCaption(const std::vector<unsigned char>& payload);
    void m_ForgetCaption();
    std::uint32_t m_ResetMpdTimes();
    void m_SetCaptionProfile(unsigned char profile);

    TVServiceAPI::IDataSubscriber* m_pDataSubscriber =
        nullptr;                             // owned; touched by one subscription turn at a time
    TCCaption m_CurrentCaption;              // guarded by m_leafMutex
    std::uint32_t m_SysTimeAtReference = 0;  // ms; guarded by m_leafMutex
    std::int64_t m_CaptionReferenceTime = 0; // ns; guarded by m_leafMutex
    std::int64_t m_CaptionOffset = 0;        // ns; guarded by m_leafMutex
    std::int64_t m_RefTimeAfterCal = 0;      // ms; guarded by m_leafMutex
    std::int32_t m_SubscriptionId = 0;       // as m_pDataSubscriber
    std::atomic<bool> m_bInfoBannerStatus{false};
    bool m_bKoreaRegion = false;                  // set by the constructor only
    bool m_bPvrMode = false;                      // set by the constructor only
    std::vector<unsigned char> m_LastCaptionData; // guarded by m_leafMutex
    CMpdParser m_MpdParser;                       // guarded by m_leafMutex

    // Held to read or write values that belong together; never across a call to anything else.
    pthread_mutex_t m_leafMutex = PTHREAD_MUTEX_INITIALIZER;
    // What is read without the lock is kept only if nobody began later: both are numbers of beginnings.
    std::uint32_t m_nMpdResets = 0; // guarded by m_leafMutex
    std::atomic<std::uint32_t> m_nBannerReadings{0};
};

} // namespace TTML

#endif
