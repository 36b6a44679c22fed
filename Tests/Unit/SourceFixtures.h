#ifndef SOURCE_FIXTURES_H
#define SOURCE_FIXTURES_H

// What the tests of the source core share: a client that keeps what it is told, a source thread that can be
// held, and looks into the source task.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <pthread.h>
#include <sys/types.h>

#include <gtest/gtest.h>

#include "CInbandData.h"
#include "CSourceTask.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

using Texts = std::vector<std::string>;

// The lines of the source files since the log was cleared, as "function: message".
Texts LinesOfFiles(const Texts& files);

// A client: keeps every call of its callback as a text, the code first and the thread last. The thread that
// made the recorder is called "caller", others by their names:
//     0 <tt/> @Inband      1 in band @Source      1 out of band @Source      2 @Source      6 10000 @caller
// One at a time.
class ClientRecorder
{
public:
    ClientRecorder();
    ~ClientRecorder();
    ClientRecorder(const ClientRecorder&) = delete;
    ClientRecorder& operator=(const ClientRecorder&) = delete;

    // What to register. A call that brings other user data fails the test.
    static void Callback(int code, void* data);
    void* UserData() { return m_userData.load(); }
    void ExpectUserData(void* userData) { m_userData.store(userData); }

    Texts Events() const;
    std::vector<int> Codes() const;
    // Copies of what came with code 0.
    std::vector<TTML::TTMLRawDataInfo> Records() const;
    unsigned int CountOf(int code) const;

    // Wait until so many calls, or calls with the code, have come since the last Clear().
    bool WaitForEvents(unsigned int count) const;
    bool WaitForCode(int code, unsigned int times = 1) const;

    // Run inside the callback, on its thread, after the call has been kept. It may block.
    void On(int code, std::function<void()> action);

    void Clear();

private:
    void Take(int code, void* data);
    std::string Describe(int code, void* data, void** pUserData);
    bool WaitUntil(const std::string& what, const std::function<bool()>& reached) const;

    static std::atomic<ClientRecorder*> s_pActive;

    const pthread_t m_owner = pthread_self();
    std::atomic<void*> m_userData{this};
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    Texts m_events;
    std::vector<int> m_codes;
    std::vector<TTML::TTMLRawDataInfo> m_records;
    std::map<int, std::function<void()>> m_actions;
};

// Keeps the source thread busy from its construction until Release(), or its own end.
class SourceThreadHold
{
public:
    explicit SourceThreadHold(TTML::CSourceTask& task);
    ~SourceThreadHold();
    SourceThreadHold(const SourceThreadHold&) = delete;
    SourceThreadHold& operator=(const SourceThreadHold&) = delete;

    void Release() { m_release.Open(); }

private:
    static void Wait(int code, void* hold);

    Gate m_reached{"the source thread is held"};
    Gate m_release{"the source thread may go on"};
    Gate m_left{"the source thread has left the hold"};
};

// Kernel id of the calling thread, and of the threads of this process that have a name. A thread that was
// joined may still be listed for a moment.
pid_t ThisThreadId();
std::vector<pid_t> ThreadsNamed(const std::string& name);
// Waits until just so many threads have the name; a time-out fails the test.
bool WaitForThreads(const std::string& name, std::size_t count);

// Waits until the thread waits for something, which shows how far it gets on its own; a time-out fails the
// test. A thread that has ended waits for nothing more.
bool WaitUntilBlocked(pid_t thread);
// The same for the only thread with the name.
bool WaitUntilBlocked(const std::string& threadName);

// A second actor that is expected to be held up: starts at once, and the constructor returns when it either
// waits for something or is done.
class BlockedThread
{
public:
    explicit BlockedThread(std::function<void()> body);

    bool IsDone() const { return m_thread.IsDone(); }
    bool WaitUntilDone() const { return m_thread.WaitUntilDone(); }

private:
    std::atomic<pid_t> m_id{0};
    Gate m_started{"the second thread runs"};
    TestThread m_thread;
};

// Memory that a test leaves behind because the library does so by design.
class LeakByDesign
{
public:
    LeakByDesign();
    ~LeakByDesign();
    LeakByDesign(const LeakByDesign&) = delete;
    LeakByDesign& operator=(const LeakByDesign&) = delete;
};

// The source task's innards, as far as its tests look at them.
int TrackState(TTML::CSourceTask& task);
void ForceTrackState(TTML::CSourceTask& task, int state, int stateBeforePause);
bool IsPlayPending(TTML::CSourceTask& task);
bool IsSeekStarted(TTML::CSourceTask& task);
bool IsInband(TTML::CSourceTask& task);
TTML::IMutex* TaskMutex(TTML::CSourceTask& task);
// Puts another mutex in the place of the task mutex; the task destroys it in the end.
void ReplaceTaskMutex(TTML::CSourceTask& task, TTML::IMutex* mutex);
TTML::CInbandData* InbandQueue(TTML::CSourceTask& task);
// What waits in a task's queue.
std::deque<void*> Queued(TTML::CTask& task);
// Hands one record to the dispatcher on the calling thread.
void Dispatch(TTML::CSourceTask& task, void* record);
// Whether another thread could take the mutex just now.
bool CanBeTakenElsewhere(TTML::IMutex* mutex);

// A source task with a recorded client.
class SourceTaskTest : public ::testing::Test
{
protected:
    // Registers the client and starts the source thread.
    void Start();
    // Forgets what was logged and told so far, does the action, and waits until the source thread is done
    // with it.
    void Do(const std::function<void()>& action);
    // The same; returns the log's substance.
    Texts LinesOf(const std::function<void()>& action);

    // Brings the task into the state by commands of an in-band track 1.
    void BringTo(int state, int stateBeforePause = 0);
    // Does the action while there is no memory with which the queue could grow, then the check while the
    // source thread is still held. The action must not allocate memory of its own.
    void WithFullQueue(const std::function<void()>& action, const std::function<void()>& check = {});

    // Pushes one in-band sample.
    void Push(const std::string& text, int index = 0);

    ClientRecorder m_client;
    std::unique_ptr<TTML::CSourceTask> m_task = std::make_unique<TTML::CSourceTask>();
};

} // namespace TTMLTest

#endif
