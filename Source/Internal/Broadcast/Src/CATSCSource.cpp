#include "CATSCSource.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string_view>

#include "BroadcastTurns.h"
#include "CPthreadGuard.h"
#include "GlobalKeys.h"
#include "Log.h"
#include "PlatformFileManager.h"
#include "PlatformSettings.h"
#include "PlatformSystemInfo.h"
#include "PlatformTvService.h"
#include "Require.h"
#include "ScanNumber.h"
#include "TTMLRawDataInfo.h"
#include "TvsSession.h"

namespace TTML {

namespace {

constexpr int ATSC3_SUBTITLE_MODE = 136;
constexpr int ATSC3_SUBTITLE_MODE_PVR = 168;

// Caption profiles: what is below the limit is known.
constexpr unsigned char CAPTION_PROFILE_TEXT = 0;
constexpr unsigned char CAPTION_PROFILE_IMAGE = 1;
constexpr unsigned char CAPTION_PROFILE_KNOWN_LIMIT = 2;
constexpr unsigned char CAPTION_PROFILE_UNKNOWN = 255;

// What a source hands out as the kind of its data.
constexpr std::int32_t DATA_TYPE_TEXT = 0;
constexpr std::int32_t DATA_TYPE_IMAGE = 1;

constexpr std::size_t MAX_CAPTION_SIZE = 524288;

// PNG (ISO/IEC 15948), 5.2.
constexpr std::string_view PNG_SIGNATURE = "\x89PNG\r\n\x1A\n";

constexpr double NS_PER_MS = 1000000.0;

// The first word of SIGNAL_ATSC3_SIGNALING: a new MPD is there.
constexpr int ATSC3_SERVICE_SIGNALING_DONE_MPD = 8;

// For a service without an id.
constexpr unsigned long long NO_SERVICE_ID = 0xFFFFFFFFFFFFFFFFULL;

// Differences and sums of times from outside, wrapping instead of overflowing.
std::int64_t WrappingDifference(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

std::int64_t WrappingSum(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

std::string_view TextOf(const std::vector<unsigned char>& payload)
{
    return {reinterpret_cast<const char*>(payload.data()), payload.size()};
}

} // namespace

CATSCSource::CATSCSource()
{
    TTML_LOGI("");
    m_bKoreaRegion = m_IsKoreaRegion();
    m_SetCaptionProfile(CAPTION_PROFILE_UNKNOWN);
    m_SetInfoBannerKey(0);
    if (vconf_notify_key_changed(g_strInfoBannerKey.c_str(), m_CCInfoBannerKeyUpdateCb, this) < 0) {
        TTML_LOGW("Unable to register vconf for:[%s]", g_strInfoBannerKey.c_str());
    }
    m_bPvrMode = t_IsPvrPlayerMode();
    t_Complete();
}

CATSCSource::~CATSCSource()
{
    TTML_LOGI("");
    t_Close();
    if (m_pDataSubscriber != nullptr) {
        // Without OnStop() the TV service would go on calling with the address of a source that has gone.
        m_pDataSubscriber->UnsubscribeCaption(m_SubscriptionId);
        TVServiceAPI::Destroy(m_pDataSubscriber);
        m_pDataSubscriber = nullptr;
    }
    if (vconf_ignore_key_changed(g_strInfoBannerKey.c_str(), m_CCInfoBannerKeyUpdateCb) < 0) {
        TTML_LOGW("Unable to unregister vconf for:[%s]", g_strInfoBannerKey.c_str());
    }
    m_SetInfoBannerKey(0);
    pthread_mutex_destroy(&m_leafMutex);
}

bool CATSCSource::m_IsKoreaRegion()
{
    TTML_LOG_SCOPE();
    bool value = false;
    const int result = system_info_get_custom_bool(g_strKoreaCaptionFeatureKey.c_str(), &value);
    if (result != 0) {
        TTML_LOGW("Failed to get get fms info. Error returned: %d", result);
        return false;
    }
    TTML_LOGI("Value of %s: %d", g_strKoreaCaptionFeatureKey.c_str(), static_cast<int>(value));
    return value;
}

bool CATSCSource::m_IsATSC3Service()
{
    TTML_LOG_SCOPE();
    int value = 0;
    const int result = vconf_get_bool(g_strAtsc3EnableKey.c_str(), &value);
    if (result != 0 || value != 1) {
        TTML_LOGI("db/menu/broadcasting/atsc3_enable ret : %d, value : %d", result, value);
        return false;
    }
    TCServiceData serviceData;
    if (!t_GetServiceInfo(SERVICE_ATTRIBUTE_ATSC3, serviceData)) {
        return false;
    }
    const TCServiceValue* const pValue = serviceData.Find(SERVICE_ATTRIBUTE_ATSC3);
    return pValue != nullptr && pValue->integer != 0;
}

int CATSCSource::GetSubtitleMode()
{
    return m_bPvrMode ? ATSC3_SUBTITLE_MODE_PVR : ATSC3_SUBTITLE_MODE;
}

// The information banner's key.

void CATSCSource::m_SetInfoBannerKey(int value)
{
    TTML_LOG_SCOPE();
    if (vconf_set_bool(g_strInfoBannerKey.c_str(), value) < 0) {
        TTML_LOGW("Error in setting vconf key");
    } else {
        TTML_LOGI("TTML info banner CC key is written as [%d]", value);
    }
}

void CATSCSource::m_CCInfoBannerKeyUpdateCb(_keynode_t* /*node*/, void* userData)
{
    TTML_LOG_SCOPE();
    if (userData == nullptr) {
        TTML_LOGW("Null pointer");
        return;
    }
    const CGateEntry entry(userData, CBroadcastGate::ENTRY_NOTICE);
    auto* const pSource = dynamic_cast<CATSCSource*>(entry.Source());
    if (pSource == nullptr) {
        return;
    }
    const std::uint32_t reading = ++pSource->m_nBannerReadings;
    int value = 0;
    vconf_get_bool(g_strInfoBannerKey.c_str(), &value);
    const bool status = value != 0;
    {
        const CPthreadGuard guard(&pSource->m_leafMutex);
        // Two notices at once may end in another order than they read: with an old value that the key is set
        // no caption would ever set it.
        if (pSource->m_nBannerReadings == reading) {
            pSource->m_bInfoBannerStatus = status;
        }
    }
    TTML_LOGI("TTML CC info banner status:[%d]", static_cast<int>(status));
}

// Start, stop, show, hide.

void CATSCSource::OnStart()
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
    TTML_LOGI("Set language as No information in the beginning.");
    vconf_set_int(g_strCaptionLanguageKey.c_str(), 0);
    if (m_bPvrMode) {
        TTML_LOGI("In PVR mode");
        TTML_LOGI("Setting default language in menu.");
        t_NotifySetMenuLang();
        PlayTrack(0, nullptr, nullptr);
        m_RegisterSignals();
        return;
    }
    TTML_LOGI("In Tv-viewer mode");
    if (m_IsATSC3Service()) {
        TTML_LOGI(
            "Subscribing for captions only when the current channel is ATSC3.0 at the time of boot-up.");
        t_SubscribeTTML();
        TTML_LOGI("Setting default language in menu.");
        t_NotifySetMenuLang();
        PlayTrack(0, nullptr, nullptr);
    }
    m_RegisterSignals();
}

void CATSCSource::m_RegisterSignals()
{
    const CRegistrationTurn registration;
    t_RegisterTVSCallbacks();
}

void CATSCSource::OnStop()
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

void CATSCSource::OnShow()
{
    TTML_LOG_SCOPE();
    int value = 0;
    if (vconf_get_int(g_strCaptionKey.c_str(), &value) < 0 || value == 0) {
        TTML_LOGW("Reading vconf_get_int for CAPTION_STATUS returns OFF or Invalid.");
        return;
    }
    if (!m_bPvrMode && !t_IsSourceTypeSupported()) {
        TTML_LOGW("Source type not supported! return.");
        return;
    }
    CBCSource::OnShow();
}

void CATSCSource::OnHide()
{
    TTML_LOG_SCOPE();
    CBCSource::OnHide();
}

// The TV service's signals.

void CATSCSource::t_RegisterTVSCallbacks()
{
    TTML_LOGI("");
    CBCSource::t_RegisterTVSCallbacks();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGW("Error in creating signal subscriber!");
    } else if (!m_bKoreaRegion) {
        t_SubscribeSignal(SIGNAL_ATSC3_SIGNALING);
    }
}

void CATSCSource::t_UnregisterTVSCallbacks()
{
    TTML_LOG_SCOPE();
    if (t_pSigSubscriber == nullptr) {
        TTML_LOGW("t_pSigSubscriber is null!");
        return;
    }
    if (!m_bKoreaRegion) {
        t_UnsubscribeSignal(SIGNAL_ATSC3_SIGNALING);
    }
    CBCSource::t_UnregisterTVSCallbacks();
}

void CATSCSource::t_TVSSignalCBHandler(ESignalType signal, TSSignalData data)
{
    TTML_LOG_SCOPE();
    if (signal != SIGNAL_ATSC3_SIGNALING) {
        CBCSource::t_TVSSignalCBHandler(signal, data);
        return;
    }
    TTML_LOGI("eventData.data.l[VALUE_ZERO]=%d", data.data.l[0]);
    if (data.data.l[0] == ATSC3_SERVICE_SIGNALING_DONE_MPD) {
        TTML_LOGI("Received signal ATSC3_SERVICE_SIGNALING_DONE_MPD");
        m_UpdateMpdProperties();
    }
}

// The subscription to captions.

void CATSCSource::t_SubscribeTTML()
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
    if (!m_IsATSC3Service()) {
        TTML_LOGI("Not ATSC3.0 service!");
        return;
    }
    if (m_pDataSubscriber != nullptr) {
        TTML_LOGW("Data subscriber must be null!");
        TVServiceAPI::Destroy(m_pDataSubscriber);
        m_pDataSubscriber = nullptr;
    }
    // Whatever the result, a subscriber that is there is used, as nobody else would release it.
    TVServiceAPI::CreateDataSubscriber(TVS_PROFILE, TVS_GROUP, &m_pDataSubscriber);
    if (m_pDataSubscriber == nullptr) {
        TTML_LOGW("CreateDataSubscriber is failed!");
        return;
    }
    // The first caption may come before the call returns.
    t_gate.SetDataWanted(true);
    if (m_pDataSubscriber->SubscribeCaption(m_CaptionCB, this, m_SubscriptionId) < 1) {
        TTML_LOGW("ATSC3.0 Subscription Unsuccessful!!");
        t_gate.SetDataWanted(false);
        TVServiceAPI::Destroy(m_pDataSubscriber);
        m_pDataSubscriber = nullptr;
        return;
    }
    m_ForgetCaption();
    m_UpdateMpdProperties();
    TTML_LOGI("ATSC3.0 Subscription Successful!!");
    t_bIsSubscribed = true;
}

