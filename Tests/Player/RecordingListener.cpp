#include "RecordingListener.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include "Gate.h"

namespace TTMLTest {

template <typename Condition>
bool RecordingListener::Wait(const char* what, Condition condition)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_changed.wait_for(lock, kPatience, condition)) {
        return true;
    }
    ADD_FAILURE() << "still waiting for " << what << " after " << kPatience.count() << " s, with "
                  << m_samples.size() << " samples and " << m_errors.size() << " ends";
    return false;
}

void RecordingListener::OnSample(const TTMLHost::PlayerSample& sample)
{
    PushedSample pushed;
    pushed.when = std::chrono::steady_clock::now();
    pushed.text.assign(sample.text, sample.size);
    pushed.terminated = sample.text[sample.size] == '\0';
    pushed.index = sample.index;
    pushed.timestampMs = sample.timestampMs;
    pushed.segStartTime = sample.segStartTime;
    pushed.segEndTime = sample.segEndTime;
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    pushed.thread = name;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_player != nullptr) {
        player_s* const player = m_player;
        lock.unlock();
        player_get_play_position_ex(player, &pushed.positionMs);
        lock.lock();
    }
    m_inside = true;
    m_samples.push_back(pushed);
    m_held = m_holdAt == sample.index;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_held; });
    m_inside = false;
}

void RecordingListener::OnEnd(const std::string& error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errors.push_back(error);
    m_changed.notify_all();
}

void RecordingListener::Attach(player_s* player)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_player = player;
}

void RecordingListener::HoldAt(std::int32_t index)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_holdAt = index;
}

bool RecordingListener::WaitHeld()
{
    return Wait("the held sample", [this] { return m_held; });
}

void RecordingListener::Release()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_holdAt = -1;
    m_held = false;
    m_changed.notify_all();
}

bool RecordingListener::WaitForSamples(std::size_t count)
{
    return Wait("samples", [this, count] { return m_samples.size() >= count; });
}

std::string RecordingListener::WaitForEnd(std::size_t count)
{
    if (!Wait("the end of the input", [this, count] { return m_errors.size() >= count; })) {
        return "no end came";
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_errors[count - 1];
}

std::vector<PushedSample> RecordingListener::Samples()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_samples;
}

std::size_t RecordingListener::Ends()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_errors.size();
}

bool RecordingListener::IsInside()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_inside;
}

} // namespace TTMLTest
