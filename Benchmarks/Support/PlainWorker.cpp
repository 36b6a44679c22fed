#include "PlainWorker.h"

namespace TTMLBench {

PlainWorker::PlainWorker(Processor processor, void* context)
    : m_processor(processor)
    , m_context(context)
    , m_thread([this] { m_Run(); })
{}

PlainWorker::~PlainWorker()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
    }
    m_condition.notify_one();
    m_thread.join();
}

void PlainWorker::Post(void* event)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back(event);
    }
    m_condition.notify_one();
}

void PlainWorker::m_Run()
{
    for (;;) {
        void* event = nullptr;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_condition.wait(lock, [this] { return m_ending || !m_queue.empty(); });
            if (m_queue.empty()) {
                return;
            }
            event = m_queue.front();
            m_queue.pop_front();
        }
        m_processor(event, m_context);
    }
}

} // namespace TTMLBench
