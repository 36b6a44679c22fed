// The scripted platform itself: what it answers, and that it does not let pass what it should not.

#include "ScriptedPlatform.h"

#include <cerrno>
#include <new>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "Log.h"
#include "PlatformFileManager.h"
#include "PlatformMediaPlayer.h"

using namespace TTMLTest;

namespace {

// A line with the right prefix around `rest`.
#define PRINT(level, rest) __dlog_print(PLATFORM_LOG_MAIN, level, "TTML", TTML_LOG_PREFIX rest, TTML_LOG_HERE)

using Calls = std::vector<std::string>;

} // namespace

TEST(ScriptedPlatform, RefusesLogLinesOfAWrongShape)
{
    EXPECT_NONFATAL_FAILURE(__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, "TTML", "%s", "bare"),
                            "common prefix");
    EXPECT_NONFATAL_FAILURE(PRINT(PLATFORM_LOG_INFO, "open"), "wrong shape");
    EXPECT_NONFATAL_FAILURE(PRINT(PLATFORM_LOG_WARNING, "pale]"), "without its colour");
    EXPECT_NONFATAL_FAILURE(PRINT(PLATFORM_LOG_ERROR, "\033[01;33myellow\033[0m]"), "without its colour");
    EXPECT_NONFATAL_FAILURE(PRINT(PLATFORM_LOG_INFO, "\033[01;31mred\033[0m]"), "stray colour");
    EXPECT_NONFATAL_FAILURE(PRINT(PLATFORM_LOG_WARNING, "\033[01;33m\033[01;33mtwice\033[0m]"),
                            "stray colour");
    EXPECT_NONFATAL_FAILURE(PRINT(3, "debug]"), "level 3");
    EXPECT_NONFATAL_FAILURE(
        __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, "MINE", TTML_LOG_PREFIX "]", TTML_LOG_HERE),
        "MINE");
    EXPECT_NONFATAL_FAILURE(__dlog_print(1, PLATFORM_LOG_INFO, "TTML", TTML_LOG_PREFIX "]", TTML_LOG_HERE),
                            "bufferId");
    EXPECT_NONFATAL_FAILURE(__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, "TTML", TTML_LOG_PREFIX "]",
                                         "a/path.cpp", "f", 1, ThisThreadName().c_str(),
                                         static_cast<unsigned long>(pthread_self())),
                            "with a path");
    EXPECT_NONFATAL_FAILURE(__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, "TTML", TTML_LOG_PREFIX "]",
                                         "a.cpp", "f", 1, "somebody else",
                                         static_cast<unsigned long>(pthread_self())),
                            "somebody else");
}

TEST(ScriptedPlatform, RunsActionsAtTheirLineOnTheThreadThatLogs)
{
    std::vector<std::string> seen;
    ScriptedLog::On(
        "now", [&seen, count = 0]() mutable { seen.push_back(ThisThreadName() + std::to_string(++count)); });
    ScriptedLog::On({"elsewhere", "now"}, [&] { seen.emplace_back("never"); });
    TTML_LOGW("now");
    TTML_LOGW("later");
    TTML_LOGI("now");
    EXPECT_EQ(seen, (std::vector<std::string>{ThisThreadName() + "1", ThisThreadName() + "2"}));
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"W now", "W later", "I now"}));
}

TEST(ScriptedPlatform, ThePlayerAnswersInTurn)
{
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Value(-5));
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Error(7));
    ScriptedPlayer::ExpectPosition(PlayerAnswer::ErrorAfterWriting(8, 9));
    ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer::Value(255));
    long long position = 1;
    EXPECT_EQ(player_get_play_position_ex(ScriptedPlayer::Handle(), &position), 0);
    EXPECT_EQ(position, -5);
    EXPECT_EQ(player_get_play_position_ex(ScriptedPlayer::Handle(), &position), 7);
    EXPECT_EQ(position, -5);
    EXPECT_EQ(player_get_play_position_ex(ScriptedPlayer::Handle(), &position), 8);
    EXPECT_EQ(position, 9);
    unsigned char bytes[3] = {1, 1, 1};
    EXPECT_EQ(player_get_adaptive_streaming_info(ScriptedPlayer::Handle(), &bytes[1], 19), 0);
    EXPECT_EQ(bytes[0] + bytes[1] + bytes[2], 257);
    EXPECT_EQ(
        Journal::Instance().Calls("player"),
        (Calls{"player_get_play_position_ex() = 0, -5", "player_get_play_position_ex() = 7",
               "player_get_play_position_ex() = 8, 9", "player_get_adaptive_streaming_info(19) = 0, 255"}));
}

