#ifndef LOG_H
#define LOG_H

// The library's log lines. A call site holds only the message: TTML_LOGW("Buffer is NULL"); the message
// must be a literal, and up to eight printf arguments may follow it.

#include <pthread.h>

#include "PlatformLog.h"

namespace TTML {

// The calling thread's name, cut to what a thread name can hold.
class CThreadName
{
public:
    CThreadName();
    const char* c_str() const { return m_text; }

private:
    char m_text[16];
};

// The part of a source path that stands in log lines.
constexpr const char* LogFileName(const char* path)
{
    const char* name = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '/') {
            name = p + 1;
        }
    }
    return name;
}

// Logs "Enter" when built and "Exit" when the block is left, on whatever path.
class CLogScope
{
public:
    CLogScope(const char* file, const char* function, int line);
    ~CLogScope();
    CLogScope(const CLogScope&) = delete;
    CLogScope& operator=(const CLogScope&) = delete;

    const CThreadName& Thread() const { return m_thread; }

private:
    const char* m_file;
    const char* m_function;
    int m_line;
    // Asked for once: a system call, and the same thread on both lines.
    const CThreadName m_thread;
};

inline const CThreadName& ThreadNameFrom(const CLogScope& scope)
{
    return scope.Thread();
}

inline CThreadName ThreadNameFrom(CThreadName (*ask)())
{
    return ask();
}

} // namespace TTML

// Asking for the thread's name is a system call, nearly half of the cost of a line. Where a TTML_LOG_SCOPE()
// is open a line takes the name from it, elsewhere it asks: `logScope` names the scope's object there and
// this function here.
inline ::TTML::CThreadName logScope()
{
    return {};
}

#define TTML_LOG_TAG "TTML"
#define TTML_LOG_YELLOW "\033[01;33m"
#define TTML_LOG_RED "\033[01;31m"
#define TTML_LOG_RESET "\033[0m"
#define TTML_LOG_PREFIX "%s: %s(%d) > Thread:[%s %lu] ["

#define TTML_LOG_ARGUMENTS(file, function, line)                                                             \
    file, function, line, ::TTML::ThreadNameFrom(logScope).c_str(), static_cast<unsigned long>(pthread_self())
#define TTML_LOG_HERE TTML_LOG_ARGUMENTS(::TTML::LogFileName(__FILE__), __func__, __LINE__)

// What follows `message`: the arguments of the prefix, then those of the message.
#define TTML_LOG_AT(level, on, off, message, ...)                                                            \
    __dlog_print(PLATFORM_LOG_MAIN, level, TTML_LOG_TAG, TTML_LOG_PREFIX on message off "]", __VA_ARGS__)
#define TTML_LOG_PLAIN(level, on, off, message) TTML_LOG_AT(level, on, off, message, TTML_LOG_HERE)
#define TTML_LOG_WITH(level, on, off, message, ...)                                                          \
    TTML_LOG_AT(level, on, off, message, TTML_LOG_HERE, __VA_ARGS__)
// Picks the form for a message without or with arguments; ISO C++17 has no other way to leave out a comma.
#define TTML_LOG_SELECT(m, a1, a2, a3, a4, a5, a6, a7, a8, form, ...) form
#define TTML_LOG_LINE(level, on, off, ...)                                                                   \
    TTML_LOG_SELECT(__VA_ARGS__, TTML_LOG_WITH, TTML_LOG_WITH, TTML_LOG_WITH, TTML_LOG_WITH, TTML_LOG_WITH,  \
                    TTML_LOG_WITH, TTML_LOG_WITH, TTML_LOG_WITH, TTML_LOG_PLAIN, 0)                          \
    (level, on, off, __VA_ARGS__)

// One macro a level: info plain, warnings yellow, errors red.
#define TTML_LOGI(...) TTML_LOG_LINE(PLATFORM_LOG_INFO, "", "", __VA_ARGS__)
#define TTML_LOGW(...) TTML_LOG_LINE(PLATFORM_LOG_WARNING, TTML_LOG_YELLOW, TTML_LOG_RESET, __VA_ARGS__)
#define TTML_LOGE(...) TTML_LOG_LINE(PLATFORM_LOG_ERROR, TTML_LOG_RED, TTML_LOG_RESET, __VA_ARGS__)

// A warning without arguments that a helper writes for the operation that called it.
#define TTML_LOGW_FOR(function, message)                                                                     \
    TTML_LOG_AT(PLATFORM_LOG_WARNING, TTML_LOG_YELLOW, TTML_LOG_RESET, message,                              \
                TTML_LOG_ARGUMENTS(::TTML::LogFileName(__FILE__), function, __LINE__))

#define TTML_LOG_SCOPE() const ::TTML::CLogScope logScope(::TTML::LogFileName(__FILE__), __func__, __LINE__)

#endif
