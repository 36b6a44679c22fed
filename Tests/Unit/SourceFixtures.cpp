#include "SourceFixtures.h"

#include <algorithm>
#include <chrono>
#include <fstream>

#include <dirent.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TTML_TEST_LEAKS_ARE_SEEN
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define TTML_TEST_LEAKS_ARE_SEEN
#endif
#ifdef TTML_TEST_LEAKS_ARE_SEEN
#include <sanitizer/lsan_interface.h>
#endif

#include "IMutex.h"
#include "TTMLCallback.h"

TTML_EXPOSE(TaskTrackState, TTML::CSourceTask, std::atomic<int>, m_nTrackState)
TTML_EXPOSE(TaskStateBeforePause, TTML::CSourceTask, std::atomic<int>, m_nStateBeforePause)
TTML_EXPOSE(TaskPlayPending, TTML::CSourceTask, std::atomic<bool>, m_bPlayPending)
TTML_EXPOSE(TaskSeekStarted, TTML::CSourceTask, std::atomic<bool>, m_bSeekStarted)
TTML_EXPOSE(TaskInband, TTML::CSourceTask, std::atomic<bool>, m_bInband)
TTML_EXPOSE(TaskTaskMutex, TTML::CSourceTask, TTML::IMutex*, m_pTaskMutex)
TTML_EXPOSE(TaskInbandData, TTML::CSourceTask, TTML::CInbandData*, m_pInbandData)
TTML_EXPOSE(SourceTaskQueue, TTML::CTask, std::deque<void*>, m_queue)
TTML_EXPOSE_FUNCTION(TaskProcessQueue, void (TTML::CSourceTask::*)(void*), TTML::CSourceTask::m_ProcessQueue)

namespace TTMLTest {

namespace {

using Clock = std::chrono::steady_clock;

// The letter that the kernel gives a thread's state, '-' once the thread is gone.
char KernelState(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t nameEnd = line.rfind(')');
    return nameEnd != std::string::npos && nameEnd + 2 < line.size() ? line[nameEnd + 2] : '-';
}

} // namespace

Texts LinesOfFiles(const Texts& files)
{
    Texts lines;
    for (const auto& line : ScriptedLog::Lines()) {
        if (std::find(files.begin(), files.end(), line.file) != files.end()) {
            lines.push_back(line.function + ": " + line.message);
        }
    }
    return lines;
}

std::atomic<ClientRecorder*> ClientRecorder::s_pActive{nullptr};

ClientRecorder::ClientRecorder()
{
    EXPECT_EQ(s_pActive.exchange(this), nullptr) << "two recorders at once";
}

ClientRecorder::~ClientRecorder()
{
    s_pActive.store(nullptr);
}

void ClientRecorder::Callback(int code, void* data)
{
    ClientRecorder* const recorder = s_pActive.load();
    if (recorder == nullptr) {
        const FaultPause pause;
        ADD_FAILURE() << "the client is called with code " << code << " after it has gone";
        return;
    }
    recorder->Take(code, data);
}

std::string ClientRecorder::Describe(int code, void* data, void** pUserData)
{
    *pUserData = data;
    std::string text = std::to_string(code);
    if (code == TTML::CALLBACK_DATA) {
        const std::unique_ptr<TTML::TTMLRawDataInfo> record(static_cast<TTML::TTMLRawDataInfo*>(data));
        *pUserData = record->userData;
        text += " " + record->data;
        m_records.push_back(*record);
    } else if (code == TTML::CALLBACK_STARTED) {
        const auto* notice = static_cast<const TTML::TTMLStartNotice*>(data);
        *pUserData = notice->userData;
        text += notice->inBand ? " in band" : " out of band";
    } else if (code == TTML::CALLBACK_SEEK_STARTED) {
        const auto* notice = static_cast<const TTML::TTMLSeekNotice*>(data);
        *pUserData = notice->userData;
        text += " " + std::to_string(notice->position);
    }
    return text + " @" + (pthread_equal(pthread_self(), m_owner) != 0 ? "caller" : ThisThreadName());
}

void ClientRecorder::Take(int code, void* data)
{
    std::function<void()> action;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(m_mutex);
        void* userData = nullptr;
        m_events.push_back(Describe(code, data, &userData));
        m_codes.push_back(code);
        EXPECT_EQ(userData, m_userData.load()) << "user data of " << m_events.back();
        const auto known = m_actions.find(code);
        if (known != m_actions.end()) {
            action = known->second;
        }
        m_changed.notify_all();
    }
    if (action) {
        action();
    }
    const FaultPause pause; // the copy of the action goes here
    action = nullptr;
}

