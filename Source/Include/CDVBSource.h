#ifndef CDVB_SOURCE_H
#define CDVB_SOURCE_H

#include <atomic>
#include <cstdint>
#include <string>

#include "CBCSource.h"

struct TSHybridSBT;
struct TSPESData;

namespace TTML {

class CPESParser;
class IMutex;

// The source for DVB TTML subtitles (ETSI EN 303 560): PES packets of the tuned service, timed by their PTS
// against the decoder's system time clock. Data are delivered on the TV service's thread.
class TTML_EXPORT CDVBSource : public CBCSource
{
public:
    // The creator calls t_Initialize() next; released with Destroy(). The process stops when there is no
    // memory for the packet parser.
    CDVBSource();
    ~CDVBSource() override;

    // The media time in milliseconds, on the timeline of the last packet's document. Returns 0 on success and
    // 1 on failure: a null pointer, no clock, or a negative time, which stays in the value.
    int GetVideoCurrentTime(long long* pTimeInMS) override;
    int GetSubtitleMode() override;

    // Starts the source thread, subscribes to the subtitle data of the current service and to the TV
    // service's signals, and plays. Does nothing while subscribed.
    void OnStart() override;
    // Ends the subscriptions: no data come after the return, unless the TV service refuses to unsubscribe, or
    // OnShow() or the recorder ask for them again. The source thread goes on.
    void OnStop() override;
    void OnShow() override;
    void OnHide() override;

protected:
    void t_RegisterTVSCallbacks() override;
    void t_UnregisterTVSCallbacks() override;
    void t_TVSSignalCBHandler(ESignalType signal, TSSignalData data) override;
    void t_SubscribeTTML() override;
    void t_UnSubscribeTTML() override;

private:
    static void m_OnPESDataCallback(TSPESData& pes, void* user);

    void m_HandleSignalPESChange();
    void m_HandlePESData(TSPESData& pes);
    bool m_GetTSHybridSBT(TSHybridSBT& hybridSbt);
    void m_SetTTMLProfile(unsigned char value);
    void m_SetPtsMediaTime(unsigned long long pts, unsigned long long mediaTime);
    void m_GetPtsMediaTime(unsigned long long& pts, unsigned long long& mediaTime);
    bool m_GetSTCCount(unsigned long long& stc);

    CPESParser* m_pPESParser = nullptr; // never deleted
    std::atomic<std::int32_t> m_nTTMLProfile{-1};
    // Keeps the two times of one packet together. They are also atomic, as there may be no mutex to be had.
    IMutex* m_pTimeMutex = nullptr;
    std::atomic<unsigned long long> m_ullPts{0};       // of the last packet, 45 kHz
    std::atomic<unsigned long long> m_ullMediaTime{0}; // of the last packet, units of 100 us
    std::string m_strLastSegment;                      // touched by the thread that delivers packets only
};

} // namespace TTML

#endif
