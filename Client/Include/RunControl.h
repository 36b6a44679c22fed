#ifndef TTMLSRC_RUN_CONTROL_H
#define TTMLSRC_RUN_CONTROL_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace TTMLClient {

// Why a run ends before its script does.
enum class StopReason
{
    None,
    InputOver,   // everything that the input holds has been delivered
    TimeUp,      // --duration is over
    Interrupted, // a signal, or nobody reads the output any more
    Failed       // the run cannot go on
};

// Where everybody who can end a run says so, and everybody who waits in it waits. Any thread.
class RunControl
{
public:
    using StopHook = std::function<void(StopReason)>;

    // What to do at once when the run is to end early: release what may be blocked. Called on the thread
    // that stops the run, at each request but InputOver. It must outlive the requests; set a null one
    // before it goes.
    void SetStopHook(StopHook hook);

    // Ends the run; the first reason counts. Waits return at once from here on.
    void Stop(StopReason reason);

    // As Stop(Failed), with what failed; the first text counts, whatever ended the run.
    void Fail(const std::string& what);

    bool Stopped() const;
    StopReason Reason() const;
    std::string Failure() const; // empty when nothing failed

    // Waits until the run is stopped.
    void Wait();

    // Waits for a time; true when the run was stopped meanwhile or before.
    bool WaitFor(std::chrono::milliseconds time);

private:
    void CallHook(StopReason reason);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    StopReason m_reason = StopReason::None; // under m_mutex
    std::string m_failure;                  // under m_mutex

    // A lock of its own, held while the hook runs: so a hook that was replaced is not running any more.
    std::mutex m_hookMutex;
    StopHook m_hook; // under m_hookMutex
};

} // namespace TTMLClient

#endif
