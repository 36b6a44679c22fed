// Change notices of sets in the same program.

#include <functional>
#include <thread>

#include <pthread.h>

#include "Gate.h"
#include "Probe.h"
#include "StoreFixture.h"
#include "TestThread.h"

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

// User data of the callbacks: who is called, and what is done then.
struct Listener
{
    explicit Listener(Lines* lines, std::string text = "", std::function<void()> inside = {})
        : out(lines)
        , name(std::move(text))
        , action(std::move(inside))
    {}

    Lines* out;
    std::string name;
    std::function<void()> action;
};

void Notice(const char* callback, void* userData)
{
    const auto* listener = static_cast<Listener*>(userData);
    listener->out->push_back(callback + listener->name);
    if (listener->action) {
        listener->action();
    }
}

void First(_keynode_t* node, void* userData)
{
    EXPECT_NE(node, nullptr);
    Notice("first", userData);
}

void Second(_keynode_t* /*node*/, void* userData)
{
    Notice("second", userData);
}

class Notices : public StoreTest
{
protected:
    Lines TakeLines()
    {
        Lines lines;
        lines.swap(m_lines);
        return lines;
    }

    std::unique_ptr<TTMLHost::SettingsStore> m_store = Open();
    Lines m_lines;
    Listener m_a{&m_lines, " a"};
    Listener m_b{&m_lines, " b"};
};

TEST_F(Notices, ComeBeforeTheSetReturnsForStoredAndPassingKeys)
{
    for (const char* key : {"db/a", "memory/a"}) {
        EXPECT_TRUE(m_store->Register(key, &First, &m_a));
        EXPECT_TRUE(SetInt(*m_store, key, 1));
        EXPECT_EQ(TakeLines(), (Lines{"first a"})) << key;
        EXPECT_TRUE(m_store->Unregister(key, &First));
    }
}

TEST_F(Notices, ComeForTheirKeyOnly)
{
    EXPECT_TRUE(m_store->Register("db/a", &First, &m_a));
    EXPECT_TRUE(SetInt(*m_store, "db/a/b", 1));
    EXPECT_TRUE(SetInt(*m_store, "db/b", 1));
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 1));
    EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(Notices, ComeForTheSameValueToo)
{
    EXPECT_TRUE(m_store->Register("memory/a", &First, &m_a));
    EXPECT_TRUE(SetBool(*m_store, "memory/a", true));
    EXPECT_TRUE(SetBool(*m_store, "memory/a", true));
    EXPECT_EQ(TakeLines(), (Lines{"first a", "first a"}));
}

TEST_F(Notices, TellTheNewValueToWhoAsks)
{
    int seen = kNoValue;
    Listener reader{&m_lines, "", [&] { seen = IntOf(*m_store, "db/a"); }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &reader));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 5));
    EXPECT_EQ(seen, 5);
}

TEST_F(Notices, AreNotDoubledByASecondRegistration)
{
    EXPECT_TRUE(m_store->Register("db/a", &First, &m_a));
    EXPECT_TRUE(m_store->Register("db/a", &First, &m_a));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first a"}));
    EXPECT_TRUE(m_store->Unregister("db/a", &First));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first a"}));
    EXPECT_TRUE(m_store->Unregister("db/a", &First));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(Notices, GoToAllUserDataOfACallbackUntilItsLastRegistrationGoes)
{
    EXPECT_TRUE(m_store->Register("memory/a", &First, &m_a));
    EXPECT_TRUE(m_store->Register("memory/a", &First, &m_b));
    EXPECT_TRUE(m_store->Register("memory/a", &Second, &m_a));
    EXPECT_TRUE(m_store->Unregister("memory/a", &First));
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first a", "first b", "second a"}));
    EXPECT_TRUE(m_store->Unregister("memory/a", &First));
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"second a"}));
}