TEST(ScriptedPlatform, ThePlayerRefusesWhatItDidNotExpect)
{
    long long value = 0;
    EXPECT_NONFATAL_FAILURE(player_get_base_time(ScriptedPlayer::Handle(), &value),
                            "unexpected call of the player: player_get_base_time() = -1");
    EXPECT_NONFATAL_FAILURE(player_get_base_time(nullptr, &value), "another player's handle");
    EXPECT_NONFATAL_FAILURE(
        {
            ScriptedPlayer::ExpectBaseTime(PlayerAnswer::Value(1));
            ScriptedPlayer::Verify();
        },
        "nobody asked for");
    ScriptedPlayer::Reset();
}

TEST(ScriptedPlatform, TheFileManagerAnswersAndNotesEachCall)
{
    ScriptedFileManager::ExpectFetch("http://a/b", FetchAnswer::Document("<tt/>").WithLength(99));
    ScriptedFileManager::ExpectFetch("http://a/c", FetchAnswer::Failure());
    ScriptedFileManager::SetTimeExpression("10s", 10'000);
    ScriptedFileManager::SetTimeOfDay(42);
    TTML::IFileUtil* const fetcher = TTML::IFileUtil::Create();
    fetcher->SetRequestHeader("DNT: 1");
    unsigned long length = 0;
    char* const text = fetcher->Fetch("http://a/b", "agent", &length);
    EXPECT_STREQ(text, "<tt/>");
    EXPECT_EQ(length, 99U);
    fetcher->ReleaseText(text);
    length = 0;
    EXPECT_EQ(fetcher->Fetch("http://a/c", "", &length), nullptr);
    fetcher->Destroy();
    EXPECT_EQ(TTML::ConvertTimeExpressionToMS("10s", 0.0, 0), 10'000);
    EXPECT_EQ(TTML::TTMLGetTimeofDay(), 42U);
    EXPECT_EQ(Journal::Instance().Calls(),
              (Calls{"IFileUtil::Create() = #1", "#1.SetRequestHeader(\"DNT: 1\")",
                     "#1.Fetch(\"http://a/b\", \"agent\", 0) = \"<tt/>\"", "#1.ReleaseText(\"<tt/>\")",
                     "#1.Fetch(\"http://a/c\", \"\", 0) = null", "#1.Destroy()",
                     "ConvertTimeExpressionToMS(\"10s\", 0, 0) = 10000", "TTMLGetTimeofDay() = 42"}));
}

TEST(ScriptedPlatform, TheFileManagerRefusesWhatItDidNotExpect)
{
    EXPECT_NONFATAL_FAILURE(TTML::IFileUtil::Create()->Destroy(), "no fetch is expected");
    EXPECT_NONFATAL_FAILURE(TTML::ConvertTimeExpressionToMS("1s", 0.0, 0), "no value");
    EXPECT_NONFATAL_FAILURE(TTML::TTMLGetTimeofDay(), "set no time");

    ScriptedFileManager::ExpectFetch("http://a/b", FetchAnswer::Document("<tt/>"));
    ScriptedFileManager::ExpectFetch("http://a/c", FetchAnswer::Failure());
    TTML::IFileUtil* const fetcher = TTML::IFileUtil::Create();
    unsigned long length = 0;
    EXPECT_NONFATAL_FAILURE(fetcher->Fetch("http://a/c", "", &length), "not the URL");
    char* const text = fetcher->Fetch("http://a/b", "", &length);
    char foreign[] = "mine";
    EXPECT_NONFATAL_FAILURE(fetcher->ReleaseText(foreign), "not its own");
    fetcher->ReleaseText(text);
    EXPECT_NONFATAL_FAILURE(fetcher->Fetch("http://a/c", "", &(length = 1)), "not 0 on entry");
    EXPECT_NONFATAL_FAILURE(ScriptedFileManager::Verify(), "is not released");
    fetcher->Destroy();
    EXPECT_NONFATAL_FAILURE(fetcher->Destroy(), "the fetcher is released");
    ScriptedFileManager::Verify();
    ScriptedFileManager::ExpectFetch("http://a/d", FetchAnswer::Failure());
    EXPECT_NONFATAL_FAILURE(ScriptedFileManager::Verify(), "documents that nobody fetched");
    ScriptedFileManager::Reset();
}

TEST(ScriptedPlatform, ThePlayerAnswersAlwaysWhatIsLeft)
{
    ScriptedPlayer::AnswerAlways(PlayerAnswer::Value(7), PlayerAnswer::Error(-3), PlayerAnswer::Value(9));
    ScriptedPlayer::ExpectPosition(PlayerAnswer::Value(5));
    for (const long long expected : {5, 7, 7}) {
        long long position = 0;
        EXPECT_EQ(player_get_play_position_ex(ScriptedPlayer::Handle(), &position), 0);
        EXPECT_EQ(position, expected);
    }
}

TEST(ScriptedPlatform, TheFileManagerServesAUrlHoweverOftenItIsAskedFor)
{
    ScriptedFileManager::Serve("http://host/a", FetchAnswer::Document("<tt/>"));
    for (int i = 0; i < 3; ++i) {
        TTML::IFileUtil* const fetcher = TTML::IFileUtil::Create();
        unsigned long length = 0;
        char* const text = fetcher->Fetch("http://host/a", "agent", &length);
        EXPECT_STREQ(text, "<tt/>");
        fetcher->ReleaseText(text);
        EXPECT_NONFATAL_FAILURE(fetcher->Fetch("http://host/b", "agent", &length), "not the URL");
        fetcher->Destroy();
    }
}

TEST(ScriptedPlatform, KeepsNothingInARunOfAnyLength)
{
    TTML_LOGI("kept");
    Journal::Instance().KeepNothing();
    TTML_LOGI("not kept");
    EXPECT_EQ(ScriptedLog::Messages(), Calls{"kept"});
    EXPECT_EQ(Journal::Instance().Entries().size(), 1U);
    ScriptedPlatform::Reset();
    TTML_LOGI("kept again");
    EXPECT_EQ(ScriptedLog::Messages(), Calls{"kept again"});
}

TEST(FaultInjection, FailsTheChosenCallsOfTheChosenThread)
{
    pthread_mutex_t mutex{};
    {
        const FaultInjection fault(Call::MUTEX_INIT, 2, 2);
        TestThread other([&] { EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), 0); });
        other.WaitUntilDone();
        EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), 0);
        EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), ENOMEM);
        EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), ENOMEM);
        EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), 0);
        EXPECT_EQ(fault.Calls(), 4U);
        EXPECT_EQ(fault.Failed(), 2U);
    }
    EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), 0);
}

