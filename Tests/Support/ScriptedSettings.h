#ifndef SCRIPTED_SETTINGS_H
#define SCRIPTED_SETTINGS_H

#include <functional>
#include <string>

#include "PlatformSettings.h"

namespace TTMLTest {

// Calls of the settings store that can be made to fail or held.
enum class SettingsCall
{
    GET,
    GET_END, // for During() alone: a GET has read the value and is about to return
    SET,
    NOTIFY,
    IGNORE
};

// The scripted settings store. The journal (service "settings") shows
//     vconf_get_bool("db/a") = 0, 1
//     vconf_set_int("memory/b", 7) = 0
//     vconf_notify_key_changed("db/a") = 0
//     vconf_ignore_key_changed("db/a") = 0
// Reading a key of which the test said nothing fails the test, and so do registrations that are left at its
// end, if the test did not make their removal fail, and failures that nobody met.
class ScriptedSettings
{
public:
    // Give a key its value, silently, or say that it has none.
    static void SetBool(const std::string& key, bool value);
    static void SetInt(const std::string& key, int value);
    static void SetMissing(const std::string& key);
    // What is written there now; a key without an int or bool value fails the test.
    static int ValueOf(const std::string& key);

    // The next call of the kind answers this and has no effect.
    static void Fail(SettingsCall call, int result);
    // Runs `action` on the calling thread inside each call of the kind, ahead of what it does. Null ends it.
    static void During(SettingsCall call, std::function<void()> action);

    // Sends a change notice for the key, on the calling thread. How many were called.
    static unsigned int Notice(const std::string& key);
    static unsigned int Registrations(const std::string& key);
    // Calls the callback that was registered last, as a notice does that comes where it should not.
    static void LateNotice(void* userData);

    static void Reset();
    static void Verify();
};

} // namespace TTMLTest

#endif
