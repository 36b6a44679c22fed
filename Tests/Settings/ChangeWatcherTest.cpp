// The thread that looks for changes.

#include "ChangeWatcher.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

#include <pthread.h>

#include <gtest/gtest.h>

#include "Gate.h"
#include "TestThread.h"

using namespace TTMLTest;

namespace {

// Opens a gate when the thread that looked ends.
class AtThreadEnd
{
public:
    ~AtThreadEnd()
    {
        if (m_ended != nullptr) {
            m_ended->Add();
        }
    }
    void Tell(CountingGate* ended) { m_ended = ended; }

private:
    CountingGate* m_ended = nullptr;
};

thread_local AtThreadEnd t_end;

class Watcher : public testing::Test
{
protected:
    void Look()
    {
        t_end.Tell(&m_ended);
        m_looks.Add();
        if (m_action) {
            m_action();
        }
    }

    CountingGate m_looks{"looks"};
    CountingGate m_ended{"threads that have ended"};
    std::atomic<bool> m_needed{false};
    std::function<void()> m_action;
    TTMLHost::ChangeWatcher m_watcher{[this] { return m_needed.load(); }, [this] { Look(); }};
};

TEST_F(Watcher, LooksWithinASecond)
{
    EXPECT_LE(TTMLHost::ChangeWatcher::kInterval, std::chrono::milliseconds(500));
}

TEST_F(Watcher, DoesNotRunUnlessNeeded)
{
    m_watcher.Update();
    m_watcher.Close();
    EXPECT_EQ(m_looks.Count(), 0U);
}

TEST_F(Watcher, LooksAgainAndAgainAsLongAsItIsNeeded)
{
    m_needed = true;
    m_watcher.Update();
    m_watcher.Update();
    m_looks.WaitFor(3);
    EXPECT_EQ(m_ended.Count(), 0U);
    m_needed = false;
    m_watcher.Update();
    m_ended.WaitFor(1);
}

TEST_F(Watcher, BeginsAnewWhenItIsNeededAgain)
{
    for (unsigned int round = 1; round <= 3; ++round) {
        const unsigned int before = m_looks.Count();
        m_needed = true;
        m_watcher.Update();
        m_looks.WaitFor(before + 1);
        m_needed = false;
        m_watcher.Update();
        m_ended.WaitFor(round);
    }
}

TEST_F(Watcher, GoesOnWhenItIsNeededAgainBeforeItCouldEnd)
{
    Gate looking("a look is under way");
    Gate finish("the look may end");
    m_action = [&] {
        looking.Open();
        finish.Wait();
    };
    m_needed = true;
    m_watcher.Update();
    looking.Wait();
    m_needed = false;
    m_watcher.Update(); // does not wait for the look
    m_needed = true;
    m_watcher.Update();
    finish.Open();
    m_looks.WaitFor(3);
    EXPECT_EQ(m_ended.Count(), 0U);
    m_watcher.Close(); // it uses the gates
}

TEST_F(Watcher, MayBeEndedByItsOwnLook)
{
    m_action = [this] {
        m_needed = false;
        m_watcher.Update();
    };
    m_needed = true;
    m_watcher.Update();
    m_ended.WaitFor(1);
    EXPECT_EQ(m_looks.Count(), 1U);
}

TEST_F(Watcher, HasEndedWhenClosedAndStaysSo)
{
    m_needed = true;
    m_watcher.Update();
    m_looks.WaitFor(1);
    m_watcher.Close();
    EXPECT_EQ(m_ended.Count(), 1U);
    const unsigned int looks = m_looks.Count();
    m_watcher.Update();
    m_watcher.Close();
    EXPECT_EQ(m_looks.Count(), looks);
}

TEST_F(Watcher, HasAName)
{
    std::string name;
    Gate named("the name is read");
    m_action = [&] {
        char text[16] = "";
        pthread_getname_np(pthread_self(), text, sizeof text);
        if (!named.IsOpen()) {
            name = text;
            named.Open();
        }
    };
    m_needed = true;
    m_watcher.Update();
    named.Wait();
    m_watcher.Close();
    EXPECT_EQ(name, "Settings");
}

TEST_F(Watcher, BearsEverythingAtOnce)
{
    const auto change = [this] {
        for (int i = 0; i < 300; ++i) {
            m_needed = i % 2 == 0;
            m_watcher.Update();
        }
    };
    RunTogether({change, change, change});
    m_needed = false;
    m_watcher.Update();
    m_watcher.Close();
}

} // namespace
