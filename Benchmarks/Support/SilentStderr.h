#ifndef SILENT_STDERR_H
#define SILENT_STDERR_H

namespace TTMLBench {

// Sends stderr to /dev/null while it lives.
class SilentStderr
{
public:
    SilentStderr();
    ~SilentStderr();
    SilentStderr(const SilentStderr&) = delete;
    SilentStderr& operator=(const SilentStderr&) = delete;

    bool IsSilent() const { return m_silent; }

private:
    int m_kept;
    bool m_silent = false;
};

} // namespace TTMLBench

#endif
