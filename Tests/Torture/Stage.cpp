#include "Stage.h"

#include <deque>

#include <unistd.h>

#include "CCountedSemaphore.h"
#include "CPthreadGuard.h"

TTML_EXPOSE(StageSourceTask, TTML::CTTMLSource, TTML::CSourceTask*, m_pSourceTask)
TTML_EXPOSE(StageStateMutex, TTML::CTask, pthread_mutex_t, m_stateMutex)
TTML_EXPOSE(StageRunningThread, TTML::CTask, int, m_nRunningThreadId)
TTML_EXPOSE(StageQueueMutex, TTML::CTask, pthread_mutex_t, m_queueMutex)
TTML_EXPOSE(StageQueue, TTML::CTask, std::deque<void*>, m_queue)
TTML_EXPOSE(StageUnqueued, TTML::CTask, std::size_t, m_nUnqueuedMarkers)
TTML_EXPOSE(StageQueueCondition, TTML::CTask, pthread_cond_t, m_queueCondition)
TTML_EXPOSE(StageProcessor, TTML::CTask, TTML::ICallback*, m_pProcessor)
TTML_EXPOSE(StageFreezeSignal, TTML::CInbandData, TTML::CCountedSemaphore, m_freezeSignal)
TTML_EXPOSE(StageSignalMutex, TTML::CCountedSemaphore, pthread_mutex_t, m_mutex)
TTML_EXPOSE(StageSignalCondition, TTML::CCountedSemaphore, pthread_cond_t, m_condition)
TTML_EXPOSE(StageSignalPosted, TTML::CCountedSemaphore, std::size_t, m_nPosted)
TTML_EXPOSE(StageSignalRefused, TTML::CCountedSemaphore, std::size_t, m_nRefused)

namespace TTMLTest {

namespace {

bool HasWorker(TTML::CTask& task)
{
    const TTML::CPthreadGuard guard(&Private<StageStateMutex>(task));
    return Private<StageRunningThread>(task) != 0;
}

bool WaitsForAnEvent(TTML::CTask& task)
{
    const TTML::CPthreadGuard guard(&Private<StageQueueMutex>(task));
    return Private<StageQueue>(task).empty() && Private<StageUnqueued>(task) == 0 &&
           WaitProbe::HasWait(&Private<StageQueueCondition>(task));
}

bool IsFrozen(TTML::CInbandData& inband)
{
    TTML::CCountedSemaphore& signal = Private<StageFreezeSignal>(inband);
    const TTML::CPthreadGuard guard(&Private<StageSignalMutex>(signal));
    return Private<StageSignalPosted>(signal) == 0 && Private<StageSignalRefused>(signal) == 0 &&
           WaitProbe::HasWait(&Private<StageSignalCondition>(signal));
}

std::string Described(const TTML::TTMLRawDataInfo& record)
{
    return "#" + std::to_string(record.index) + " kind " + std::to_string(record.dataType) + " at " +
           std::to_string(record.timestamp) + ", " + std::to_string(record.segStartTimeMs) + " to " +
           std::to_string(record.segEndTimeMs) + ": " + Quoted(record.data.c_str()) + " and " +
           Quoted(record.secondaryData.c_str()) + " of " + Quoted(record.trackDescriptor.c_str());
}

} // namespace

std::string WithoutProcessId(std::string text)
{
    const std::string id = "[" + std::to_string(getpid()) + "]";
    const std::size_t place = text.find(id);
    return place == std::string::npos ? text : text.replace(place, id.size(), "[own]");
}

Stage::~Stage()
{
    EXPECT_EQ(m_pSource, nullptr) << "the scenario leaves its source behind";
}

void Stage::Enter(TTML::CTTMLSource* source)
{
    m_pSource = source;
    if (source != nullptr && Private<StageSourceTask>(*source) != nullptr) {
        TTML::CSourceTask& task = *Private<StageSourceTask>(*source);
        TTML::CInbandData* const inband = InbandQueue(task);
        m_withoutProcessor = m_withoutProcessor || Private<StageProcessor>(task) == nullptr ||
                             (inband != nullptr && Private<StageProcessor>(*inband) == nullptr);
    }
}

void Stage::Leave()
{
    m_pSource->Destroy();
    m_pSource = nullptr;
}

bool Stage::IsSettled() const
{
    TTML::CSourceTask* const task = m_pSource != nullptr ? Private<StageSourceTask>(*m_pSource) : nullptr;
    if (task == nullptr) {
        return true;
    }
    // First the thread that ends and starts the other one.
    if (HasWorker(*task) && !WaitsForAnEvent(*task)) {
        return false;
    }
    TTML::CInbandData* const inband = InbandQueue(*task);
    return inband == nullptr || !HasWorker(*inband) || WaitsForAnEvent(*inband) || IsFrozen(*inband);
}

void Stage::Settle() const
{
    const FaultPause pause;
    // The last thing that a thread with nothing to do does is to begin a wait.
    for (unsigned int waits = WaitProbe::Count(); !IsSettled(); waits = WaitProbe::Count()) {
        if (!WaitProbe::WaitForMore(waits)) {
            ADD_FAILURE() << "the source's threads are still busy after " << kPatience.count() << " s";
            return;
        }
    }
}

ThreadStories Stage::Stories() const
{
    ThreadStories stories;
    for (const auto& entry : Journal::Instance().Entries()) {
        stories[entry.thread].push_back(entry.service + " " + entry.file + ": " +
                                        WithoutProcessId(entry.text));
    }
    for (const std::string& event : m_client.Events()) {
        // One list for each thread, as these have no order among each other either.
        stories["client" + event.substr(event.rfind('@'))].push_back(event);
    }
    for (const auto& record : m_client.Records()) {
        stories["data"].push_back(Described(record));
    }
    return stories;
}

} // namespace TTMLTest
