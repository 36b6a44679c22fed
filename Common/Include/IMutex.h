#ifndef IMUTEX_H
#define IMUTEX_H

namespace TTML {

// A recursive mutex: the thread that holds it may lock it again and must unlock it as often. Slots are in
// declaration order.
class IMutex
{
public:
    // A new, unlocked mutex, which its owner disposes of with Destroy(). Null when the system has none to
    // give; when there is no memory the process stops.
    static IMutex* Create();

    // Blocks until the calling thread holds the mutex. Returns the result of the system's call.
    virtual int Lock() = 0;
    // Releases one level of ownership. Returns the result of the system's call.
    virtual int Unlock() = 0;
    // Takes the mutex only if that needs no waiting, whatever the waiting time given; true when taken.
    virtual bool TryLock(unsigned long waitingTime) = 0;
    // Frees the mutex, which nobody may hold.
    virtual void Destroy() = 0;

    virtual ~IMutex() = default;
};

} // namespace TTML

#endif
