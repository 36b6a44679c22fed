#include "CSourceHolder.h"

#include "Log.h"

namespace TTML {

ITTMLSource* CSourceHolder::s_Source = nullptr;

CSourceHolder::CSourceHolder()
{
    TTML_LOGI("");
}

CSourceHolder::~CSourceHolder()
{
    TTML_LOGI("");
}

// The pointer is exported as a plain one, so it cannot be an atomic type; two client threads may still
// store and fetch it at once.
ITTMLSource* CSourceHolder::GetSource()
{
    return __atomic_load_n(&s_Source, __ATOMIC_ACQUIRE);
}

void CSourceHolder::SetSource(ITTMLSource* pSource)
{
    TTML_LOG_SCOPE();
    __atomic_store_n(&s_Source, pSource, __ATOMIC_RELEASE);
}

} // namespace TTML
