#include <functional>
#include <string>
#include <vector>

#include "PlatformSettings.h"
#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

constexpr char kChannelLock[] = "db/menu/broadcasting/channel_lock";
constexpr char kLockType[] = "db/tv/lock_type";

class Locks : public TvTest
{
protected:
    void SetUp() override { ASSERT_EQ(vconf_set_bool(kChannelLock, 0), 0); }

    // Plays a stream to its end and closes, with something to be done at an event.
    void PlayWith(const TestStream& stream, const std::string& event, std::function<void()> action)
    {
        m_recorder.When(event, std::move(action));
        EXPECT_EQ(PlayFast(stream), "");
    }
};

std::string Answers()
{
    return CurrentServiceText() + ", " + LockText() + ", " + RatingText();
}

int SoSpecValue(int key, int value)
{
    TVServiceAPI::ISOSpecApp* application = nullptr;
    EXPECT_EQ(TVServiceAPI::CreateSOSpecApp(PROFILE_MAIN, 0, &application), 0);
    const int result = application->GetValue(key, value);
    TVServiceAPI::Destroy(application);
    return result > 0 ? value : -1;
}

TEST_F(Locks, AViewersLockIsAnAttributeAndInForceWithTheSetting)
{
    Texts answers;
    PlayWith(Seconds(2), "pes 258 at 945000", [&answers] {
        TTMLHost::TvLockService(true);
        answers.push_back(Answers());
        vconf_set_bool(kChannelLock, 1);
        answers.push_back(Answers());
        TTMLHost::TvLockService(false);
        answers.push_back(Answers());
    });
    EXPECT_EQ(answers, (Texts{"service 1 locked, open, 0 permitted", "service 1 locked, locked, 0 permitted",
                              "service 1, open, 0 permitted"}));
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 62"}));
}

TEST_F(Locks, AServiceThatIsLockedIsSignalledWhenItIsTunedTo)
{
    ASSERT_EQ(vconf_set_bool(kChannelLock, 1), 0);
    m_recorder.When("pes 258 at 945000", [] {
        TTMLHost::TvLockService(true);
        EXPECT_TRUE(TTMLHost::TvTune("2", nullptr));
    });
    m_recorder.When("pes 514 at 1035002", [] { EXPECT_TRUE(TTMLHost::TvTune("1", nullptr)); });
    EXPECT_EQ(PlayFast(Seconds(3)), "");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 62", "signal 59",
                                                      "signal 60", "signal 59", "signal 60", "signal 62"}));
}

TEST_F(Locks, ALockWithoutASettingIsNotSignalledByTheTune)
{
    m_recorder.When("pes 258 at 945000", [] {
        TTMLHost::TvLockService(true);
        EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    });
    EXPECT_EQ(PlayFast(Seconds(2)), "");
    EXPECT_EQ(m_recorder.Count("signal 62"), 1U);
}

TEST_F(Locks, ALockThatComesBeforeTheTuneIsForTheServiceThatComes)
{
    ASSERT_EQ(vconf_set_bool(kChannelLock, 1), 0);
    const OpenTv tv(FastInput(File(Seconds(1))), &m_recorder);
    const TvViewer viewer(&m_recorder);
    TTMLHost::TvLockService(true);
    std::string answers;
    m_recorder.When("pes 258 at 945000", [&answers] { answers = Answers(); });
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(answers, "service 1 locked, locked, 0 permitted");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 62"}));
}

TEST_F(Locks, EndWithTheInput)
{
    PlayWith(Seconds(1), "pes 258 at 945000", [] { TTMLHost::TvLockService(true); });
    m_recorder.Clear();
    std::string answers;
    PlayWith(Seconds(1), "pes 258 at 945000", [&answers] { answers = Answers(); });
    EXPECT_EQ(answers, "service 1, open, 0 permitted");
}

TEST_F(Locks, TheRatingOfTheProgrammeIsHeldAgainstTheLimit)
{
    TestStream stream = BothServices();
    stream.Eit(1, 12);
    AddSecond(&stream, kSecond);
    Texts answers;
    PlayWith(stream, "pes 258 at 135000", [&answers] {
        answers.push_back(Answers());
        for (const int limit : {16, 12, 11}) {
            TTMLHost::TvSetRatingLimit(limit);
            answers.push_back(Answers());
        }
        TTMLHost::TvSetRatingLimit(std::nullopt);
        answers.push_back(Answers());
    });
    EXPECT_EQ(answers, (Texts{"service 1, open, 12 permitted", "service 1, open, 12 permitted",
                              "service 1, open, 12 permitted", "service 1, locked, 12 refused",
                              "service 1, open, 12 permitted"}));
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 62"}));
}

TEST_F(Locks, AProgrammeAboveTheLimitIsSignalledAtTheTuneAndWhenItBegins)
{
    TestStream stream = BothServices();
    stream.Eit(1, 16).Eit(2, 18);
    AddSecond(&stream, kSecond);
    stream.Eit(2, 6, 1).Eit(1, 6, 1); // another service's rating is nobody's business
    AddSecond(&stream, 2 * kSecond);
    stream.Eit(1, 18, 2).Eit(2, 18, 2);
    AddSecond(&stream, 3 * kSecond);
    TTMLHost::TvSetRatingLimit(12);
    Texts answers;
    m_recorder.When("pes 258 at 135000", [&answers] { answers.push_back(Answers()); });
    m_recorder.When("pes 258 at 225000", [&answers] { answers.push_back(Answers()); });
    m_recorder.When("pes 258 at 315000", [&answers] { answers.push_back(Answers()); });
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(answers, (Texts{"service 1, locked, 16 refused", "service 1, open, 6 permitted",
                              "service 1, locked, 18 refused"}));
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 62", "signal 62"}));
}

TEST_F(Locks, ChildRatingIsSupportedUnlessTheSettingsSayOtherwise)
{
    EXPECT_EQ(SoSpecValue(SO_SPEC_VALUE_LOCK_TYPE, 0), 8);
    ASSERT_EQ(vconf_set_int(kLockType, 3), 0);
    EXPECT_EQ(SoSpecValue(SO_SPEC_VALUE_LOCK_TYPE, 0), 3);
    ASSERT_EQ(vconf_set_int(kLockType, 8), 0);
    EXPECT_EQ(SoSpecValue(0, 5), -1);
}

} // namespace
