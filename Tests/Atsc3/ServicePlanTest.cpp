#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MpdText.h"
#include "ServicePlan.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::PlanStep;
using TTMLHost::ServicePace;
using TTMLHost::ServicePlan;
using TTMLTest::CaptionText;
using TTMLTest::MpdText;
using TTMLTest::PeriodText;
using TTMLTest::SharedMpd;

using Lines = std::vector<std::string>;
using Numbers = std::vector<std::int64_t>;

constexpr std::int64_t kS = 1000000000;
// 2024-05-17T10:00:00Z
constexpr std::int64_t kStartNs = 1715940000 * kS;
const std::string kStart = "availabilityStartTime=\"2024-05-17T10:00:00Z\" ";
const std::string kDynamic = "type=\"dynamic\" " + kStart;

// Plays a service that is made of names, by a clock of its own.
class Viewer
{
public:
    explicit Viewer(bool listable, const std::string& language = "")
        : m_plan("s.mpd", language, [this, listable](const CaptionSet& set) { return List(listable, set); })
    {}

    Viewer& There(const Lines& names)
    {
        m_there.insert(names.begin(), names.end());
        return *this;
    }
    Viewer& Begin(const std::string& mpd, std::int64_t nowNs = kStartNs)
    {
        m_nowNs = nowNs;
        m_plan.Begin(SharedMpd(mpd), nowNs);
        return *this;
    }

    // One step, as a text: "fetch NAME", "missing NAME", "wait SECONDS", "reload", "end", "end: ERROR". A
    // wait lets the time pass; other steps take none.
    std::string Step()
    {
        const PlanStep step = m_plan.Next(m_nowNs);
        switch (step.kind) {
        case PlanStep::Kind::Fetch:
            return Fetch(step);
        case PlanStep::Kind::Wait: {
            EXPECT_GT(step.untilNs, m_nowNs);
            const std::int64_t ms = (step.untilNs - m_nowNs) / 1000000;
            m_nowNs = step.untilNs;
            return "wait " + std::to_string(ms);
        }
        case PlanStep::Kind::Reload:
            m_plan.Reloaded(m_nowNs);
            return "reload";
        case PlanStep::Kind::End:
            break;
        }
        return step.error.empty() ? "end" : "end: " + step.error;
    }
    Lines Steps(std::size_t count)
    {
        Lines steps;
        for (std::size_t i = 0; i < count; ++i) {
            steps.push_back(Step());
        }
        return steps;
    }
    // All steps to the end.
    Lines ToEnd()
    {
        Lines steps;
        do {
            steps.push_back(Step());
        } while (steps.size() < 10000 && steps.back().compare(0, 3, "end") != 0);
        return steps;
    }

    ServicePlan& Plan() { return m_plan; }
    std::int64_t NowNs() const { return m_nowNs; }
    void Pass(std::int64_t ns) { m_nowNs += ns; }
    const Lines& Told() const { return m_told; }

private:
    std::optional<Numbers> List(bool listable, const CaptionSet& set) const
    {
        Numbers numbers;
        for (const std::string& name : m_there) {
            if (const auto number = set.segments.media.NumberOf(name)) {
                numbers.push_back(*number);
            }
        }
        std::sort(numbers.begin(), numbers.end());
        return listable && set.segments.media.HasNumber() ? std::optional<Numbers>(numbers) : std::nullopt;
    }

    std::string Fetch(const PlanStep& step)
    {
        EXPECT_NE(step.set, nullptr);
        EXPECT_NE(step.period, nullptr);
        const std::string& name = step.segment.reference;
        const bool isThere = m_there.count(name) != 0;
        const std::string line = isThere ? m_plan.Fetched() : m_plan.Missing(m_nowNs, "no " + name);
        if (!line.empty()) {
            m_told.push_back(line);
        }
        return (isThere ? "fetch " : "missing ") + name;
    }

    ServicePlan m_plan;
    std::set<std::string> m_there;
    std::int64_t m_nowNs = 0;
    Lines m_told;
};

