#include <string>

#include <gtest/gtest.h>

#include "CaptionProperty.h"

namespace {

using TTMLHost::HasTtmlCodec;
using TTMLHost::ProfileOfCodecs;
using TTMLHost::ReadCaptionProperty;
using TTMLHost::RoleOf;

TCCaption Read(const std::string& value, bool hasProfile)
{
    TCCaption caption;
    caption.profile = 1;
    EXPECT_EQ(ReadCaptionProperty(value, &caption), hasProfile) << value;
    return caption;
}

TEST(CaptionCodecs, AreTtmlByTheirSampleEntry)
{
    for (const char* const codecs : {"stpp", "stpp.ttml.im1t", "hev1.2, STPP.ttml.im1i", " stpp"}) {
        EXPECT_TRUE(HasTtmlCodec(codecs)) << codecs;
    }
    for (const char* const codecs : {"", "wvtt", "stppx", "xstpp", "mp4a.40.2"}) {
        EXPECT_FALSE(HasTtmlCodec(codecs)) << codecs;
    }
}

TEST(CaptionCodecs, AskForImagesWhenNoAlternativeDoesWithout)
{
    for (const char* const codecs : {"stpp.ttml.im1i", "stpp.ttml.im2i", "stpp.ttml.im1t+im1i",
                                     "stpp.ttml.im1i|im2i", "stpp.ttml.IM1I"}) {
        EXPECT_EQ(ProfileOfCodecs(codecs), 1) << codecs;
    }
    for (const char* const codecs :
         {"stpp", "stpp.ttml", "stpp.ttml.im1t", "stpp.ttml.etd1", "stpp.ttml.im1t|im1i",
          "stpp.ttml.im1i|etd1", "stpp.ttml.etd1+im1t", "wvtt.im1i", ""}) {
        EXPECT_EQ(ProfileOfCodecs(codecs), 0) << codecs;
    }
}

TEST(CaptionRole, HasANumberOfItsOwn)
{
    EXPECT_EQ(RoleOf("main"), 0);
    EXPECT_EQ(RoleOf("alternate"), 1);
    EXPECT_EQ(RoleOf("caption"), 5);
    EXPECT_EQ(RoleOf(" Subtitle "), 6);
    EXPECT_FALSE(RoleOf("").has_value());
    EXPECT_FALSE(RoleOf("chief").has_value());
}

TEST(CaptionProperty, FillsTheFields)
{
    const TCCaption caption = Read("ar:16-9,er:0,profile:0,3d:0", true);
    EXPECT_EQ(caption.aspect, 2);
    EXPECT_EQ(caption.easyReader, 0);
    EXPECT_EQ(caption.profile, 0);
    EXPECT_EQ(caption.is3D, 0);
}

TEST(CaptionProperty, ComesInAnyOrderWithBlanks)
{
    const TCCaption caption = Read(" 3d : 1 ;profile:\t2 , er:true, ar:4:3", true);
    EXPECT_EQ(caption.aspect, 1);
    EXPECT_EQ(caption.easyReader, 1);
    EXPECT_EQ(caption.profile, 2);
    EXPECT_EQ(caption.is3D, 1);
}

TEST(CaptionProperty, LeavesWhatItDoesNotSay)
{
    const TCCaption caption = Read("ar:21-9", false);
    EXPECT_EQ(caption.aspect, 3);
    EXPECT_EQ(caption.profile, 1);
}

TEST(CaptionProperty, IgnoresWhatIsNoValue)
{
    const TCCaption caption = Read("ar:wide,er:yes,profile:256,3d:-1,profile,,:,x:1", false);
    EXPECT_EQ(caption.aspect, 0);
    EXPECT_EQ(caption.easyReader, 0);
    EXPECT_EQ(caption.profile, 1);
    EXPECT_EQ(caption.is3D, 0);
    Read("", false);
}

} // namespace
