// Sources that are created and destroyed in every state, several at once, while the platform's callbacks go
// on.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Actors.h"
#include "FaultInjection.h"
#include "Gate.h"
#include "Operations.h"
#include "Options.h"
#include "ScriptedPlatform.h"
#include "Viewer.h"
#include "Watchdog.h"
#include "ZoneGuard.h"

namespace TTMLTest {

namespace {

constexpr unsigned int kCreators = 4;
// In a row, between two moments at which no source lives.
constexpr unsigned int kInARow = 25;

// Behind the numbers of the clients and the actors.
constexpr std::uint64_t kFirstCreator = 200;

// The source as one thread uses it.
struct Life
{
    Viewer& viewer;
    TTML::CTTMLSource& source;
    Dice& dice;

    void Do(Operation operation) { Perform(operation, viewer, source, 2 + dice.Below(90)); }
    void Do(std::initializer_list<Operation> operations)
    {
        for (const Operation operation : operations) {
            Do(operation);
        }
    }
    // Until the source thread has done what it was told. Else it is still at it when the destruction begins.
    void MayWait()
    {
        if (dice.OneIn(2)) {
            source.TTML::CTTMLSource::OnStop();
        }
    }
    void Play()
    {
        Do({Operation::START, Operation::PLAY_INBAND, Operation::SAMPLE});
        MayWait();
    }
};

// Holds the source thread.
struct Hold
{
    Gate reached{"the source thread is held"};
    Gate goOn{"the source thread may go on"};

    static void Handle(int /*code*/, void* data)
    {
        auto* const hold = static_cast<Hold*>(data);
        hold->reached.Open();
        hold->goOn.Wait();
    }
};

// A command for which the queue has no room sets the error state.
void BringIntoError(Life& life)
{
    // Memory fails for one thread at a time.
    static std::mutex s_oneAtATime;
    const std::lock_guard<std::mutex> guard(s_oneAtATime);
    // Not the broadcast sources' own, which does nothing when the recorder was first.
    life.source.TTML::CTTMLSource::OnStart();
    life.Do(Operation::PLAY_INBAND);
    Hold hold;
    ASSERT_TRUE(life.source.SendEventToSourceThread(&hold, &Hold::Handle));
    hold.reached.Wait();
    {
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll);
        for (int i = 0; i < 200 && noMemory.Failed() == 0; ++i) {
            life.source.PauseTrack(true);
        }
        EXPECT_GT(noMemory.Failed(), 0U) << "the queue grows without memory";
    }
    hold.goOn.Open();
    // The hold lives on this stack.
    life.source.TTML::CTTMLSource::OnStop();
}

struct State
{
    const char* name;
    bool isBroadcast; // else of every source
    std::function<void(Life&)> bring;
};

const std::vector<State>& States()
{
    static const std::vector<State> states = {
        {"new", false, [](Life& /*life*/) {}},
        {"without a client", false,
         [](Life& life) {
             life.Do({Operation::START, Operation::PLAY_INBAND, Operation::UNREGISTER});
         }},
        {"with samples before its start", false,
         [](Life& life) {
             for (int i = 0; i < 25; ++i) {
                 life.Do(Operation::SAMPLE);
             }
         }},
        {"with commands before its start", false,
         [](Life& life) {
             life.Do({Operation::PLAY_INBAND, Operation::PAUSE_TRACK, Operation::SEND_EVENT});
         }},
        {"started", false,
         [](Life& life) {
             life.Do(Operation::START);
             life.MayWait();
         }},
        {"playing in band", false, [](Life& life) { life.Play(); }},
        {"playing a document", false,
         [](Life& life) {
             life.Do({Operation::START, Operation::PLAY_URL, Operation::PLAY_URL});
             life.MayWait();
         }},
        {"paused, with samples held back", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::PAUSE_TRACK, Operation::SAMPLE, Operation::SAMPLE});
             life.MayWait();
         }},
        {"paused, with a play pending", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::PAUSE_TRACK, Operation::PLAY_INBAND});
             life.MayWait();
         }},
        {"resumed", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::PAUSE_TRACK, Operation::SAMPLE, Operation::RESUME_TRACK});
             life.MayWait();
         }},
        {"seeking", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::SEEK_START, Operation::SAMPLE});
             life.MayWait();
         }},
        {"stopped track", false,
         [](Life& life) {
             life.Play();
             life.Do(Operation::STOP_TRACK);
             life.MayWait();
         }},
        {"invalid", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::INVALIDATE, Operation::SAMPLE});
         }},
        {"started again", false,
         [](Life& life) {
             life.Play();
             life.Do({Operation::INVALIDATE, Operation::STOP});
             life.Play();
         }},
        {"stopped", false,
         [](Life& life) {
             life.Play();
             life.Do(Operation::STOP);
         }},
        {"error", false, BringIntoError},
        {"with calls queued", false,
         [](Life& life) {
             life.Play();
             for (int i = 0; i < 10; ++i) {
                 life.Do({Operation::SEND_EVENT, Operation::PLAY_INBAND, Operation::STOP_TRACK});
             }
         }},
        {"shown", true,
         [](Life& life) {
             life.Play();
             life.Do(Operation::SHOW);
         }},
        {"hidden", true,
         [](Life& life) {
             life.Play();
             life.Do({Operation::SHOW, Operation::HIDE});
         }},
        {"shown without a start", true, [](Life& life) { life.Do(Operation::SHOW); }},
        {"with signals queued", true,
         [](Life& life) {
             life.Play();
             for (const int signal : {SIGNAL_TUNE_START, SIGNAL_TUNE_SUCCESS, SIGNAL_SERVICE_LOCKED,
                                      SIGNAL_TVS_DEACTIVATE, SIGNAL_TVS_ACTIVATE}) {
                 ScriptedTvService::Signal(signal);
             }
         }},
        {"tuned away", true,
         [](Life& life) {
             life.Play();
             ScriptedTvService::Signal(SIGNAL_TUNE_START);
             life.MayWait();
         }},
        {"inactive", true,
         [](Life& life) {
             life.Play();
             ScriptedTvService::Signal(SIGNAL_TVS_DEACTIVATE);
             life.MayWait();
         }},
        {"stopped with a tune queued", true,
         [](Life& life) {
             life.Play();
             ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS);
             life.Do(Operation::STOP);
         }},
    };
    return states;
}

