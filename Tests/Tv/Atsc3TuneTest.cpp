#include <cstdint>
#include <string>
#include <vector>

#include "Atsc3Fixture.h"
#include "PlatformSettings.h"

namespace {

using namespace TTMLTest;

// Availability start and delay of the samples: 2026-01-01T00:00:00Z and 1.5 s, 06:00:00Z and 2 s.
constexpr std::int64_t kFirstMs = 1767225601500;
constexpr std::int64_t kSecondMs = 1767247202000;

const char* const kEnglish = "1 eng role 5 aspect 2 easy 0 profile 0 3D 0";

class Atsc3Tune : public Atsc3Test
{
protected:
    // The captions of the sample services as they are noted.
    static Texts FirstService(const std::string& language)
    {
        Texts events;
        for (int i = 0; i < 14; ++i) {
            const std::string segment = language + "-" + std::to_string(i + 1) + ".m4s";
            events.push_back(CaptionEvent(kFirstMs + 2002 * i, SamplePayload(segment).size()));
        }
        return events;
    }

    static Texts SecondService()
    {
        Texts events;
        for (int i = 0; i < 12; ++i) {
            const std::string number = std::to_string(100000 + i).substr(1);
            events.push_back(
                CaptionEvent(kSecondMs + 2000 * i, SamplePayload("deu-" + number + ".m4s").size()));
        }
        return events;
    }

    static std::string Answers(std::uint64_t service)
    {
        const std::string mpd = MpdAnswer(service);
        return CurrentServiceText() + ", " + Atsc3Text() + ", " + CaptionTrackText() + ", " +
               (mpd == SampleContent("service.mpd") ? "first MPD" : mpd);
    }
};

TEST_F(Atsc3Tune, PlaysEveryCaptionAsItStandsAndInOrder)
{
    EXPECT_EQ(Play(FastService(Sample("service.mpd"))), "");
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60"}));
    EXPECT_EQ(Captions(), FirstService("eng"));
    Texts payloads;
    for (int i = 1; i <= 14; ++i) {
        payloads.push_back(SamplePayload("eng-" + std::to_string(i) + ".m4s"));
    }
    EXPECT_EQ(m_payloads, payloads);
    EXPECT_EQ(m_recorder.Count("delivered"), 14U);
    EXPECT_EQ(m_statistics.captionsDelivered, 14U);
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
    EXPECT_EQ(m_recorder.Events().back(), "end: ");
}

TEST_F(Atsc3Tune, TellsTheListenerAfterAllSubscribers)
{
    EXPECT_EQ(Play(FastService(Sample("service.mpd"))), "");
    const Texts events = m_recorder.Events();
    const std::string first = FirstService("eng").front();
    EXPECT_EQ(Texts(events.begin(), events.begin() + 6),
              (Texts{"signal 59", "told 59", "signal 60", "told 60", first, "delivered"}));
}

TEST_F(Atsc3Tune, AnswersForTheServiceFromItsSuccessOn)
{
    Texts answers;
    m_recorder.When("told 59", [&] { answers.push_back(Answers(1)); });
    m_recorder.When("signal 60", [&] { answers.push_back(Answers(1)); });
    m_recorder.When(FirstService("eng")[13], [&] { answers.push_back(Answers(1)); });
    const OpenAtsc3 tv(FastService(Sample("service.mpd")), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    EXPECT_EQ(Answers(1), "none, none, none, none") << "before the start";
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    const std::string tuned = std::string("service 1, ATSC 3.0, ") + kEnglish + ", first MPD";
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_EQ(answers[0], "none, none, none, none") << "while it is being tuned to";
    EXPECT_EQ(answers[1], tuned);
    EXPECT_EQ(answers[2], tuned);
    EXPECT_EQ(MpdAnswer(2), "none") << "only of the service that is tuned";
    EXPECT_EQ(CurrentSubtitleText(), "none") << "no transport stream's subtitles";
    EXPECT_EQ(StcText(), "none");
    EXPECT_EQ(LockText(), "open");
    EXPECT_EQ(RatingText(), "0 permitted");
}

TEST_F(Atsc3Tune, TheSourceTypeIsBroadcast)
{
    const OpenAtsc3 tv(FastService(Sample("service.mpd")), &m_recorder);
    TVServiceAPI::ISourceControl* source = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateSourceControl(PROFILE_MAIN, 0, &source), 0);
    int type = -1;
    EXPECT_EQ(source->GetCurrentSourceInfo(type), 1);
    EXPECT_EQ(type, 0);
    TVServiceAPI::Destroy(source);
}

TEST_F(Atsc3Tune, TakesTheCaptionsOfTheLanguage)
{
    auto options = FastService(Sample("service.mpd"));
    std::string track;
    m_recorder.When("signal 60", [&track] { track = CaptionTrackText(); });
    options.language = "kor";
    EXPECT_EQ(Play(options), "");
    EXPECT_EQ(Captions(), FirstService("kor"));
    EXPECT_EQ(track, "2 kor role 6 aspect 2 easy 1 profile 0 3D 0");
    m_recorder.Clear();
    options.language = "es";
    EXPECT_EQ(Play(options), "");
    EXPECT_EQ(Captions(), FirstService("spa"));
    EXPECT_EQ(track, "3 spa role 6 aspect 2 easy 0 profile 1 3D 0");
    EXPECT_EQ(m_payloads[0], SamplePayload("spa-1.m4s")) << "with its images";
}

TEST_F(Atsc3Tune, EndsWithTheLanguagesThereAreWhenItIsNone)
{
    auto options = FastService(Sample("service.mpd"));
    options.language = "fra";
    const std::string error = Play(options);
    EXPECT_NE(error.find("'" + options.input + "'"), std::string::npos) << error;
    for (const char* const language : {"fra", "eng", "kor", "spa"}) {
        EXPECT_NE(error.find(language), std::string::npos) << error;
    }
    EXPECT_EQ(Signals(), Texts{"signal 59"});
}

TEST_F(Atsc3Tune, GoesToAnotherServiceInTheMiddle)
{
    std::string answers;
    m_recorder.When(FirstService("eng")[1], [&answers] {
        std::string error;
        EXPECT_TRUE(TTMLHost::TvTune("2", &error)) << error;
        answers = CurrentServiceText() + ", " + CaptionTrackText() + ", " + MpdAnswer(1);
    });
    std::string other;
    m_recorder.When(SecondService()[0], [&other] { other = Answers(1); });
    EXPECT_EQ(Play(FastService(Sample("service.mpd"), {Sample("second.mpd")})), "");
    EXPECT_EQ(answers, "none, none, none") << "until the new one is there";
    EXPECT_EQ(other, "service 2, ATSC 3.0, 1 deu role 5 aspect 0 easy 0 profile 0 3D 0, none");
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60", "signal 59", "signal 60"}));
    Texts expected = SecondService();
    const Texts first = FirstService("eng");
    expected.insert(expected.begin(), first.begin(), first.begin() + 2);
    EXPECT_EQ(Captions(), expected);
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts{"end: "}) << "the first service did not end";
}

