#ifndef BROADCAST_TURNS_H
#define BROADCAST_TURNS_H

// Blocks of code that a CBroadcastGate keeps apart. Each object stands for the length of its block. None of
// them is a lock: what they wait for never waits for what is inside them, see each.

#include "CBroadcastGate.h"

namespace TTML {

// A platform callback inside a source.
class CGateEntry
{
public:
    // Looks for the source with the address `userData`.
    CGateEntry(void* userData, CBroadcastGate::EEntry entry);
    ~CGateEntry();
    CGateEntry(const CGateEntry&) = delete;
    CGateEntry& operator=(const CGateEntry&) = delete;

    // The source, which stays alive for the length of the block; null when nothing is to be let in.
    CBCSource* Source() const;

private:
    CBroadcastGate* m_pGate = nullptr;
    CBroadcastGate::EEntry m_entry;
};

// A signal being handled on the source thread.
class CSignalHandling
{
public:
    explicit CSignalHandling(CBroadcastGate& gate);
    ~CSignalHandling();
    CSignalHandling(const CSignalHandling&) = delete;
    CSignalHandling& operator=(const CSignalHandling&) = delete;

    // False when the source is being destroyed: nothing is to be done on its behalf any more.
    bool IsWanted() const { return m_bWanted; }

private:
    CBroadcastGate& m_gate;
    bool m_bWanted;
};

// OnStart() or OnStop(), one at a time: two of them at once would share one signal subscriber, and the one
// that destroys it would pull it away under the other. Waits for the other one, which waits for platform
// callbacks; neither is called from inside one.
class CStartStopTurn
{
public:
    explicit CStartStopTurn(CBroadcastGate& gate);
    ~CStartStopTurn();
    CStartStopTurn(const CStartStopTurn&) = delete;
    CStartStopTurn& operator=(const CStartStopTurn&) = delete;

private:
    CBroadcastGate& m_gate;
};

// Creating and filling, or emptying and destroying, a signal subscriber, one at a time over all sources: what
// is destroyed is named by the callback alone, and the TV service takes one that has no subscriptions. Waits
// for the other one, which waits for signal callbacks, which wait for nobody.
class CRegistrationTurn
{
public:
    CRegistrationTurn();
    ~CRegistrationTurn();
    CRegistrationTurn(const CRegistrationTurn&) = delete;
    CRegistrationTurn& operator=(const CRegistrationTurn&) = delete;
};

// Subscribing to subtitle data. Waits for another one who subscribes, which waits for no callback.
class CSubscribeTurn
{
public:
    explicit CSubscribeTurn(CBroadcastGate& gate);
    ~CSubscribeTurn();
    CSubscribeTurn(const CSubscribeTurn&) = delete;
    CSubscribeTurn& operator=(const CSubscribeTurn&) = delete;

    enum EOutcome
    {
        GRANTED,
        // Somebody is unsubscribing, and waits for callbacks, inside one of which this may be: he subscribes
        // again once he is done.
        LEFT_TO_OTHERS,
        // A signal from before OnStop(), or the source is being destroyed.
        REFUSED
    };
    EOutcome Outcome() const { return m_outcome; }

private:
    EOutcome m_Take();

    CBroadcastGate& m_gate;
    EOutcome m_outcome;
};

// What is done on behalf of data that came, on the thread that brought them, and must not be done any more
// once the subscription is being ended. Waits for nobody.
class CDataTurn
{
public:
    explicit CDataTurn(CBroadcastGate& gate);
    ~CDataTurn();
    CDataTurn(const CDataTurn&) = delete;
    CDataTurn& operator=(const CDataTurn&) = delete;

    bool Granted() const { return m_bGranted; }

private:
    CBroadcastGate& m_gate;
    bool m_bGranted;
};

// Unsubscribing. Waits for another one who subscribes or unsubscribes, and for a CDataTurn.
class CUnsubscribeTurn
{
public:
    explicit CUnsubscribeTurn(CBroadcastGate& gate);
    ~CUnsubscribeTurn();
    CUnsubscribeTurn(const CUnsubscribeTurn&) = delete;
    CUnsubscribeTurn& operator=(const CUnsubscribeTurn&) = delete;

    // Ends the block early. True when somebody asked for a subscription meanwhile: this thread then has the
    // subscribing turn and must make a CSubscribeTurn.
    bool Finish();

private:
    CBroadcastGate& m_gate;
    bool m_bFinished = false;
};

} // namespace TTML

#endif
