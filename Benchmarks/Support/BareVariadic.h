#ifndef BARE_VARIADIC_H
#define BARE_VARIADIC_H

namespace TTMLBench {

// A call with the arguments of the log function and nothing behind it. Compiled apart from its callers, so
// that the call is really made. Returns 0.
int BareVariadic(int bufferId, int level, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

} // namespace TTMLBench

#endif