void CATSCSource::t_UnSubscribeTTML()
{
    TTML_LOG_SCOPE();
    CUnsubscribeTurn turn(t_gate);
    if (!t_bIsSubscribed) {
        TTML_LOGW("Already unsubscribed");
    } else {
        t_bIsSubscribed = false;
        m_ResetMpdTimes();
        m_SetInfoBannerKey(0);
        m_SetCaptionProfile(CAPTION_PROFILE_UNKNOWN);
        if (m_pDataSubscriber == nullptr) {
            TTML_LOGW("m_pDataSubscriber is null!!");
        } else {
            if (m_pDataSubscriber->UnsubscribeCaption(m_SubscriptionId) < 1) {
                TTML_LOGW("Unsubscribe Unsuccessful!!");
            } else {
                TTML_LOGI("Unsubscribe Successful!!");
            }
            TVServiceAPI::Destroy(m_pDataSubscriber);
            m_pDataSubscriber = nullptr;
        }
        t_gate.SetDataWanted(false);
        // A caption in flight may have asked for the profile meanwhile, which is not the next service's.
        m_SetCaptionProfile(CAPTION_PROFILE_UNKNOWN);
    }
    if (turn.Finish()) {
        // Whoever asked meanwhile did not wait; without this the captions of a service just tuned were lost.
        t_SubscribeTTML();
    }
}

