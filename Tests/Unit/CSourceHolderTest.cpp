// The holder of the process's current source.

#include <type_traits>

#include <gtest/gtest.h>

#include "CSourceHolder.h"
#include "ITTMLSource.h"
#include "ScriptedPlatform.h"
#include "TestThread.h"

namespace TTMLTest {

namespace {

using TTML::CSourceHolder;
using TTML::ITTMLSource;

// The holder does not look at what it holds, so any address will do.
ITTMLSource* Address(void* place)
{
    return static_cast<ITTMLSource*>(place);
}

class SourceHolder : public ::testing::Test
{
protected:
    ~SourceHolder() override { CSourceHolder::SetSource(nullptr); }
};

TEST_F(SourceHolder, HoldsNothingUntilItIsSet)
{
    EXPECT_EQ(CSourceHolder::GetSource(), nullptr);
    EXPECT_EQ(CSourceHolder::s_Source, nullptr);
}

TEST_F(SourceHolder, HandsOutWhatWasStored)
{
    long long place[2] = {};
    CSourceHolder::SetSource(Address(&place[0]));
    EXPECT_EQ(CSourceHolder::GetSource(), Address(&place[0]));
    EXPECT_EQ(CSourceHolder::s_Source, Address(&place[0]));
    CSourceHolder::SetSource(Address(&place[1]));
    EXPECT_EQ(CSourceHolder::GetSource(), Address(&place[1]));
    CSourceHolder::SetSource(nullptr);
    EXPECT_EQ(CSourceHolder::GetSource(), nullptr);
}

TEST_F(SourceHolder, SharesWhatItHoldsBetweenObjects)
{
    long long place = 0;
    {
        CSourceHolder holder;
        holder.SetSource(Address(&place));
    }
    const CSourceHolder other;
    EXPECT_EQ(other.GetSource(), Address(&place)) << "a holder's end changes nothing";
}

TEST_F(SourceHolder, HasAVirtualDestructorAndNoState)
{
    static_assert(std::has_virtual_destructor_v<CSourceHolder>);
    static_assert(std::is_default_constructible_v<CSourceHolder>);
    EXPECT_EQ(sizeof(CSourceHolder), sizeof(void*));
}

TEST_F(SourceHolder, IsReadAndSetByAnyThread)
{
    constexpr int kRounds = 2000;
    long long places[2] = {};
    CSourceHolder::SetSource(Address(&places[0]));
    int strangers = 0;
    RunTogether({[&] {
                     for (int i = 0; i < kRounds; ++i) {
                         CSourceHolder::SetSource(Address(&places[i % 2]));
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         ITTMLSource* const held = CSourceHolder::GetSource();
                         strangers += held == Address(&places[0]) || held == Address(&places[1]) ? 0 : 1;
                     }
                 }});
    EXPECT_EQ(strangers, 0);
}

} // namespace

} // namespace TTMLTest
