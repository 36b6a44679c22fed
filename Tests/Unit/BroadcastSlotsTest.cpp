// The order of the virtual operations and of the fields of the broadcast sources, which derived classes and
// callers built against them rely on.

#include <type_traits>

#include <gtest/gtest.h>

#include "BroadcastFixtures.h"
#include "CDVBSource.h"
#include "VtableSlot.h"

TTML_EXPOSE(LayoutStateFlags, TTML::CBCSource, std::atomic<std::uint32_t>, m_nStateFlags)
TTML_EXPOSE(LayoutSubscribed, TTML::CBCSource, std::atomic<bool>, t_bIsSubscribed)
TTML_EXPOSE(LayoutSubscriber, TTML::CBCSource, std::atomic<TVServiceAPI::ISignalSubscriber*>,
            t_pSigSubscriber)
TTML_EXPOSE(LayoutParser, TTML::CDVBSource, TTML::CPESParser*, m_pPESParser)
TTML_EXPOSE(LayoutProfile, TTML::CDVBSource, std::atomic<std::int32_t>, m_nTTMLProfile)
TTML_EXPOSE(LayoutTimeMutex, TTML::CDVBSource, TTML::IMutex*, m_pTimeMutex)
TTML_EXPOSE(LayoutPts, TTML::CDVBSource, std::atomic<unsigned long long>, m_ullPts)
TTML_EXPOSE(LayoutMediaTime, TTML::CDVBSource, std::atomic<unsigned long long>, m_ullMediaTime)
TTML_EXPOSE(LayoutLastSegment, TTML::CDVBSource, std::string, m_strLastSegment)

namespace TTMLTest {

namespace {

using TTML::CBCSource;
using TTML::CDVBSource;

// Give access to the operations for derived sources and add one behind the last.
class BaseProbe : public CBCSource
{
public:
    virtual void Added() {}

    using CBCSource::t_GetServiceInfo;
    using CBCSource::t_IsPvrPlayerMode;
    using CBCSource::t_IsSourceTypeSupported;
    using CBCSource::t_PvrSignalCbHandler;
    using CBCSource::t_RegisterTVSCallbacks;
    using CBCSource::t_SubscribeTTML;
    using CBCSource::t_TVSSignalCBHandler;
    using CBCSource::t_UnregisterTVSCallbacks;
    using CBCSource::t_UnSubscribeTTML;
};

class DvbProbe : public CDVBSource
{
public:
    virtual void Added() {}

    using CDVBSource::t_RegisterTVSCallbacks;
    using CDVBSource::t_SubscribeTTML;
    using CDVBSource::t_TVSSignalCBHandler;
    using CDVBSource::t_UnregisterTVSCallbacks;
    using CDVBSource::t_UnSubscribeTTML;
};

TEST(BroadcastSlots, OfTheBase)
{
    EXPECT_EQ(VtableSlot(&BaseProbe::t_RegisterTVSCallbacks), 31U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_UnregisterTVSCallbacks), 32U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_TVSSignalCBHandler), 33U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_SubscribeTTML), 34U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_UnSubscribeTTML), 35U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_GetServiceInfo), 36U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_PvrSignalCbHandler), 37U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_IsPvrPlayerMode), 38U);
    EXPECT_EQ(VtableSlot(&BaseProbe::t_IsSourceTypeSupported), 39U);
    EXPECT_EQ(VtableSlot(&BaseProbe::Added), 40U);
}

TEST(BroadcastSlots, OfTheBasesOverrides)
{
    EXPECT_EQ(VtableSlot(&CBCSource::PlayTrack), 11U);
    EXPECT_EQ(VtableSlot(&CBCSource::StopTrack), 12U);
    EXPECT_EQ(VtableSlot(&CBCSource::OnShow), 23U);
    EXPECT_EQ(VtableSlot(&CBCSource::OnHide), 24U);
}