// The service's MPD.

void CATSCSource::m_UpdateMpdProperties()
{
    TTML_LOG_SCOPE();
    if (m_bKoreaRegion) {
        TTML_LOGI("MPD parsing not required for Korea!");
        return;
    }
    const std::uint32_t reset = m_ResetMpdTimes();
    // Read into an object of this call's own, so that nobody who asks for the time meets half of it.
    CMpdParser times;
    try {
        std::string mpd;
        if (m_GetMpd(mpd)) {
            times.Parse(mpd);
        }
    } catch (const std::exception&) {
        // No memory for an attribute: as if the MPD did not have it.
        TTML_LOGE("new failed.");
    }
    const CPthreadGuard guard(&m_leafMutex);
    // Not behind a later reset: the MPD may be that of a service which has been left since.
    if (m_nMpdResets == reset) {
        m_MpdParser = times;
    }
}

// The number of this reset.
std::uint32_t CATSCSource::m_ResetMpdTimes()
{
    CMpdParser unknown;
    unknown.Reset();
    const CPthreadGuard guard(&m_leafMutex);
    m_MpdParser = unknown;
    return ++m_nMpdResets;
}

bool CATSCSource::m_GetMpd(std::string& mpd)
{
    TTML_LOG_SCOPE();
    TCServiceData serviceData;
    if (!t_GetServiceInfo(SERVICE_ATTRIBUTE_ID, serviceData)) {
        TTML_LOGW("Error in t_GetServiceInfo!");
        return false;
    }
    TTML_LOGI("Route service!");
    const TCServiceValue* const pId = serviceData.Find(SERVICE_ATTRIBUTE_ID);
    const unsigned long long serviceId = pId != nullptr ? pId->number : NO_SERVICE_ID;
    TTML_LOGI("service id is %llu", serviceId);
    const auto pControl = CreateTvsSession(TVServiceAPI::CreateATSC3DataControl, TVS_PROFILE, TVS_GROUP);
    if (!pControl) {
        TTML_LOGW("Error in CreateATSC3DataControl!");
        return false;
    }
    const bool good = pControl->GetMpdData(serviceId, mpd) != 0;
    TTML_LOGI("GetMpdData() return: %s", good ? "true" : "false");
    return good;
}

