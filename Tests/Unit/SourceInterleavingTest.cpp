// One thread is held at each line that it logs and before and after each time that it has the task mutex, in
// turn, while another thread gets as far as it can with an invalidation or a destruction: whatever was under
// way, both return, and the outcome is the same.

#include <atomic>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <pthread.h>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "IMutex.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"

namespace TTMLTest {

namespace {

using TTML::CSourceTask;

constexpr char kUrl[] = "http://host/a.ttml";

// What is under way: first undisturbed preparations, then an operation whose lines on one thread are the
// places of the disturbance.
struct Scenario
{
    std::string name;
    std::string actor; // the thread that is held
    std::function<void(CSourceTask&)> prepare;
    std::function<void(CSourceTask&)> act;
    unsigned int fetches = 0;
};

void PrintTo(const Scenario& scenario, std::ostream* stream)
{
    *stream << scenario.name;
}

void PushSample(CSourceTask& task)
{
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "a sample whose text is kept on the heap";
    task.OnSubtitleData(sample, extra);
}

void PlayInband(CSourceTask& task)
{
    task.PlayTrack(1, "", nullptr);
}

void Nothing(CSourceTask& /*task*/)
{}

// Runs the operation on a thread called "Actor".
std::function<void(CSourceTask&)> OnActor(const std::function<void(CSourceTask&)>& operation)
{
    return [operation](CSourceTask& task) {
        const TestThread actor([&] {
            pthread_setname_np(pthread_self(), "Actor");
            operation(task);
        });
        actor.WaitUntilDone();
    };
}

const std::vector<Scenario>& Scenarios()
{
    static const std::vector<Scenario> scenarios = {
        {"PlayInband", "Source", Nothing, PlayInband},
        {"PlayInbandAgain", "Source", PlayInband, PlayInband},
        {"PlayUrl", "Source", Nothing, [](CSourceTask& task) { task.PlayTrack(1, kUrl, "d"); }, 1},
        {"PlayWhilePaused", "Source",
         [](CSourceTask& task) {
             PlayInband(task);
             task.PauseTrack(true);
         },
         PlayInband},
        {"Pause", "Source", PlayInband, [](CSourceTask& task) { task.PauseTrack(true); }},
        {"Resume", "Source",
         [](CSourceTask& task) {
             PlayInband(task);
             task.PauseTrack(true);
             PushSample(task);
             PushSample(task);
         },
         [](CSourceTask& task) { task.ResumeTrack(); }},
        {"ResumeWithAPlayPending", "Source",
         [](CSourceTask& task) {
             task.PauseTrack(true);
             PlayInband(task);
         },
         [](CSourceTask& task) { task.ResumeTrack(); }},
        {"Stop", "Source", PlayInband, [](CSourceTask& task) { task.StopTrack(); }},
        {"StopWhilePaused", "Source",
         [](CSourceTask& task) {
             PlayInband(task);
             task.PauseTrack(true);
             PushSample(task);
         },
         [](CSourceTask& task) { task.StopTrack(); }},
        {"Samples", "Inband", PlayInband,
         [](CSourceTask& task) {
             PushSample(task);
             PushSample(task);
         }},
        {"NotifyPlay", "Actor", Nothing, OnActor([](CSourceTask& task) { task.NotifyPlayTrack(); })},
        {"NotifyPlayAgain", "Actor", PlayInband, OnActor([](CSourceTask& task) { task.NotifyPlayTrack(); })},
        {"NotifyStop", "Actor", PlayInband, OnActor([](CSourceTask& task) { task.NotifyStopTrack(); })},
        {"Barrier", "Actor", PlayInband, OnActor([](CSourceTask& task) { task.StopSourceThread(); })},
    };
    return scenarios;
}

// Runs the disturbance when the actor comes to its place number `place`, and holds the actor there until the
// disturbance is done or can get no further.
class Disturbance
{
public:
    Disturbance(std::string actor, unsigned int place, std::function<void()> action)
        : m_actor(std::move(actor))
        , m_place(place)
        , m_action(std::move(action))
    {}