TEST(FaultInjection, FailsCallsOfAnyThread)
{
    pthread_mutex_t mutex{};
    const FaultInjection fault(Call::MUTEX_INIT, 1, FaultInjection::kAll, FaultScope::ANY_THREAD, EBUSY);
    TestThread other([&] { EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), EBUSY); });
    other.WaitUntilDone();
    EXPECT_EQ(pthread_mutex_init(&mutex, nullptr), EBUSY);
}

TEST(FaultInjection, FailsAllocationsOfBothKinds)
{
    {
        const FaultInjection fault(Call::NEW);
        EXPECT_THROW(::operator delete(::operator new(8)), std::bad_alloc);
        EXPECT_NO_THROW(::operator delete(::operator new(8)));
    }
    {
        const FaultInjection fault(Call::NEW);
        EXPECT_THROW(::operator delete[](::operator new[](8)), std::bad_alloc);
    }
    {
        const FaultInjection fault(Call::NEW_NOTHROW);
        void* const none = ::operator new(8, std::nothrow);
        void* const some = ::operator new(8, std::nothrow);
        EXPECT_EQ(none, nullptr);
        EXPECT_NE(some, nullptr);
        ::operator delete(some);
    }
    {
        const FaultInjection fault(Call::NEW_NOTHROW);
        EXPECT_EQ(::operator new[](8, std::nothrow), nullptr);
    }
}

TEST(FaultInjection, LeavesTheSupportsOwnWorkAlone)
{
    const FaultInjection fault(Call::NEW, 1, FaultInjection::kAll);
    TTML_LOGW("a message that is too long to be kept without an allocation");
    {
        const FaultPause pause;
        ::operator delete(::operator new(8));
    }
    EXPECT_EQ(fault.Calls(), 0U);
}
