#ifndef SCRIPTED_RECORDER_H
#define SCRIPTED_RECORDER_H

#include <functional>

#include "PlatformRecorder.h"

namespace TTMLTest {

// The scripted recorder. The journal (service "recorder") shows
//     svc_pvr_register_signal_cb_in_list() = 0
//     svc_pvr_unregister_signal_cb_in_list() = 0
// Calls before Allow() fail the test, and so do registrations that are left at its end, if the test did not
// make their removal fail.
class ScriptedRecorder
{
public:
    static void Allow();

    // The next registration, or removal, answers this and has no effect.
    static void FailRegistration(int result);
    static void FailRemoval(int result);

    // Run inside each of these calls, on the calling thread, when it has done its work.
    static void AtEndOfRegistration(std::function<void()> action);
    static void DuringRemoval(std::function<void()> action);

    // Sends a signal to all registrations, on the calling thread. How many were called.
    static unsigned int Signal(int type, int playState = 0);
    static unsigned int Registrations();

    // Calls the callback that was registered last, as a call does that comes where it should not.
    static void LateSignal(void* userData, int type, int playState = 0);

    static void Reset();
    static void Verify();
};

} // namespace TTMLTest

#endif
