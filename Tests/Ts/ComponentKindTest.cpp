#include <string>

#include <gtest/gtest.h>

#include "Descriptors.h"
#include "TsBuilder.h"

namespace {

using TTMLTest::Bytes;
using TTMLTest::DescriptorBytes;
using TTMLTest::TextBytes;
using TTMLTest::operator+;

std::string KindOf(int streamType, const Bytes& descriptors = {})
{
    return TTMLHost::KindOfComponent(streamType, {descriptors.data(), descriptors.size()});
}

TEST(ComponentKind, IsThatOfTheStreamType)
{
    EXPECT_EQ(KindOf(0x02), "video (MPEG-2)");
    EXPECT_EQ(KindOf(0x1b), "video (H.264)");
    EXPECT_EQ(KindOf(0x24), "video (HEVC)");
    EXPECT_EQ(KindOf(0x03), "audio (MPEG-1)");
    EXPECT_EQ(KindOf(0x04), "audio (MPEG-2)");
    EXPECT_EQ(KindOf(0x0f), "audio (AAC)");
    EXPECT_EQ(KindOf(0x11), "audio (AAC)");
    EXPECT_EQ(KindOf(0x81), "audio (AC-3)");
    EXPECT_EQ(KindOf(0x06), "private data");
    EXPECT_EQ(KindOf(0x05), "private sections");
    EXPECT_EQ(KindOf(0xea), "unknown (stream type 0xea)");
}

TEST(ComponentKind, IsThatOfThePrivateDatasDescriptor)
{
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x56, TextBytes("ger12"))), "teletext");
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x59, TextBytes("ger12345"))), "DVB subtitles");
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x6a, {0})), "audio (AC-3)");
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x7a, {0})), "audio (E-AC-3)");
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x7f, {0x15})), "audio (AC-4)");
    EXPECT_EQ(KindOf(0x06, TTMLTest::TtmlDescriptorBytes({})), "TTML subtitles");
    EXPECT_EQ(KindOf(0x06, DescriptorBytes(0x05, TextBytes("Opus"))), "audio (Opus)");
}

TEST(ComponentKind, LooksBehindDescriptorsThatSayNothing)
{
    const Bytes others = DescriptorBytes(0x52, {1}) + DescriptorBytes(0x05, TextBytes("????")) +
                         DescriptorBytes(0x7f, {0x77}) + DescriptorBytes(0x7f, {});
    EXPECT_EQ(KindOf(0x06, others), "private data");
    EXPECT_EQ(KindOf(0x06, others + DescriptorBytes(0x59, {})), "DVB subtitles");
}

TEST(ComponentKind, DoesNotAskDescriptorsWhereTheTypeSaysAll)
{
    EXPECT_EQ(KindOf(0x1b, DescriptorBytes(0x59, {})), "video (H.264)");
}

} // namespace
