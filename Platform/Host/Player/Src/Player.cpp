#include "Player.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <system_error>

#include <pthread.h>

#include "AvError.h"

namespace TTMLHost {

namespace {

constexpr char kThreadName[] = "Player";
// Between two looks for news on a live stream.
constexpr std::chrono::seconds kRetryInterval{1};

PlayClock::TimePoint Now()
{
    return std::chrono::steady_clock::now();
}

} // namespace

std::string ClockTimeOf(std::int64_t ms)
{
    const auto padded = [](std::int64_t number, std::size_t digits) {
        const std::string text = std::to_string(number);
        return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
    };
    return padded(ms / 3600000, 2) + ':' + padded(ms / 60000 % 60, 2) + ':' + padded(ms / 1000 % 60, 2) +
           '.' + padded(ms % 1000, 3);
}

Player::Player(const std::string& input, const PlayerOptions& options, PlayerListener* listener)
    : m_input(input)
    , m_options(options)
    , m_listener(listener)
    , m_clock(options.speed)
    , m_reader(input, options, [this] { return ShouldStopReading(); })
{}

Player::~Player()
{
    {
        const Lock lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool Player::ShouldStopReading() const
{
    const bool cancelled = m_opening && m_options.cancel != nullptr && *m_options.cancel;
    return cancelled || m_stop || m_seekWaits;
}

bool Player::Open(std::string* error)
{
    if (!m_reader.Open(error)) {
        return false;
    }
    m_opening = false;
    m_tracks = m_reader.Tracks();
    const DashManifest& manifest = m_reader.Manifest();
    m_live = manifest.live;
    m_baseMs = manifest.live ? manifest.availabilityStartMs + manifest.periodStartMs : 0;
    m_clock.Set(m_reader.StartMs(), Now());
    m_fastPositionMs = m_reader.StartMs();
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error& failure) {
        *error =
            DescribeError("play", m_input, std::string("no thread could be started (") + failure.what() + ")",
                          "free some resources");
        return false;
    }
    return true;
}

void Player::Play()
{
    {
        const Lock lock(m_mutex);
        m_playing = true;
        if (!m_ended) {
            m_clock.Start(Now());
        }
    }
    m_changed.notify_all();
}

void Player::Pause()
{
    {
        const Lock lock(m_mutex);
        m_playing = false;
        m_clock.Stop(Now());
    }
    m_changed.notify_all();
}

void Player::Seek(std::int64_t positionMs)
{
    Lock lock(m_mutex);
    const auto now = Now();
    const std::int64_t mediaMs = positionMs - m_baseMs;
    m_clock.Set(mediaMs, now);
    if (m_playing) {
        m_clock.Start(now);
    }
    m_limitMs = kNoLimit;
    m_fastPositionMs = mediaMs;
    m_seekPositionMs = mediaMs;
    m_ended = false;
    m_seekWaits = true;
    m_changed.notify_all();
    // What is under way belongs to the old place; nothing of it may come after the return.
    m_changed.wait(lock, [this] { return !m_inListener; });
}

std::int64_t Player::PositionMs() const
{
    const Lock lock(m_mutex);
    const std::int64_t clockMs = std::min(m_clock.PositionMs(Now()), m_limitMs);
    return m_baseMs + (m_options.fast ? m_fastPositionMs : clockMs);
}

void Player::Run()
{
    pthread_setname_np(pthread_self(), kThreadName);
    Lock lock(m_mutex);
    while (!m_stop) {
        try {
            PlayUntilStopped(&lock);
        } catch (const std::exception& failure) {
            if (!lock.owns_lock()) {
                lock.lock();
            }
            m_hand = Hand::End;
            m_dueMs = kUnknownTime;
            m_error = failure.what();
        }
    }
}

void Player::PlayUntilStopped(Lock* lock)
{
    while (!m_stop) {
        if (m_seekWaits) {
            SeekReader(lock);
        } else if (m_hand == Hand::Empty && !m_ended) {
            ReadNext(lock);
        } else if (m_hand == Hand::Empty || !m_playing) {
            m_changed.wait(*lock);
        } else if (!IsDue()) {
            m_changed.wait_until(*lock, m_clock.When(m_dueMs, Now()));
        } else if (m_hand == Hand::Sample) {
            PushSample(lock);
        } else {
            PushEnd(lock);
        }
    }
}

bool Player::IsDue() const
{
    return m_options.fast || m_dueMs <= m_clock.PositionMs(Now());
}

void Player::ReadNext(Lock* lock)
{
    if (Now() < m_retryAt) {
        m_changed.wait_until(*lock, m_retryAt);
        return;
    }
    lock->unlock();
    const ReadStatus status = m_reader.Read(&m_sample, &m_error);
    lock->lock();
    TakeResult(status);
}

void Player::SeekReader(Lock* lock)
{
    const std::int64_t positionMs = m_seekPositionMs;
    m_seekWaits = false;
    m_hand = Hand::Empty;
    m_lastEndMs = kUnknownTime;
    m_retryAt = PlayClock::TimePoint();
    lock->unlock();
    const ReadStatus status = m_reader.SeekTo(positionMs, &m_error);
    lock->lock();
    if (status != ReadStatus::Sample) {
        TakeResult(status);
    }
}

void Player::TakeResult(ReadStatus status)
{
    switch (status) {
    case ReadStatus::Sample:
        m_hand = Hand::Sample;
        m_dueMs = m_sample.startMs;
        m_lastEndMs = m_sample.endMs;
        break;
    case ReadStatus::End:
        m_hand = Hand::End;
        m_error.clear();
        // The last sample has its time, too, and the clock goes no further.
        m_dueMs = m_lastEndMs;
        if (m_dueMs != kUnknownTime) {
            m_limitMs = std::max(m_dueMs, m_clock.PositionMs(Now()));
        }
        break;
    case ReadStatus::Failed:
        m_hand = Hand::End;
        m_dueMs = kUnknownTime;
        break;
    case ReadStatus::NotYet:
        m_retryAt = Now() + kRetryInterval;
        break;
    case ReadStatus::Stopped:
        break;
    }
}

void Player::PushSample(Lock* lock)
{
    PlayerSample pushed;
    pushed.text = m_sample.text.c_str();
    pushed.size = m_sample.text.size();
    pushed.index = m_nextIndex++;
    pushed.timestampMs = m_baseMs + m_sample.startMs;
    if (m_sample.endMs != kUnknownTime && m_sample.startMs >= 0) {
        pushed.segStartTime = ClockTimeOf(m_sample.startMs);
        pushed.segEndTime = ClockTimeOf(m_sample.endMs);
    }
    m_fastPositionMs = m_sample.startMs;
    m_hand = Hand::Empty;
    m_inListener = true;
    lock->unlock();
    m_listener->OnSample(pushed);
    lock->lock();
    m_inListener = false;
    m_changed.notify_all();
}

void Player::PushEnd(Lock* lock)
{
    const auto now = Now();
    const std::int64_t positionMs = std::min(m_clock.PositionMs(now), m_limitMs);
    m_clock.Stop(now);
    m_clock.Set(positionMs, now);
    m_hand = Hand::Empty;
    m_ended = true;
    m_inListener = true;
    lock->unlock();
    m_listener->OnEnd(m_error);
    lock->lock();
    m_inListener = false;
    m_changed.notify_all();
}

} // namespace TTMLHost
