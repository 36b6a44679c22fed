#ifndef TASK_FIXTURE_H
#define TASK_FIXTURE_H

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CTask.h"
#include "ScriptedPlatform.h"

namespace TTMLTest {

using Trace = std::vector<std::string>;

// The lines of an operation that logs "Enter" and "Exit" around the given ones.
Trace Scope(const std::string& function, const std::vector<Trace>& inner = {});
// The traces one behind the other.
Trace Join(const std::vector<Trace>& traces);

// What tests see of a task's private state.
std::size_t QueueSize(TTML::CTask& task);
int RunningThreadId(TTML::CTask& task);
pthread_mutex_t* QueueMutex(TTML::CTask& task);
void* CallThreadRoutine(TTML::CTask* task);

// A task whose events are numbers, and what became of each of them.
class TaskFixture : public ::testing::Test
{
protected:
    using Numbers = std::vector<int>;

    static constexpr int kMarker = 0;      // how a null entry shows up
    static constexpr int kHolder = 1'000;  // the event that holds the worker
    static constexpr int kLastEvent = 999; // events are 1 to this

    // Callbacks that note what they get. The task owns them.
    TTML::ICallback* NewProcessor();
    TTML::ICallback* NewCleanup();
    void ConnectBoth(TTML::CTask& task) { task.Connect(NewProcessor(), NewCleanup()); }
    void ConnectProcessor(TTML::CTask& task) { task.Connect(NewProcessor(), nullptr); }

    void* Event(int number) { return &m_events.at(static_cast<std::size_t>(number)); }
    void Post(TTML::CTask& task, int first, int last);

    // Has the worker stand in the processor until ReleaseWorker().
    void HoldWorker(TTML::CTask& task);
    void ReleaseWorker() { m_release->Open(); }

    // What the callbacks got so far, without the holder.
    Numbers Processed() const;
    Numbers CleanedUp() const;
    static Numbers Range(int first, int last);

    // Extra work in the callbacks, after the event was noted; set before events can come.
    std::function<void(int)> m_onProcess;
    std::function<void(int)> m_onCleanup;

    // Callbacks that were deleted.
    std::atomic<int> m_processorsDeleted{0};
    std::atomic<int> m_cleanupsDeleted{0};

private:
    class Callback;

    int Note(void* event, Numbers& numbers);

    std::vector<char> m_events = std::vector<char>(kHolder + 1);
    mutable std::mutex m_mutex;
    Numbers m_processed;
    Numbers m_cleanedUp;
    std::unique_ptr<Gate> m_held;
    std::unique_ptr<Gate> m_release;
};

} // namespace TTMLTest

#endif
