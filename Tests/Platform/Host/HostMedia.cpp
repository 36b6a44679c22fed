#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include <gtest/gtest.h>

#include "Gate.h"
#include "HostAbilities.h"
#include "HostPlayer.h"
#include "MediaMaker.h"
#include "TemporaryFolder.h"

namespace PortTest {

namespace {

// Keeps the samples that nobody has asked for yet.
class Samples : public TTMLHost::PlayerListener
{
public:
    void OnSample(const TTMLHost::PlayerSample& sample) override
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_samples.push_back({std::string(sample.text, sample.size), sample.timestampMs});
        m_changed.notify_all();
    }
    void OnEnd(const std::string& error) override { EXPECT_EQ(error, ""); }

    bool Take(MediaSample* sample)
    {
        std::unique_lock<std::mutex> guard(m_mutex);
        if (!m_changed.wait_for(guard, TTMLTest::kPatience, [this] { return !m_samples.empty(); })) {
            return false;
        }
        *sample = m_samples.front();
        m_samples.pop_front();
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<MediaSample> m_samples; // guarded by m_mutex
};

class HostMedia : public MediaControl
{
public:
    player_s* OpenOnDemand() override { return Open(TTMLTest::SamplePath("subtitles.mp4")); }
    player_s* OpenLive() override
    {
        if (m_live == nullptr) {
            m_live = std::make_unique<TTMLTest::TemporaryFolder>();
            (void)TTMLTest::MakeLiveDash(m_live->Path("dash"));
        }
        return Open(m_live->Path("dash/manifest.mpd"));
    }
    void Play(player_s* player) override { TTMLHost::PlayerPlay(player); }
    void Pause(player_s* player) override { TTMLHost::PlayerPause(player); }
    void Seek(player_s* player, long long positionMs) override { TTMLHost::PlayerSeek(player, positionMs); }
    void Close(player_s* player) override
    {
        TTMLHost::PlayerClose(player);
        (void)m_samples.erase(player);
    }
    bool WaitForSample(player_s* player, MediaSample* sample) override
    {
        return m_samples.at(player)->Take(sample);
    }

private:
    player_s* Open(const std::string& input)
    {
        auto samples = std::make_unique<Samples>();
        std::string error;
        player_s* const player = TTMLHost::PlayerOpen(input, {}, samples.get(), &error);
        EXPECT_NE(player, nullptr) << error;
        if (player != nullptr) {
            m_samples[player] = std::move(samples);
        }
        return player;
    }

    std::unique_ptr<TTMLTest::TemporaryFolder> m_live;
    std::map<player_s*, std::unique_ptr<Samples>> m_samples;
};

} // namespace

std::unique_ptr<MediaControl> MakeHostMedia()
{
    return std::make_unique<HostMedia>();
}

} // namespace PortTest
