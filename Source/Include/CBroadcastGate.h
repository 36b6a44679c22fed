#ifndef CBROADCAST_GATE_H
#define CBROADCAST_GATE_H

#include <pthread.h>

namespace TTML {

class CBCSource;

// Where a broadcast source keeps what reaches it from the platform, its subscribing and its end apart. Part
// of the source's layout; for the library's own use.
//
// Platform callbacks come with the source's address, on the platform's threads. Some removals are keyed by
// the callback alone, so that an address may still come when its source is gone and another one lives there:
// an address is used only after it was found among the living sources. All waiting is done here, with nothing
// locked.
class CBroadcastGate
{
public:
    // What comes in.
    enum EEntry
    {
        ENTRY_NOTICE, // a signal of the TV service or the recorder, or a change of a setting
        ENTRY_DATA    // subtitle data
    };

    // The source counts as living from here on.
    explicit CBroadcastGate(CBCSource* pSource);
    ~CBroadcastGate();
    CBroadcastGate(const CBroadcastGate&) = delete;
    CBroadcastGate& operator=(const CBroadcastGate&) = delete;

    // The concrete source is complete. Nothing gets in before.
    void Open();
    // Lets nothing in any more, and waits until what is inside has left. Not from inside.
    void Close();

    // What OnStop() and OnStart() say: a signal that still waits must not subscribe again in between.
    void SetStopped(bool stopped);

    // Whether subtitle data that come are for this source: from just before it is subscribed until it is
    // unsubscribed. When they no longer are, this waits until those inside have left, unless it is called
    // from inside.
    void SetDataWanted(bool wanted);

private:
    friend class CDataTurn;
    friend class CGateEntry;
    friend class CSignalHandling;
    friend class CStartStopTurn;
    friend class CSubscribeTurn;
    friend class CUnsubscribeTurn;

    CBCSource* const m_pSource;
    CBroadcastGate* m_pNextLiving = nullptr;
    unsigned int m_nNoticesInside = 0;
    unsigned int m_nDataInside = 0;
    unsigned int m_nDataTurns = 0;
    bool m_bOpen = false;
    bool m_bClosing = false;
    bool m_bStopped = false;
    bool m_bDataWanted = false;
    bool m_bStartingStopping = false;
    bool m_bSubscribing = false;
    bool m_bUnsubscribing = false;
    bool m_bSubscribeAgain = false; // asked for while it was being unsubscribed
    bool m_bHandedOver = false;     // the subscribing turn waits for m_subscriber, who has unsubscribed
    bool m_bHandlingSignal = false;
    pthread_t m_signalThread{};
    pthread_t m_dataThread{};
    pthread_t m_subscriber{};
};

} // namespace TTML

#endif
