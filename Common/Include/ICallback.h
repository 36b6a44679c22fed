#ifndef ICALLBACK_H
#define ICALLBACK_H

namespace TTML {

// Something to be run with one event. Slots are in declaration order.
class ICallback
{
public:
    virtual void Invoke(void* event) = 0;
    virtual ~ICallback() = default;
};

} // namespace TTML

#endif
