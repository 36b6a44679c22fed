#ifndef TTMLSRC_SAMPLE_FEED_H
#define TTMLSRC_SAMPLE_FEED_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "HostPlayer.h"
#include "NoticeListener.h"

namespace TTMLClient {

// Stands between the player's reader and the source: lets samples through while the track takes them, and
// makes the reader wait when the source has enough to deliver. A source whose in-band thread does not run
// keeps only the twenty newest samples, so nothing may be pushed before the start notice, and the window
// is smaller than that.
class SampleFeed : public TTMLHost::PlayerListener, public NoticeListener
{
public:
    using Push = std::function<void(const TTMLHost::PlayerSample&)>;

    static constexpr int kWindow = 16; // samples pushed and not delivered yet, at most

    // A feed that holds samples back. `push` hands a sample to the source, on the reader's thread. `onOver`
    // (may be null) is called when the input is over and all of it is delivered or dropped, on whichever
    // thread brings that about; more than once when the input ends more than once.
    SampleFeed(Push push, std::function<void()> onOver);

    // The reader's calls and the session's.
    void OnSample(const TTMLHost::PlayerSample& sample) override;
    void OnEnd(const std::string& error) override;
    void OnNotice(int code) override;

    // Holds samples back: no sample is being pushed after the return, and none until Let(). The reader
    // waits with the one it has.
    void Hold();
    void Let();

    // Throws samples away instead, so that the reader can be moved elsewhere. An input that is over is
    // not over any more.
    void Discard();

    // Throws samples away for good; the end of a run. Later Hold(), Let() and Discard() do nothing more.
    void Close();

    // Waits until everything that was pushed is delivered or dropped, or until waits are given up. The
    // track must be playing.
    void WaitDelivered();
    void GiveUpWaits();

    // Why the input ended; empty when it came to its regular end or has not ended.
    std::string InputError() const;
    // How many samples the reader has brought.
    long long SamplesRead() const;

private:
    enum class Gate
    {
        Held,
        Open,
        Discarding,
        Closed
    };

    bool Over() const; // with m_mutex held
    // Returns when no push is under way.
    void SetGate(Gate gate);

    const Push m_push;
    const std::function<void()> m_onOver;

    mutable std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    Gate m_gate = Gate::Held;
    bool m_pushing = false;
    bool m_givenUp = false;
    bool m_ended = false;
    std::string m_inputError;
    int m_outstanding = 0; // samples pushed and not delivered yet
    long long m_read = 0;
};

} // namespace TTMLClient

#endif
