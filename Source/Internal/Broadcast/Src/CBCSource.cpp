#include "CBCSource.h"

#include <cstring>
#include <memory>
#include <new>

#include <unistd.h>

#include "BroadcastTurns.h"
#include "CPthreadGuard.h"
#include "GlobalKeys.h"
#include "Log.h"
#include "PlatformAppInfo.h"
#include "PlatformRecorder.h"
#include "PlatformSettings.h"
#include "PlatformTvService.h"
#include "Require.h"
#include "SourceEvents.h"
#include "TvsSession.h"

namespace TTML {

namespace {

// The index with which signals are subscribed.
constexpr unsigned short SIGNAL_INDEX = 0;

const char* const PVR_PLAYER_PACKAGE = "org.oxnar.pvrplayer";
constexpr int PACKAGE_NAME_SIZE = 255;

constexpr int NAVIGATION_MODE_TV = 0;
constexpr int NO_LIMIT = -1;

// Input sources with broadcast subtitles.
constexpr int SOURCE_TYPE_TV = 0;
constexpr int SOURCE_TYPE_TV_SECOND = 29;

// Lock types of countries with child rating.
constexpr int LOCK_TYPE_RATING = 8;
constexpr int LOCK_TYPE_RATING_SECOND = 14;

// Guards the lists of signals that are on their way to a source thread. It outlives every source, so it is
// none that a destructor ends when the library is unloaded.
pthread_mutex_t s_signalsMutex = PTHREAD_MUTEX_INITIALIZER;

// Signals that the sources subscribe to, each with its bit in what a source remembers.
constexpr ESignalType SIGNALS[] = {
    SIGNAL_TUNE_START,     SIGNAL_TUNE_SUCCESS, SIGNAL_SERVICE_LOCKED,  SIGNAL_TVS_ACTIVATE,
    SIGNAL_TVS_DEACTIVATE, SIGNAL_PES_CHANGED,  SIGNAL_ATSC3_SIGNALING,
};

std::uint32_t BitOf(ESignalType signal)
{
    std::uint32_t bit = 1;
    for (const ESignalType known : SIGNALS) {
        if (known == signal) {
            return bit;
        }
        bit <<= 1U;
    }
    return 0;
}

// The criteria of a query for one attribute of a service.
TCNavigationCriteria CriteriaFor(int attribute)
{
    TCCriteriaHelper helper;
    helper.Fetch(attribute);
    return TCNavigationModeHelper::GetNavigationCriteria(helper, NAVIGATION_MODE_TV, NO_LIMIT, NO_LIMIT,
                                                         NO_LIMIT);
}

} // namespace

struct CBCSource::SourceTVSCbData
{
    SourceTVSCbData(ESignalType signal, TSSignalData signalData, void* userData)
        : signalType(signal)
        , data(signalData)
        , pSource(userData)
    {}

    ESignalType signalType;
    TSSignalData data;
    void* pSource; // the CBCSource that subscribed