TEST_F(Atsc3Tune, KnowsServicesByIdAndByTheirMpd)
{
    const std::string second = Sample("second.mpd");
    for (const std::string& name :
         {std::string("2"), second, std::string("second.mpd"), std::string("second")}) {
        m_recorder.Clear();
        const OpenAtsc3 tv(FastService(Sample("service.mpd"), {second}), &m_recorder);
        const CaptionViewer viewer(&m_recorder);
        std::string error;
        EXPECT_TRUE(TTMLHost::TvTune(name, &error)) << error;
        TTMLHost::TvStart();
        EXPECT_EQ(m_recorder.WaitForEnd(), "");
        EXPECT_EQ(Captions(), SecondService()) << name;
        EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60"})) << "what comes before the start is the start";
    }
}

TEST_F(Atsc3Tune, RefusesServicesThatAreNone)
{
    const std::string input = Sample("service.mpd");
    const OpenAtsc3 tv(FastService(input, {Sample("second.mpd")}), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    for (const std::string& name : {std::string("0"), std::string("3"), std::string("thi\nrd")}) {
        std::string error;
        EXPECT_FALSE(TTMLHost::TvTune(name, &error));
        EXPECT_EQ(error, "Cannot tune to service '" + (name.size() > 1 ? "thi?rd" : name) + "' of '" + input +
                             "': there is no such service; choose one of 1 (service.mpd), 2 (second.mpd)");
    }
    EXPECT_EQ(CurrentServiceText(), "service 1") << "nothing has changed";
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60"}));
}

TEST_F(Atsc3Tune, TunesAgainAfterAnEnd)
{
    const OpenAtsc3 tv(FastService(Sample("service.mpd"), {Sample("second.mpd")}), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(CurrentServiceText(), "service 1") << "it is over, and still tuned";
    m_recorder.Clear();
    EXPECT_TRUE(TTMLHost::TvTune("second", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(Captions(), SecondService());
    m_recorder.Clear();
    EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(Captions(), FirstService("eng"));
    EXPECT_EQ(TTMLHost::TvGetStatistics().captionsDelivered, 14U + 12U + 14U);
}

TEST_F(Atsc3Tune, ALockIsAnAttributeAndInForceWithTheSetting)
{
    ASSERT_EQ(vconf_set_bool("db/menu/broadcasting/channel_lock", 1), 0);
    Texts answers;
    m_recorder.When(FirstService("eng")[0], [&answers] {
        const bool isFirst = answers.empty();
        TTMLHost::TvLockService(true);
        answers.push_back(CurrentServiceText() + ", " + LockText());
        EXPECT_TRUE(!isFirst || TTMLHost::TvTune("2", nullptr));
    });
    m_recorder.When(SecondService()[0], [&answers] {
        answers.push_back(CurrentServiceText() + ", " + LockText());
        EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    });
    EXPECT_EQ(Play(FastService(Sample("service.mpd"), {Sample("second.mpd")})), "");
    EXPECT_EQ(answers, (Texts{"service 1 locked, locked", "service 2, open", "service 1 locked, locked"}));
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60", "signal 62", "signal 59", "signal 60", "signal 59",
                                "signal 60", "signal 62", "signal 62"}))
        << "at the lock, at the tune to what is locked, and at the lock once more";
    ASSERT_EQ(vconf_set_bool("db/menu/broadcasting/channel_lock", 0), 0);
}

} // namespace
