#include <string>
#include <vector>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

constexpr int kMoved = 300;

// The map of a service with one TTML component.
Map OneComponent(int version, int pid, const std::string& language = "deu",
                 const std::vector<int>& profiles = {2})
{
    return Map(1).Pid(kMap1).Version(version).Pcr(kVideo1).Video(kVideo1).Ttml(pid, language, profiles);
}

Map NoComponent(int version)
{
    return Map(1).Pid(kMap1).Version(version).Pcr(kVideo1).Video(kVideo1);
}

// What happens, without what the listener is told of signals and packets.
Texts WithoutNotices(const Texts& events)
{
    Texts kept;
    for (const std::string& event : events) {
        if (event != "delivered" && event.compare(0, 5, "told ") != 0) {
            kept.push_back(event);
        }
    }
    return kept;
}

class Component : public TvTest
{
protected:
    // Has the subtitle stream that is on noted at each signal of a change.
    void NoteChanges()
    {
        m_recorder.When("signal 85", [this] { m_recorder.Note("now " + CurrentSubtitleText()); });
    }
};

TEST_F(Component, IsFollowedWhereANewMapMovesIt)
{
    NoteChanges();
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(OneComponent(0, kDeu)).Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    stream.Pmt(OneComponent(1, kMoved)).Pes(kDeu, Subtitle(2)).Pes(kMoved, Subtitle(3));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(WithoutNotices(m_recorder.Events()),
              (Texts{"signal 59", "signal 60", "pes 258 at 1", "signal 85", "now deu 0 type 2 profile 4",
                     "pes 300 at 3", "end: "}));
}

TEST_F(Component, IsFollowedByItsLanguageWhereTheOrderChanges)
{
    NoteChanges();
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(Map1()).Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    stream.Pmt(Map(1).Pid(kMap1).Version(1).Pcr(kVideo1).Ttml(kFra, "fra", {1}).Ttml(kMoved, "deu", {2}));
    stream.Pes(kMoved, Subtitle(2)).Pes(kFra, Subtitle(3));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("now"), Texts{"now deu 1 type 2 profile 4"});
    EXPECT_EQ(m_recorder.EventsLike("pes"), (Texts{"pes 258 at 1", "pes 300 at 2"}));
}

TEST_F(Component, ChangesOfLanguageAndProfileAreSignalledAndItPlaysOn)
{
    NoteChanges();
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(OneComponent(0, kDeu)).Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    stream.Pmt(OneComponent(1, kDeu, "deu", {1})).Pes(kDeu, Subtitle(2));
    stream.Pmt(OneComponent(2, kDeu, "nld", {0})).Pes(kDeu, Subtitle(3));
    // The same again in a new version is no change.
    stream.Pmt(OneComponent(3, kDeu, "nld", {0})).Pes(kDeu, Subtitle(4));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("now"),
              (Texts{"now deu 0 type 2 profile 1", "now nld 0 type 2 profile 5"}));
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 4U);
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Component, ThatGoesIsReportedAndTakenUpAgainWhenItComesBack)
{
    NoteChanges();
    TestStream stream;
    stream.Pat({{1, kMap1}})
        .Sdt({{1, "One"}})
        .Pmt(OneComponent(0, kDeu))
        .Pcr(kVideo1, 0)
        .Pes(kDeu, Subtitle(1));
    stream.Pmt(NoComponent(1)).Pes(kDeu, Subtitle(2));
    stream.Pmt(OneComponent(2, kMoved)).Pes(kMoved, Subtitle(3));
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("now"), (Texts{"now none", "now deu 0 type 2 profile 4"}));
    EXPECT_EQ(m_recorder.EventsLike("pes"), (Texts{"pes 258 at 1", "pes 300 at 3"}));
    EXPECT_EQ(
        m_recorder.EventsLike("warning"),
        Texts{"warning: Service 1 \"One\" of '" + m_folder.Path("stream.ts") +
              "' has lost its TTML component and has only video (H.264) now; waiting for it to come back"});
}

TEST_F(Component, ThatGoesAgainAndAgainIsReportedOnceForEachTune)
{
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(OneComponent(0, kDeu)).Pcr(kVideo1, 0);
    for (int round = 0; round < 5; ++round) {
        stream.Pmt(NoComponent(2 * round + 1)).Pmt(OneComponent(2 * round + 2, kDeu));
        stream.Pes(kDeu, Subtitle(static_cast<std::uint64_t>(round))).Pcr(kVideo1, kSecond);
    }
    m_recorder.When("pes 258 at 2", [] { EXPECT_TRUE(TTMLHost::TvTune("1", nullptr)); });
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("signal 85").size(), 10U);
    const std::string lost =
        "warning: Service 1 of '" + m_folder.Path("stream.ts") +
        "' has lost its TTML component and has only video (H.264) now; waiting for it to come back";
    EXPECT_EQ(m_recorder.EventsLike("warning"), (Texts{lost, lost}));
}