    // The list of the source that keeps it; guarded by s_signalsMutex.
    CBCSource* pKeeper = nullptr;
    SourceTVSCbData* pNext = nullptr;
    SourceTVSCbData* pPrevious = nullptr;
};

CBCSource::CBCSource()
{
    TTML_LOGI("");
    if (svc_pvr_register_signal_cb_in_list(m_PVRSignalCb, this) != 0) {
        TTML_LOGW("PVR signal registration failed.");
    }
}

CBCSource::~CBCSource()
{
    TTML_LOGI("");
    // The concrete source has done so before; without it a callback would meet an object without operations.
    t_Close();
    if (svc_pvr_unregister_signal_cb_in_list(m_PVRSignalCb) != 0) {
        TTML_LOGW("PVR signal unregistration failed.");
    }
}

void CBCSource::t_Complete()
{
    t_gate.Open();
}

void CBCSource::t_Close()
{
    t_gate.Close();
    // With commands and signals still queued the thread would run operations of an object that is half gone.
    t_EndSourceThread();
    m_ReleaseSignals();
    // No thread is left that could touch the list.
    SourceTVSCbData* pTvsData = m_pSignals;
    m_pSignals = nullptr;
    while (pTvsData != nullptr) {
        SourceTVSCbData* const pNext = pTvsData->pNext;
        delete pTvsData;
        pTvsData = pNext;
    }
}

// Ends what a source that is destroyed without OnStop() still holds.
void CBCSource::m_ReleaseSignals()
{
    if (t_pSigSubscriber == nullptr) {
        return;
    }
    const CRegistrationTurn turn;
    // All of them: the TV service destroys the subscriber that has none left, and with one left here it would
    // take another source's.
    for (const ESignalType signal : SIGNALS) {
        if ((m_nSubscribedSignals & BitOf(signal)) != 0) {
            t_UnsubscribeSignal(signal);
        }
    }
    TVServiceAPI::DestroySignalSubscriber(t_TVSSignalCB);
    t_pSigSubscriber = nullptr;
}

void CBCSource::PlayTrack(unsigned int trackId, const char* url, const char* arg)
{
    TTML_LOG_SCOPE();
    CTTMLSource::PlayTrack(trackId, url, arg);
}

void CBCSource::StopTrack()
{
    TTML_LOG_SCOPE();
    CTTMLSource::StopTrack();
}

void CBCSource::OnShow()
{
    TTML_LOG_SCOPE();
    if (m_GetChildLockStatus() || m_IsChannelLocked()) {
        TTML_LOGW("Caption Got Show Message but channel lock is ON. So Ignoring Show Message");
        return;
    }
    t_SubscribeTTML();
    CTTMLSource::OnShow();
    m_SetState(STATE_SHOWN);
}

void CBCSource::OnHide()
{
    TTML_LOGI("Hiding caption");
    CTTMLSource::OnHide();
    m_ClearState(STATE_SHOWN);
}

// The TV service's signals.

int CBCSource::t_SubscribeSignal(ESignalType signal)
{
    const int result =
        t_pSigSubscriber.load()->Subscribe(signal, this, TVS_PROFILE, SIGNAL_INDEX, t_TVSSignalCB);
    if (result > 0) {
        m_nSubscribedSignals |= BitOf(signal);
    }
    return result;
}

int CBCSource::t_UnsubscribeSignal(ESignalType signal)
{
    m_nSubscribedSignals &= ~BitOf(signal);
    return t_pSigSubscriber.load()->Unsubscribe(signal, TVS_PROFILE, SIGNAL_INDEX, t_TVSSignalCB);
}

void CBCSource::t_RegisterTVSCallbacks()
{
    TTML_LOG_SCOPE();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGI("Creating TVS signal subscriber.");
        TVServiceAPI::ISignalSubscriber* pSubscriber = nullptr;
        if (TVServiceAPI::CreateSignalSubscriber(t_TVSSignalCB, &pSubscriber) != 0 ||
            pSubscriber == nullptr) {
            TTML_LOGW("Error in creating signal subscriber!");
            return;
        }
        t_pSigSubscriber = pSubscriber;
    }
    if (t_SubscribeSignal(SIGNAL_TUNE_START) < 1) {
        TTML_LOGW("SIGNAL_TUNE_START Subscription Unsuccessful!!");
    }
    if (t_SubscribeSignal(SIGNAL_TUNE_SUCCESS) < 1) {
        TTML_LOGW("SIGNAL_TUNE_SUCCESS Subscription Unsuccessful!!");
    }
    if (t_SubscribeSignal(SIGNAL_SERVICE_LOCKED) < 1) {
        TTML_LOGW("SIGNAL_SERVICE_LOCKED Subscription Unsuccessful!!");
    }
    if (t_SubscribeSignal(SIGNAL_TVS_ACTIVATE) < 1) {
        TTML_LOGW("SIGNAL_TVS_ACTIVATE Subscription Unsuccessful!!");
    }
    if (t_SubscribeSignal(SIGNAL_TVS_DEACTIVATE) < 1) {
        TTML_LOGW("SIGNAL_TVS_DEACTIVATE Subscription Unsuccessful!!");
    }
}

