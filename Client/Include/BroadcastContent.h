#ifndef TTMLSRC_BROADCAST_CONTENT_H
#define TTMLSRC_BROADCAST_CONTENT_H

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "Content.h"
#include "HostTvService.h"

namespace TTMLClient {

class Session;

// A TV service as content: it plays on whatever the track does. Listens to the service, and holds it at each
// signal until the source has handled that, as on a television, where a tune takes longer than its signals.
class BroadcastContent : public Content, public TTMLHost::TvListener
{
public:
    // Both may be null and are called on threads of the service. `onTuned`: the source has handled the first
    // success of a tune. `onOver`: the input is over and everything delivered; `failed` when it broke off.
    BroadcastContent(std::function<void()> onTuned, std::function<void(bool failed)> onOver);

    // The session whose source gets the signals: after its start, before the service begins to tune.
    void Connect(Session* session);
    // No signal waits for the source any more after the return. Before the session ends.
    void Disconnect();

    // What to do around a tune, so that WaitTuned() is about that one.
    void ExpectTune();
    // Waits until the source has handled the success of the tune that was expected, or until that tune has
    // failed: then in one line why. At once, and empty, when the input is over or waits were given up.
    std::string WaitTuned();
    void GiveUpWaits();

    // Why the input ended; empty when it came to its regular end or has not ended.
    std::string InputError() const;
    // Whether a tune has succeeded.
    bool Tuned() const;
    // Whether the service has complained of its input or of a tune.
    bool Complained() const;

    void Play() override;
    void Pause() override;
    void HoldSamples() override;
    void Seek(long long positionMs) override;
    void WaitDelivered() override;

    void OnSignal(ESignalType signal) override;
    void OnPesDelivered() override;
    void OnWarning(const std::string& line) override;
    void OnTuneFailed(const std::string& line) override;
    void OnEnd(const std::string& error) override;

private:
    enum class Tune
    {
        Expected,
        Started,
        Done
    };

    void NoteTune(ESignalType signal);

    const std::function<void()> m_onTuned;
    const std::function<void(bool)> m_onOver;

    mutable std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    Session* m_session = nullptr;
    bool m_settling = false; // a signal waits for the source
    Tune m_tune = Tune::Expected;
    bool m_tunedOnce = false;
    bool m_over = false;
    bool m_givenUp = false;
    bool m_complained = false;
    std::string m_tuneError; // why the expected tune failed; it may succeed late all the same
    std::string m_inputError;
};

} // namespace TTMLClient

#endif