long long CATSCSource::m_GetMpdTimeOffset()
{
    TTML_LOG_SCOPE();
    if (m_bKoreaRegion) {
        return 0;
    }
    CMpdParser times;
    {
        const CPthreadGuard guard(&m_leafMutex);
        times = m_MpdParser;
    }
    const long long mpdOffset = WrappingSum(times.GetAST(), times.GetSPD());
    TTML_LOGI("mpdOffset=%lld", mpdOffset);
    return mpdOffset;
}

// Captions, on the TV service's thread.

void CATSCSource::m_CaptionCB(TSCaption& caption, void* userData)
{
    TTML_LOGI("");
    if (userData == nullptr) {
        TTML_LOGW("Source pointer is null");
        return;
    }
    if (caption.type != CLOSED_CAPTION_TYPE_ATSC3) {
        TTML_LOGW("Caption type is not CLOSED_CAPTION_TYPE_ATSC3. Type:[%d]", caption.type);
        return;
    }
    if (caption.data.empty() || caption.data.size() > MAX_CAPTION_SIZE) {
        TTML_LOGW("Buffer size is invalid=[%zu]", caption.data.size());
        return;
    }
    // A caption for a source that has gone, is going, or has unsubscribed stays undelivered.
    const CGateEntry entry(userData, CBroadcastGate::ENTRY_DATA);
    auto* const pSource = dynamic_cast<CATSCSource*>(entry.Source());
    if (pSource == nullptr) {
        return;
    }
    try {
        // Ends the text; it belongs to the payload from here on. Room for it alone: a vector that grows by
        // itself would take twice what a large image needs.
        caption.data.reserve(caption.data.size() + 1);
        caption.data.push_back(0);
    } catch (const std::exception&) {
        Require(false, "pSubtitleData", "Source/Internal/Broadcast/Src/CATSCSource.cpp", __LINE__,
                "static void TTML::CATSCSource::m_CaptionCB(TSCaption&, void*)");
    }
    pSource->m_ConsumeCaptionData(caption);
}

