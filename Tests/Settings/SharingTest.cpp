// Several stores, and several programs, on one file.

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>

#include <pthread.h>

#include "Gate.h"
#include "Probe.h"
#include "StoreFixture.h"
#include "TestThread.h"

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

// Notices that come on any thread.
class Inbox
{
public:
    explicit Inbox(std::string name)
        : m_gate(std::move(name))
    {}

    static void Take(_keynode_t* /*node*/, void* userData)
    {
        auto* inbox = static_cast<Inbox*>(userData);
        char thread[16] = "";
        pthread_getname_np(pthread_self(), thread, sizeof thread);
        {
            const std::lock_guard<std::mutex> lock(inbox->m_mutex);
            inbox->m_threads.emplace_back(thread);
        }
        if (inbox->m_action) {
            inbox->m_action();
        }
        inbox->m_gate.Add();
    }

    void Do(std::function<void()> action) { m_action = std::move(action); }
    bool WaitFor(unsigned int count) const { return m_gate.WaitFor(count); }
    unsigned int Count() const { return m_gate.Count(); }
    Lines Threads() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_threads;
    }

private:
    CountingGate m_gate;
    std::function<void()> m_action;
    mutable std::mutex m_mutex;
    Lines m_threads;
};

class Sharing : public StoreTest
{
protected:
    ChildResult Probe(const std::vector<std::string>& words) const
    {
        ChildResult result = RunProbe(File(), words);
        EXPECT_EQ(result.error, "");
        return result;
    }

    // All changes that others made before the call have been noticed when it returns.
    void Settle(TTMLHost::SettingsStore& store)
    {
        Inbox sentinel("the sentinel's notice");
        EXPECT_TRUE(store.Register("db/zz-sentinel", &Inbox::Take, &sentinel));
        Probe({"set-int", "db/zz-sentinel", "1"});
        sentinel.WaitFor(1);
        EXPECT_TRUE(store.Unregister("db/zz-sentinel", &Inbox::Take));
    }

    std::unique_ptr<TTMLHost::SettingsStore> m_store = Open();
    Inbox m_inbox{"notices"};
};

TEST_F(Sharing, WhatAnotherProgramSetsIsReadAtOnce)
{
    EXPECT_EQ(IntOf(*m_store, "db/a"), kNoValue);
    EXPECT_EQ(Probe({"set-int", "db/a", "5"}).out, "5\n");
    EXPECT_EQ(IntOf(*m_store, "db/a"), 5);
    EXPECT_TRUE(SetInt(*m_store, "db/a", 6));
    EXPECT_EQ(Probe({"get-int", "db/a"}).out, "6\n");
}

TEST_F(Sharing, PassingKeysAreEachProgramsOwn)
{
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 6));
    EXPECT_EQ(Probe({"get-int", "memory/a", "set-int", "memory/a", "5", "get-int", "memory/a"}).out,
              "failed\n5\n5\n");
    EXPECT_EQ(IntOf(*m_store, "memory/a"), 6);
}

TEST_F(Sharing, WhatAnotherProgramSetsIsNoticed)
{
    int seen = kNoValue;
    m_inbox.Do([&] { seen = IntOf(*m_store, "db/a"); });
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/a", "5"});
    m_inbox.WaitFor(1);
    EXPECT_EQ(seen, 5);
    EXPECT_EQ(m_inbox.Threads(), (Lines{"Settings"}));
}

TEST_F(Sharing, TheSameValueByAnotherProgramIsNoticedToo)
{
    EXPECT_TRUE(SetInt(*m_store, "db/a", 5));
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/a", "5"});
    m_inbox.WaitFor(1);
}

TEST_F(Sharing, OnlyWhatWasSetIsNoticedAndOnlyOnce)
{
    EXPECT_TRUE(SetInt(*m_store, "db/a", 5));
    EXPECT_TRUE(SetInt(*m_store, "db/b", 5));
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/b", "6"});
    Settle(*m_store);
    EXPECT_EQ(m_inbox.Count(), 0U);
    Probe({"set-int", "db/a", "6"});
    Settle(*m_store);
    Settle(*m_store);
    EXPECT_EQ(m_inbox.Count(), 1U);
}

TEST_F(Sharing, OwnSetsAreNotNoticedASecondTime)
{
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 5));
    Settle(*m_store);
    EXPECT_TRUE(SetInt(*m_store, "db/a", 6));
    Settle(*m_store);
    EXPECT_EQ(m_inbox.Count(), 2U);
}

TEST_F(Sharing, AChangeThatWasReadBeforeItsNoticeIsStillNoticed)
{
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/a", "5"});
    EXPECT_EQ(IntOf(*m_store, "db/a"), 5);
    m_inbox.WaitFor(1);
    Settle(*m_store);
    EXPECT_EQ(m_inbox.Count(), 1U);
}

TEST_F(Sharing, WhatWasSetBeforeTheRegistrationIsNoChange)
{
    EXPECT_EQ(IntOf(*m_store, "db/a"), kNoValue);
    Probe({"set-int", "db/a", "5"});
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Settle(*m_store);
    EXPECT_EQ(m_inbox.Count(), 0U);
}

TEST_F(Sharing, ANoticeOfAnotherProgramsSetMayTakeItselfBack)
{
    m_inbox.Do([this] { EXPECT_TRUE(m_store->Unregister("db/a", &Inbox::Take)); });
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/a", "5"});
    m_inbox.WaitFor(1);
    // The thread has gone with the last registration, and comes again.
    Inbox later("later notices");
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &later));
    Probe({"set-int", "db/a", "6"});
    later.WaitFor(1);
    EXPECT_EQ(m_inbox.Count(), 1U);
}

TEST_F(Sharing, AStoreMayGoWhileOthersSet)
{
    EXPECT_TRUE(m_store->Register("db/a", &Inbox::Take, &m_inbox));
    Probe({"set-int", "db/a", "5"});
    m_store.reset();
    EXPECT_EQ(Probe({"get-int", "db/a"}).out, "5\n");
}

TEST_F(Sharing, ManyProgramsMayMakeOneStoreAtOnce)
{
    constexpr int kPrograms = 5;
    m_store.reset();
    std::vector<std::function<void()>> programs;
    Lines expected;
    for (int i = 0; i < kPrograms; ++i) {
        const std::string number = std::to_string(i);
        programs.emplace_back([this, number] { Probe({"set-int", "db/" + number, number}); });
        expected.push_back("db/" + number + " int " + number);
    }
    RunTogether(programs);
    EXPECT_EQ(Listed(*Open()), expected);
}

TEST_F(Sharing, NothingIsLostBetweenManyThreadsOfManyStores)
{
    constexpr int kRounds = 15;
    const auto other = Open();
    EXPECT_TRUE(m_store->Register("db/0", &Inbox::Take, &m_inbox));
    const auto write = [](TTMLHost::SettingsStore& store, int number) {
        const std::string key = "db/" + std::to_string(number);
        for (int i = 1; i <= kRounds; ++i) {
            EXPECT_TRUE(SetInt(store, key, i));
            EXPECT_EQ(IntOf(store, key), i);
        }
    };
    RunTogether({[&] { write(*m_store, 0); }, [&] { write(*m_store, 1); }, [&] { write(*other, 2); },
                 [&] { write(*other, 3); }});
    const Lines expected = {"db/0 int 15", "db/1 int 15", "db/2 int 15", "db/3 int 15"};
    EXPECT_EQ(Listed(*m_store), expected);
    EXPECT_EQ(Listed(*other), expected);
    EXPECT_EQ(m_inbox.Count(), static_cast<unsigned int>(kRounds));
}

} // namespace