Texts ClientRecorder::Events() const
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_events;
}

std::vector<int> ClientRecorder::Codes() const
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_codes;
}

std::vector<TTML::TTMLRawDataInfo> ClientRecorder::Records() const
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_records;
}

unsigned int ClientRecorder::CountOf(int code) const
{
    unsigned int count = 0;
    for (const int known : Codes()) {
        count += known == code ? 1U : 0U;
    }
    return count;
}

bool ClientRecorder::WaitUntil(const std::string& what, const std::function<bool()>& reached) const
{
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(m_mutex);
    if (m_changed.wait_for(guard, kPatience, reached)) {
        return true;
    }
    ADD_FAILURE() << "the client was not told " << what << " within " << kPatience.count() << " s; it has "
                  << ::testing::PrintToString(m_events);
    return false;
}

bool ClientRecorder::WaitForEvents(unsigned int count) const
{
    return WaitUntil(std::to_string(count) + " things", [&] { return m_events.size() >= count; });
}

bool ClientRecorder::WaitForCode(int code, unsigned int times) const
{
    return WaitUntil("code " + std::to_string(code) + " " + std::to_string(times) + " times", [&] {
        unsigned int count = 0;
        for (const int known : m_codes) {
            count += known == code ? 1U : 0U;
        }
        return count >= times;
    });
}

void ClientRecorder::On(int code, std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_actions[code] = std::move(action);
}

void ClientRecorder::Clear()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_events.clear();
    m_codes.clear();
    m_records.clear();
}

SourceThreadHold::SourceThreadHold(TTML::CSourceTask& task)
{
    EXPECT_TRUE(task.SendEventToSourceThread(this, &SourceThreadHold::Wait));
    m_reached.Wait();
}

SourceThreadHold::~SourceThreadHold()
{
    m_release.Open();
    m_left.Wait();
}

void SourceThreadHold::Wait(int /*code*/, void* hold)
{
    auto* const self = static_cast<SourceThreadHold*>(hold);
    self->m_reached.Open();
    self->m_release.Wait();
    self->m_left.Open();
}

pid_t ThisThreadId()
{
    return static_cast<pid_t>(syscall(SYS_gettid));
}

std::vector<pid_t> ThreadsNamed(const std::string& name)
{
    std::vector<pid_t> threads;
    DIR* const folder = opendir("/proc/self/task");
    if (folder == nullptr) {
        ADD_FAILURE() << "cannot list the threads of this process";
        return threads;
    }
    for (const dirent* entry = readdir(folder); entry != nullptr; entry = readdir(folder)) {
        std::ifstream file(std::string("/proc/self/task/") + entry->d_name + "/comm");
        std::string known;
        if (std::getline(file, known) && known == name) {
            threads.push_back(static_cast<pid_t>(std::stol(entry->d_name)));
        }
    }
    closedir(folder);
    return threads;
}

bool WaitUntilBlocked(pid_t thread)
{
    // A thread that waits looks so at every look; one that only met a busy lock does not for long.
    constexpr int kLooks = 20;
    const Clock::time_point end = Clock::now() + kPatience;
    int looks = 0;
    while (looks < kLooks) {
        const char state = KernelState(thread);
        looks = state == 'S' || state == 'D' || state == '-' ? looks + 1 : 0;
        if (Clock::now() > end) {
            ADD_FAILURE() << "thread " << thread << " does not wait for anything within " << kPatience.count()
                          << " s";
            return false;
        }
        sched_yield();
    }
    return true;
}

bool WaitForThreads(const std::string& name, std::size_t count)
{
    const Clock::time_point end = Clock::now() + kPatience;
    while (ThreadsNamed(name).size() != count) {
        if (Clock::now() > end) {
            ADD_FAILURE() << ThreadsNamed(name).size() << " instead of " << count << " threads are called '"
                          << name << "' after " << kPatience.count() << " s";
            return false;
        }
        sched_yield();
    }
    return true;
}

bool WaitUntilBlocked(const std::string& threadName)
{
    if (!WaitForThreads(threadName, 1)) {
        return false;
    }
    const std::vector<pid_t> threads = ThreadsNamed(threadName);
    return !threads.empty() && WaitUntilBlocked(threads.front());
}

