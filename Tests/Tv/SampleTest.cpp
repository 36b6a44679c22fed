#include <string>
#include <vector>

#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

// A stream whose maker shares nothing with what reads it here.
class Sample : public TvTest
{
protected:
    TTMLHost::TvOptions Options() const
    {
        return FastInput(std::string(TTML_TEST_SAMPLES) + "/subtitles.ts");
    }
};

TEST_F(Sample, PlaysWithoutAnyError)
{
    EXPECT_EQ(Play(Options()), "");
    EXPECT_EQ(m_recorder.EventsLike("signal"), (Texts{"signal 59", "signal 60", "signal 85"}));
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
    EXPECT_GT(m_statistics.pesDelivered, 0U);
    EXPECT_EQ(m_statistics.continuityErrors, 0U);
    EXPECT_EQ(m_statistics.transportErrors, 0U);
    EXPECT_EQ(m_statistics.resynchronisations, 0U);
    EXPECT_EQ(m_statistics.pesDropped, 0U);
}

TEST_F(Sample, GivesTheSameInRealTimeAndFast)
{
    EXPECT_EQ(Play(Options()), "");
    const Texts fast = m_recorder.EventsLike("pes");
    m_recorder.Clear();
    auto options = Options();
    options.fast = false;
    options.speed = 100.0;
    EXPECT_EQ(Play(options), "");
    EXPECT_EQ(m_recorder.EventsLike("pes"), fast);
}

} // namespace
