// Prints where every field and every virtual operation of the library's classes stands for the target it is
// compiled for. The order of the entries is the agreed order; the output is compared with a reviewed
// reference for each target. Needs nothing but the headers.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <type_traits>
#include <vector>

#include "CATSCSource.h"
#include "CBBSource.h"
#include "CBCSource.h"
#include "CDVBSource.h"
#include "CInbandData.h"
#include "CMpdParser.h"
#include "CMutex.h"
#include "CPESParser.h"
#include "CSourceHolder.h"
#include "CSourceTask.h"
#include "CTTMLSource.h"
#include "CTask.h"
#include "Lock.h"
#include "PlatformTvService.h"
#include "PlatformTvServiceData.h"
#include "SourceEvents.h"
#include "TCallback.h"
#include "TTMLCallback.h"
#include "TTMLRawDataInfo.h"

namespace {

struct SEntry
{
    int line;
    const char* kind;
    const char* owner;
    const char* name;
    long place;
};

std::vector<SEntry>& Entries()
{
    static std::vector<SEntry> entries;
    return entries;
}

// The byte offset of a field, which is what a pointer to it holds (Itanium C++ ABI).
template <class C, class F>
std::enable_if_t<!std::is_function<F>::value, long> PlaceOf(F C::*field)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof(field) == sizeof(offset), "a pointer to a field is an offset");
    std::memcpy(&offset, &field, sizeof(offset));
    return static_cast<long>(offset);
}

