#ifndef TTMLSRC_PLAYER_CONTENT_H
#define TTMLSRC_PLAYER_CONTENT_H

#include <functional>
#include <string>

#include "Content.h"
#include "HostPlayer.h"
#include "SampleFeed.h"

namespace TTML {
class CTTMLSource;
}

namespace TTMLClient {

// A media player as content: its samples go to a source through a feed, its clock is the source's. One
// thread at a time, but for Feed().
class PlayerContent : public Content
{
public:
    // `onOver` as for SampleFeed. No player yet.
    explicit PlayerContent(std::function<void()> onOver);
    // Closes the player: the source that was created beside it must be gone.
    ~PlayerContent() override;
    PlayerContent(const PlayerContent&) = delete;
    PlayerContent& operator=(const PlayerContent&) = delete;

    // Opens media, or a player that is a clock only. False on failure, with one line in `error`.
    bool Open(const std::string& input, const TTMLHost::PlayerOptions& options, std::string* error);
    bool OpenIdle(double speed, std::string* error);

    player_s* Player() const;

    // Where samples go. Before the first Play(); the source must outlive the last Pause() or Feed().Close().
    void Connect(TTML::CTTMLSource* source);

    SampleFeed& Feed();
    const SampleFeed& Feed() const;

    void Play() override;
    void Pause() override;
    void HoldSamples() override;
    void Seek(long long positionMs) override;
    void WaitDelivered() override;

private:
    void PushSample(const TTMLHost::PlayerSample& sample);

    SampleFeed m_feed;
    player_s* m_player = nullptr; // owned
    TTML::CTTMLSource* m_source = nullptr;
    bool m_playing = false;
    bool m_holding = true;
};

} // namespace TTMLClient

#endif
