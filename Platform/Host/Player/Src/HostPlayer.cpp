#include "HostPlayer.h"

#include <cmath>
#include <exception>
#include <memory>
#include <new>

#include "AvError.h"
#include "PlatformLog.h"
#include "Player.h"

// The handle is the player itself.
struct player_s final : TTMLHost::Player
{
    using Player::Player;
};

namespace TTMLHost {

namespace {

constexpr char kTag[] = "TTMLHOST";

void Warn(const char* text)
{
    __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kTag, "%s", text);
}

// Written so that a speed that is no number is refused, too.
bool IsSpeed(double speed)
{
    return speed > 0.0 && std::isfinite(speed);
}

void SetError(std::string* error, const std::string& text)
{
    if (error != nullptr) {
        *error = text;
    }
}

player_s* Open(const std::string& input, const PlayerOptions& options, PlayerListener* listener,
               std::string* error)
{
    if (listener == nullptr) {
        SetError(error, DescribeError("open", input, "nobody listens", "give a listener"));
        return nullptr;
    }
    if (!IsSpeed(options.speed)) {
        SetError(error, DescribeError("play", input, "the speed is not above 0", "give 1 for normal speed"));
        return nullptr;
    }
    auto player = std::make_unique<player_s>(input, options, listener);
    std::string why;
    if (!player->Open(&why)) {
        SetError(error, why);
        return nullptr;
    }
    return player.release();
}

} // namespace

player_s* PlayerOpen(const std::string& input, const PlayerOptions& options, PlayerListener* listener,
                     std::string* error)
{
    try {
        return Open(input, options, listener, error);
    } catch (const std::exception& failure) {
        try {
            SetError(error, DescribeError("open", input, failure.what(), "free some memory"));
        } catch (const std::exception&) {
            Warn("Cannot open the input: there is no memory left");
        }
        return nullptr;
    }
}

player_s* PlayerCreateIdle(double speed)
{
    if (!IsSpeed(speed)) {
        Warn("Cannot create a player: the speed is not above 0; give 1 for normal speed");
        return nullptr;
    }
    try {
        PlayerOptions options;
        options.speed = speed;
        // Never opened, it has neither a reader at work nor a thread.
        return std::make_unique<player_s>(std::string(), options, nullptr).release();
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::vector<PlayerTrack> PlayerTracks(player_s* player)
{
    try {
        return player != nullptr ? player->Tracks() : std::vector<PlayerTrack>();
    } catch (const std::bad_alloc&) {
        return {};
    }
}

void PlayerPlay(player_s* player)
{
    if (player != nullptr) {
        player->Play();
    }
}

void PlayerPause(player_s* player)
{
    if (player != nullptr) {
        player->Pause();
    }
}

void PlayerSeek(player_s* player, long long positionMs)
{
    if (player == nullptr) {
        return;
    }
    if (player->IsLive()) {
        Warn("Cannot seek: libavformat plays a live presentation from now on only; let it run");
        return;
    }
    player->Seek(positionMs);
}

void PlayerClose(player_s* player)
{
    delete player;
}

} // namespace TTMLHost

int player_get_play_position_ex(player_s* player, long long* positionMs)
{
    if (player == nullptr || positionMs == nullptr) {
        return TTMLHost::PLAYER_INVALID_ARGUMENT;
    }
    *positionMs = player->PositionMs();
    return TTMLHost::PLAYER_OK;
}

int player_get_adaptive_streaming_info(player_s* player, void* value, int kind)
{
    if (player == nullptr || value == nullptr || kind != PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE) {
        return TTMLHost::PLAYER_INVALID_ARGUMENT;
    }
    *static_cast<unsigned char*>(value) = player->IsLive() ? 1 : 0;
    return TTMLHost::PLAYER_OK;
}

int player_get_base_time(player_s* player, long long* baseTimeMs)
{
    if (player == nullptr || baseTimeMs == nullptr) {
        return TTMLHost::PLAYER_INVALID_ARGUMENT;
    }
    if (!player->IsLive()) {
        return TTMLHost::PLAYER_NOT_LIVE;
    }
    *baseTimeMs = player->BaseMs();
    return TTMLHost::PLAYER_OK;
}
