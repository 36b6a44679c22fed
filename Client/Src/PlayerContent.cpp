#include "PlayerContent.h"

#include <utility>

#include "CTTMLSource.h"
#include "TTMLSubtitleExtraData.h"

namespace TTMLClient {

PlayerContent::PlayerContent(std::function<void()> onOver)
    : m_feed([this](const TTMLHost::PlayerSample& sample) { PushSample(sample); }, std::move(onOver))
{}

PlayerContent::~PlayerContent()
{
    // The reader may be waiting with a sample.
    m_feed.Close();
    if (m_player != nullptr) {
        TTMLHost::PlayerClose(m_player);
    }
}

bool PlayerContent::Open(const std::string& input, const TTMLHost::PlayerOptions& options, std::string* error)
{
    m_player = TTMLHost::PlayerOpen(input, options, &m_feed, error);
    return m_player != nullptr;
}

bool PlayerContent::OpenIdle(double speed, std::string* error)
{
    m_player = TTMLHost::PlayerCreateIdle(speed);
    if (m_player == nullptr) {
        *error = "creating the player failed: out of memory; close other programs";
    }
    return m_player != nullptr;
}

player_s* PlayerContent::Player() const
{
    return m_player;
}

void PlayerContent::Connect(TTML::CTTMLSource* source)
{
    m_source = source;
}

SampleFeed& PlayerContent::Feed()
{
    return m_feed;
}

const SampleFeed& PlayerContent::Feed() const
{
    return m_feed;
}

void PlayerContent::Play()
{
    m_playing = true;
    m_holding = false;
    m_feed.Let();
    TTMLHost::PlayerPlay(m_player);
}

void PlayerContent::Pause()
{
    m_playing = false;
    m_holding = true;
    m_feed.Hold();
    TTMLHost::PlayerPause(m_player);
}

void PlayerContent::HoldSamples()
{
    m_holding = true;
    m_feed.Hold();
}

void PlayerContent::Seek(long long positionMs)
{
    // The reader must not wait in the feed while it is moved, and what it holds belongs to the old place.
    TTMLHost::PlayerPause(m_player);
    m_feed.Discard();
    TTMLHost::PlayerSeek(m_player, positionMs);
    if (m_holding) {
        m_feed.Hold();
    } else {
        m_feed.Let();
    }
    if (m_playing) {
        TTMLHost::PlayerPlay(m_player);
    }
}

void PlayerContent::WaitDelivered()
{
    m_feed.WaitDelivered();
}

void PlayerContent::PushSample(const TTMLHost::PlayerSample& sample)
{
    TTML::TTMLSubtitleExtraData extra;
    extra.timestamp = sample.timestampMs;
    extra.index = sample.index;
    extra.segStartTime = sample.segStartTime;
    extra.segEndTime = sample.segEndTime;
    // The source takes a pointer to changeable data but only reads it.
    m_source->OnSubtitleData(const_cast<char*>(sample.text), extra);
}

} // namespace TTMLClient
