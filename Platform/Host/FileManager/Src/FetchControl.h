#ifndef TTML_HOST_FETCH_CONTROL_H
#define TTML_HOST_FETCH_CONTROL_H

#include <atomic>
#include <mutex>
#include <string>

#include <curl/curl.h>

#include "HostFileManager.h"

namespace TTMLHost {

// What a group of fetches has in common: their limits, the abort, and the last error. Any thread.
class FetchControl
{
public:
    // A fetch while it runs; AbortFetches() finds it through this. Lives on the fetching thread's stack,
    // and no longer than the handle.
    class Running
    {
    public:
        Running(FetchControl& control, CURLM* handle) noexcept;
        ~Running();
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

        // Whether fetches of the group were forbidden when this one began or have been since, even for a
        // moment.
        bool Aborted() const noexcept { return m_aborted.load(std::memory_order_relaxed); }

    private:
        friend class FetchControl;

        FetchControl& m_control;
        CURLM* m_handle;
        std::atomic<bool> m_aborted;
        Running* m_previous = nullptr; // guarded by the control's mutex
        Running* m_next = nullptr;     // guarded by the control's mutex
    };

    // That of the process's file manager; never destroyed, so that a fetch may outlast main.
    static FetchControl& Instance() noexcept;

    FetchControl() = default;
    ~FetchControl() = default;
    FetchControl(const FetchControl&) = delete;
    FetchControl& operator=(const FetchControl&) = delete;

    void SetLimits(const FetchLimits& limits);
    FetchLimits Limits() const;

    void Abort() noexcept;
    void Allow() noexcept;

    // Keeps a failure's line; when there is no memory for it, a short text instead.
    void SetLastError(const std::string& line) noexcept;
    void SetLastErrorToNoMemory() noexcept;
    std::string LastError() const;

private:
    mutable std::mutex m_mutex;
    FetchLimits m_limits;         // guarded by m_mutex
    std::string m_lastError;      // guarded by m_mutex
    Running* m_running = nullptr; // guarded by m_mutex; the newest of a list
    bool m_forbidden = false;     // guarded by m_mutex
};

} // namespace TTMLHost

#endif
