#ifndef CALLBACK_SLOT_H
#define CALLBACK_SLOT_H

#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>
#include <thread>

namespace TTMLTest {

// The calls that one subscription of a platform service makes: one at a time, and none after its end. Any
// thread.
class CallbackSlot
{
public:
    explicit CallbackSlot(std::string name);
    CallbackSlot(const CallbackSlot&) = delete;
    CallbackSlot& operator=(const CallbackSlot&) = delete;

    // Runs the callback on the calling thread, after one that is inside. False when the subscription has
    // ended. An exception that leaves the callback fails the test.
    template <class Callback>
    bool Run(const Callback& callback)
    {
        if (!Enter()) {
            return false;
        }
        try {
            callback();
        } catch (const std::exception& problem) {
            Report(problem);
        }
        Leave();
        return true;
    }

    // No callback runs after the return, except when the call is made inside one, where it does not wait. A
    // callback that does not end, because it waits for the caller, fails the test.
    void End();

private:
    bool Enter();
    void Leave();
    void Report(const std::exception& problem) const;

    const std::string m_name;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::thread::id m_inside; // none when nobody is
    unsigned int m_depth = 0;
    bool m_ended = false;
};

} // namespace TTMLTest

#endif