void CBCSource::t_UnregisterTVSCallbacks()
{
    TTML_LOG_SCOPE();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGW("Signal subscriber is null!");
        return;
    }
    if (t_UnsubscribeSignal(SIGNAL_TUNE_START) < 1) {
        TTML_LOGW("SIGNAL_TUNE_START Unsubscription Unsuccessful!!");
    }
    if (t_UnsubscribeSignal(SIGNAL_TUNE_SUCCESS) < 1) {
        TTML_LOGW("SIGNAL_TUNE_SUCCESS Unsubscription Unsuccessful!!");
    }
    if (t_UnsubscribeSignal(SIGNAL_SERVICE_LOCKED) < 1) {
        TTML_LOGW("SIGNAL_SERVICE_LOCKED Unsubscription Unsuccessful!!");
    }
    if (t_UnsubscribeSignal(SIGNAL_TVS_ACTIVATE) < 1) {
        TTML_LOGW("SIGNAL_TVS_ACTIVATE Unsubscription Unsuccessful!!");
    }
    if (t_UnsubscribeSignal(SIGNAL_TVS_DEACTIVATE) < 1) {
        TTML_LOGW("SIGNAL_TVS_DEACTIVATE Unsubscription Unsuccessful!!");
    }
    if (TVServiceAPI::DestroySignalSubscriber(t_TVSSignalCB) != 0) {
        TTML_LOGW("Error in destroying signal subscriber!");
    }
    t_pSigSubscriber = nullptr;
}

int CBCSource::t_TVSSignalCB(ESignalType signal, EProfile /*profile*/, unsigned short /*index*/,
                             TSSignalData data, void* userData)
{
    TTML_LOGI("Enter");
    if (userData == nullptr) {
        TTML_LOGW("pTTMLSource is Null pointer");
        return 0;
    }
    // A source that has gone, or is going, takes no signal any more.
    const CGateEntry entry(userData, CBroadcastGate::ENTRY_NOTICE);
    if (entry.Source() != nullptr) {
        auto* const pTvsData = new (std::nothrow) SourceTVSCbData(signal, data, userData);
        Require(pTvsData != nullptr, "pTvsData", "Source/Internal/Broadcast/Src/CBCSource.cpp", __LINE__,
                "static int TTML::CBCSource::t_TVSSignalCB(ESignalType, EProfile, short unsigned int, "
                "TSSignalData, void*)");
        entry.Source()->m_KeepSignal(pTvsData);
        if (!entry.Source()->SendEventToSourceThread(pTvsData, m_TVSSignalCBOnSourceThread)) {
            // Not queued, so nobody else will dispose of it.
            m_ForgetSignal(pTvsData);
            delete pTvsData;
        }
    }
    TTML_LOGI("Exit");
    return 1;
}

// Signals that are still queued when the source thread ends would leak: nobody but the source knows what they
// are. So it keeps a list of them.

void CBCSource::m_KeepSignal(SourceTVSCbData* pTvsData)
{
    const CPthreadGuard guard(&s_signalsMutex);
    pTvsData->pKeeper = this;
    pTvsData->pNext = m_pSignals;
    if (m_pSignals != nullptr) {
        m_pSignals->pPrevious = pTvsData;
    }
    m_pSignals = pTvsData;
}

void CBCSource::m_ForgetSignal(SourceTVSCbData* pTvsData)
{
    const CPthreadGuard guard(&s_signalsMutex);
    if (pTvsData->pKeeper == nullptr) {
        return;
    }
    if (pTvsData->pPrevious != nullptr) {
        pTvsData->pPrevious->pNext = pTvsData->pNext;
    } else {
        pTvsData->pKeeper->m_pSignals = pTvsData->pNext;
    }
    if (pTvsData->pNext != nullptr) {
        pTvsData->pNext->pPrevious = pTvsData->pPrevious;
    }
    pTvsData->pKeeper = nullptr;
}

