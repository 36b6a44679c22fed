#include "TaskFixture.h"

#include <deque>
#include <utility>

#include "PrivateAccess.h"

TTML_EXPOSE(TaskQueue, TTML::CTask, std::deque<void*>, m_queue)
TTML_EXPOSE(TaskThreadId, TTML::CTask, int, m_nRunningThreadId)
TTML_EXPOSE(TaskQueueMutex, TTML::CTask, pthread_mutex_t, m_queueMutex)
TTML_EXPOSE_FUNCTION(TaskThreadRoutine, void* (*)(void*), TTML::CTask::m_ThreadRoutine)

namespace TTMLTest {

Trace Scope(const std::string& function, const std::vector<Trace>& inner)
{
    Trace trace{function + ": Enter"};
    for (const auto& lines : inner) {
        trace.insert(trace.end(), lines.begin(), lines.end());
    }
    trace.push_back(function + ": Exit");
    return trace;
}

Trace Join(const std::vector<Trace>& traces)
{
    Trace joined;
    for (const auto& trace : traces) {
        joined.insert(joined.end(), trace.begin(), trace.end());
    }
    return joined;
}

std::size_t QueueSize(TTML::CTask& task)
{
    pthread_mutex_lock(QueueMutex(task));
    const std::size_t size = Private<TaskQueue>(task).size();
    pthread_mutex_unlock(QueueMutex(task));
    return size;
}

int RunningThreadId(TTML::CTask& task)
{
    return Private<TaskThreadId>(task);
}

pthread_mutex_t* QueueMutex(TTML::CTask& task)
{
    return &Private<TaskQueueMutex>(task);
}

void* CallThreadRoutine(TTML::CTask* task)
{
    return CallPrivateStatic<TaskThreadRoutine>(task);
}

class TaskFixture::Callback : public TTML::ICallback
{
public:
    Callback(std::function<void(void*)> body, std::atomic<int>& deleted)
        : m_body(std::move(body))
        , m_deleted(deleted)
    {}
    ~Callback() override { ++m_deleted; }
    void Invoke(void* event) override
    {
        // The test's own work is not what a fault is meant for.
        const FaultPause pause;
        m_body(event);
    }

private:
    std::function<void(void*)> m_body;
    std::atomic<int>& m_deleted;
};

TTML::ICallback* TaskFixture::NewProcessor()
{
    return new Callback(
        [this](void* event) {
            const int number = Note(event, m_processed);
            if (number == kHolder) {
                m_held->Open();
                m_release->Wait();
            } else if (m_onProcess) {
                m_onProcess(number);
            }
        },
        m_processorsDeleted);
}

TTML::ICallback* TaskFixture::NewCleanup()
{
    return new Callback(
        [this](void* event) {
            const int number = Note(event, m_cleanedUp);
            if (m_onCleanup) {
                m_onCleanup(number);
            }
        },
        m_cleanupsDeleted);
}

int TaskFixture::Note(void* event, Numbers& numbers)
{
    const int number =
        event != nullptr ? static_cast<int>(static_cast<char*>(event) - m_events.data()) : kMarker;
    if (number != kHolder) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        numbers.push_back(number);
    }
    return number;
}

void TaskFixture::Post(TTML::CTask& task, int first, int last)
{
    for (int number = first; number <= last; ++number) {
        EXPECT_TRUE(task.SendEvent(Event(number))) << "event " << number;
    }
}

void TaskFixture::HoldWorker(TTML::CTask& task)
{
    m_held = std::make_unique<Gate>("the worker is in the processor");
    m_release = std::make_unique<Gate>("the worker may leave the processor");
    ASSERT_TRUE(task.SendEvent(Event(kHolder)));
    m_held->Wait();
}

TaskFixture::Numbers TaskFixture::Processed() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_processed;
}

TaskFixture::Numbers TaskFixture::CleanedUp() const
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_cleanedUp;
}

TaskFixture::Numbers TaskFixture::Range(int first, int last)
{
    Numbers numbers;
    for (int number = first; number <= last; ++number) {
        numbers.push_back(number);
    }
    return numbers;
}

} // namespace TTMLTest
