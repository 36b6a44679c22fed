#include "SampleFeed.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Gate.h"
#include "TTMLCallback.h"

using TTMLClient::SampleFeed;
using TTMLHost::PlayerSample;
using TTMLTest::CountingGate;
using TTMLTest::Gate;

namespace {

// A feed with a source behind it that keeps what it gets until the test delivers it.
class SampleFeedTest : public ::testing::Test
{
protected:
    ~SampleFeedTest() override
    {
        m_feed.Close();
        if (m_reader.joinable()) {
            m_reader.join();
        }
    }

    // Reads samples from `first` to before `end` on a thread of its own, and then the input's end.
    void Read(int first, int end, const std::string& error = {})
    {
        m_reader = std::thread([this, first, end, error] {
            for (int index = first; index < end; ++index) {
                m_feed.OnSample({"", 0, index, index * 1000, "", ""});
            }
            m_feed.OnEnd(error);
            m_read.Open();
        });
    }

    void Take(const PlayerSample& sample)
    {
        m_taken.push_back(sample.index);
        m_mostOutstanding =
            std::max(m_mostOutstanding, static_cast<int>(m_taken.size()) - m_delivered.load());
        m_pushes.Add();
    }

    void Deliver(int count)
    {
        for (int delivered = 0; delivered < count; ++delivered) {
            ++m_delivered;
            m_feed.OnNotice(TTML::CALLBACK_DATA);
        }
    }

    std::vector<int> m_taken; // read once the reader is joined or waits
    int m_mostOutstanding = 0;
    std::atomic<int> m_delivered{0};
    CountingGate m_pushes{"pushes"};
    Gate m_read{"the reader has read all"};
    CountingGate m_over{"the input is over"};
    SampleFeed m_feed{[this](const PlayerSample& sample) { Take(sample); }, [this] { m_over.Add(); }};
    std::thread m_reader;
};

TEST_F(SampleFeedTest, MakesTheReaderWaitWhileTheWindowIsFull)
{
    m_feed.Let();
    Read(0, 1000);
    for (unsigned int pushed = SampleFeed::kWindow; pushed <= 1000; ++pushed) {
        ASSERT_TRUE(m_pushes.WaitFor(pushed));
        Deliver(1);
    }
    ASSERT_TRUE(m_read.Wait());
    EXPECT_EQ(m_mostOutstanding, 16);
    EXPECT_EQ(m_taken.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(m_taken.begin(), m_taken.end()));
}

TEST_F(SampleFeedTest, IsOverOnceTheLastSampleIsDelivered)
{
    m_feed.Let();
    Read(0, 3);
    ASSERT_TRUE(m_read.Wait());
    Deliver(2);
    EXPECT_EQ(m_over.Count(), 0U);
    Deliver(1);
    EXPECT_EQ(m_over.Count(), 1U);
    EXPECT_EQ(m_feed.InputError(), "");
}

TEST_F(SampleFeedTest, IsOverAtTheEndOfAnInputThatIsDeliveredAlready)
{
    m_feed.Let();
    Read(0, 0, "reading x failed");
    ASSERT_TRUE(m_over.WaitFor(1));
    EXPECT_EQ(m_feed.InputError(), "reading x failed");
}

TEST_F(SampleFeedTest, HoldsSamplesBackFromTheBeginning)
{
    Read(0, 2);
    m_feed.Hold();
    EXPECT_EQ(m_pushes.Count(), 0U);
    m_feed.Let();
    ASSERT_TRUE(m_read.Wait());
    EXPECT_EQ(m_taken, (std::vector<int>{0, 1}));
}

TEST_F(SampleFeedTest, ForgetsWhatTheSourceDropsOnAStop)
{
    m_feed.Let();
    Read(0, 20);
    ASSERT_TRUE(m_pushes.WaitFor(16));
    m_feed.Hold();
    m_feed.OnNotice(TTML::CALLBACK_STOPPED);
    m_delivered += 16;
    m_feed.Let();
    ASSERT_TRUE(m_read.Wait());
    EXPECT_EQ(m_taken.size(), 20U);
    m_feed.OnNotice(TTML::CALLBACK_INVALIDATED);
    EXPECT_EQ(m_over.Count(), 1U);
}

TEST_F(SampleFeedTest, HasNoPushUnderWayOnceItHolds)
{
    Gate pushing{"a push is under way"};
    Gate finish{"the push may finish"};
    std::atomic<bool> done{false};
    SampleFeed feed(
        [&](const PlayerSample&) {
            pushing.Open();
            finish.Wait();
            done = true;
        },
        nullptr);
    feed.Let();
    std::thread reader([&feed] { feed.OnSample({"", 0, 0, 0, "", ""}); });
    ASSERT_TRUE(pushing.Wait());
    std::thread holder([&] {
        feed.Hold();
        EXPECT_TRUE(done);
    });
    finish.Open();
    holder.join();
    reader.join();
}

TEST_F(SampleFeedTest, ThrowsSamplesAwayWhileItDiscards)
{
    Read(0, 5);
    m_feed.Discard();
    ASSERT_TRUE(m_read.Wait());
    m_reader.join();
    EXPECT_EQ(m_pushes.Count(), 0U);
    EXPECT_EQ(m_feed.SamplesRead(), 5);
    m_feed.Let();
    Read(5, 7);
    ASSERT_TRUE(m_pushes.WaitFor(2));
    m_reader.join();
    EXPECT_EQ(m_taken, (std::vector<int>{5, 6}));
}

TEST_F(SampleFeedTest, ReleasesTheReaderForGoodOnceItIsClosed)
{
    m_feed.Let();
    Read(0, 100);
    ASSERT_TRUE(m_pushes.WaitFor(16));
    m_feed.Close();
    m_feed.Let();
    m_feed.Hold();
    ASSERT_TRUE(m_read.Wait());
    EXPECT_EQ(m_pushes.Count(), 16U);
}

TEST_F(SampleFeedTest, WaitsForDeliveriesUntilWaitsAreGivenUp)
{
    m_feed.Let();
    Read(0, 2);
    ASSERT_TRUE(m_read.Wait());
    Gate waited{"the wait for deliveries is over"};
    std::thread waiter([&] {
        m_feed.WaitDelivered();
        EXPECT_EQ(m_delivered, 2);
        waited.Open();
    });
    Deliver(2);
    EXPECT_TRUE(waited.Wait());
    waiter.join();

    m_feed.OnSample({"", 0, 2, 2000, "", ""});
    m_feed.GiveUpWaits();
    m_feed.WaitDelivered();
    EXPECT_EQ(m_over.Count(), 1U);
}

} // namespace
