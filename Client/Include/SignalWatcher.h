#ifndef TTMLSRC_SIGNAL_WATCHER_H
#define TTMLSRC_SIGNAL_WATCHER_H

#include <chrono>
#include <optional>
#include <thread>

namespace TTMLClient {

class RunControl;

// Ends a run on SIGINT and SIGTERM, and when its time is up. A second signal ends the process on the
// spot, for a run that does not come to its end.
class SignalWatcher
{
public:
    // Keeps both signals from interrupting threads that are created later, so that only a watcher gets
    // them. The program calls it first of all.
    static void BlockSignals();

    // Watches from here on. `duration` counts from now. `control` must outlive the watcher.
    SignalWatcher(RunControl& control, std::optional<std::chrono::milliseconds> duration);
    ~SignalWatcher();
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;

private:
    void Watch();

    RunControl& m_control;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
    int m_signals; // becomes readable with a signal
    int m_quit;    // becomes readable when the watcher goes
    std::thread m_thread;
};

} // namespace TTMLClient

#endif