void CBCSource::m_TVSSignalCBOnSourceThread(int code, void* data)
{
    TTML_LOG_SCOPE();
    if (data == nullptr) {
        TTML_LOGW("pTvsData is null!");
        return;
    }
    const std::unique_ptr<SourceTVSCbData> pTvsData(static_cast<SourceTVSCbData*>(data));
    m_ForgetSignal(pTvsData.get());
    if (code != SOURCE_CALLBACK_CODE) {
        TTML_LOGW("Invalid callback type!");
        return;
    }
    auto* const pBCSource = static_cast<CBCSource*>(pTvsData->pSource);
    if (pBCSource == nullptr) {
        TTML_LOGW("pBCSource is Null pointer");
        return;
    }
    const CSignalHandling handling(pBCSource->t_gate);
    if (handling.IsWanted()) {
        pBCSource->t_TVSSignalCBHandler(pTvsData->signalType, pTvsData->data);
    }
}

void CBCSource::t_TVSSignalCBHandler(ESignalType signal, TSSignalData /*data*/)
{
    TTML_LOGI("Tvs signal: [%d] Enter!", static_cast<int>(signal));
    switch (signal) {
    case SIGNAL_TUNE_START:
        TTML_LOGI("SIGNAL_TUNE_START");
        OnHide();
        t_UnSubscribeTTML();
        t_NotifyStopTrack();
        m_ClearState(STATE_TUNED);
        break;
    case SIGNAL_TUNE_SUCCESS:
        TTML_LOGI("SIGNAL_TUNE_SUCCESS");
        m_SetState(STATE_TUNED);
        if (m_HasState(STATE_ACTIVE)) {
            t_NotifySetMenuLang();
            t_SubscribeTTML();
            t_NotifyPlayTrack();
        } else {
            TTML_LOGW("SIGNAL_TUNE_SUCCESS came without SIGNAL_TVS_ACTIVATE!");
        }
        break;
    case SIGNAL_SERVICE_LOCKED:
        TTML_LOGI("SIGNAL_SERVICE_LOCKED");
        if (m_GetChildLockStatus() || m_IsChannelLocked()) {
            TTML_LOGI("Caption not visible, channel lock on.");
            OnHide();
        }
        break;
    case SIGNAL_TVS_ACTIVATE:
        TTML_LOGI("SIGNAL_TVS_ACTIVATE");
        if (m_HasState(STATE_ACTIVE)) {
            TTML_LOGI("SIGNAL_TVS_ACTIVATE again!");
            break;
        }
        TTML_LOGI("Handling SIGNAL_TVS_ACTIVATE: Register for menu callbacks");
        m_SetState(STATE_ACTIVE);
        t_NotifyRegisterMenuCB();
        t_NotifySetMenuLang();
        t_SubscribeTTML();
        if (m_HasState(STATE_TUNED)) {
            TTML_LOGI(
                "It seems SIGNAL_TUNE_SUCCESS already came before SIGNAL_TVS_ACTIVATE. Calling PlayTrack");
            t_NotifyPlayTrack();
        }
        break;
    case SIGNAL_TVS_DEACTIVATE:
        TTML_LOGI("SIGNAL_TVS_DEACTIVATE");
        if (!m_HasState(STATE_ACTIVE)) {
            TTML_LOGI("SIGNAL_TVS_DEACTIVATE again!");
            break;
        }
        TTML_LOGI("Handling SIGNAL_TVS_DEACTIVATE: Unregister menu callbacks");
        t_NotifyUnRegisterMenuCB();
        t_UnSubscribeTTML();
        m_ClearState(STATE_ACTIVE);
        break;
    default:
        TTML_LOGI("Seems invalid signal!");
        break;
    }
    TTML_LOGI("Tvs signal: [%d] Exit!", static_cast<int>(signal));
}

void CBCSource::m_SetState(EStateFlag flag)
{
    m_nStateFlags |= flag;
}

void CBCSource::m_ClearState(EStateFlag flag)
{
    m_nStateFlags &= ~static_cast<std::uint32_t>(flag);
}

bool CBCSource::m_HasState(EStateFlag flag) const
{
    return (m_nStateFlags & flag) != 0;
}

