// The time services: time expressions and the millisecond clock.

#include <atomic>
#include <cstdint>
#include <ctime>
#include <string>

#include "HostLog.h"
#include "PlatformFileManager.h"
#include "TimeExpression.h"

namespace TTMLHost {

namespace {

// An expression in a log line is cut here: it may come from the air.
constexpr int kShownCharacters = 80;

constexpr std::int64_t kNoOrigin = -1;
std::atomic<std::int64_t> g_originMs{kNoOrigin};

std::int64_t MonotonicMs() noexcept
{
    timespec now{};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// Milliseconds since the library was loaded, so that the 32 bits of the clock last for 49 days of this
// process and not of the machine.
std::int64_t MsSinceLoad() noexcept
{
    const std::int64_t now = MonotonicMs();
    std::int64_t origin = g_originMs.load(std::memory_order_relaxed);
    if (origin == kNoOrigin && g_originMs.compare_exchange_strong(origin, now)) {
        origin = now;
    }
    // A thread that read the clock just before another one set the origin is at the origin.
    return now > origin ? now - origin : 0;
}

// Sets the origin when the library is loaded, unless another initialiser has asked for the time before.
[[maybe_unused]] const std::int64_t g_atLoad = MsSinceLoad();

} // namespace

} // namespace TTMLHost

namespace TTML {

long long ConvertTimeExpressionToMS(const std::string& expression, double frameRate, int tickRate)
{
    long long ms = 0;
    if (!TTMLHost::ParseTimeExpression(expression, frameRate, tickRate, &ms)) {
        const bool cut = expression.size() > static_cast<std::size_t>(TTMLHost::kShownCharacters);
        (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, TTMLHost::kHostLogTag,
                           "'%.*s%s' is no TTML time expression; it counts as 0", TTMLHost::kShownCharacters,
                           expression.c_str(), cut ? "..." : "");
    }
    return ms;
}

std::uint32_t TTMLGetTimeofDay()
{
    return static_cast<std::uint32_t>(TTMLHost::MsSinceLoad());
}

} // namespace TTML
