// Writes log lines in the way that its first argument names, for tests that look at them from outside.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include "PlatformFileManager.h"
#include "PlatformLog.h"

namespace {

// The kernel's smallest pipe, so that long lines cannot be written at once.
constexpr int kSmallPipe = 4096;

// Logs before main and after it, when the environment asks for that.
class Lifetime
{
public:
    Lifetime() { m_Log("before main"); }
    ~Lifetime() { m_Log("during exit"); }

private:
    static void m_Log(const char* text)
    {
        if (std::getenv("PROBE_LIFETIME") != nullptr) {
            (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, "TTML", "%s", text);
        }
    }
};
const Lifetime g_lifetime;

int Print(int level, const std::string& text)
{
    return __dlog_print(PLATFORM_LOG_MAIN, level, "TTML", "%s", text.c_str());
}

// `threads` threads, each with `count` lines of about `size` bytes, short ones in between.
void PrintTogether(int threads, int count, std::size_t size)
{
    std::vector<std::thread> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back([thread, count, size] {
            for (int line = 0; line < count; ++line) {
                const std::string filling(line % 2 == 0 ? size : 10, static_cast<char>('a' + thread));
                (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, "TTML", "%d %d %s.", thread, line,
                                   filling.c_str());
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
}

void OnAlarm(int /*signal*/)
{}

// An alarm every millisecond, whose handler lets system calls end with EINTR.
void Interrupt()
{
    struct sigaction action = {};
    action.sa_handler = OnAlarm;
    (void)sigaction(SIGALRM, &action, nullptr);
    const itimerval often = {{0, 1000}, {0, 1000}};
    (void)setitimer(ITIMER_REAL, &often, nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto argument = [&](std::size_t i) { return i < arguments.size() ? arguments[i] : std::string(); };
    const auto number = [&](std::size_t i) { return std::atoi(argument(i).c_str()); };
    const std::string mode = argument(0);

    if (mode == "print") { // LEVEL TEXT
        std::printf("%d\n", Print(number(1), argument(2)));
    } else if (mode == "levels") {
        (void)Print(PLATFORM_LOG_INFO, "an info line");
        (void)Print(PLATFORM_LOG_WARNING, "a warning");
        (void)Print(PLATFORM_LOG_ERROR, "an error");
    } else if (mode == "long") { // SIZE
        std::printf("%d\n",
                    Print(PLATFORM_LOG_WARNING, std::string(static_cast<std::size_t>(number(1)), 'x')));
    } else if (mode == "threads") { // THREADS COUNT SIZE
        (void)fcntl(STDERR_FILENO, F_SETPIPE_SZ, kSmallPipe);
        PrintTogether(number(1), number(2), static_cast<std::size_t>(number(3)));
    } else if (mode == "nonblocking") { // the same on a descriptor that takes what fits
        (void)fcntl(STDERR_FILENO, F_SETPIPE_SZ, kSmallPipe);
        (void)fcntl(STDERR_FILENO, F_SETFL, fcntl(STDERR_FILENO, F_GETFL) | O_NONBLOCK);
        PrintTogether(number(1), number(2), static_cast<std::size_t>(number(3)));
    } else if (mode == "interrupted") { // the same while signals arrive
        (void)fcntl(STDERR_FILENO, F_SETPIPE_SZ, kSmallPipe);
        Interrupt();
        PrintTogether(number(1), number(2), static_cast<std::size_t>(number(3)));
    } else if (mode == "below") {
        // Formatting this text would read from where nothing is.
        const char* volatile nowhere = reinterpret_cast<const char*>(1);
        std::printf("%d\n", __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, "TTML", "%s",
                                         static_cast<const char*>(nowhere)));
    } else if (mode == "errno") { // LEVEL FORMAT
        // ISO C++ knows no "%m", so the compiler must not see it.
        const std::string format = argument(2) + "%s";
        const int level = number(1);
        errno = EDOM;
        (void)__dlog_print(PLATFORM_LOG_MAIN, level, "TTML", format.c_str(), "");
        std::printf("%s\n", errno == EDOM ? "kept" : "changed");
    } else if (mode == "closed") {
        (void)close(STDERR_FILENO);
        errno = EDOM;
        std::printf("%d\n", Print(PLATFORM_LOG_WARNING, "nobody reads this"));
        std::printf("%s\n", errno == EDOM ? "kept" : "changed");
    } else if (mode == "null") {
        const char* volatile nothing = nullptr;
        std::printf("%d\n", __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING,
                                         static_cast<const char*>(nothing), "no tag"));
        std::printf("%d\n", __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, "TTML",
                                         static_cast<const char*>(nothing), 0));
    } else if (mode == "refused") {
        // printf has no text for a wide character that is none.
        std::printf("%d\n", __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, "TTML", "%lc",
                                         static_cast<wint_t>(0x7fffffff)) > 0);
    } else if (mode == "clock") {
        std::printf("%lu\n", static_cast<unsigned long>(TTML::TTMLGetTimeofDay()));
    } else {
        std::fprintf(stderr, "unknown mode '%s'\n", mode.c_str());
        return 2;
    }
    return 0;
}
