#include "SilentStderr.h"

#include <fcntl.h>
#include <unistd.h>

namespace TTMLBench {

SilentStderr::SilentStderr()
    : m_kept(dup(STDERR_FILENO))
{
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (m_kept >= 0 && null >= 0) {
        m_silent = dup2(null, STDERR_FILENO) >= 0;
    }
    if (null >= 0) {
        close(null);
    }
}

SilentStderr::~SilentStderr()
{
    if (m_kept >= 0) {
        (void)dup2(m_kept, STDERR_FILENO);
        close(m_kept);
    }
}

} // namespace TTMLBench