void CATSCSource::m_ConsumeCaptionData(TSCaption& caption)
{
    TTML_LOG_SCOPE();
    if (!m_SetReferenceTimeInfo(caption.referenceTime, caption.offset)) {
        TTML_LOGW("Error while storing reference time and offset.");
        return;
    }
    if (m_IsRepeat(caption.data)) {
        TTML_LOGW("Discarding duplicate data!");
        return;
    }
    TTMLRawDataInfo* const pSubtitleData = m_CreateRecord(caption.data);
    Require(pSubtitleData != nullptr, "pSubtitleData", "Source/Internal/Broadcast/Src/CATSCSource.cpp",
            __LINE__, "void TTML::CATSCSource::m_ConsumeCaptionData(TSCaption&)");
    // The client's from here on.
    OnSubtitleData(static_cast<void*>(pSubtitleData));
    m_RememberCaption(caption.data);
    if (!m_bInfoBannerStatus) {
        // Not while the subscription is being ended: the key has been or will be cleared for good.
        const CDataTurn turn(t_gate);
        if (turn.Granted()) {
            m_SetInfoBannerKey(1);
        }
    }
}

// A record with a copy of the payload, split where it holds an image; null when there is no memory for it.
TTMLRawDataInfo* CATSCSource::m_CreateRecord(std::vector<unsigned char>& payload)
{
    try {
        std::unique_ptr<TTMLRawDataInfo> pRecord(new (std::nothrow) TTMLRawDataInfo);
        if (!pRecord) {
            return nullptr;
        }
        if (m_GetCurrentCaptionProfile() == CAPTION_PROFILE_IMAGE) {
            m_SplitCaptionAndImageData(payload, pRecord.get());
            pRecord->dataType = DATA_TYPE_IMAGE;
        }
        if (pRecord->data.empty()) {
            pRecord->data = TextOf(payload);
            pRecord->dataType = DATA_TYPE_TEXT;
        }
        return pRecord.release();
    } catch (const std::exception&) {
        return nullptr;
    }
}

void CATSCSource::m_SplitCaptionAndImageData(std::vector<unsigned char>& payload, TTMLRawDataInfo* pRecord)
{
    TTML_LOG_SCOPE();
    const std::string_view text = TextOf(payload);
    // Several times as fast as searching the vector for a range.
    const std::size_t length = text.find(PNG_SIGNATURE);
    if (length == std::string_view::npos) {
        return;
    }
    TTML_LOGI("Image data found!");
    pRecord->data = text.substr(0, length);
    pRecord->secondaryData = text.substr(length);
}

bool CATSCSource::m_IsRepeat(const std::vector<unsigned char>& payload)
{
    const CPthreadGuard guard(&m_leafMutex);
    return payload == m_LastCaptionData;
}

void CATSCSource::m_RememberCaption(const std::vector<unsigned char>& payload)
{
    const CPthreadGuard guard(&m_leafMutex);
    try {
        m_LastCaptionData = payload;
    } catch (const std::exception&) {
        // Without memory a repeat is delivered again, which a client can bear.
        m_LastCaptionData.clear();
    }
}

void CATSCSource::m_ForgetCaption()
{
    const CPthreadGuard guard(&m_leafMutex);
    m_LastCaptionData.clear();
}

