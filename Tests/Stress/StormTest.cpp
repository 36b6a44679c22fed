// Eight clients that call everything at random on a few sources of one kind, while the platform is at work.

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Actors.h"
#include "CSourceHolder.h"
#include "Operations.h"
#include "Options.h"
#include "Viewer.h"
#include "Watchdog.h"
#include "ZoneGuard.h"

namespace TTMLTest {

namespace {

using Clock = std::chrono::steady_clock;
using Counts = std::array<unsigned long long, kOperations>;

constexpr unsigned int kClients = 8;
constexpr unsigned int kSources = 3;

// One thing that a client does.
struct Step
{
    Operation operation;
    unsigned int viewer;
    unsigned int argument;

    bool operator==(const Step& other) const
    {
        return operation == other.operation && viewer == other.viewer && argument == other.argument;
    }
};

// The order in which a client does things: fixed by the seed of the run and the client's number.
class Plan
{
public:
    explicit Plan(unsigned int client, std::uint64_t seed = TheOptions().seed)
        : m_client(client)
        , m_dice(seed, client)
    {}

    Step Next()
    {
        Step step = {Draw(m_dice), m_dice.Below(kSources), m_dice.Below(1000)};
        if (step.operation == Operation::FONTS_ERROR && m_client != 0) {
            // Two at once are the callers' fault, so it is the first one's alone.
            step.operation = Operation::TIME;
        }
        return step;
    }

private:
    const unsigned int m_client;
    Dice m_dice;
};

class Storm : public ::testing::TestWithParam<Kind>
{
protected:
    Storm()
    {
        SetTheStage();
        for (unsigned int i = 0; i < kSources; ++i) {
            m_viewers.push_back(std::make_unique<Viewer>(GetParam()));
            m_viewers.back()->Open();
            m_viewers.back()->Use([](TTML::CTTMLSource& source) { source.OnStart(); });
        }
    }
    ~Storm() override { TTML::CSourceHolder::SetSource(nullptr); }

    void Act(unsigned int client, Counts& counts)
    {
        Watchdog::Watched watched(m_watchdog, "client " + std::to_string(client));
        Plan plan(client);
        while (Clock::now() < m_end) {
            const Step step = plan.Next();
            watched.Does(NameOf(step.operation));
            Viewer& viewer = *m_viewers.at(step.viewer);
            const bool done = step.operation == Operation::RENEW
                                  ? viewer.TryRenew([](TTML::CTTMLSource& source) { source.OnStart(); })
                                  : viewer.Use([&](TTML::CTTMLSource& source) {
                                        Perform(step.operation, viewer, source, step.argument);
                                    });
            counts.at(static_cast<std::size_t>(step.operation)) += done ? 1U : 0U;
        }
    }

    void Run()
    {
        std::array<Counts, kClients> counts = {};
        std::vector<std::thread> clients;
        m_end = Clock::now() + std::chrono::seconds(TheOptions().seconds);
        for (unsigned int client = 0; client < kClients; ++client) {
            clients.emplace_back([&, client] { Act(client, counts.at(client)); });
        }
        for (std::thread& client : clients) {
            client.join();
        }
        for (const Counts& one : counts) {
            for (std::size_t i = 0; i < kOperations; ++i) {
                m_counts.at(i) += one.at(i);
            }
        }
    }

    // Whatever happened, a source that is started again has a thread that works.
    void ExpectAlive(Viewer& viewer)
    {
        viewer.Use([&](TTML::CTTMLSource& source) {
            source.OnStop();
            source.OnStart();
            const unsigned long long handled = viewer.Handled();
            viewer.Post(source);
            source.TTML::CTTMLSource::OnStop();
            EXPECT_GT(viewer.Handled(), handled);
        });
    }

    void Report(unsigned long long events) const
    {
        const unsigned long long operations = std::accumulate(m_counts.begin(), m_counts.end(), 0ULL);
        // A slow machine does not get as far as the rarest.
        constexpr unsigned long long kEnoughForAll = 3000;
        for (std::size_t i = 0; i < kOperations && operations > kEnoughForAll; ++i) {
            EXPECT_GT(m_counts.at(i), 0U) << NameOf(static_cast<Operation>(i)) << " was never called";
        }
        EXPECT_GT(operations, 0U);
        unsigned long long callbacks = 0;
        unsigned long long created = 0;
        for (const auto& viewer : m_viewers) {
            callbacks += viewer->Callbacks();
            created += viewer->Created();
        }
        std::printf(
            "storm %s: seed %llu, %u s, %llu operations of %u clients on %llu sources (%u at a time), "
            "%llu platform events, %llu callbacks\n",
            NameOf(GetParam()), static_cast<unsigned long long>(TheOptions().seed), TheOptions().seconds,
            operations, kClients, created, kSources, events, callbacks);
    }

    // Without a zone of its own a process reads the zone's file anew at each use, under a lock of the C
    // library's that the sanitizer does not see.
    const ZoneGuard m_zone{"UTC0"};
    Watchdog m_watchdog;
    std::vector<std::unique_ptr<Viewer>> m_viewers;
    Clock::time_point m_end;
    Counts m_counts = {};
};

TEST_P(Storm, LeavesSourcesThatWork)
{
    unsigned long long events = 0;
    {
        const Actors actors(GetParam(), m_watchdog, m_viewers);
        Run();
        events = actors.Events();
        Watchdog::Watched watched(m_watchdog, "end");
        for (const auto& viewer : m_viewers) {
            watched.Does("ExpectAlive");
            ExpectAlive(*viewer);
            watched.Does("Destroy");
            // The platform is still at work.
            viewer->Close();
        }
    }
    Report(events);
}

INSTANTIATE_TEST_SUITE_P(Stress, Storm, ::testing::Values(Kind::BROADBAND, Kind::DVB, Kind::ATSC),
                         [](const auto& instance) {
                             return instance.param == Kind::BROADBAND ? "Broadband"
                                    : instance.param == Kind::DVB     ? "Dvb"
                                                                      : "Atsc";
                         });

TEST(Plan, TheSeedFixesTheOrderOfEachClient)
{
    const auto stepsOf = [](unsigned int client, std::uint64_t seed) {
        Plan plan(client, seed);
        std::vector<Step> steps;
        for (int i = 0; i < 1000; ++i) {
            steps.push_back(plan.Next());
        }
        return steps;
    };
    EXPECT_EQ(stepsOf(3, 42), stepsOf(3, 42));
    EXPECT_FALSE(stepsOf(3, 42) == stepsOf(4, 42));
    EXPECT_FALSE(stepsOf(3, 42) == stepsOf(3, 43));
}

} // namespace

} // namespace TTMLTest
