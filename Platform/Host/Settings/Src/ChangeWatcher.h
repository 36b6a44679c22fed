#ifndef TTML_HOST_CHANGE_WATCHER_H
#define TTML_HOST_CHANGE_WATCHER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace TTMLHost {

// A thread that looks for something again and again, as long as somebody needs it.
class ChangeWatcher
{
public:
    // Between two looks. Changes by other programs are to be noticed within a second.
    static constexpr std::chrono::milliseconds kInterval{250};

    // `needed` says whether the thread is to run; it is called with the watcher's lock held and must not call
    // back. `look` is called on the thread, without a lock. Neither may throw.
    ChangeWatcher(std::function<bool()> needed, std::function<void()> look);
    ~ChangeWatcher();
    ChangeWatcher(const ChangeWatcher&) = delete;
    ChangeWatcher& operator=(const ChangeWatcher&) = delete;

    // What `needed` answers may have changed: starts the thread, or has it end after the look under way. Does
    // not wait for that. Any thread, the watcher's own too. Throws std::system_error when there is no thread.
    void Update();

    // Ends the thread for good. On the thread itself (a process that exits inside a look) it cannot wait for
    // that, and the object must not go.
    void Close();

private:
    void m_Run();

    const std::function<bool()> m_needed;
    const std::function<void()> m_look;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_wanted = false;  // guarded by m_mutex
    bool m_running = false; // guarded by m_mutex; the thread clears it last of all
    bool m_closed = false;  // guarded by m_mutex
    std::thread m_thread;   // guarded by m_mutex
};

} // namespace TTMLHost

#endif