// The recorder's signals.

void CBCSource::m_PVRSignalCb(ps_signal_s signal, void* userData)
{
    TTML_LOG_SCOPE();
    if (userData == nullptr) {
        TTML_LOGE("data is NULL.");
        return;
    }
    // The callback is registered before the concrete source is complete and as long as any part of it lives.
    const CGateEntry entry(userData, CBroadcastGate::ENTRY_NOTICE);
    if (entry.Source() != nullptr) {
        entry.Source()->t_PvrSignalCbHandler(signal);
    }
}

void CBCSource::t_PvrSignalCbHandler(const ps_signal_s& signal)
{
    TTML_LOG_SCOPE();
    switch (signal.type) {
    case PS_SIGNAL_TYPE_PLAY_STATE_CHANGE:
        TTML_LOGI("PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, new state:[%d]", signal.playState);
        if (signal.playState == PS_PLAY_STATE_PLAYING) {
            t_SubscribeTTML();
        } else if (signal.playState == PS_PLAY_STATE_STOPPED) {
            t_UnSubscribeTTML();
        }
        break;
    case PS_SIGNAL_TYPE_TRICK_MODE_START: {
        TTML_LOGI("Trickmode started");
        long long position = 0;
        GetVideoCurrentTime(&position);
        SeekStart(position);
        break;
    }
    default:
        TTML_LOGI("Signal not handled:[%d]", signal.type);
        break;
    }
}

bool CBCSource::t_IsPvrPlayerMode()
{
    TTML_LOG_SCOPE();
    // One byte more than the platform is told of, so that the name ends whatever is written.
    char name[PACKAGE_NAME_SIZE + 1] = {};
    const int pid = static_cast<int>(getpid());
    if (aul_app_get_pkgname_bypid(pid, name, PACKAGE_NAME_SIZE) != 0) {
        TTML_LOGW("Failed to get package name for pid=[%d]!", pid);
        name[0] = '\0';
    } else {
        TTML_LOGI("Got package name: [%s] for pid [%d]", name, pid);
    }
    return std::strncmp(name, PVR_PLAYER_PACKAGE, std::strlen(PVR_PLAYER_PACKAGE)) == 0;
}

// Queries on the current service and input source.

bool CBCSource::t_IsSourceTypeSupported()
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    const auto pControl = CreateTvsSession(TVServiceAPI::CreateSourceControl, TVS_PROFILE, TVS_GROUP);
    if (!pControl) {
        TTML_LOGW("CreateSourceControl failed!");
        return false;
    }
    int type = SOURCE_TYPE_TV;
    if (pControl->GetCurrentSourceInfo(type) < 1) {
        TTML_LOGW("GetCurrentSourceInfo failed!");
    } else {
        TTML_LOGI("GetCurrentSourceInfo returns=[%d]", type);
    }
    return type == SOURCE_TYPE_TV || type == SOURCE_TYPE_TV_SECOND;
}

bool CBCSource::t_GetServiceInfo(int attribute, TCServiceData& serviceData)
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    const auto pNavigation = CreateTvsSession(TVServiceAPI::CreateServiceNavigation, TVS_PROFILE, TVS_GROUP);
    if (!pNavigation) {
        TTML_LOGI("CreateServiceNavigation failed!");
        return false;
    }
    const TCNavigationCriteria criteria = CriteriaFor(attribute);
    int mode = 0;
    if (pNavigation->GetTvMode(mode) < 1) {
        TTML_LOGW("GetTvMode failed");
        return false;
    }
    TTML_LOGI("GetTvMode = %d", mode);
    if (pNavigation->GetCurrentServiceInfo(mode, criteria, serviceData) < 1) {
        TTML_LOGW("GetCurrentServiceInfo failed!!");
        return false;
    }
    return true;
}

// Channel lock and child rating: what they forbid stays hidden.

