#ifndef TV_RECORDER_H
#define TV_RECORDER_H

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "HostTvService.h"
#include "PlatformTvService.h"

namespace TTMLTest {

// Notes what happens in the TV service, in one order: what the listener is told ("told 60", "delivered",
// "warning: ...", "failed: ...", "end: ..."), and what subscribers are given ("signal 60", "pes 258 at
// 90000"). Waits that are not answered in time fail the test.
class TvRecorder : public TTMLHost::TvListener
{
public:
    void OnSignal(ESignalType signal) override;
    void OnPesDelivered() override;
    void OnCaptionDelivered() override;
    void OnWarning(const std::string& line) override;
    void OnTuneFailed(const std::string& line) override;
    void OnEnd(const std::string& error) override;

    // Notes an event, blocks while it is held, and does what is to be done then.
    void Note(const std::string& event);

    // Has the thread that notes the event blocked there until Release(event).
    void Hold(const std::string& event);
    bool WaitHeld(const std::string& event);
    void Release(const std::string& event);
    // Run by the thread that notes the event, before it goes on. Set before it can happen.
    void When(const std::string& event, std::function<void()> action);

    bool WaitFor(const std::string& event, unsigned times = 1);
    // The text of the end.
    std::string WaitForEnd();

    std::vector<std::string> Events() const;
    unsigned Count(const std::string& event) const;
    // Those that begin so.
    std::vector<std::string> EventsLike(const std::string& beginning) const;
    void Clear();

private:
    struct Stop
    {
        bool held = true;
        bool reached = false;
    };

    template <typename Condition>
    bool Wait(const std::string& what, Condition condition);
    unsigned CountLocked(const std::string& event) const;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
    std::map<std::string, Stop> m_stops;
    std::map<std::string, std::function<void()>> m_actions;
};

// Subscribes as a source does and notes what it gets: signals from its construction on, PES packets from each
// tune's success to the next tune's start.
class TvViewer
{
public:
    explicit TvViewer(TvRecorder* recorder);
    ~TvViewer();
    TvViewer(const TvViewer&) = delete;
    TvViewer& operator=(const TvViewer&) = delete;

private:
    static int OnSignal(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                        void* userData);
    static void OnPes(TSPESData& packet, void* userData);

    TvRecorder* const m_recorder;
    TVServiceAPI::ISignalSubscriber* m_subscriber = nullptr;
    bool m_subscribed = false; // the signal thread's
};

// The answers of the boundary, each from a session object of its own.
std::string CurrentServiceText();  // "service 1", "service 1 locked", "none"
std::string CurrentSubtitleText(); // "deu 0 type 2 profile 4", "none"
std::string StcText();             // a number, or "none"
std::string LockText();            // "locked", "open", "none"
std::string RatingText();          // "12 permitted", "none"

// Closes the TV service when it goes.
class OpenTv
{
public:
    OpenTv(const TTMLHost::TvOptions& options, TvRecorder* recorder);
    ~OpenTv() { TTMLHost::TvClose(); }
    OpenTv(const OpenTv&) = delete;
    OpenTv& operator=(const OpenTv&) = delete;
};

TTMLHost::TvOptions FastInput(const std::string& input);
TTMLHost::TvOptions InputAtSpeed(const std::string& input, double speed);
// The line with which an input that cannot be opened is refused.
std::string TvOpenError(const TTMLHost::TvOptions& options);

} // namespace TTMLTest

#endif