class Teardown : public ::testing::TestWithParam<Kind>
{
protected:
    Teardown()
    {
        SetTheStage();
        for (unsigned int i = 0; i < kCreators; ++i) {
            m_viewers.push_back(std::make_unique<Viewer>(GetParam()));
        }
        for (const State& state : States()) {
            if (!state.isBroadcast || GetParam() != Kind::BROADBAND) {
                m_states.push_back(&state);
            }
        }
        // Calls come while a source is half made and half gone, beside those of the platform's threads.
        ScriptedRecorder::AtEndOfRegistration([] { ScriptedRecorder::Signal(3, 1); });
        ScriptedRecorder::DuringRemoval([] { ScriptedRecorder::Signal(3, 24); });
    }

    // The states follow each other, so that each of them comes; what is random is how far they are.
    void Create(unsigned int creator, unsigned int first, unsigned int count)
    {
        Watchdog::Watched watched(m_watchdog, "creator " + std::to_string(creator));
        Dice dice(TheOptions().seed, kFirstCreator + first);
        Viewer& viewer = *m_viewers.at(creator);
        for (unsigned int number = first; number < first + count; ++number) {
            const State& state = *m_states.at(number % m_states.size());
            watched.Does("Create");
            viewer.Open();
            watched.Does(state.name);
            viewer.Use([&](TTML::CTTMLSource& source) {
                Life life = {viewer, source, dice};
                state.bring(life);
            });
            watched.Does("Destroy");
            viewer.Close();
        }
    }

    // Without a zone of its own a process reads the zone's file anew at each use, under a lock of the C
    // library's that the sanitizer does not see.
    const ZoneGuard m_zone{"UTC0"};
    Watchdog m_watchdog;
    std::vector<std::unique_ptr<Viewer>> m_viewers;
    std::vector<const State*> m_states;
};

TEST_P(Teardown, LeavesNothingBehindInAnyState)
{
    const unsigned int all = TheOptions().sources;
    ASSERT_GE(all, m_states.size()) << "there are more states than sources";
    unsigned long long events = 0;
    {
        const Actors actors(GetParam(), m_watchdog, m_viewers);
        unsigned int begun = 0;
        while (begun < all) {
            std::vector<std::thread> creators;
            for (unsigned int creator = 0; creator < kCreators && begun < all; ++creator) {
                const unsigned int count = std::min(kInARow, all - begun);
                creators.emplace_back([this, creator, begun, count] { Create(creator, begun, count); });
                begun += count;
            }
            for (std::thread& creator : creators) {
                creator.join();
            }
        }
        events = actors.Events();
    }
    unsigned long long callbacks = 0;
    unsigned long long created = 0;
    for (const auto& viewer : m_viewers) {
        callbacks += viewer->Callbacks();
        created += viewer->Created();
    }
    EXPECT_EQ(created, all);
    std::printf("teardown %s: seed %llu, %llu sources in %zu states, %u at a time, %llu platform events, "
                "%llu callbacks\n",
                NameOf(GetParam()), static_cast<unsigned long long>(TheOptions().seed), created,
                m_states.size(), kCreators, events, callbacks);
}

INSTANTIATE_TEST_SUITE_P(Stress, Teardown, ::testing::Values(Kind::BROADBAND, Kind::DVB, Kind::ATSC),
                         [](const auto& instance) {
                             return instance.param == Kind::BROADBAND ? "Broadband"
                                    : instance.param == Kind::DVB     ? "Dvb"
                                                                      : "Atsc";
                         });

} // namespace

} // namespace TTMLTest
