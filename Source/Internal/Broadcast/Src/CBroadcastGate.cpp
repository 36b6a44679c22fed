#include "CBroadcastGate.h"

#include "BroadcastTurns.h"
#include "CBCSource.h"
#include "CPthreadGuard.h"

namespace TTML {

namespace {

// One lock for all sources, held for a few instructions at a time and never across a call.
pthread_mutex_t s_mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t s_changed = PTHREAD_COND_INITIALIZER;
CBroadcastGate* s_pLiving = nullptr; // guarded by s_mutex
bool s_bRegistering = false;         // guarded by s_mutex

// Releases the lock while it waits. The caller holds it.
void AwaitChange()
{
    pthread_cond_wait(&s_changed, &s_mutex);
}

// Waits until nobody has the turn, and takes it.
void TakeTurn(bool& taken)
{
    const CPthreadGuard guard(&s_mutex);
    while (taken) {
        AwaitChange();
    }
    taken = true;
}

void SetFlag(bool& flag, bool value)
{
    const CPthreadGuard guard(&s_mutex);
    flag = value;
    pthread_cond_broadcast(&s_changed);
}

} // namespace

CBroadcastGate::CBroadcastGate(CBCSource* pSource)
    : m_pSource(pSource)
{
    const CPthreadGuard guard(&s_mutex);
    m_pNextLiving = s_pLiving;
    s_pLiving = this;
}

CBroadcastGate::~CBroadcastGate()
{
    const CPthreadGuard guard(&s_mutex);
    CBroadcastGate** ppGate = &s_pLiving;
    while (*ppGate != this) {
        ppGate = &(*ppGate)->m_pNextLiving;
    }
    *ppGate = m_pNextLiving;
}

void CBroadcastGate::Open()
{
    SetFlag(m_bOpen, true);
}

void CBroadcastGate::Close()
{
    const CPthreadGuard guard(&s_mutex);
    m_bClosing = true;
    while (m_nNoticesInside > 0 || m_nDataInside > 0) {
        AwaitChange();
    }
}

void CBroadcastGate::SetStopped(bool stopped)
{
    SetFlag(m_bStopped, stopped);
}

void CBroadcastGate::SetDataWanted(bool wanted)
{
    const CPthreadGuard guard(&s_mutex);
    m_bDataWanted = wanted;
    const bool waits = !wanted && pthread_equal(m_dataThread, pthread_self()) == 0;
    // While another source is subscribed under the same name the platform does not wait for the packet that
    // is just being delivered, and a client that has stopped would still get the rest of it.
    while (waits && m_nDataInside > 0) {
        AwaitChange();
    }
}

CGateEntry::CGateEntry(void* userData, CBroadcastGate::EEntry entry)
    : m_entry(entry)
{
    const CPthreadGuard guard(&s_mutex);
    for (CBroadcastGate* pGate = s_pLiving; pGate != nullptr; pGate = pGate->m_pNextLiving) {
        // A source that is not complete, or half gone, has no operations to be called; and data of another
        // source's subscription under the same name would reach a client that wants none.
        if (pGate->m_pSource != userData || !pGate->m_bOpen || pGate->m_bClosing ||
            (entry == CBroadcastGate::ENTRY_DATA && !pGate->m_bDataWanted)) {
            continue;
        }
        m_pGate = pGate;
        if (entry == CBroadcastGate::ENTRY_DATA) {
            ++pGate->m_nDataInside;
            pGate->m_dataThread = pthread_self();
        } else {
            ++pGate->m_nNoticesInside;
        }
        return;
    }
}

CGateEntry::~CGateEntry()
{
    if (m_pGate == nullptr) {
        return;
    }
    const CPthreadGuard guard(&s_mutex);
    if (m_entry == CBroadcastGate::ENTRY_DATA) {
        --m_pGate->m_nDataInside;
        m_pGate->m_dataThread = pthread_t{};
    } else {
        --m_pGate->m_nNoticesInside;
    }
    pthread_cond_broadcast(&s_changed);
}

CBCSource* CGateEntry::Source() const
{
    return m_pGate != nullptr ? m_pGate->m_pSource : nullptr;
}

CSignalHandling::CSignalHandling(CBroadcastGate& gate)
    : m_gate(gate)
{
    const CPthreadGuard guard(&s_mutex);
    m_bWanted = !gate.m_bClosing;
    gate.m_bHandlingSignal = true;
    gate.m_signalThread = pthread_self();
}

CSignalHandling::~CSignalHandling()
{
    SetFlag(m_gate.m_bHandlingSignal, false);
}

CStartStopTurn::CStartStopTurn(CBroadcastGate& gate)
    : m_gate(gate)
{
    TakeTurn(gate.m_bStartingStopping);
}

CStartStopTurn::~CStartStopTurn()
{
    SetFlag(m_gate.m_bStartingStopping, false);
}

CRegistrationTurn::CRegistrationTurn()
{
    TakeTurn(s_bRegistering);
}

CRegistrationTurn::~CRegistrationTurn()
{
    SetFlag(s_bRegistering, false);
}

CSubscribeTurn::CSubscribeTurn(CBroadcastGate& gate)
    : m_gate(gate)
    , m_outcome(m_Take())
{}

CSubscribeTurn::EOutcome CSubscribeTurn::m_Take()
{
    const CPthreadGuard guard(&s_mutex);
    if (m_gate.m_bHandedOver && pthread_equal(m_gate.m_subscriber, pthread_self()) != 0) {
        m_gate.m_bHandedOver = false;
        return GRANTED;
    }
    const bool forSignal =
        m_gate.m_bHandlingSignal && pthread_equal(m_gate.m_signalThread, pthread_self()) != 0;
    for (;;) {
        // Tested after each wait: a subscription that a stopped source makes would never be taken back, and
        // its client would get captions that nobody wants.
        if (m_gate.m_bClosing || (m_gate.m_bStopped && forSignal)) {
            return REFUSED;
        }
        if (m_gate.m_bUnsubscribing) {
            m_gate.m_bSubscribeAgain = true;
            return LEFT_TO_OTHERS;
        }
        if (!m_gate.m_bSubscribing) {
            break;
        }
        AwaitChange();
    }
    m_gate.m_bSubscribing = true;
    return GRANTED;
}

CSubscribeTurn::~CSubscribeTurn()
{
    if (m_outcome == GRANTED) {
        SetFlag(m_gate.m_bSubscribing, false);
    }
}

CDataTurn::CDataTurn(CBroadcastGate& gate)
    : m_gate(gate)
{
    const CPthreadGuard guard(&s_mutex);
    m_bGranted = !gate.m_bUnsubscribing && gate.m_bDataWanted;
    if (m_bGranted) {
        ++gate.m_nDataTurns;
    }
}

CDataTurn::~CDataTurn()
{
    if (m_bGranted) {
        const CPthreadGuard guard(&s_mutex);
        --m_gate.m_nDataTurns;
        pthread_cond_broadcast(&s_changed);
    }
}

CUnsubscribeTurn::CUnsubscribeTurn(CBroadcastGate& gate)
    : m_gate(gate)
{
    const CPthreadGuard guard(&s_mutex);
    while (gate.m_bSubscribing || gate.m_bUnsubscribing) {
        AwaitChange();
    }
    gate.m_bUnsubscribing = true;
    gate.m_bSubscribeAgain = false;
    while (gate.m_nDataTurns > 0) {
        AwaitChange();
    }
}

CUnsubscribeTurn::~CUnsubscribeTurn()
{
    Finish();
}

bool CUnsubscribeTurn::Finish()
{
    if (m_bFinished) {
        return false;
    }
    m_bFinished = true;
    const CPthreadGuard guard(&s_mutex);
    m_gate.m_bUnsubscribing = false;
    pthread_cond_broadcast(&s_changed);
    // A source that was stopped meanwhile wants none. The subscribing turn is taken here and now: an OnStop()
    // between the two would find nothing to take back.
    const bool again = m_gate.m_bSubscribeAgain && !m_gate.m_bStopped && !m_gate.m_bClosing;
    if (again) {
        m_gate.m_bSubscribing = true;
        m_gate.m_bHandedOver = true;
        m_gate.m_subscriber = pthread_self();
    }
    return again;
}

} // namespace TTML
