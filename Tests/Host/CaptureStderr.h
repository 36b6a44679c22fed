#ifndef CAPTURE_STDERR_H
#define CAPTURE_STDERR_H

#include <string>
#include <vector>

namespace TTMLTest {

// Collects what this process writes to its standard error while the object lives.
class CaptureStderr
{
public:
    CaptureStderr();
    ~CaptureStderr();
    CaptureStderr(const CaptureStderr&) = delete;
    CaptureStderr& operator=(const CaptureStderr&) = delete;

    std::string Text() const;

    // The log lines so far, without their local time: "W TTMLHOST: message".
    std::vector<std::string> LogLines() const;

private:
    int m_file;  // what is written
    int m_saved; // the standard error proper
};

// The line of the log as CaptureStderr gives it, for a log line with its time; checks the time's form.
std::string WithoutTime(const std::string& line);

// The lines of a text; the last one has a line end too.
std::vector<std::string> SplitLines(const std::string& text);

} // namespace TTMLTest

#endif