TEST_F(Notices, OfOneCallbackAreCountedForEachKey)
{
    EXPECT_TRUE(m_store->Register("memory/a", &First, &m_a));
    EXPECT_TRUE(m_store->Register("memory/b", &First, &m_b));
    EXPECT_TRUE(m_store->Unregister("memory/b", &First));
    EXPECT_FALSE(m_store->Unregister("memory/b", &First));
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 1));
    EXPECT_TRUE(SetInt(*m_store, "memory/b", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first a"}));
}

TEST_F(Notices, AreRefusedWhereThereCanBeNone)
{
    for (const char* key : {"", "db/", "a"}) {
        EXPECT_FALSE(m_store->Register(key, &First, &m_a)) << key;
        EXPECT_FALSE(m_store->Unregister(key, &First)) << key;
    }
    EXPECT_FALSE(m_store->Register("db/a", nullptr, &m_a));
    EXPECT_FALSE(m_store->Unregister("db/a", &First));
}

TEST_F(Notices, MayComeInsideNotices)
{
    Listener setter{&m_lines, " sets b", [&] {
                        EXPECT_TRUE(SetInt(*m_store, "db/b", 2));
                        m_lines.push_back("b is set");
                    }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &setter));
    EXPECT_TRUE(m_store->Register("db/b", &First, &m_b));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first sets b", "first b", "b is set"}));
}

TEST_F(Notices, MayRegisterAndTakeBackOthers)
{
    Listener changer{&m_lines, " changes", [&] {
                         EXPECT_TRUE(m_store->Unregister("db/a", &Second));
                         EXPECT_TRUE(m_store->Register("db/b", &Second, &m_b));
                     }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &changer));
    EXPECT_TRUE(m_store->Register("db/a", &Second, &m_a));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first changes"}));
    EXPECT_TRUE(SetInt(*m_store, "db/b", 1));
    EXPECT_EQ(TakeLines(), (Lines{"second b"}));
}

TEST_F(Notices, MayTakeThemselvesBackWithoutWaiting)
{
    Listener leaver{&m_lines, " leaves", [&] { EXPECT_TRUE(m_store->Unregister("db/a", &First)); }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &leaver));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 2));
    EXPECT_EQ(TakeLines(), (Lines{"first leaves"}));
}

TEST_F(Notices, HoldNoLockAndNoTransaction)
{
    Listener others{
        &m_lines, "", [&] {
            // Another thread, and another program.
            const TestThread thread([&] {
                EXPECT_TRUE(SetInt(*m_store, "db/b", 2));
                EXPECT_EQ(IntOf(*m_store, "db/a"), 1);
            });
            EXPECT_TRUE(thread.WaitUntilDone());
            const ChildResult probe = RunProbe(File(), {"set-int", "db/c", "3", "get-int", "db/a"});
            EXPECT_EQ(probe.out, "3\n1\n");
            EXPECT_EQ(probe.error, "");
        }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &others));
    EXPECT_TRUE(SetInt(*m_store, "db/a", 1));
    EXPECT_EQ(TakeLines(), (Lines{"first"}));
    EXPECT_EQ(IntOf(*m_store, "db/b"), 2);
    EXPECT_EQ(IntOf(*m_store, "db/c"), 3);
}

TEST_F(Notices, HaveEndedWhenTheLastRegistrationIsTakenBack)
{
    Gate entered("the notice has begun");
    Gate finish("the notice may end");
    std::atomic<bool> ended{false};
    Listener slow{&m_lines, "", [&] {
                      entered.Open();
                      finish.Wait();
                      ended = true;
                  }};
    EXPECT_TRUE(m_store->Register("db/a", &First, &slow));
    const TestThread setter([&] { SetInt(*m_store, "db/a", 1); });
    entered.Wait();
    bool endedAtReturn = false;
    {
        Gate begun("the removal begins");
        const TestThread remover([&] {
            begun.Open();
            EXPECT_TRUE(m_store->Unregister("db/a", &First));
            endedAtReturn = ended;
        });
        begun.Wait();
        finish.Open();
    }
    EXPECT_TRUE(endedAtReturn);
}

TEST_F(Notices, OfPassingKeysNeedNoThread)
{
    std::string thread;
    Listener asker{&m_lines, "", [&thread] {
                       char name[16] = "";
                       pthread_getname_np(pthread_self(), name, sizeof name);
                       thread = name;
                   }};
    char own[16] = "";
    pthread_getname_np(pthread_self(), own, sizeof own);
    EXPECT_TRUE(m_store->Register("memory/a", &First, &asker));
    EXPECT_TRUE(SetInt(*m_store, "memory/a", 1));
    EXPECT_EQ(thread, own);
}

} // namespace
