#include "AvError.h"

#include <cerrno>

extern "C" {
#include <libavutil/error.h>
}

#include "AvLog.h"

namespace TTMLHost {

namespace {

std::string TextOf(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof(text));
    return text;
}

bool IsHttpStatus(int code)
{
    return code == AVERROR_HTTP_BAD_REQUEST || code == AVERROR_HTTP_UNAUTHORIZED ||
           code == AVERROR_HTTP_FORBIDDEN || code == AVERROR_HTTP_NOT_FOUND ||
           code == AVERROR_HTTP_OTHER_4XX || code == AVERROR_HTTP_SERVER_ERROR;
}

bool IsNetworkFailure(int code)
{
    switch (code) {
    case AVERROR(ECONNREFUSED):
    case AVERROR(ECONNRESET):
    case AVERROR(EHOSTUNREACH):
    case AVERROR(ENETUNREACH):
    case AVERROR(ETIMEDOUT):
    case AVERROR(EPIPE):
    case AVERROR(EIO):
        return true;
    default:
        return false;
    }
}

const char* AdviceFor(int code)
{
    if (code == AVERROR(ENOENT)) {
        return "check the path";
    }
    if (code == AVERROR(EACCES) || code == AVERROR(EPERM)) {
        return "check the permissions";
    }
    if (code == AVERROR_EXIT) {
        return "start it again when it is wanted";
    }
    if (code == AVERROR(ENOMEM)) {
        return "free some memory";
    }
    if (IsHttpStatus(code)) {
        return "check the address and what the server offers there";
    }
    if (IsNetworkFailure(code)) {
        return "check that the server is up and can be reached, and try again";
    }
    if (code == AVERROR_PROTOCOL_NOT_FOUND) {
        return "give a local file, an http(s) address or a DASH manifest";
    }
    return "give an MP4 file with a TTML (stpp) track or a DASH manifest";
}

} // namespace

std::string DescribeError(const std::string& doing, const std::string& input, const std::string& why,
                          const std::string& advice)
{
    return "Cannot " + doing + " '" + input + "': " + why + "; " + advice;
}

std::string DescribeAvError(const std::string& doing, const std::string& input, int code,
                            const AvLogCapture& capture)
{
    std::string why = code == AVERROR_EXIT ? std::string("it was cancelled") : TextOf(code);
    if (code != AVERROR_EXIT && !capture.Cause().empty()) {
        why += " (" + capture.Cause() + ")";
    }
    return DescribeError(doing, input, why, AdviceFor(code));
}

} // namespace TTMLHost