int CATSCSource::m_GetCurrentCaptionProfile()
{
    TTML_LOG_SCOPE();
    unsigned char profile = CAPTION_PROFILE_UNKNOWN;
    {
        const CPthreadGuard guard(&m_leafMutex);
        profile = m_CurrentCaption.profile;
    }
    if (profile < CAPTION_PROFILE_KNOWN_LIMIT) {
        return profile;
    }
    if (!m_GetCurrentCaptionFromTVS()) {
        return CAPTION_PROFILE_TEXT;
    }
    const CPthreadGuard guard(&m_leafMutex);
    return m_CurrentCaption.profile;
}

bool CATSCSource::m_GetCurrentCaptionFromTVS()
{
    TTML_LOG_SCOPE();
    const auto pControl = CreateTvsSession(TVServiceAPI::CreateDataControl, TVS_PROFILE, TVS_GROUP);
    if (!pControl) {
        TTML_LOGW("CreateDataControl failed!");
        return false;
    }
    TCCaption caption;
    // Where the service leaves it out it stays what it was: to be asked for again.
    caption.profile = CAPTION_PROFILE_UNKNOWN;
    if (pControl->GetCurrentCaption(caption) < 1) {
        TTML_LOGW("GetCurrentCaption failed!!");
        return false;
    }
    TTML_LOGI("Current Caption Data:[ID:%s][LANG:0x%x][ROLE:%u][Asp:%u][Easy:%u][Prof:%u][3D:%u]",
              caption.id.c_str(), static_cast<unsigned int>(caption.languageCode),
              static_cast<unsigned int>(caption.role), static_cast<unsigned int>(caption.aspect),
              static_cast<unsigned int>(caption.easyReader), static_cast<unsigned int>(caption.profile),
              static_cast<unsigned int>(caption.is3D));
    const CPthreadGuard guard(&m_leafMutex);
    m_CurrentCaption = std::move(caption);
    return true;
}

void CATSCSource::m_SetCaptionProfile(unsigned char profile)
{
    const CPthreadGuard guard(&m_leafMutex);
    m_CurrentCaption.profile = profile;
}

// Timing.

bool CATSCSource::m_SetReferenceTimeInfo(long long referenceTime, long long offset)
{
    TTML_LOG_SCOPE();
    if (referenceTime < std::max(offset, 0LL)) {
        TTML_LOGE("Ignoring caption data as referenceTime [%lld] or offset [%lld] is invalid!", referenceTime,
                  offset);
        return false;
    }
    const std::uint32_t sysTime = TTMLGetTimeofDay();
    const std::int64_t calculated =
        ToInt64(static_cast<double>(WrappingDifference(referenceTime, offset)) / NS_PER_MS);
    TTML_LOGI("Timing_Info: sys_time = [%lu] when captionReferenceTime =[%lld], offset = [%lld]; "
              "RefTimeAfterCal = [%lld]",
              static_cast<unsigned long>(sysTime), referenceTime, offset, static_cast<long long>(calculated));
    const CPthreadGuard guard(&m_leafMutex);
    m_SysTimeAtReference = sysTime;
    if (referenceTime < m_CaptionReferenceTime) {
        m_LastCaptionData.clear();
    }
    m_CaptionReferenceTime = referenceTime;
    m_CaptionOffset = offset;
    m_RefTimeAfterCal = calculated;
    return true;
}

int CATSCSource::GetVideoCurrentTime(long long* pTimeInMS)
{
    TTML_LOG_SCOPE();
    if (pTimeInMS == nullptr) {
        TTML_LOGW("pTimeInMS is NULL");
        return 1;
    }
    std::uint32_t sysTime = 0;
    std::int64_t reference = 0;
    {
        const CPthreadGuard guard(&m_leafMutex);
        sysTime = m_SysTimeAtReference;
        reference = m_RefTimeAfterCal;
    }
    const long long interval = static_cast<long long>(TTMLGetTimeofDay()) - static_cast<long long>(sysTime);
    TTML_LOGI("Timing_Info: Interval since the caption reference time was received: [%lld]", interval);
    *pTimeInMS = WrappingDifference(WrappingSum(interval, reference), m_GetMpdTimeOffset());
    return 0;
}

} // namespace TTML
