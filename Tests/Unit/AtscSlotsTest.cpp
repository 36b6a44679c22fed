// The order of the virtual operations and of the fields of the ATSC 3.0 source, which callers built against
// it rely on.

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "VtableSlot.h"

TTML_EXPOSE(LayoutDataSubscriber, TTML::CATSCSource, TVServiceAPI::IDataSubscriber*, m_pDataSubscriber)
TTML_EXPOSE(LayoutCaption, TTML::CATSCSource, TCCaption, m_CurrentCaption)
TTML_EXPOSE(LayoutSysTime, TTML::CATSCSource, std::uint32_t, m_SysTimeAtReference)
TTML_EXPOSE(LayoutReferenceTime, TTML::CATSCSource, std::int64_t, m_CaptionReferenceTime)
TTML_EXPOSE(LayoutCaptionOffset, TTML::CATSCSource, std::int64_t, m_CaptionOffset)
TTML_EXPOSE(LayoutAfterCal, TTML::CATSCSource, std::int64_t, m_RefTimeAfterCal)
TTML_EXPOSE(LayoutSubscriptionId, TTML::CATSCSource, std::int32_t, m_SubscriptionId)
TTML_EXPOSE(LayoutBanner, TTML::CATSCSource, std::atomic<bool>, m_bInfoBannerStatus)
TTML_EXPOSE(LayoutKorea, TTML::CATSCSource, bool, m_bKoreaRegion)
TTML_EXPOSE(LayoutPvr, TTML::CATSCSource, bool, m_bPvrMode)
TTML_EXPOSE(LayoutLastCaption, TTML::CATSCSource, std::vector<unsigned char>, m_LastCaptionData)
TTML_EXPOSE(LayoutMpdParser, TTML::CATSCSource, TTML::CMpdParser, m_MpdParser)
TTML_EXPOSE(LayoutStart, TTML::CMpdParser, std::int64_t, m_AST)
TTML_EXPOSE(LayoutDelay, TTML::CMpdParser, std::int64_t, m_SPD)

namespace TTMLTest {

namespace {

using TTML::CATSCSource;

// Gives access to the operations for derived sources and adds one behind the last.
class AtscProbe : public CATSCSource
{
public:
    virtual void Added() {}

    using CATSCSource::t_RegisterTVSCallbacks;
    using CATSCSource::t_SubscribeTTML;
    using CATSCSource::t_TVSSignalCBHandler;
    using CATSCSource::t_UnregisterTVSCallbacks;
    using CATSCSource::t_UnSubscribeTTML;
};

TEST(AtscSlots, AddNone)
{
    EXPECT_EQ(VtableSlot(&CATSCSource::GetVideoCurrentTime), 2U);
    EXPECT_EQ(VtableSlot(&CATSCSource::GetSubtitleMode), 4U);
    EXPECT_EQ(VtableSlot(&CATSCSource::OnStart), 21U);
    EXPECT_EQ(VtableSlot(&CATSCSource::OnStop), 22U);
    EXPECT_EQ(VtableSlot(&CATSCSource::OnShow), 23U);
    EXPECT_EQ(VtableSlot(&CATSCSource::OnHide), 24U);
    EXPECT_EQ(VtableSlot(&AtscProbe::t_RegisterTVSCallbacks), 31U);
    EXPECT_EQ(VtableSlot(&AtscProbe::t_UnregisterTVSCallbacks), 32U);
    EXPECT_EQ(VtableSlot(&AtscProbe::t_TVSSignalCBHandler), 33U);
    EXPECT_EQ(VtableSlot(&AtscProbe::t_SubscribeTTML), 34U);
    EXPECT_EQ(VtableSlot(&AtscProbe::t_UnSubscribeTTML), 35U);
    EXPECT_EQ(VtableSlot(&AtscProbe::Added), 40U);
}

TEST(AtscSlots, AreOfAConcreteBroadcastSource)
{
    EXPECT_FALSE(std::is_abstract<CATSCSource>::value);
    EXPECT_TRUE((std::is_base_of<TTML::CBCSource, CATSCSource>::value));
    EXPECT_TRUE(std::has_virtual_destructor<CATSCSource>::value);
}

TEST(AtscFields, FollowOneAnother)
{
    const std::vector<std::size_t> places = {
        OffsetOf<LayoutDataSubscriber>(), OffsetOf<LayoutCaption>(),
        OffsetOf<LayoutSysTime>(),        OffsetOf<LayoutReferenceTime>(),
        OffsetOf<LayoutCaptionOffset>(),  OffsetOf<LayoutAfterCal>(),
        OffsetOf<LayoutSubscriptionId>(), OffsetOf<LayoutBanner>(),
        OffsetOf<LayoutKorea>(),          OffsetOf<LayoutPvr>(),
        OffsetOf<LayoutLastCaption>(),    OffsetOf<LayoutMpdParser>()};
    for (std::size_t i = 1; i < places.size(); ++i) {
        EXPECT_GT(places.at(i), places.at(i - 1)) << i;
    }
    EXPECT_EQ(places.at(0), sizeof(TTML::CBCSource));
    EXPECT_EQ(places.at(1), places.at(0) + sizeof(void*));
    EXPECT_EQ(places.at(2), places.at(1) + sizeof(TCCaption));
    EXPECT_EQ(places.at(4), places.at(3) + 8);
    EXPECT_EQ(places.at(5), places.at(4) + 8);
    EXPECT_EQ(places.at(6), places.at(5) + 8);
    EXPECT_EQ(places.at(7), places.at(6) + 4);
    EXPECT_EQ(places.at(8), places.at(7) + 1);
    EXPECT_EQ(places.at(9), places.at(8) + 1);
    const std::size_t pastVector = places.at(10) + sizeof(std::vector<unsigned char>);
    const std::size_t alignment = alignof(TTML::CMpdParser);
    EXPECT_EQ(places.at(11), (pastVector + alignment - 1) / alignment * alignment);
    EXPECT_EQ(OffsetOf<LayoutStart>(), 0U);
    EXPECT_EQ(OffsetOf<LayoutDelay>(), 8U);
    EXPECT_EQ(sizeof(std::atomic<bool>), 1U);
}

} // namespace

} // namespace TTMLTest
