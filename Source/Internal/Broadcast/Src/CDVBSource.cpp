#include "CDVBSource.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "BroadcastTurns.h"
#include "CPESParser.h"
#include "IMutex.h"
#include "Lock.h"
#include "Log.h"
#include "PlatformTvService.h"
#include "Require.h"
#include "TTMLRawDataInfo.h"
#include "TvsSession.h"

namespace TTML {

namespace {

constexpr int DVB_SUBTITLE_MODE = 144;

// Under which the packets are subscribed.
const char* const PES_SUBSCRIPTION = "ttml";

// Preset for the subtitle stream's index where the TV service does not tell.
constexpr int NO_INDEX = 65535;
constexpr int NO_LANGUAGE = -1;
// For a service without an id.
constexpr unsigned long long NO_SERVICE_ID = 0xFFFFFFFFFFFFFFFFULL;

// What a source hands out as the kind of its data.
constexpr std::int32_t PROFILE_NONE = -1;
constexpr std::int32_t PROFILE_IMSC1 = 0;
constexpr std::int32_t PROFILE_EBU_TT_D = 2;

// The PTS and the STC without their lowest bit count 32 bits.
constexpr unsigned long long HALF_OF_SCALE = 0x80000000ULL;
constexpr unsigned long long FULL_SCALE = 0x100000000ULL;
constexpr double TICKS_PER_MS = 45.0;
constexpr double MEDIA_TIME_UNITS_PER_MS = 10.0;

// A record with a copy of the text; null when there is no memory for both.
TTMLRawDataInfo* CreateRawData(const std::string& text)
{
    try {
        std::unique_ptr<TTMLRawDataInfo> pSubtitleData(new (std::nothrow) TTMLRawDataInfo);
        if (pSubtitleData) {
            pSubtitleData->data = text;
        }
        return pSubtitleData.release();
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

CDVBSource::CDVBSource()
{
    TTML_LOGI("");
    m_pPESParser = new (std::nothrow) CPESParser;
    Require(m_pPESParser != nullptr, "m_pPESParser", "Source/Internal/Broadcast/Src/CDVBSource.cpp", __LINE__,
            "TTML::CDVBSource::CDVBSource()");
    m_pTimeMutex = IMutex::Create();
    t_Complete();
}

CDVBSource::~CDVBSource()
{
    TTML_LOGI("");
    t_Close();
    if (t_bIsSubscribed) {
        // Without OnStop() the TV service would go on calling with the address of a source that has gone.
        CTVServiceSubscriber(PES_SUBSCRIPTION).UnsubscribePES();
        t_bIsSubscribed = false;
    }
    if (m_pTimeMutex != nullptr) {
        m_pTimeMutex->Destroy();
        m_pTimeMutex = nullptr;
    }
}

int CDVBSource::GetSubtitleMode()
{
    return DVB_SUBTITLE_MODE;
}

void CDVBSource::OnShow()
{
    TTML_LOG_SCOPE();
    CBCSource::OnShow();
}

void CDVBSource::OnHide()
{
    TTML_LOG_SCOPE();
    CBCSource::OnHide();
}

void CDVBSource::OnStart()
{
    TTML_LOG_SCOPE();
    const CStartStopTurn turn(t_gate);
    if (t_bIsSubscribed) {
        TTML_LOGI("Nothing to do as caption already started");
        return;
    }
    t_gate.SetStopped(false);
    CTTMLSource::OnStart();
    TTML_LOGI("Registering Menu callbacks with vconf.");
    t_NotifyRegisterMenuCB();
    t_SubscribeTTML();
    {
        const CRegistrationTurn registration;
        t_RegisterTVSCallbacks();
    }
    TTML_LOGI("Setting default language in menu.");
    t_NotifySetMenuLang();
    PlayTrack(0, nullptr, nullptr);
}

void CDVBSource::OnStop()
{
    TTML_LOGI("");
    const CStartStopTurn turn(t_gate);
    // A tune success that still waits for the source thread would subscribe again behind this call's back.
    t_gate.SetStopped(true);
    t_UnSubscribeTTML();
    t_NotifyUnRegisterMenuCB();
    const CRegistrationTurn registration;
    t_UnregisterTVSCallbacks();
}

// The TV service's signals.

void CDVBSource::t_RegisterTVSCallbacks()
{
    TTML_LOGI("");
    CBCSource::t_RegisterTVSCallbacks();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGW("Error in creating signal subscriber!");
        return;
    }
    t_SubscribeSignal(SIGNAL_PES_CHANGED);
}

void CDVBSource::t_UnregisterTVSCallbacks()
{
    TTML_LOG_SCOPE();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGW("t_pSigSubscriber is null!");
        return;
    }
    t_UnsubscribeSignal(SIGNAL_PES_CHANGED);
    CBCSource::t_UnregisterTVSCallbacks();
}

void CDVBSource::t_TVSSignalCBHandler(ESignalType signal, TSSignalData data)
{
    TTML_LOG_SCOPE();
    if (signal == SIGNAL_PES_CHANGED) {
        TTML_LOGI("Received Signal SIGNAL_PES_CHANGED");
        m_HandleSignalPESChange();
        return;
    }
    CBCSource::t_TVSSignalCBHandler(signal, data);
}

void CDVBSource::m_HandleSignalPESChange()
{
    TTML_LOGI("PES changed signaled!");
    t_SubscribeTTML();
}

// The subscription to the packets.

void CDVBSource::t_SubscribeTTML()
{
    TTML_LOG_SCOPE();
    const CSubscribeTurn turn(t_gate);
    if (turn.Outcome() == CSubscribeTurn::REFUSED) {
        return;
    }
    if (t_bIsSubscribed) {
        TTML_LOGW("Already subscribed!");
        return;
    }
    if (turn.Outcome() == CSubscribeTurn::LEFT_TO_OTHERS) {
        return;
    }
    TSHybridSBT hybridSbt;
    if (!m_GetTSHybridSBT(hybridSbt) || hybridSbt.sbtType != HYBRID_SBT_TYPE_TTML) {
        TTML_LOGW("Type not TTML hybridSbt.sbtType=%d", hybridSbt.sbtType);
        return;
    }
    TTML_LOGI("Subscribing for DVB TTML subtitles only when the current channel is DVB TTML.");
    m_SetTTMLProfile(hybridSbt.profile);
    // The first packet may come before the call returns.
    t_gate.SetDataWanted(true);
    if (CTVServiceSubscriber(PES_SUBSCRIPTION).SubscribePES(m_OnPESDataCallback, this)) {
        TTML_LOGI("HYBRID_SBT_TYPE_TTML subscribed RF PES subtitle data");
        t_bIsSubscribed = true;
    } else {
        TTML_LOGE("Failed to subscribe RF subtitle data for HYBRID_SBT_TYPE_TTML");
        t_gate.SetDataWanted(false);
    }
}

void CDVBSource::t_UnSubscribeTTML()
{
    TTML_LOG_SCOPE();
    CUnsubscribeTurn turn(t_gate);
    if (!t_bIsSubscribed) {
        TTML_LOGW("Not subscribed or already unsubscribed. t_bIsSubscribed=%d",
                  static_cast<int>(t_bIsSubscribed));
    } else if (CTVServiceSubscriber(PES_SUBSCRIPTION).UnsubscribePES()) {
        TTML_LOGI("Unsubscribed successfully for RF DVB TTML PES data");
        // The subscription's name is shared by all sources: while another one lives, packets may still come.
        t_gate.SetDataWanted(false);
        t_bIsSubscribed = false;
    } else {
        TTML_LOGI("Failed to unsubscribe!");
    }
    if (turn.Finish()) {
        // Whoever asked meanwhile did not wait; without this the captions of a service just tuned were lost.
        t_SubscribeTTML();
    }
}

bool CDVBSource::m_GetTSHybridSBT(TSHybridSBT& hybridSbt)
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    int languageCode = NO_LANGUAGE;
    int currentIndex = NO_INDEX;
    {
        const auto pControl = CreateTvsSession(TVServiceAPI::CreateDataControl, TVS_PROFILE, TVS_GROUP);
        if (!pControl) {
            TTML_LOGW(" CreateDataControl failed");
            return false;
        }
        if (pControl->GetCurrentHybridSBT(languageCode, currentIndex) < 1) {
            TTML_LOGW(" GetCurrentHybridSBT failed");
            return false;
        }
    }
    TTML_LOGI("current languageCode : %d at currentIndex : %d", languageCode, currentIndex);
    unsigned long long serviceId = NO_SERVICE_ID;
    {
        TCServiceData serviceData;
        if (!t_GetServiceInfo(SERVICE_ATTRIBUTE_ID, serviceData)) {
            return false;
        }
        const TCServiceValue* const pId = serviceData.Find(SERVICE_ATTRIBUTE_ID);
        if (pId != nullptr) {
            serviceId = pId->number;
        }
    }
    TTML_LOGI("service id is %llu", serviceId);
    const TvsSession<TVServiceAPI::IServiceDataAux> pAux(
        TVServiceAPI::ServiceDataAux(TVS_PROFILE, TVS_GROUP));
    if (!pAux) {
        TTML_LOGW("Error in ServiceDataAux!");
        return false;
    }
    return pAux->GetHybridSBT(serviceId, currentIndex, languageCode, hybridSbt) != 0;
}

void CDVBSource::m_SetTTMLProfile(unsigned char value)
{
    TTML_LOG_SCOPE();
    if ((value & HYBRID_SBT_PROFILE_IMSC1) != 0) {
        m_nTTMLProfile = PROFILE_IMSC1;
        TTML_LOGI("Setting IMSC1 profile");
    } else if ((value & HYBRID_SBT_PROFILE_EBU_TT_D) != 0) {
        m_nTTMLProfile = PROFILE_EBU_TT_D;
        TTML_LOGI("Setting EBUTTD profile");
    } else {
        m_nTTMLProfile = PROFILE_NONE;
        TTML_LOGW("No TTML profile detected, got this value from TVS:%u", static_cast<unsigned int>(value));
    }
}

// Packets, on the TV service's thread.

void CDVBSource::m_OnPESDataCallback(TSPESData& pes, void* user)
{
    TTML_LOG_SCOPE();
    TTML_LOGI("pesData.pid=%i, pesData.pts=%lu", pes.pesData.pid, pes.pesData.pts);
    if (pes.dataType != PES_DATA_TYPE_TTML) {
        TTML_LOGW("Caption type is not PES_DATA_TYPE_TTML. Type:[%d]", pes.dataType);
        return;
    }
    if (user == nullptr) {
        TTML_LOGW("Source pointer is null");
        return;
    }
    // A packet for a source that has gone, is going, or has unsubscribed stays undelivered.
    const CGateEntry entry(user, CBroadcastGate::ENTRY_DATA);
    // The address may have been another source's, of another kind, when it was subscribed.
    auto* const pSource = dynamic_cast<CDVBSource*>(entry.Source());
    if (pSource != nullptr) {
        pSource->m_HandlePESData(pes);
    }
}

void CDVBSource::m_HandlePESData(TSPESData& pes)
{
    TTML_LOG_SCOPE();
    if (m_pPESParser == nullptr) {
        TTML_LOGE("m_pPESParser is null!!!");
        return;
    }
    DvbTTMLData parsed;
    bool good = false;
    try {
        good = m_pPESParser->ParsePES(pes.data, parsed);
    } catch (const std::exception&) {
        // No memory for the texts. Nothing may be thrown at the TV service, and the next packet may fit.
        good = false;
    }
    if (!good) {
        TTML_LOGW("PES parsing failed!!!");
        return;
    }
    m_SetPtsMediaTime(parsed.pts, parsed.mediaSegmentTime);
    for (std::string& segment : parsed.segments) {
        if (segment == m_strLastSegment) {
            TTML_LOGW("Discarding duplicate data!");
            continue;
        }
        TTMLRawDataInfo* const pSubtitleData = CreateRawData(segment);
        Require(pSubtitleData != nullptr, "pSubtitleData", "Source/Internal/Broadcast/Src/CDVBSource.cpp",
                __LINE__, "void TTML::CDVBSource::m_HandlePESData(TSPESData&)");
        pSubtitleData->dataType = m_nTTMLProfile;
        // The client's from here on.
        OnSubtitleData(static_cast<void*>(pSubtitleData));
        m_strLastSegment = std::move(segment);
    }
}

void CDVBSource::m_SetPtsMediaTime(unsigned long long pts, unsigned long long mediaTime)
{
    TTML_LOG_SCOPE();
    const Lock lock(m_pTimeMutex);
    m_ullPts = pts;
    m_ullMediaTime = mediaTime;
}

void CDVBSource::m_GetPtsMediaTime(unsigned long long& pts, unsigned long long& mediaTime)
{
    TTML_LOG_SCOPE();
    const Lock lock(m_pTimeMutex);
    pts = m_ullPts;
    mediaTime = m_ullMediaTime;
}

// The media clock.

bool CDVBSource::m_GetSTCCount(unsigned long long& stc)
{
    TTML_LOG_SCOPE();
    if (IsTvsTerminated()) {
        TTML_LOGW("TVS is terminated!");
        return false;
    }
    const auto pControl = CreateTvsSession(TVServiceAPI::CreateDataControl, TVS_PROFILE, TVS_GROUP);
    if (!pControl) {
        TTML_LOGW("Error in creating data control!");
        return false;
    }
    return pControl->GetSTCCount(stc) != 0;
}

int CDVBSource::GetVideoCurrentTime(long long* pTimeInMS)
{
    TTML_LOG_SCOPE();
    if (pTimeInMS == nullptr) {
        TTML_LOGW("pTimeInMS is NULL");
        return 1;
    }
    unsigned long long pts = 0;
    unsigned long long mediaTime = 0;
    m_GetPtsMediaTime(pts, mediaTime);
    unsigned long long stc = 0;
    if (!m_GetSTCCount(stc)) {
        TTML_LOGW("Error in getting STC count from TVS!");
        return 1;
    }
    stc >>= 1U;
    // Unsigned sums wrap and are then read as signed, so that whatever the TV service answers overflows
    // nothing.
    unsigned long long diff = pts - stc;
    if (pts > HALF_OF_SCALE && stc < HALF_OF_SCALE) {
        TTML_LOGI("PTS is gtreater than full scale");
        // Half the scale, not the whole: kept as clients have come to know it.
        diff -= HALF_OF_SCALE;
    } else if (stc < pts) {
        TTML_LOGI("Normal case, diff = pts - stc");
    } else if (stc - pts < HALF_OF_SCALE) {
        TTML_LOGI("PES is late, diff = stc - pts");
    } else {
        TTML_LOGI("PTS probably wrapped round");
        diff += FULL_SCALE;
    }
    const auto diffMs =
        static_cast<long long>(static_cast<double>(static_cast<long long>(diff)) / TICKS_PER_MS);
    *pTimeInMS = static_cast<long long>(static_cast<double>(mediaTime) / MEDIA_TIME_UNITS_PER_MS -
                                        static_cast<double>(diffMs));
    TTML_LOGI("mediaTime=%llu, pts=%llu, stc=%llu, diff=%lld, curTime=%lld", mediaTime, pts, stc, diffMs,
              *pTimeInMS);
    if (*pTimeInMS < 0) {
        TTML_LOGW("Invalid video current timez");
        return 1;
    }
    return 0;
}

} // namespace TTML