// The vtable slot of a virtual operation: a pointer to it holds the slot's byte offset, plus 1 where the
// architecture keeps the virtual flag there (Itanium C++ ABI; ARM keeps it in the adjustment).
template <class C, class F>
std::enable_if_t<std::is_function<F>::value, long> PlaceOf(F C::*operation)
{
    std::ptrdiff_t words[2] = {};
    static_assert(sizeof(operation) == sizeof(words), "a pointer to an operation is two words");
    std::memcpy(words, &operation, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    const std::ptrdiff_t offset = words[0];
#else
    const std::ptrdiff_t offset = words[0] - 1;
#endif
    return static_cast<long>(offset / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

// Explicit instantiation may name private members, so that the probe needs no friends.
template <class Tag, auto Member>
struct TRecord
{
    static const bool recorded;
};

template <class Tag, auto Member>
const bool TRecord<Tag, Member>::recorded =
    (Entries().push_back({Tag::line, Tag::kind, Tag::owner, Tag::name, PlaceOf(Member)}), true);

#define JOIN2(a, b) a##b
#define JOIN(a, b) JOIN2(a, b)
#define ENTRY(kindText, ownerClass, nameText, ...)                                                           \
    struct JOIN(STag, __LINE__)                                                                              \
    {                                                                                                        \
        static constexpr int line = __LINE__;                                                                \
        static constexpr const char* kind = kindText;                                                        \
        static constexpr const char* owner = #ownerClass;                                                    \
        static constexpr const char* name = nameText;                                                        \
    };                                                                                                       \
    template struct TRecord<JOIN(STag, __LINE__), __VA_ARGS__>;

#define FIELD(Class, Field) ENTRY("field", Class, #Field, &TTML::Class::Field)
#define SLOT(Class, Operation) ENTRY("slot", Class, #Operation, &TTML::Class::Operation)
#define SLOT_OF(Class, Operation, Type)                                                                      \
    ENTRY("slot", Class, #Operation " " #Type, static_cast<Type>(&TTML::Class::Operation))

// The platform's records, and its closed interfaces, which are used by the places of their operations.
#define PLATFORM_FIELD(Record, Field) ENTRY("field", Record, #Field, &::Record::Field)
#define PLATFORM_SLOT(Class, Operation) ENTRY("slot", Class, #Operation, &TVServiceAPI::Class::Operation)

using Extra = TTML::TTMLSubtitleExtraData;

SLOT(IMutex, Lock)
SLOT(IMutex, Unlock)
SLOT(IMutex, TryLock)
SLOT(IMutex, Destroy)
FIELD(CMutex, m_attribute)
FIELD(CMutex, m_mutex)
FIELD(Lock, m_pMutex)

SLOT(ICallback, Invoke)
FIELD(TCallback<TTML::CTask>, m_pTarget)
FIELD(TCallback<TTML::CTask>, m_pFunction)

FIELD(CTask, m_pProcessor)
FIELD(CTask, m_pCleanup)
FIELD(CTask, m_nRunningThreadId)
FIELD(CTask, m_stateMutex)
FIELD(CTask, m_thread)
FIELD(CTask, m_queueCondition)
FIELD(CTask, m_queueMutexAttribute)
FIELD(CTask, m_queueMutex)
FIELD(CTask, m_queue)
FIELD(CTask, m_bResetPending)
FIELD(CTask, m_resetSemaphore)
FIELD(CTask, m_bTaskIgnored)
FIELD(CTask, m_ignoreMutex)
FIELD(CTask, m_bPreparing)
FIELD(CTask, m_preparingMutex)

FIELD(CInbandData, m_pMutex)
FIELD(CInbandData, m_bStopping)
FIELD(CInbandData, m_nTrackId)
FIELD(CInbandData, m_bFrozen)
FIELD(CInbandData, m_freezeMutexAttribute)
FIELD(CInbandData, m_freezeMutex)
FIELD(CInbandData, m_freezeSemaphore)
FIELD(CInbandData, m_pUserData)
FIELD(CInbandData, m_pDeliver)

FIELD(SourceHeader, type)
FIELD(SourcePlayData, trackId)
FIELD(SourcePlayData, url)
FIELD(SourcePlayData, inBand)
FIELD(SourcePauseData, argument)
FIELD(SourceSeekData, position)
FIELD(SourceCallbackData, data)
FIELD(SourceCallbackData, function)

SLOT(CSourceTask, OnErrorDownloadableFonts)
SLOT(CSourceTask, OnShow)
SLOT(CSourceTask, OnHide)
FIELD(CSourceTask, m_nTrackState)
FIELD(CSourceTask, m_nStateBeforePause)
FIELD(CSourceTask, m_pTaskMutex)
FIELD(CSourceTask, m_strDntHeader)
FIELD(CSourceTask, m_strUserAgent)
FIELD(CSourceTask, m_strTrackDescriptor)
FIELD(CSourceTask, m_pUserData)
FIELD(CSourceTask, m_pCoreCBFunc)
FIELD(CSourceTask, m_pDataMutex)
FIELD(CSourceTask, m_bInband)
FIELD(CSourceTask, m_bPlayPending)
FIELD(CSourceTask, m_bSeekStarted)
FIELD(CSourceTask, m_pInbandData)

FIELD(TTMLRawDataInfo, index)
FIELD(TTMLRawDataInfo, dataType)
FIELD(TTMLRawDataInfo, timestamp)
FIELD(TTMLRawDataInfo, segStartTimeMs)
FIELD(TTMLRawDataInfo, segEndTimeMs)
FIELD(TTMLRawDataInfo, trackDescriptor)
FIELD(TTMLRawDataInfo, data)
FIELD(TTMLRawDataInfo, secondaryData)
FIELD(TTMLRawDataInfo, userData)
FIELD(TTMLSubtitleExtraData, timestamp)
FIELD(TTMLSubtitleExtraData, index)
FIELD(TTMLSubtitleExtraData, segStartTime)
FIELD(TTMLSubtitleExtraData, segEndTime)
FIELD(TTMLStartNotice, inBand)
FIELD(TTMLStartNotice, userData)
FIELD(TTMLSeekNotice, position)
FIELD(TTMLSeekNotice, userData)

SLOT(ITTMLSource, RegisterCallBack)
SLOT(ITTMLSource, UnRegisterCallBack)
SLOT(ITTMLSource, GetVideoCurrentTime)
SLOT(ITTMLSource, GetDownloadableFontsInfo)
SLOT(ITTMLSource, GetSubtitleMode)

SLOT(ITTMLSourceControl, PlayTrack)
SLOT(ITTMLSourceControl, StopTrack)
SLOT(ITTMLSourceControl, PauseTrack)
SLOT(ITTMLSourceControl, ResumeTrack)
SLOT(ITTMLSourceControl, Invalidate)
SLOT(ITTMLSourceControl, SeekStart)
SLOT(ITTMLSourceControl, SeekCompleted)
SLOT_OF(ITTMLSourceControl, OnSubtitleData, void (TTML::ITTMLSourceControl::*)(void*, Extra&))
SLOT_OF(ITTMLSourceControl, OnSubtitleData, void (TTML::ITTMLSourceControl::*)(void*))
SLOT(ITTMLSourceControl, SetDNTOption)
SLOT(ITTMLSourceControl, OnErrorDownloadableFonts)
SLOT(ITTMLSourceControl, OnStart)
SLOT(ITTMLSourceControl, OnStop)
SLOT(ITTMLSourceControl, OnShow)
SLOT(ITTMLSourceControl, OnHide)

SLOT(CTTMLSource, t_Initialize)
SLOT(CTTMLSource, t_Destroy)
SLOT(CTTMLSource, Destroy)
SLOT(CTTMLSource, Invalidate)
SLOT(CTTMLSource, PlayTrack)
SLOT(CTTMLSource, StopTrack)
SLOT(CTTMLSource, PauseTrack)
SLOT(CTTMLSource, ResumeTrack)
SLOT(CTTMLSource, SeekStart)
SLOT(CTTMLSource, SeekCompleted)
SLOT_OF(CTTMLSource, OnSubtitleData, void (TTML::CTTMLSource::*)(void*, Extra&))
SLOT_OF(CTTMLSource, OnSubtitleData, void (TTML::CTTMLSource::*)(void*))
SLOT(CTTMLSource, SetDNTOption)
SLOT(CTTMLSource, OnErrorDownloadableFonts)
SLOT(CTTMLSource, OnStart)
SLOT(CTTMLSource, OnStop)
SLOT(CTTMLSource, OnShow)
SLOT(CTTMLSource, OnHide)
SLOT(CTTMLSource, SendEventToSourceThread)
SLOT(CTTMLSource, t_NotifyPlayTrack)
SLOT(CTTMLSource, t_NotifyStopTrack)
SLOT(CTTMLSource, t_NotifyRegisterMenuCB)
SLOT(CTTMLSource, t_NotifyUnRegisterMenuCB)
SLOT(CTTMLSource, t_NotifySetMenuLang)
FIELD(CTTMLSource, m_pSourceTask)
FIELD(CTTMLSource, m_listDownloadableFonts)

FIELD(CBBSource, m_pPlayer)

SLOT(CBCSource, t_RegisterTVSCallbacks)
SLOT(CBCSource, t_UnregisterTVSCallbacks)
SLOT(CBCSource, t_TVSSignalCBHandler)
SLOT(CBCSource, t_SubscribeTTML)
SLOT(CBCSource, t_UnSubscribeTTML)
SLOT(CBCSource, t_GetServiceInfo)
SLOT(CBCSource, t_PvrSignalCbHandler)
SLOT(CBCSource, t_IsPvrPlayerMode)
SLOT(CBCSource, t_IsSourceTypeSupported)
FIELD(CBCSource, m_nStateFlags)
FIELD(CBCSource, t_bIsSubscribed)
FIELD(CBCSource, t_pSigSubscriber)

FIELD(DvbTTMLData, pts)
FIELD(DvbTTMLData, mediaSegmentTime)
FIELD(DvbTTMLData, segmentCount)
FIELD(DvbTTMLData, segments)

FIELD(CDVBSource, m_pPESParser)
FIELD(CDVBSource, m_nTTMLProfile)
FIELD(CDVBSource, m_pTimeMutex)
FIELD(CDVBSource, m_ullPts)
FIELD(CDVBSource, m_ullMediaTime)
FIELD(CDVBSource, m_strLastSegment)

FIELD(CMpdParser, m_AST)
FIELD(CMpdParser, m_SPD)

PLATFORM_FIELD(TCCaption, id)
PLATFORM_FIELD(TCCaption, languageCode)
PLATFORM_FIELD(TCCaption, role)
PLATFORM_FIELD(TCCaption, aspect)
PLATFORM_FIELD(TCCaption, easyReader)
PLATFORM_FIELD(TCCaption, profile)
PLATFORM_FIELD(TCCaption, is3D)

SLOT(CATSCSource, GetVideoCurrentTime)
SLOT(CATSCSource, GetSubtitleMode)
SLOT(CATSCSource, OnStart)
SLOT(CATSCSource, OnStop)
SLOT(CATSCSource, OnShow)
SLOT(CATSCSource, OnHide)
SLOT(CATSCSource, t_RegisterTVSCallbacks)
SLOT(CATSCSource, t_UnregisterTVSCallbacks)
SLOT(CATSCSource, t_TVSSignalCBHandler)
SLOT(CATSCSource, t_SubscribeTTML)
SLOT(CATSCSource, t_UnSubscribeTTML)
FIELD(CATSCSource, m_pDataSubscriber)
FIELD(CATSCSource, m_CurrentCaption)
FIELD(CATSCSource, m_SysTimeAtReference)
FIELD(CATSCSource, m_CaptionReferenceTime)
FIELD(CATSCSource, m_CaptionOffset)
FIELD(CATSCSource, m_RefTimeAfterCal)
FIELD(CATSCSource, m_SubscriptionId)
FIELD(CATSCSource, m_bInfoBannerStatus)
FIELD(CATSCSource, m_bKoreaRegion)
FIELD(CATSCSource, m_bPvrMode)
FIELD(CATSCSource, m_LastCaptionData)
FIELD(CATSCSource, m_MpdParser)

PLATFORM_SLOT(ISignalSubscriber, Subscribe)
PLATFORM_SLOT(ISignalSubscriber, Unsubscribe)
PLATFORM_SLOT(IDataSubscriber, SubscribeCaption)
PLATFORM_SLOT(IDataSubscriber, UnsubscribeCaption)
PLATFORM_SLOT(IATSC3DataControl, GetMpdData)
PLATFORM_SLOT(IDataControl, GetCurrentCaption)

} // namespace

int main()
{
    std::vector<SEntry>& entries = Entries();
    std::sort(entries.begin(), entries.end(),
              [](const SEntry& a, const SEntry& b) { return a.line < b.line; });

    const SEntry* previous = nullptr;
    bool ordered = true;
    for (const SEntry& entry : entries) {
        std::printf("%s %s %3ld %s\n", entry.owner, entry.kind, entry.place, entry.name);
        if (previous != nullptr && std::strcmp(previous->owner, entry.owner) == 0 &&
            std::strcmp(previous->kind, entry.kind) == 0 && previous->place >= entry.place) {
            std::printf("  out of order\n");
            ordered = false;
        }
        previous = &entry;
    }
    return ordered ? 0 : 1;
}