TEST_F(Component, ThatComesLaterIsSignalled)
{
    NoteChanges();
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(NoComponent(0)).Pcr(kVideo1, 0).Pmt(OneComponent(1, kDeu));
    stream.Pes(kDeu, Subtitle(1));
    EXPECT_EQ(PlayFast(stream, "1"), "");
    EXPECT_EQ(m_recorder.EventsLike("now"), Texts{"now deu 0 type 2 profile 4"});
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 1"});
}

TEST_F(Component, AMapThatChangesEverySecondIsNoError)
{
    TestStream stream;
    stream.Pat({{1, kMap1}});
    for (int second = 0; second < 60; ++second) {
        const int pid = kDeu + second % 2;
        stream.Pmt(OneComponent(second % 32, pid)).Pcr(kVideo1, static_cast<std::uint64_t>(second) * kSecond);
        stream.Pes(pid, Subtitle(static_cast<std::uint64_t>(second)));
    }
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(m_recorder.EventsLike("pes").size(), 60U);
    EXPECT_EQ(m_recorder.EventsLike("signal 85").size(), 59U);
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Component, FollowsAClockReferenceThatMoves)
{
    TestStream stream;
    stream.Pat({{1, kMap1}}).Pmt(OneComponent(0, kDeu)).Pcr(kVideo1, kSecond).Pes(kDeu, Subtitle(1));
    stream.Pmt(Map(1).Pid(kMap1).Version(1).Pcr(kVideo2).Ttml(kDeu, "deu"));
    stream.Pcr(kVideo1, 5 * kSecond).Pcr(kVideo2, 2 * kSecond).Pes(kDeu, Subtitle(2));
    std::string stc;
    m_recorder.When("pes 258 at 2", [&stc] { stc = StcText(); });
    EXPECT_EQ(PlayFast(stream), "");
    EXPECT_EQ(stc, "180000");
}

// A stream of another service, and what its descriptions ask of the one that is tuned.
TEST_F(Component, DescriptionsAreByServiceIndexAndLanguage)
{
    TestStream stream;
    stream.Pat({{1, kMap1}, {3, 768}}).Pmt(Map1()).Pmt(Map(3).Pid(768).Pcr(kVideo1).Video(kVideo1));
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    TVServiceAPI::IServiceDataAux* const auxiliary = TVServiceAPI::ServiceDataAux(PROFILE_MAIN, 0);
    constexpr int kLanguageDeu = 'd' << 16 | 'e' << 8 | 'u';
    constexpr int kLanguageFra = 'f' << 16 | 'r' << 8 | 'a';
    struct Answer
    {
        int result;
        int type;
        int profile;
    };
    const auto ask = [auxiliary](unsigned long long service, int index, int language) {
        TSHybridSBT sbt;
        sbt.sbtType = -1;
        const int result = auxiliary->GetHybridSBT(service, index, language, sbt);
        return Answer{result, sbt.sbtType, sbt.profile};
    };
    std::vector<Answer> answers;
    m_recorder.When("pes 258 at 1", [&] {
        answers = {ask(1, 0, kLanguageDeu), ask(1, 1, kLanguageFra),    ask(1, 1, kLanguageDeu),
                   ask(1, 2, kLanguageDeu), ask(1, -1, kLanguageDeu),   ask(3, 0, kLanguageDeu),
                   ask(9, 0, kLanguageDeu), ask(~0ULL, 0, kLanguageDeu)};
    });
    EXPECT_EQ(PlayFast(stream), "");
    TVServiceAPI::Destroy(auxiliary);
    const std::vector<Answer> expected = {{1, 2, 4},  {1, 2, 1}, {0, -1, 0}, {0, -1, 0},
                                          {0, -1, 0}, {1, 0, 0}, {0, -1, 0}, {0, -1, 0}};
    ASSERT_EQ(answers.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_EQ(answers[index].result, expected[index].result) << index;
        EXPECT_EQ(answers[index].type, expected[index].type) << index;
        EXPECT_EQ(answers[index].profile, expected[index].profile) << index;
    }
}

} // namespace