std::string Stored(const std::string& attributes, const std::string& segments = "")
{
    return MpdText(attributes, PeriodText("", CaptionText("", segments)));
}

const std::string kFourthOfFive = "Cannot find all caption segments of 's.mpd': ";
const std::string kAdvice = "; check what receives or serves them; the rest is played";

TEST(ServicePlan, PlaysAllOfAStoredService)
{
    Viewer viewer(true);
    viewer.There({"seg-1.m4s", "seg-2.m4s", "seg-3.m4s", "seg-4.m4s"});
    viewer.Begin(Stored("mediaPresentationDuration=\"PT6S\""));
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Stored);
    EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch seg-1.m4s", "fetch seg-2.m4s", "fetch seg-3.m4s", "end"}));
    EXPECT_EQ(viewer.Told(), Lines());
    EXPECT_EQ(viewer.Step(), "end");
}

TEST(ServicePlan, PlaysTheCaptionsOfEachPeriod)
{
    Viewer viewer(true, "de");
    viewer.There({"a-1", "b-1", "c-1"});
    const std::string attributes = "lang=\"de\"";
    const auto named = [](const std::string& name) {
        return "<SegmentTemplate media=\"" + name + "-$Number$\" duration=\"2\"/>";
    };
    viewer.Begin(MpdText("", PeriodText("duration=\"PT2S\"", CaptionText("lang=\"deu\"", named("a"))) +
                                 PeriodText("duration=\"PT2S\"", CaptionText("lang=\"en\"", named("b"))) +
                                 PeriodText("duration=\"PT2S\"", CaptionText("lang=\"de\"", named("c")))));
    EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch a-1", "fetch c-1", "end"}));
}

TEST(ServicePlan, EndsWhereTheSegmentsEndWhenNobodySaysHowManyThereAre)
{
    for (const bool listable : {true, false}) {
        Viewer viewer(listable);
        viewer.There({"seg-1.m4s", "seg-2.m4s"}).Begin(Stored(""));
        EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch seg-1.m4s", "fetch seg-2.m4s", "missing seg-3.m4s", "end"}));
        EXPECT_EQ(viewer.Told(), Lines());
    }
}

TEST(ServicePlan, LeavesOutMissingSegmentsOfAStoredService)
{
    Viewer viewer(true);
    viewer.There({"seg-1.m4s", "seg-3.m4s", "seg-90.m4s"});
    viewer.Begin(Stored("mediaPresentationDuration=\"PT400S\""));
    EXPECT_EQ(viewer.ToEnd(),
              (Lines{"fetch seg-1.m4s", "missing seg-2.m4s", "fetch seg-3.m4s", "fetch seg-90.m4s", "end"}));
    EXPECT_EQ(viewer.Told(), (Lines{"no seg-2.m4s"}));
}

TEST(ServicePlan, SaysWhichSegmentsOfAStoredServiceAreMissing)
{
    Viewer viewer(true);
    viewer.There({"seg-4.m4s"}).Begin(Stored("mediaPresentationDuration=\"PT400S\""));
    EXPECT_EQ(viewer.ToEnd(), (Lines{"missing seg-1.m4s", "fetch seg-4.m4s", "end"}));
    EXPECT_EQ(viewer.Told(), Lines{kFourthOfFive + "1 to 3 are not there" + kAdvice});

    Viewer other(true);
    other.There({"seg-1.m4s"}).Begin(Stored("mediaPresentationDuration=\"PT400S\""));
    EXPECT_EQ(other.ToEnd(), (Lines{"fetch seg-1.m4s", "missing seg-2.m4s", "end"}));
    EXPECT_EQ(other.Told(), Lines{kFourthOfFive + "2 to 200 are not there" + kAdvice});
}

TEST(ServicePlan, SaysThatNothingIsThere)
{
    Viewer viewer(true);
    viewer.Begin(Stored("mediaPresentationDuration=\"PT4S\""));
    EXPECT_EQ(viewer.ToEnd(),
              (Lines{"missing seg-1.m4s",
                     "end: Cannot play 's.mpd': none of its caption segments is there; put them where "
                     "the MPD names them"}));
    EXPECT_EQ(viewer.Told(), Lines()) << "the end says it";
}