    // To be called at every place, on the thread that comes to it.
    void Meet()
    {
        if (!m_armed || ThisThreadName() != m_actor || ++m_places != m_place) {
            return;
        }
        m_met = true;
        m_settled.Open();
        m_mayBegin.Wait();
        m_thread = std::make_unique<BlockedThread>(m_action);
        m_begun.Open();
    }

    void Arm() { m_armed = true; }
    void LetBegin() { m_mayBegin.Open(); }
    // The actor has done everything: there are no more places. On the actor, or when that has ended.
    void End()
    {
        m_armed = false;
        m_settled.Open();
    }
    // Waits until the actor has come to the place or to the end; true for the place.
    bool IsMet() const { return m_settled.Wait() && m_met; }
    void Finish()
    {
        if (m_begun.Wait()) {
            m_thread->WaitUntilDone();
        }
    }

private:
    const std::string m_actor;
    const unsigned int m_place;
    const std::function<void()> m_action;
    std::atomic<bool> m_armed{false};
    std::atomic<bool> m_met{false};
    std::atomic<unsigned int> m_places{0};
    Gate m_settled{"the actor comes to the place or to the end"};
    Gate m_mayBegin{"the disturbance may begin"};
    Gate m_begun{"the disturbance has begun"};
    std::unique_ptr<BlockedThread> m_thread;
};

// The task mutex, with a place before it is taken and one after it is released.
class MeetingMutex : public TTML::IMutex
{
public:
    MeetingMutex(IMutex* mutex, const std::shared_ptr<Disturbance>& disturbance)
        : m_pMutex(mutex)
        , m_disturbance(disturbance)
    {}

    int Lock() override
    {
        Meet();
        return m_pMutex->Lock();
    }
    int Unlock() override
    {
        const int result = m_pMutex->Unlock();
        Meet();
        return result;
    }
    bool TryLock(unsigned long waitingTime) override { return m_pMutex->TryLock(waitingTime); }
    void Destroy() override
    {
        m_pMutex->Destroy();
        delete this;
    }

private:
    void Meet()
    {
        // Other threads than the actor may come here at the end of a round.
        if (const std::shared_ptr<Disturbance> disturbance = std::atomic_load(&m_disturbance)) {
            disturbance->Meet();
        }
    }

    IMutex* m_pMutex;
    const std::shared_ptr<Disturbance>& m_disturbance;
};

class SourceInterleaving : public ::testing::TestWithParam<Scenario>
{
protected:
    // Brings a new task to where the scenario's operation begins.
    void Prepare()
    {
        ScriptedLog::Reset();
        ScriptedFileManager::Reset();
        m_task.reset();
        m_client.reset();
        m_client = std::make_unique<ClientRecorder>();
        m_task = std::make_unique<CSourceTask>();
        ReplaceTaskMutex(*m_task, new MeetingMutex(TaskMutex(*m_task), m_disturbance));
        m_task->RegisterCallBack(&ClientRecorder::Callback, m_client->UserData());
        m_task->StartSourceThread();
        GetParam().prepare(*m_task);
        m_task->StopSourceThread();
        for (unsigned int i = 0; i < GetParam().fetches; ++i) {
            ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
        }
    }

    // Does the scenario's operation, and has the actor tell when it is done with it.
    void Act()
    {
        GetParam().act(*m_task);
        if (GetParam().actor == "Source") {
            m_task->SendEventToSourceThread(
                this, [](int, void* test) { static_cast<SourceInterleaving*>(test)->End(); });
        } else if (GetParam().actor == "Inband") {
            PushSample(*m_task); // the third one, at whose delivery the actor ends
        } else {
            End(); // the actor is joined
        }
    }

    void End()
    {
        if (const std::shared_ptr<Disturbance> disturbance = std::atomic_load(&m_disturbance)) {
            disturbance->End();
        }
    }

