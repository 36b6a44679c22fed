// The order of the virtual operations of the exported classes, which callers built against them rely on.

#include <gtest/gtest.h>

#include "CTTMLSource.h"
#include "ITTMLSource.h"
#include "ITTMLSourceControl.h"
#include "VtableSlot.h"

namespace TTMLTest {

namespace {

using TTML::CTTMLSource;
using TTML::ITTMLSource;
using TTML::ITTMLSourceControl;

using SampleFunction = void (CTTMLSource::*)(void*, TTML::TTMLSubtitleExtraData&);
using RawDataFunction = void (CTTMLSource::*)(void*);

// Gives access to the operations for derived sources and adds one behind the last.
class ProbeSource : public CTTMLSource
{
public:
    virtual void Added() {}

    using CTTMLSource::t_Destroy;
    using CTTMLSource::t_NotifyPlayTrack;
    using CTTMLSource::t_NotifyRegisterMenuCB;
    using CTTMLSource::t_NotifySetMenuLang;
    using CTTMLSource::t_NotifyStopTrack;
    using CTTMLSource::t_NotifyUnRegisterMenuCB;
};

TEST(SourceSlots, OfTheQueryInterface)
{
    struct Probe : ITTMLSource
    {
        virtual void Added() {}
    };
    EXPECT_EQ(VtableSlot(&ITTMLSource::RegisterCallBack), 0U);
    EXPECT_EQ(VtableSlot(&ITTMLSource::UnRegisterCallBack), 1U);
    EXPECT_EQ(VtableSlot(&ITTMLSource::GetVideoCurrentTime), 2U);
    EXPECT_EQ(VtableSlot(&ITTMLSource::GetDownloadableFontsInfo), 3U);
    EXPECT_EQ(VtableSlot(&ITTMLSource::GetSubtitleMode), 4U);
    EXPECT_EQ(VtableSlot(&Probe::Added), 7U) << "the two destructors follow the last operation";
}

TEST(SourceSlots, OfTheControlInterface)
{
    struct Probe : ITTMLSourceControl
    {
        virtual void Added() {}
    };
    using Control = ITTMLSourceControl;
    EXPECT_EQ(VtableSlot(&Control::PlayTrack), 0U);
    EXPECT_EQ(VtableSlot(&Control::StopTrack), 1U);
    EXPECT_EQ(VtableSlot(&Control::PauseTrack), 2U);
    EXPECT_EQ(VtableSlot(&Control::ResumeTrack), 3U);
    EXPECT_EQ(VtableSlot(&Control::Invalidate), 4U);
    EXPECT_EQ(VtableSlot(&Control::SeekStart), 5U);
    EXPECT_EQ(VtableSlot(&Control::SeekCompleted), 6U);
    EXPECT_EQ(VtableSlot(static_cast<void (Control::*)(void*, TTML::TTMLSubtitleExtraData&)>(
                  &Control::OnSubtitleData)),
              7U);
    EXPECT_EQ(VtableSlot(static_cast<void (Control::*)(void*)>(&Control::OnSubtitleData)), 8U);
    EXPECT_EQ(VtableSlot(&Control::SetDNTOption), 9U);
    EXPECT_EQ(VtableSlot(&Control::OnErrorDownloadableFonts), 10U);
    EXPECT_EQ(VtableSlot(&Control::OnStart), 11U);
    EXPECT_EQ(VtableSlot(&Control::OnStop), 12U);
    EXPECT_EQ(VtableSlot(&Control::OnShow), 13U);
    EXPECT_EQ(VtableSlot(&Control::OnHide), 14U);
    EXPECT_EQ(VtableSlot(&Probe::Added), 17U) << "the two destructors follow the last operation";
}

TEST(SourceSlots, OfTheBaseSource)
{
    EXPECT_EQ(VtableSlot(&CTTMLSource::RegisterCallBack), 0U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::UnRegisterCallBack), 1U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::GetVideoCurrentTime), 2U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::GetDownloadableFontsInfo), 3U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::GetSubtitleMode), 4U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::t_Initialize), 7U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_Destroy), 8U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::Destroy), 9U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::Invalidate), 10U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::PlayTrack), 11U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::StopTrack), 12U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::PauseTrack), 13U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::ResumeTrack), 14U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::SeekStart), 15U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::SeekCompleted), 16U);
    EXPECT_EQ(VtableSlot(static_cast<SampleFunction>(&CTTMLSource::OnSubtitleData)), 17U);
    EXPECT_EQ(VtableSlot(static_cast<RawDataFunction>(&CTTMLSource::OnSubtitleData)), 18U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::SetDNTOption), 19U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::OnErrorDownloadableFonts), 20U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::OnStart), 21U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::OnStop), 22U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::OnShow), 23U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::OnHide), 24U);
    EXPECT_EQ(VtableSlot(&CTTMLSource::SendEventToSourceThread), 25U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_NotifyPlayTrack), 26U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_NotifyStopTrack), 27U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_NotifyRegisterMenuCB), 28U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_NotifyUnRegisterMenuCB), 29U);
    EXPECT_EQ(VtableSlot(&ProbeSource::t_NotifySetMenuLang), 30U);
    EXPECT_EQ(VtableSlot(&ProbeSource::Added), 31U);
}

} // namespace

} // namespace TTMLTest
