#include "Log.h"

namespace TTML {

CThreadName::CThreadName()
    : m_text{}
{
    if (pthread_getname_np(pthread_self(), m_text, sizeof(m_text)) != 0) {
        m_text[0] = '\0';
    }
}

CLogScope::CLogScope(const char* file, const char* function, int line)
    : m_file(file)
    , m_function(function)
    , m_line(line)
{
    __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG, TTML_LOG_PREFIX "Enter]",
                 TTML_LOG_ARGUMENTS(m_file, m_function, m_line));
}

CLogScope::~CLogScope()
{
    __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG, TTML_LOG_PREFIX "Exit]",
                 TTML_LOG_ARGUMENTS(m_file, m_function, m_line));
}

} // namespace TTML