    // Disturbs the scenario at each of the actor's places in turn, with a check after each.
    void AtEachPlace(const std::function<void()>& action, const std::function<void()>& check,
                     bool onlyAfterTheOperation)
    {
        const std::set<std::string> messages = MessagesOfActor();
        for (unsigned int place = 1; !HasFailure(); ++place) {
            SCOPED_TRACE("disturbed at place " + std::to_string(place) + " of " + GetParam().actor);
            const auto disturbance = NewRound(place, action);
            for (const auto& message : messages) {
                ScriptedLog::On(LogMatch(message.c_str()), [disturbance] { disturbance->Meet(); });
            }
            if (!onlyAfterTheOperation) {
                disturbance->LetBegin();
            }
            disturbance->Arm();
            Act();
            disturbance->LetBegin();
            const bool disturbed = disturbance->IsMet();
            if (disturbed) {
                disturbance->Finish();
            }
            ScriptedLog::Reset();
            std::atomic_store(&m_disturbance, std::shared_ptr<Disturbance>());
            if (!disturbed) {
                EXPECT_GT(place, 3U) << "the actor is hardly ever disturbed";
                return;
            }
            check();
        }
    }

    std::unique_ptr<ClientRecorder> m_client;
    std::shared_ptr<Disturbance> m_disturbance; // accessed atomically
    std::unique_ptr<CSourceTask> m_task;

private:
    // A prepared task and a disturbance for it, which is not armed yet.
    std::shared_ptr<Disturbance> NewRound(unsigned int place, const std::function<void()>& action)
    {
        Prepare();
        const auto disturbance = std::make_shared<Disturbance>(GetParam().actor, place, action);
        std::atomic_store(&m_disturbance, disturbance);
        if (GetParam().actor == "Inband") {
            m_client->On(TTML::CALLBACK_DATA, [this] {
                if (m_client->CountOf(TTML::CALLBACK_DATA) == 3) {
                    End();
                }
            });
        }
        return disturbance;
    }

    // The messages that the actor logs undisturbed.
    std::set<std::string> MessagesOfActor()
    {
        const auto disturbance = NewRound(0, [] {});
        Act();
        EXPECT_FALSE(disturbance->IsMet());
        std::set<std::string> messages;
        for (const auto& line : ScriptedLog::Lines()) {
            if (line.thread == GetParam().actor) {
                messages.insert(line.message);
            }
        }
        return messages;
    }
};

TEST_P(SourceInterleaving, AnInvalidationLeavesNothingRunning)
{
    const auto check = [this] {
        EXPECT_EQ(TrackState(*m_task), 0);
        EXPECT_FALSE(InbandQueue(*m_task)->m_IsRunning());
        if (GetParam().actor != "Actor") {
            // A notice on a client's own thread may come later than that of the invalidation.
            EXPECT_EQ(m_client->Codes().back(), 5);
        }
        // And whatever was frozen then does not hold back the samples of a later track.
        m_task->StartSourceThread();
        m_client->Clear();
        PlayInband(*m_task);
        PushSample(*m_task);
        m_client->WaitForCode(0);
    };
    AtEachPlace([this] { EXPECT_EQ(m_task->Invalidate(), 0U); }, check, false);
}

// A client calls nothing of a source that it destroys, so only the source's own threads are met.
class SourceInterleavingDestruction : public SourceInterleaving
{};

TEST_P(SourceInterleavingDestruction, ReturnsAndEndsEverything)
{
    const int threads = LiveThreads();
    AtEachPlace([this] { m_task.reset(); }, [&] { EXPECT_EQ(LiveThreads(), threads); }, true);
}

std::vector<Scenario> ScenariosOfOwnThreads()
{
    std::vector<Scenario> own;
    for (const auto& scenario : Scenarios()) {
        if (scenario.actor != "Actor") {
            own.push_back(scenario);
        }
    }
    return own;
}

std::string NameOf(const ::testing::TestParamInfo<Scenario>& scenario)
{
    return scenario.param.name;
}

INSTANTIATE_TEST_SUITE_P(At, SourceInterleaving, ::testing::ValuesIn(Scenarios()), NameOf);
INSTANTIATE_TEST_SUITE_P(At, SourceInterleavingDestruction, ::testing::ValuesIn(ScenariosOfOwnThreads()),
                         NameOf);

} // namespace

} // namespace TTMLTest
