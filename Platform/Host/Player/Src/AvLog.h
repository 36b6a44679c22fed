#ifndef AV_LOG_H
#define AV_LOG_H

#include <string>

namespace TTMLHost {

// Sends libav's own errors to the system log as warnings and drops the rest. May be called any number of
// times, on any thread.
void RouteAvLog();

// Notes what libav says on this thread while the object lives: libav's return values often tell less than
// its log. One at a time on a thread; the inner one of two hides the outer one.
class AvLogCapture
{
public:
    AvLogCapture();
    ~AvLogCapture();
    AvLogCapture(const AvLogCapture&) = delete;
    AvLogCapture& operator=(const AvLogCapture&) = delete;

    // Whether the line is worth being logged, too.
    bool Note(const std::string& line, bool isError);

    // What comes closest to the cause: the first error, else the last warning, else nothing.
    const std::string& Cause() const { return m_cause; }
    // Whether there was an error, not just warnings.
    bool HasError() const { return m_hasError; }
    // How many media segments of a DASH presentation could not be opened; libav goes on with the next one.
    int FailedSegments() const { return m_failedSegments; }

private:
    AvLogCapture* m_outer;
    std::string m_cause;
    bool m_hasError = false;
    int m_failedSegments = 0;
};

} // namespace TTMLHost

#endif