BlockedThread::BlockedThread(std::function<void()> body)
    : m_thread([this, run = std::move(body)] {
        m_id.store(ThisThreadId());
        m_started.Open();
        run();
    })
{
    m_started.Wait();
    WaitUntilBlocked(m_id.load());
}

LeakByDesign::LeakByDesign()
{
#ifdef TTML_TEST_LEAKS_ARE_SEEN
    __lsan_disable();
#endif
}

LeakByDesign::~LeakByDesign()
{
#ifdef TTML_TEST_LEAKS_ARE_SEEN
    __lsan_enable();
#endif
}

int TrackState(TTML::CSourceTask& task)
{
    return Private<TaskTrackState>(task);
}

void ForceTrackState(TTML::CSourceTask& task, int state, int stateBeforePause)
{
    Private<TaskTrackState>(task) = state;
    Private<TaskStateBeforePause>(task) = stateBeforePause;
}

bool IsPlayPending(TTML::CSourceTask& task)
{
    return Private<TaskPlayPending>(task);
}

bool IsSeekStarted(TTML::CSourceTask& task)
{
    return Private<TaskSeekStarted>(task);
}

bool IsInband(TTML::CSourceTask& task)
{
    return Private<TaskInband>(task);
}

TTML::IMutex* TaskMutex(TTML::CSourceTask& task)
{
    return Private<TaskTaskMutex>(task);
}

void ReplaceTaskMutex(TTML::CSourceTask& task, TTML::IMutex* mutex)
{
    Private<TaskTaskMutex>(task) = mutex;
}

TTML::CInbandData* InbandQueue(TTML::CSourceTask& task)
{
    return Private<TaskInbandData>(task);
}

std::deque<void*> Queued(TTML::CTask& task)
{
    task.Lock();
    const std::deque<void*> copy = Private<SourceTaskQueue>(task);
    task.Unlock();
    return copy;
}

void Dispatch(TTML::CSourceTask& task, void* record)
{
    CallPrivate<TaskProcessQueue>(task, record);
}

bool CanBeTakenElsewhere(TTML::IMutex* mutex)
{
    bool taken = false;
    const TestThread other([&] {
        taken = mutex->TryLock(0);
        if (taken) {
            mutex->Unlock();
        }
    });
    other.WaitUntilDone();
    return taken;
}

void SourceTaskTest::Start()
{
    m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    m_task->StartSourceThread();
}

void SourceTaskTest::Do(const std::function<void()>& action)
{
    m_task->StopSourceThread();
    ScriptedLog::Clear();
    m_client.Clear();
    action();
    m_task->StopSourceThread();
}

Texts SourceTaskTest::LinesOf(const std::function<void()>& action)
{
    Do(action);
    return ScriptedLog::Substance();
}

void SourceTaskTest::BringTo(int state, int stateBeforePause)
{
    const bool played = state == TTML::TRACK_PLAYING || stateBeforePause == TTML::TRACK_PLAYING;
    if (played) {
        m_task->PlayTrack(1, "", "");
    }
    if (state == TTML::TRACK_PAUSED) {
        m_task->PauseTrack(true);
    }
    m_task->StopSourceThread();
    if (state == TTML::TRACK_INVALID) {
        m_task->Invalidate();
    }
    if (state == TTML::TRACK_ERROR) {
        WithFullQueue([&] { m_task->PauseTrack(true); });
    }
    ASSERT_EQ(TrackState(*m_task), state);
}

void SourceTaskTest::WithFullQueue(const std::function<void()>& action, const std::function<void()>& check)
{
    const SourceThreadHold hold(*m_task);
    unsigned int filled = 0;
    {
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll);
        // The queue grows by whole blocks, so the block at hand is filled with events that change nothing.
        while (filled < 1000 && m_task->SeekCompleted() == 0) {
            ++filled;
        }
        ScriptedLog::Clear();
        action();
    }
    EXPECT_LT(filled, 1000U) << "the queue grows without memory";
    if (check) {
        check();
    }
}

void SourceTaskTest::Push(const std::string& text, int index)
{
    TTML::TTMLSubtitleExtraData extra;
    extra.index = index;
    std::string buffer = text;
    m_task->OnSubtitleData(buffer.data(), extra);
}

} // namespace TTMLTest