TEST(ServicePlan, GivesUpAServerWithoutSegments)
{
    Viewer viewer(false);
    viewer.Begin(Stored("mediaPresentationDuration=\"PT4000S\""));
    const Lines steps = viewer.ToEnd();
    EXPECT_EQ(steps.size(), 11U);
    EXPECT_EQ(steps.back(), "end: no seg-1.m4s");
    EXPECT_EQ(viewer.Told(), Lines());
}

TEST(ServicePlan, TellsWhatAServerLacksAtTheBeginning)
{
    Viewer viewer(false);
    viewer.There({"seg-3.m4s"}).Begin(Stored("mediaPresentationDuration=\"PT6S\""));
    EXPECT_EQ(viewer.ToEnd(), (Lines{"missing seg-1.m4s", "missing seg-2.m4s", "fetch seg-3.m4s", "end"}));
    EXPECT_EQ(viewer.Told(), Lines{kFourthOfFive + "2 in a row were not there" + kAdvice});

    Viewer other(false);
    other.There({"seg-2.m4s", "seg-3.m4s"}).Begin(Stored("mediaPresentationDuration=\"PT6S\""));
    EXPECT_EQ(other.ToEnd().size(), 4U);
    EXPECT_EQ(other.Told(), Lines{"no seg-1.m4s"});
}

TEST(ServicePlan, CountsWhatAServerLacks)
{
    Viewer viewer(false);
    viewer.There({"seg-1.m4s", "seg-5.m4s", "seg-6.m4s"});
    viewer.Begin(Stored("mediaPresentationDuration=\"PT12S\""));
    EXPECT_EQ(viewer.ToEnd().size(), 7U);
    EXPECT_EQ(viewer.Told(), (Lines{"no seg-2.m4s", kFourthOfFive + "3 in a row were not there" + kAdvice}));
}

TEST(ServicePlan, StartsALiveServiceAtItsEdge)
{
    Viewer viewer(false);
    viewer.There({"seg-50.m4s", "seg-51.m4s", "seg-52.m4s"}).Begin(Stored(kDynamic), kStartNs + 101 * kS);
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Live);
    EXPECT_EQ(viewer.Steps(5),
              (Lines{"fetch seg-50.m4s", "wait 1000", "fetch seg-51.m4s", "wait 2000", "fetch seg-52.m4s"}));
}

