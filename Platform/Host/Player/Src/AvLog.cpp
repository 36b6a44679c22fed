#include "AvLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

extern "C" {
#include <libavutil/log.h>
}

#include "PlatformLog.h"

namespace TTMLHost {

namespace {

constexpr char kTag[] = "TTMLHOST";
constexpr std::size_t kLineSize = 1024;

// What libav says when a segment of a DASH presentation is skipped.
constexpr char kSegmentFailed[] = "Failed to open fragment of playlist";

thread_local AvLogCapture* t_capture = nullptr;
// libav may hand out a line in pieces.
thread_local std::string t_pending;

void HandleLine(void* object, int level, const std::string& line)
{
    const bool isError = level <= AV_LOG_ERROR;
    const bool isNew = t_capture == nullptr || t_capture->Note(line, isError);
    if (isError && isNew) {
        const AVClass* const avClass = object != nullptr ? *static_cast<AVClass**>(object) : nullptr;
        const char* const name = avClass != nullptr ? avClass->item_name(object) : "libav";
        __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kTag, "%s: %s", name, line.c_str());
    }
}

void AvLogCallback(void* object, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_WARNING) {
        return;
    }
    char piece[kLineSize];
    if (std::vsnprintf(piece, sizeof(piece), format, arguments) < 0) {
        return;
    }
    try {
        t_pending += piece;
        std::size_t end = 0;
        while ((end = t_pending.find('\n')) != std::string::npos) {
            const std::string line = t_pending.substr(0, end);
            t_pending.erase(0, end + 1);
            if (!line.empty()) {
                HandleLine(object, level, line);
            }
        }
    } catch (...) {
        // A log line that finds no memory is lost; C code is waiting for the return.
        t_pending.clear();
    }
}

} // namespace

void RouteAvLog()
{
    static std::once_flag s_once;
    std::call_once(s_once, [] { av_log_set_callback(AvLogCallback); });
}

AvLogCapture::AvLogCapture()
    : m_outer(t_capture)
{
    t_capture = this;
}

AvLogCapture::~AvLogCapture()
{
    t_capture = m_outer;
}

bool AvLogCapture::Note(const std::string& line, bool isError)
{
    if (line.compare(0, sizeof(kSegmentFailed) - 1, kSegmentFailed) == 0) {
        ++m_failedSegments;
        return false;
    }
    if (m_failedSegments > 0) {
        // Lines that only follow from the missing segment, up to several each time one is awaited.
        return false;
    }
    if (!m_hasError) {
        m_cause = line;
    }
    m_hasError = m_hasError || isError;
    return true;
}

} // namespace TTMLHost
