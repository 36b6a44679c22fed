// The log service: __dlog_print.
//
// Everything here with static storage is constant-initialised and has no destructor, so that lines can be
// written before main and while the process exits.

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include "HostLog.h"
#include "LogLine.h"
#include "LogThreshold.h"

namespace TTMLHost {

namespace {

constexpr int kThresholdUnread = 0;
std::atomic<int> g_threshold{kThresholdUnread};

// One write may take only part of a line (a pipe, a socket); the lock keeps the rest of it together.
pthread_mutex_t g_writeMutex = PTHREAD_MUTEX_INITIALIZER;

// The message text: printf's result, on the stack unless it is long.
class MessageText
{
public:
    MessageText() = default;
    ~MessageText() { std::free(m_heap); }
    MessageText(const MessageText&) = delete;
    MessageText& operator=(const MessageText&) = delete;

    __attribute__((format(printf, 2, 0))) void Format(const char* format, va_list arguments) noexcept
    {
        // "%m" means the errno of the caller both times.
        const int callersErrno = errno;
        va_list again;
        va_copy(again, arguments);
        // The analyzer does not see that the caller started the list.
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
        const int length = std::vsnprintf(m_inline, sizeof m_inline, format, arguments);
        if (length < 0) {
            // printf refuses the text; its format is still worth a line.
            m_text = format;
            m_size = std::strlen(format);
        } else if (static_cast<std::size_t>(length) < sizeof m_inline) {
            m_size = static_cast<std::size_t>(length);
        } else {
            const std::size_t needed = static_cast<std::size_t>(length) + 1;
            m_heap = static_cast<char*>(std::malloc(needed));
            if (m_heap == nullptr) {
                m_size = sizeof m_inline - 1;
            } else {
                errno = callersErrno;
                (void)std::vsnprintf(m_heap, needed, format, again);
                m_text = m_heap;
                m_size = needed - 1;
            }
        }
        va_end(again);
    }

    const char* Data() const noexcept { return m_text; }
    std::size_t Size() const noexcept { return m_size; }

private:
    char m_inline[1024];
    char* m_heap = nullptr;
    const char* m_text = m_inline;
    std::size_t m_size = 0;
};

bool WriteToStderr(const char* data, std::size_t size) noexcept
{
    bool written = true;
    (void)pthread_mutex_lock(&g_writeMutex);
    while (written && size > 0) {
        const ssize_t n = write(STDERR_FILENO, data, size);
        if (n >= 0) {
            data += n;
            size -= static_cast<std::size_t>(n);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            // Somebody made stderr non-blocking; the log keeps its lines whole all the same.
            pollfd ready{STDERR_FILENO, POLLOUT, 0};
            (void)poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            written = false;
        }
    }
    (void)pthread_mutex_unlock(&g_writeMutex);
    return written;
}

int PrintLine(int level, const char* tag, const char* text, std::size_t size) noexcept
{
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    // Asked each time, since a program may redirect its stderr; and only where it matters.
    const bool coloured = std::memchr(text, '\033', size) != nullptr && isatty(STDERR_FILENO) == 1;
    LogLine line;
    line.Begin(now, level, tag == nullptr ? "?" : tag);
    line.Message(text, size, coloured ? LogLine::Colours::Keep : LogLine::Colours::Strip);
    line.End();
    return WriteToStderr(line.Data(), line.Size()) ? static_cast<int>(line.Size()) : -1;
}

// Reads the environment. Several threads may come here at once; one of them says what is wrong.
int ReadThreshold() noexcept
{
    const char* text = std::getenv(kLogVariable);
    const LogThreshold threshold = ParseLogThreshold(text);
    int unread = kThresholdUnread;
    if (g_threshold.compare_exchange_strong(unread, threshold.level) && !threshold.known) {
        // The threshold stands by now, so this does not come back here.
        (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kHostLogTag,
                           "%s is '%s'; it must be info, warning, error or off. Logging from warning on.",
                           kLogVariable, text);
    }
    return threshold.level;
}

} // namespace

} // namespace TTMLHost

int __dlog_print(int /*bufferId*/, int level, const char* tag, const char* format,
                 ...) // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
{
    const int callersErrno = errno;
    int threshold = TTMLHost::g_threshold.load(std::memory_order_relaxed);
    if (threshold == TTMLHost::kThresholdUnread) {
        threshold = TTMLHost::ReadThreshold();
        errno = callersErrno;
    }
    if (level < threshold) {
        return 0;
    }
    if (format == nullptr) {
        return -1;
    }
    TTMLHost::MessageText message;
    va_list arguments;
    va_start(arguments, format);
    message.Format(format, arguments);
    va_end(arguments);
    const int written = TTMLHost::PrintLine(level, tag, message.Data(), message.Size());
    errno = callersErrno;
    return written;
}
