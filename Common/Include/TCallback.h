#ifndef TCALLBACK_H
#define TCALLBACK_H

#include "ICallback.h"

namespace TTML {

// Runs a member function of an object, which must outlive the callback.
template <class T, class F = void (T::*)(void*)>
class TCallback : public ICallback
{
public:
    TCallback(T* pTarget, F pFunction)
        : m_pTarget(pTarget)
        , m_pFunction(pFunction)
    {}

    void Invoke(void* event) override { (m_pTarget->*m_pFunction)(event); }

private:
    T* m_pTarget;
    F m_pFunction;
};

} // namespace TTML

#endif
