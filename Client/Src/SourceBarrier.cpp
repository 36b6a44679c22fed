#include "SourceBarrier.h"

#include <condition_variable>
#include <mutex>

#include "CTTMLSource.h"

namespace TTMLClient {

namespace {

// An event that says when it is reached. The waiting thread owns it.
class Barrier
{
public:
    static void OnReached(int /*code*/, void* data)
    {
        auto* const barrier = static_cast<Barrier*>(data);
        const std::lock_guard<std::mutex> lock(barrier->m_mutex);
        barrier->m_reached = true;
        // Within the lock: the barrier is gone as soon as the waiting thread can have it.
        barrier->m_changed.notify_one();
    }

    void Wait()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_reached; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_reached = false; // under m_mutex
};

} // namespace

void WaitForSourceThread(TTML::CTTMLSource& source)
{
    // The second one stands behind what the events before the first one have queued.
    for (int round = 0; round < 2; ++round) {
        Barrier barrier;
        if (source.SendEventToSourceThread(&barrier, &Barrier::OnReached)) {
            barrier.Wait();
        }
    }
}

} // namespace TTMLClient
