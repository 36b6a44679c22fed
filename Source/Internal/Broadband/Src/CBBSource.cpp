#include "CBBSource.h"

#include <new>

#include "Log.h"
#include "PlatformMediaPlayer.h"

namespace TTML {

namespace {

constexpr int BROADBAND_SUBTITLE_MODE = 66;

} // namespace

CBBSource* CBBSource::Create(player_s* pMMPlayer, const char* pUserAgent)
{
    TTML_LOGI("Start");
    if (pMMPlayer == nullptr || pUserAgent == nullptr) {
        TTML_LOGE("pMMPlayer/pUserAgent is/are null");
        return nullptr;
    }
    auto* const pSource = new (std::nothrow) CBBSource(pMMPlayer);
    if (pSource == nullptr) {
        TTML_LOGE("pCBBSource null");
        return nullptr;
    }
    // A source without a thread is still handed out: it logs and ignores commands.
    pSource->t_Initialize(pUserAgent);
    TTML_LOGI("end");
    return pSource;
}

CBBSource::CBBSource(player_s* pMMPlayer)
    : m_pPlayer(pMMPlayer)
{
    TTML_LOGI("");
}

CBBSource::~CBBSource()
{
    TTML_LOGI("");
}

int CBBSource::GetSubtitleMode()
{
    return BROADBAND_SUBTITLE_MODE;
}

int CBBSource::GetVideoCurrentTime(long long* pTimeInMS)
{
    TTML_LOG_SCOPE();
    if (pTimeInMS == nullptr) {
        TTML_LOGW("pTimeInMS is NULL");
        return 1;
    }
    int result = player_get_play_position_ex(m_pPlayer, pTimeInMS);
    if (result != 0) {
        TTML_LOGW("GetPosition failed with error code: %d", result);
        return 1;
    }
    unsigned char isLive = 0;
    result = player_get_adaptive_streaming_info(m_pPlayer, &isLive, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE);
    if (result != 0) {
        TTML_LOGW("Get Adaptive Streaming Info failed with error code: %d", result);
        return 1;
    }
    if (isLive == 0) {
        return 0;
    }
    long long baseTime = 0;
    result = player_get_base_time(m_pPlayer, &baseTime);
    if (result != 0) {
        TTML_LOGW("Get BaseTime failed with error code: %d", result);
        return 1;
    }
    TTML_LOGI("Live DASH stream: CurrentTime:[%lld] BaseTime:[%lld]", *pTimeInMS, baseTime);
    // Unsigned, so that times from a confused player wrap instead of overflowing.
    *pTimeInMS = static_cast<long long>(static_cast<unsigned long long>(*pTimeInMS) -
                                        static_cast<unsigned long long>(baseTime));
    return 0;
}

} // namespace TTML
