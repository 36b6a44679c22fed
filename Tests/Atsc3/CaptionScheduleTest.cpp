#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CaptionSchedule.h"

namespace {

using TTMLHost::CaptionSchedule;
using TTMLHost::DueCaption;
using TTMLHost::FeedStep;
using Task = CaptionSchedule::Task;

FeedStep Captions(const std::vector<std::pair<std::int64_t, std::size_t>>& duesAndSizes)
{
    FeedStep step;
    for (const auto& [due, size] : duesAndSizes) {
        DueCaption caption;
        caption.dueNs = due;
        caption.caption.data.resize(size);
        step.captions.push_back(caption);
    }
    return step;
}

FeedStep Until(FeedStep::Kind kind, std::int64_t untilNs)
{
    FeedStep step;
    step.kind = kind;
    step.untilNs = untilNs;
    return step;
}

void Add(CaptionSchedule* schedule, FeedStep step, const std::string& track = "t")
{
    TCCaption caption;
    caption.id = track;
    schedule->Add(&step, caption);
}

TEST(CaptionSchedule, DeliversAtTheDueTimeAndAsksThen)
{
    CaptionSchedule schedule(false, false);
    EXPECT_EQ(schedule.Next(100), Task::AskFeed);
    Add(&schedule, Captions({{200, 1}, {300, 2}}));
    EXPECT_EQ(schedule.Next(100), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 200);
    EXPECT_EQ(schedule.Next(200), Task::Deliver);
    EXPECT_EQ(schedule.Take().due.caption.data.size(), 1U);
    EXPECT_EQ(schedule.Next(200), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 300);
    EXPECT_EQ(schedule.Next(301), Task::Deliver);
    EXPECT_EQ(schedule.Take().due.caption.data.size(), 2U);
    EXPECT_EQ(schedule.Next(301), Task::AskFeed);
}

TEST(CaptionSchedule, AsksALiveFeedWhileCaptionsWait)
{
    CaptionSchedule schedule(true, false);
    Add(&schedule, Captions({{200, 1}}));
    EXPECT_EQ(schedule.Next(100), Task::AskFeed);
    Add(&schedule, Until(FeedStep::Kind::Wait, 150));
    EXPECT_EQ(schedule.Next(100), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 150);
    EXPECT_EQ(schedule.Next(150), Task::AskFeed);
    Add(&schedule, Until(FeedStep::Kind::Wait, 900));
    EXPECT_EQ(schedule.Next(160), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 200);
}

TEST(CaptionSchedule, DoesNotAskForMoreThanItShouldKeep)
{
    CaptionSchedule schedule(true, false);
    Add(&schedule, Captions({{200, 8U << 20U}, {300, 8U << 20U}}));
    EXPECT_EQ(schedule.Next(100), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 200);
    EXPECT_EQ(schedule.Next(200), Task::Deliver);
    schedule.Take();
    EXPECT_EQ(schedule.Next(200), Task::AskFeed);
}

TEST(CaptionSchedule, FastWaitsForTheFeedOnly)
{
    CaptionSchedule schedule(true, true);
    Add(&schedule, Captions({{200, 1}}));
    EXPECT_EQ(schedule.Next(100), Task::Deliver);
    schedule.Take();
    Add(&schedule, Until(FeedStep::Kind::Wait, 150));
    EXPECT_EQ(schedule.Next(100), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 150);
    Add(&schedule, Until(FeedStep::Kind::End, 900));
    EXPECT_EQ(schedule.Next(100), Task::End);
}

TEST(CaptionSchedule, EndsWhenTheLastSegmentIsOver)
{
    CaptionSchedule schedule(false, false);
    FeedStep end = Until(FeedStep::Kind::End, 300);
    end.error = "why";
    Add(&schedule, Captions({{200, 1}}));
    Add(&schedule, std::move(end));
    EXPECT_EQ(schedule.Next(200), Task::Deliver);
    schedule.Take();
    EXPECT_EQ(schedule.Next(200), Task::Wait);
    EXPECT_EQ(schedule.UntilNs(), 300);
    EXPECT_EQ(schedule.Next(300), Task::End);
    EXPECT_EQ(schedule.Error(), "why");
}

TEST(CaptionSchedule, KeepsCaptionsWithTheirTrack)
{
    CaptionSchedule schedule(true, false);
    Add(&schedule, Captions({{1, 1}}), "one");
    Add(&schedule, Captions({{2, 1}}), "two");
    EXPECT_EQ(schedule.Take().track.id, "one");
    EXPECT_EQ(schedule.Take().track.id, "two");
}

} // namespace
