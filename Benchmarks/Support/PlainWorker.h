#ifndef PLAIN_WORKER_H
#define PLAIN_WORKER_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace TTMLBench {

// The reference for the library's task: what one would write with the standard library alone. Hands events
// in order to one function on one thread.
class PlainWorker
{
public:
    using Processor = void (*)(void* event, void* context);

    PlainWorker(Processor processor, void* context);
    // Waits until everything posted has been handled.
    ~PlainWorker();
    PlainWorker(const PlainWorker&) = delete;
    PlainWorker& operator=(const PlainWorker&) = delete;

    void Post(void* event);

private:
    void m_Run();

    Processor m_processor;
    void* m_context;
    std::mutex m_mutex;
    std::condition_variable m_condition;
    std::deque<void*> m_queue; // guarded by m_mutex
    bool m_ending = false;     // guarded by m_mutex
    std::thread m_thread;
};

} // namespace TTMLBench

#endif