TEST(ServicePlan, StartsWithWhatIsToBePresentedNow)
{
    Viewer viewer(false);
    viewer.There({"seg-46.m4s"})
        .Begin(Stored(kDynamic + "suggestedPresentationDelay=\"PT10S\""), kStartNs + 101 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-46.m4s");
}

TEST(ServicePlan, DoesNotHurryThroughALongPresentationDelay)
{
    Viewer viewer(false);
    viewer.Begin(Stored(kDynamic + "suggestedPresentationDelay=\"PT200S\""), kStartNs + 1001 * kS);
    viewer.There({"seg-401.m4s", "seg-402.m4s"});
    EXPECT_EQ(viewer.Step(), "fetch seg-401.m4s");
    viewer.Pass(5 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-402.m4s");
}

TEST(ServicePlan, TakesSegmentsThatAreThereEarly)
{
    Viewer viewer(false);
    viewer.There({"seg-51.m4s"});
    viewer.Begin(Stored(kDynamic, "<SegmentTemplate media=\"seg-$Number$.m4s\" duration=\"2\" "
                                  "availabilityTimeOffset=\"1.5\"/>"),
                 kStartNs + 101 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-51.m4s");
}

TEST(ServicePlan, WaitsForAServiceThatHasNotBegun)
{
    Viewer viewer(true);
    viewer.Begin(Stored(kDynamic), kStartNs - 5 * kS);
    viewer.There({"seg-1.m4s"});
    EXPECT_EQ(viewer.Steps(2), (Lines{"wait 7000", "fetch seg-1.m4s"}));
}

TEST(ServicePlan, AsksAgainForALiveSegmentThatIsLate)
{
    Viewer viewer(false);
    viewer.Begin(Stored(kDynamic), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Steps(2), (Lines{"missing seg-50.m4s", "wait 500"}));
    viewer.There({"seg-50.m4s"});
    EXPECT_EQ(viewer.Step(), "fetch seg-50.m4s");
    EXPECT_EQ(viewer.Told(), Lines());
}

TEST(ServicePlan, GivesUpALiveSegmentThatDoesNotCome)
{
    Viewer viewer(false);
    viewer.There({"seg-51.m4s"}).Begin(Stored(kDynamic), kStartNs + 100 * kS);
    Lines steps;
    while (steps.size() < 30 && (steps.empty() || steps.back() != "fetch seg-51.m4s")) {
        steps.push_back(viewer.Step());
    }
    EXPECT_EQ(steps.back(), "fetch seg-51.m4s");
    EXPECT_EQ(viewer.NowNs(), kStartNs + 104 * kS);
    EXPECT_EQ(viewer.Told(), Lines{"no seg-50.m4s"});
}

TEST(ServicePlan, TellsALongOutageOnce)
{
    Viewer viewer(false);
    viewer.There({"seg-60.m4s"}).Begin(Stored(kDynamic), kStartNs + 100 * kS);
    for (int i = 0; i < 1000 && viewer.Step() != "fetch seg-60.m4s"; ++i) {
    }
    EXPECT_EQ(viewer.Told(),
              (Lines{"no seg-50.m4s", kFourthOfFive + "10 in a row were not there" + kAdvice}));
}

TEST(ServicePlan, GoesToTheEdgeAfterASleep)
{
    Viewer viewer(false);
    viewer.There({"seg-50.m4s", "seg-1850.m4s"}).Begin(Stored(kDynamic), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-50.m4s");
    viewer.Pass(3600 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-1850.m4s");
}

TEST(ServicePlan, FollowsAFolderThatAReceiverFills)
{
    Viewer viewer(true);
    viewer.There({"seg-1.m4s", "seg-48.m4s", "seg-49.m4s"}).Begin(Stored(kDynamic), kStartNs + 101 * kS);
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Live);
    EXPECT_EQ(viewer.Step(), "missing seg-50.m4s");
}

TEST(ServicePlan, PlaysWhatIsLeftOfALiveServiceInNumberOrder)
{
    Viewer viewer(true);
    viewer.There({"seg-100.m4s", "seg-9.m4s", "seg-10.m4s", "seg-11.m4s"});
    viewer.Begin(Stored(kDynamic), kStartNs + 86400 * kS);
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Recorded);
    EXPECT_EQ(viewer.ToEnd(),
              (Lines{"fetch seg-9.m4s", "fetch seg-10.m4s", "fetch seg-11.m4s", "fetch seg-100.m4s", "end"}));
    EXPECT_EQ(viewer.Told(), Lines{kFourthOfFive + "88 in a row were not there" + kAdvice});
}

const std::string kEpochSegments =
    "<SegmentTemplate media=\"d-$Number$\" startNumber=\"0\" duration=\"2002000\" timescale=\"1000000\"/>";

TEST(ServicePlan, PlaysSegmentsThatCountFrom1970UnderALaterStart)
{
    Viewer viewer(true);
    viewer.There({"d-796069159", "d-796069158"});
    viewer.Begin(Stored("type=\"dynamic\" availabilityStartTime=\"2020-07-02T22:54:58Z\"", kEpochSegments));
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Recorded);
    EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch d-796069158", "fetch d-796069159", "end"}));
}

TEST(ServicePlan, TakesUpSegmentsThatHaveComeMeanwhile)
{
    Viewer viewer(true);
    viewer.There({"d-796069158"});
    viewer.Begin(Stored("type=\"dynamic\" availabilityStartTime=\"2020-07-02T22:54:58Z\"", kEpochSegments));
    EXPECT_EQ(viewer.Step(), "fetch d-796069158");
    viewer.There({"d-796069159"});
    EXPECT_EQ(viewer.Steps(2), (Lines{"fetch d-796069159", "end"}));
}

TEST(ServicePlan, FollowsSegmentsThatCountFrom1970AsTheyCome)
{
    Viewer viewer(true);
    viewer.There({"d-796069158", "d-796069159", "d-796069160"});
    // 796069160 begins at 1593730458.320.
    viewer.Begin(Stored("type=\"dynamic\" availabilityStartTime=\"2020-07-02T22:54:58Z\"", kEpochSegments),
                 1593730459 * kS);
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Live);
    EXPECT_EQ(viewer.Steps(3), (Lines{"fetch d-796069159", "wait 1322", "fetch d-796069160"}));
}

TEST(ServicePlan, PlaysATimelineThatIsLongOverFromItsBeginning)
{
    Viewer viewer(true);
    viewer.There({"0", "20", "40"});
    viewer.Begin(Stored(kDynamic, "<SegmentTemplate media=\"$Time$\" timescale=\"10\"><SegmentTimeline>"
                                  "<S t=\"0\" d=\"20\" r=\"2\"/></SegmentTimeline></SegmentTemplate>"),
                 kStartNs + 86400 * kS);
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Recorded);
    EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch 0", "fetch 20", "fetch 40", "end"}));
}