TEST(BroadcastSlots, TheDvbSourceAddsNone)
{
    EXPECT_EQ(VtableSlot(&DvbProbe::t_RegisterTVSCallbacks), 31U);
    EXPECT_EQ(VtableSlot(&DvbProbe::t_UnregisterTVSCallbacks), 32U);
    EXPECT_EQ(VtableSlot(&DvbProbe::t_TVSSignalCBHandler), 33U);
    EXPECT_EQ(VtableSlot(&DvbProbe::t_SubscribeTTML), 34U);
    EXPECT_EQ(VtableSlot(&DvbProbe::t_UnSubscribeTTML), 35U);
    EXPECT_EQ(VtableSlot(&CDVBSource::GetVideoCurrentTime), 2U);
    EXPECT_EQ(VtableSlot(&CDVBSource::GetSubtitleMode), 4U);
    EXPECT_EQ(VtableSlot(&CDVBSource::OnStart), 21U);
    EXPECT_EQ(VtableSlot(&CDVBSource::OnStop), 22U);
    EXPECT_EQ(VtableSlot(&CDVBSource::OnShow), 23U);
    EXPECT_EQ(VtableSlot(&CDVBSource::OnHide), 24U);
    EXPECT_EQ(VtableSlot(&DvbProbe::Added), 40U);
}

TEST(BroadcastSlots, WhatTheBaseLeavesToOthers)
{
    EXPECT_TRUE(std::is_abstract<CBCSource>::value);
    EXPECT_FALSE(std::is_abstract<CDVBSource>::value);
    EXPECT_TRUE((std::is_base_of<TTML::CTTMLSource, CBCSource>::value));
    EXPECT_TRUE((std::is_base_of<CBCSource, CDVBSource>::value));
}

TEST(BroadcastFields, OfTheBaseFollowOneAnother)
{
    EXPECT_EQ(OffsetOf<LayoutStateFlags>(), sizeof(TTML::CTTMLSource));
    EXPECT_EQ(OffsetOf<LayoutSubscribed>(), OffsetOf<LayoutStateFlags>() + 4);
    EXPECT_EQ(OffsetOf<LayoutSubscriber>(), OffsetOf<LayoutStateFlags>() + 8);
    EXPECT_EQ(sizeof(std::atomic<std::uint32_t>), 4U);
    EXPECT_EQ(sizeof(std::atomic<bool>), 1U);
}

TEST(BroadcastFields, OfTheDvbSourceFollowOneAnother)
{
    const std::size_t parser = OffsetOf<LayoutParser>();
    EXPECT_GT(parser, OffsetOf<LayoutSubscriber>());
    EXPECT_EQ(OffsetOf<LayoutProfile>(), parser + sizeof(void*));
    EXPECT_EQ(OffsetOf<LayoutTimeMutex>(), parser + 2 * sizeof(void*));
    const std::size_t pts = OffsetOf<LayoutPts>();
    EXPECT_GE(pts, parser + 3 * sizeof(void*));
    EXPECT_LT(pts, parser + 3 * sizeof(void*) + 8);
    EXPECT_EQ(OffsetOf<LayoutMediaTime>(), pts + 8);
    EXPECT_EQ(OffsetOf<LayoutLastSegment>(), pts + 16);
}

class BroadcastFieldValues : public BroadcastTest
{};

TEST_F(BroadcastFieldValues, OfANewBase)
{
    TestSource source;
    EXPECT_EQ(StateFlags(source), kActive);
    EXPECT_FALSE(source.IsSubscribed());
    EXPECT_EQ(source.Subscriber(), nullptr);
}

TEST_F(BroadcastFieldValues, OfANewDvbSource)
{
    CDVBSource source;
    EXPECT_EQ(StateFlags(source), kActive);
    EXPECT_NE(Private<LayoutParser>(source), nullptr);
    EXPECT_EQ(Private<LayoutProfile>(source), -1);
    EXPECT_NE(Private<LayoutTimeMutex>(source), nullptr);
    EXPECT_EQ(Private<LayoutPts>(source), 0U);
    EXPECT_EQ(Private<LayoutMediaTime>(source), 0U);
    EXPECT_EQ(Private<LayoutLastSegment>(source), "");
}

} // namespace

} // namespace TTMLTest
