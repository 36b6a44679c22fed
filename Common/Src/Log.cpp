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
    __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG, TTML_LOG_PREFIX "Enter]", m_file,
                 m_function, m_line, m_thread.c_str(), static_cast<unsigned long>(pthread_self()));
}

CLogScope::~CLogScope()
{
    __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG, TTML_LOG_PREFIX "Exit]", m_file,
                 m_function, m_line, m_thread.c_str(), static_cast<unsigned long>(pthread_self()));
}

} // namespace TTML
