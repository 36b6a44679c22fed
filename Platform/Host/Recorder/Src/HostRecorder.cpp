// The recorder's signals: the boundary, and raising them.

#include "HostRecorder.h"

#include <exception>

#include "HostLog.h"
#include "Recorder.h"

namespace TTMLHost {

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = -1;

// The thread must not outlive this library.
[[maybe_unused]] const struct AtUnload
{
    AtUnload() = default;
    ~AtUnload() { Recorder::Instance().Close(); }
    AtUnload(const AtUnload&) = delete;
    AtUnload& operator=(const AtUnload&) = delete;
} g_atUnload;

} // namespace

void RecorderSignal(const ps_signal_s& signal)
{
    try {
        Recorder::Instance().Signal(signal);
    } catch (const std::exception& failure) {
        (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kHostLogTag,
                           "Could not raise signal %d of the recorder: %s; it is lost, close other programs",
                           static_cast<int>(signal.type), failure.what());
    }
}

void RecorderSettle()
{
    Recorder::Instance().Settle();
}

void RecorderClose()
{
    Recorder::Instance().Close();
}

} // namespace TTMLHost

int svc_pvr_register_signal_cb_in_list(void (*callback)(ps_signal_s signal, void* userData), void* userData)
{
    if (callback == nullptr) {
        return TTMLHost::kFailed;
    }
    try {
        TTMLHost::Recorder::Instance().Callbacks().Register(callback, userData);
    } catch (...) {
        return TTMLHost::kFailed;
    }
    return TTMLHost::kSucceeded;
}

int svc_pvr_unregister_signal_cb_in_list(void (*callback)(ps_signal_s signal, void* userData))
{
    return TTMLHost::Recorder::Instance().Callbacks().Unregister(callback) ? TTMLHost::kSucceeded
                                                                           : TTMLHost::kFailed;
}
