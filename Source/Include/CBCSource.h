#ifndef CBC_SOURCE_H
#define CBC_SOURCE_H

#include <atomic>
#include <cstdint>

#include "CBroadcastGate.h"
#include "CTTMLSource.h"

// Of the platform's TV service and recorder.
enum EProfile : int;
enum ESignalType : int;
struct TCServiceData;
struct TSSignalData;
struct ps_signal_s;

namespace TVServiceAPI {
class ISignalSubscriber;
}

namespace TTML {

// The common base of the broadcast sources. It follows the TV service's tuning and activation signals and the
// recorder's, and keeps captions hidden that channel lock or child rating forbid.
//
// A concrete source calls t_Complete() at the end of its constructor and t_Close() at the start of its
// destructor. Slots and fields are in declaration order.
class TTML_EXPORT CBCSource : public CTTMLSource
{
public:
    // One signal on its way to the source thread. Whoever holds it last deletes it.
    struct SourceTVSCbData;

    CBCSource();
    ~CBCSource() override;

    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override;
    void StopTrack() override;

    // Subscribes to the subtitle data and tells the client to show, unless the channel is locked; then it
    // does nothing.
    void OnShow() override;
    void OnHide() override;

    // The callback of all signal subscriptions; `userData` is the CBCSource that subscribed. Queues the
    // signal to the source thread. Returns 0 for null user data, else 1. The process stops when there is no
    // memory for the signal.
    static int t_TVSSignalCB(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                             void* userData);

protected:
    // Subscribe to the TV service's signals and end that.
    virtual void t_RegisterTVSCallbacks();
    virtual void t_UnregisterTVSCallbacks();

    // Does what a signal asks for, on the source thread.
    virtual void t_TVSSignalCBHandler(ESignalType signal, TSSignalData data);

    // Subscribe to the subtitle data of the current service and end that. Any thread, several at once.
    virtual void t_SubscribeTTML() = 0;
    virtual void t_UnSubscribeTTML() = 0;

    // Asks the TV service for an attribute of the current service. Returns whether it answered.
    virtual bool t_GetServiceInfo(int attribute, TCServiceData& serviceData);

    // Does what a recorder signal asks for, on the recorder's thread.
    virtual void t_PvrSignalCbHandler(const ps_signal_s& signal);

    // Whether this process is the recorder's player.
    virtual bool t_IsPvrPlayerMode();

    // Whether the current input source is one with broadcast subtitles; an unknown one counts as such.
    virtual bool t_IsSourceTypeSupported();

    // For concrete sources: platform callbacks may call this object's operations from now on.
    void t_Complete();
    // For concrete sources: no platform callback gets in any more and none is inside after the return, the
    // source thread has handled the commands that were queued (signals are dropped) and has ended, and the
    // signal subscriptions are gone. Nothing is logged but by the commands.
    void t_Close();

    // Signals with this source as user data. Results as the subscriber's: above 0 for success. Nothing is
    // logged.
    int t_SubscribeSignal(ESignalType signal);
    int t_UnsubscribeSignal(ESignalType signal);

private:
    enum EStateFlag : std::uint32_t
    {
        STATE_SHOWN = 1,
        STATE_TUNED = 2, // a tune has succeeded since the last one began
        STATE_ACTIVE = 4 // the TV service is active
    };

    static void m_TVSSignalCBOnSourceThread(int code, void* data);
    static void m_PVRSignalCb(ps_signal_s signal, void* userData);
    static bool m_IsChannelLockOn();

    void m_GetChannelInfo(bool& isLocked);
    bool m_GetChildLockStatus();
    bool m_IsChannelLocked();
    bool m_IsChildRating();
    bool m_IsSupportChildRating();

    void m_SetState(EStateFlag flag);
    void m_ClearState(EStateFlag flag);
    bool m_HasState(EStateFlag flag) const;
    void m_KeepSignal(SourceTVSCbData* pTvsData);
    static void m_ForgetSignal(SourceTVSCbData* pTvsData);
    void m_ReleaseSignals();

    // Bits are set and cleared on the client's thread and on the source thread, each without a word to the
    // other. A new source takes the TV service as active already.
    std::atomic<std::uint32_t> m_nStateFlags{STATE_ACTIVE};

protected:
    std::atomic<bool> t_bIsSubscribed{false};
    std::atomic<TVServiceAPI::ISignalSubscriber*> t_pSigSubscriber{nullptr}; // owned

    // Keeps platform callbacks, subscribing and the end of the source apart.
    CBroadcastGate t_gate{this};

private:
    std::uint32_t m_nSubscribedSignals = 0; // a bit for each; touched while signals are registered only
    SourceTVSCbData* m_pSignals = nullptr;  // on their way to the source thread; see CBCSource.cpp
};

} // namespace TTML

#endif