TEST(ServicePlan, ReloadsALiveMpdWhenItsUpdatePeriodIsOver)
{
    Viewer viewer(false);
    viewer.There({"seg-50.m4s", "seg-51.m4s", "seg-52.m4s"});
    viewer.Begin(Stored(kDynamic + "minimumUpdatePeriod=\"PT3S\""), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Steps(6), (Lines{"fetch seg-50.m4s", "wait 2000", "fetch seg-51.m4s", "wait 1000",
                                      "reload", "wait 1000"}));
}

TEST(ServicePlan, DoesNotReloadTooOften)
{
    Viewer viewer(false);
    viewer.There({"seg-50.m4s"})
        .Begin(Stored(kDynamic + "minimumUpdatePeriod=\"PT0S\""), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Steps(3), (Lines{"fetch seg-50.m4s", "wait 1000", "reload"}));
}

std::string Growing(const std::string& repeat, const std::string& attributes = "")
{
    return Stored(
        kDynamic + "minimumUpdatePeriod=\"PT2S\" " + attributes,
        "<SegmentTemplate media=\"t-$Time$\" timescale=\"10\"><SegmentTimeline><S t=\"0\" d=\"20\" r=\"" +
            repeat + "\"/></SegmentTimeline></SegmentTemplate>");
}

TEST(ServicePlan, GoesOnBehindWhatItPlayedWhenTheTimelineGrows)
{
    Viewer viewer(false);
    viewer.There({"t-40", "t-60", "t-80"}).Begin(Growing("2"), kStartNs + 6 * kS);
    EXPECT_EQ(viewer.Steps(3), (Lines{"fetch t-40", "wait 2000", "reload"}));
    viewer.Plan().Update(SharedMpd(Growing("4")), viewer.NowNs());
    EXPECT_EQ(viewer.Steps(2), (Lines{"fetch t-60", "wait 2000"}));
    viewer.Plan().Update(SharedMpd(Growing("4")), viewer.NowNs());
    EXPECT_EQ(viewer.Step(), "fetch t-80");
}

TEST(ServicePlan, EndsWhenALiveServiceIsComplete)
{
    Viewer viewer(false);
    viewer.There({"t-40", "t-60", "t-80"}).Begin(Growing("2"), kStartNs + 6 * kS);
    EXPECT_EQ(viewer.Step(), "fetch t-40");
    viewer.Plan().Update(
        SharedMpd(Stored("type=\"static\" mediaPresentationDuration=\"PT10S\" " + kStart,
                         "<SegmentTemplate media=\"t-$Time$\" timescale=\"10\"><SegmentTimeline>"
                         "<S t=\"0\" d=\"20\" r=\"-1\"/></SegmentTimeline></SegmentTemplate>")),
        viewer.NowNs());
    EXPECT_EQ(viewer.Plan().Pace(), ServicePace::Live);
    EXPECT_EQ(viewer.ToEnd(), (Lines{"wait 2000", "fetch t-60", "wait 2000", "fetch t-80", "end"}));
}