bool CBCSource::m_IsChannelLockOn()
{
    TTML_LOG_SCOPE();
    int nChannelLock = 0;
    if (vconf_get_bool(g_strChannelLockKey.c_str(), &nChannelLock) != 0) {
        TTML_LOGI("Get child lock failed.");
        return false;
    }
    TTML_LOGI("Get channel lock value success, nChannelLock = %d", nChannelLock);
    return nChannelLock != 0;
}

void CBCSource::m_GetChannelInfo(bool& isLocked)
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated");
        return;
    }
    isLocked = false;
    const TCNavigationCriteria criteria = CriteriaFor(SERVICE_ATTRIBUTE_LOCK);
    TCServiceData serviceData;
    {
        const auto pNavigation =
            CreateTvsSession(TVServiceAPI::CreateServiceNavigation, CTVServiceSubscriber::m_profile,
                             CTVServiceSubscriber::m_group);
        if (!pNavigation) {
            TTML_LOGW("CreateServiceNavigation() giving invalid results.");
        } else {
            int mode = 0;
            if (pNavigation->GetTvMode(mode) < 1) {
                TTML_LOGW("GetTvMode failed.");
            }
            if (pNavigation->GetCurrentServiceInfo(mode, criteria, serviceData) < 1) {
                TTML_LOGW("GetCurrentServiceInfo api failed.");
            }
        }
        // What is not known to be free counts as locked.
        const TCServiceValue* const pLock = serviceData.Find(SERVICE_ATTRIBUTE_LOCK);
        isLocked = pLock == nullptr || pLock->integer != 0;
    }
    TTML_LOGI("GetChannelInfo isLocked value: %d", static_cast<int>(isLocked));
}

bool CBCSource::m_IsSupportChildRating()
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    int lockType = 0;
    {
        const auto pApplication =
            CreateTvsSession(TVServiceAPI::CreateSOSpecApp, TVS_PROFILE, CTVServiceSubscriber::m_group);
        if (!pApplication) {
            TTML_LOGI("Create SOSpecApp failed.");
            return false;
        }
        pApplication->GetValue(SO_SPEC_VALUE_LOCK_TYPE, lockType);
        int unused = 0;
        pApplication->GetValue(0, unused);
    }
    if (lockType == LOCK_TYPE_RATING || lockType == LOCK_TYPE_RATING_SECOND) {
        TTML_LOGI("Supports child rating.");
        return true;
    }
    TTML_LOGW("Not supported! LockType: %d", lockType);
    return false;
}

bool CBCSource::m_IsChildRating()
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    TVServiceAPI::IRatingUtil* pUtility = nullptr;
    if (TVServiceAPI::CreateRatingUtil(&pUtility) != 0 || pUtility == nullptr) {
        TTML_LOGI("RatingUtil is false.");
        return false;
    }
    const TvsSession<TVServiceAPI::IRatingUtil> owned(pUtility);
    int rating = 0;
    bool permitted = false;
    if (pUtility->GetRating(rating, permitted) > 0 && !permitted) {
        TTML_LOGI("Child Rating.");
        return true;
    }
    return false;
}

bool CBCSource::m_GetChildLockStatus()
{
    TTML_LOG_SCOPE();
    if (!m_IsChannelLockOn()) {
        TTML_LOGI("Child Lock is off!!");
        return false;
    }
    bool isLocked = false;
    m_GetChannelInfo(isLocked);
    bool status = isLocked;
    if (isLocked && m_IsSupportChildRating()) {
        status = m_IsChildRating();
    }
    TTML_LOGI("Child Lock Status:: %d", static_cast<int>(status));
    return status;
}

bool CBCSource::m_IsChannelLocked()
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    bool isLocked = false;
    {
        const auto pControl = CreateTvsSession(TVServiceAPI::CreateAVControl, CTVServiceSubscriber::m_profile,
                                               CTVServiceSubscriber::m_group);
        bool answer = false;
        if (!pControl || pControl->GetParentalLock(answer) < 1) {
            TTML_LOGI("Failed to get parental lock status!");
        } else {
            isLocked = answer;
        }
    }
    TTML_LOGI("Channel lock status :: %d", static_cast<int>(isLocked));
    return isLocked;
}

} // namespace TTML
