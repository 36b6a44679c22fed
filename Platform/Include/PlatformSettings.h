#ifndef TTML_PLATFORM_SETTINGS_H
#define TTML_PLATFORM_SETTINGS_H

// Platform service: the settings store. A key is a path: what begins with "db/" outlives the process,
// what begins with "memory/" does not outlive the system's run.

#include "PlatformExport.h"

// What a change notice is about. Opaque; the platform's, valid during the call.
struct _keynode_t; // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the service's name

extern "C" {
// Any thread may make these calls, on several at once, also inside a change notice. Keys stay the caller's.
// They return 0 on success and a negative value on failure, and must not throw.

// Read a value of the type asked for; a failure (a key without a value, a value of another type) leaves
// `*value` as it is. A bool is 0 or 1.
TTML_PLATFORM_EXPORT int vconf_get_int(const char* key, int* value);
TTML_PLATFORM_EXPORT int vconf_get_bool(const char* key, int* value);

// Write a value; a bool is false for 0 only. Change notices may come before the call returns, on the calling
// thread or on another.
TTML_PLATFORM_EXPORT int vconf_set_int(const char* key, int value);
TTML_PLATFORM_EXPORT int vconf_set_bool(const char* key, int value);

// Has `callback` called with `userData` whenever the key's value is set, by this process or another. The
// callback may make any call of this header. A second registration of the same callback and user data for a
// key counts, but does not double the calls.
TTML_PLATFORM_EXPORT int
vconf_notify_key_changed(const char* key, void (*callback)(_keynode_t* node, void* userData), void* userData);

// Takes back one registration of `callback` for the key. With the last one all calls end: none runs after the
// return, unless the call is made inside such a notice, where it does not wait. While other registrations
// remain, calls with any of the user data given may go on, so a callback must know whose user data is alive.
TTML_PLATFORM_EXPORT int vconf_ignore_key_changed(const char* key,
                                                  void (*callback)(_keynode_t* node, void* userData));
}

#endif