TEST(ServicePlan, EndsWithTheDurationOfALiveService)
{
    Viewer viewer(false);
    viewer.There({"t-40", "t-60"})
        .Begin(Growing("-1", "mediaPresentationDuration=\"PT7S\""), kStartNs + 6 * kS);
    EXPECT_EQ(viewer.Steps(5), (Lines{"fetch t-40", "wait 1000", "fetch t-60", "end", "end"}));
}

TEST(ServicePlan, EndsALiveServiceThatNobodyUpdates)
{
    Viewer viewer(false);
    viewer.There({"t-0"}).Begin(Stored(kDynamic, "<SegmentTemplate media=\"t-$Time$\"><SegmentTimeline>"
                                                 "<S t=\"0\" d=\"2\"/></SegmentTimeline></SegmentTemplate>"),
                                kStartNs + 2 * kS);
    EXPECT_EQ(viewer.ToEnd(), (Lines{"fetch t-0", "end"}));
}

TEST(ServicePlan, GoesOnInTheNextPeriod)
{
    Viewer viewer(false);
    viewer.There({"a-1", "a-2", "b-1"});
    const auto named = [](const std::string& name) {
        return CaptionText("", "<SegmentTemplate media=\"" + name + "-$Number$\" duration=\"2\"/>");
    };
    viewer.Begin(MpdText(kDynamic, PeriodText("duration=\"PT3S\"", named("a")) + PeriodText("", named("b"))),
                 kStartNs + 2 * kS);
    EXPECT_EQ(viewer.Steps(5), (Lines{"fetch a-1", "wait 1000", "fetch a-2", "wait 2000", "fetch b-1"}));
}

TEST(ServicePlan, KeepsItsPlaceWhenTheAvailabilityStartMoves)
{
    Viewer viewer(false);
    viewer.There({"seg-50.m4s", "seg-41.m4s"}).Begin(Stored(kDynamic), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-50.m4s");
    viewer.Plan().Update(SharedMpd(Stored("type=\"dynamic\" availabilityStartTime=\"2024-05-17T10:00:20Z\"")),
                         viewer.NowNs());
    EXPECT_EQ(viewer.Steps(2), (Lines{"wait 2000", "fetch seg-41.m4s"}));
}

TEST(ServicePlan, KeepsItsPlaceInARecording)
{
    Viewer viewer(true);
    viewer.There({"d-796069158", "d-796069159"});
    const std::string begin =
        "type=\"dynamic\" minimumUpdatePeriod=\"PT30S\" availabilityStartTime=\"2020-07-02T22:5";
    viewer.Begin(Stored(begin + "4:58Z\"", kEpochSegments));
    EXPECT_EQ(viewer.Step(), "fetch d-796069158");
    viewer.Plan().Update(SharedMpd(Stored(begin + "5:58Z\"", kEpochSegments)), viewer.NowNs());
    EXPECT_EQ(viewer.Steps(2), (Lines{"fetch d-796069159", "end"}));
}

TEST(ServicePlan, EndsInAnMpdWithoutItsLanguage)
{
    Viewer viewer(false, "de");
    viewer.There({"seg-50.m4s"})
        .Begin(MpdText(kDynamic, PeriodText("", CaptionText("lang=\"de\""))), kStartNs + 100 * kS);
    EXPECT_EQ(viewer.Step(), "fetch seg-50.m4s");
    viewer.Plan().Update(SharedMpd(MpdText(kDynamic, PeriodText("", CaptionText("lang=\"en\"")))),
                         viewer.NowNs());
    EXPECT_EQ(viewer.Step(), "end");
}

} // namespace
