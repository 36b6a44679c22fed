#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Descriptors.h"
#include "HostTvService.h"
#include "SectionReader.h"
#include "TransportPacket.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::TtmlDescriptor;
using TTMLHost::TvServiceInfo;
using TTMLHost::TvStreamInfo;
using TTMLTest::Bytes;

// Transport streams below the folder that TTML_TEST_MEDIA names, by file name.
std::vector<std::filesystem::path> PublicStreams()
{
    std::vector<std::filesystem::path> files;
    const char* const media = std::getenv("TTML_TEST_MEDIA");
    std::error_code error;
    if (media == nullptr || !std::filesystem::is_directory(media, error)) {
        return files;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(media)) {
        if (entry.is_regular_file() && entry.path().extension() == ".ts") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

TvStreamInfo Inspect(const std::filesystem::path& path)
{
    TvStreamInfo info;
    std::string error;
    EXPECT_TRUE(TTMLHost::TvInspect(path.string(), nullptr, &info, &error)) << error;
    return info;
}

TEST(PublicStreams, AreReadWithoutAnError)
{
    const std::vector<std::filesystem::path> files = PublicStreams();
    if (files.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA names no folder with transport streams";
    }
    for (const std::filesystem::path& file : files) {
        const TvStreamInfo info = Inspect(file);
        EXPECT_EQ(info.packetSize, 188) << file;
        EXPECT_EQ(info.statistics.packets, std::filesystem::file_size(file) / 188) << file;
        EXPECT_EQ(info.statistics.resynchronisations, 0U) << file;
        EXPECT_EQ(info.statistics.transportErrors, 0U) << file;
    }
}

// The file of this name among them, empty when there is none.
std::filesystem::path PublicStream(const std::string& name)
{
    for (const std::filesystem::path& file : PublicStreams()) {
        if (file.filename() == name) {
            return file;
        }
    }
    return {};
}

std::vector<std::string> KindsOf(const TvServiceInfo& service)
{
    std::vector<std::string> kinds;
    for (const TTMLHost::TvComponent& component : service.others) {
        kinds.push_back(component.kind);
    }
    return kinds;
}

TEST(PublicStreams, HoldDvbSubtitlesAndNoTtml)
{
    const std::filesystem::path file = PublicStream("test-026.ts");
    if (file.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA has no test-026.ts";
    }
    const TvStreamInfo info = Inspect(file);
    ASSERT_EQ(info.services.size(), 1U);
    EXPECT_EQ(info.services[0].name, "France 2");
    EXPECT_TRUE(info.services[0].ttml.empty());
    EXPECT_EQ(KindsOf(info.services[0]),
              (std::vector<std::string>{"video (H.264)", "audio (E-AC-3)", "audio (E-AC-3)", "audio (E-AC-3)",
                                        "DVB subtitles", "DVB subtitles"}));
}

TEST(PublicStreams, HoldTeletextAndNoTtml)
{
    const std::filesystem::path file = PublicStream("test-202.ts");
    if (file.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA has no test-202.ts";
    }
    const TvStreamInfo info = Inspect(file);
    ASSERT_EQ(info.services.size(), 1U);
    EXPECT_EQ(info.services[0].name, "ABC NEWS");
    EXPECT_TRUE(info.services[0].ttml.empty());
    EXPECT_EQ(KindsOf(info.services[0]),
              (std::vector<std::string>{"video (MPEG-2)", "audio (MPEG-1)", "audio (AAC)", "teletext",
                                        "private sections"}));
    EXPECT_EQ(info.statistics.continuityErrors, 0U);
}

// The TTML subtitling descriptors among those that a PMT has for its whole service.
std::vector<TtmlDescriptor> TtmlOfService(const TTMLHost::Section& pmt)
{
    TTMLHost::ByteReader reader(pmt.payload);
    reader.Take(2);
    TTMLHost::ByteReader loop(reader.Take(reader.Number(2) & 0x0fffU));
    std::vector<TtmlDescriptor> all;
    TTMLHost::Descriptor descriptor;
    while (TTMLHost::NextDescriptor(&loop, &descriptor)) {
        const Bytes body(descriptor.body.data, descriptor.body.data + descriptor.body.size);
        const Bytes alone = TTMLTest::DescriptorBytes(descriptor.tag, body);
        if (const auto ttml = TTMLHost::FindTtmlDescriptor({alone.data(), alone.size()})) {
            all.push_back(*ttml);
        }
    }
    return all;
}

TEST(PublicStreams, DescribeTtmlAsTheirMakerDoes)
{
    const std::filesystem::path file = PublicStream("test-115.pack.ts");
    if (file.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA has no test-115.pack.ts";
    }
    std::ifstream stream(file, std::ios::binary);
    const Bytes content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    TTMLHost::SectionReader sections(1024);
    std::vector<TtmlDescriptor> found;
    for (std::size_t at = 0; at + 188 <= content.size(); at += 188) {
        const TTMLHost::TransportPacket packet = TTMLHost::ReadTransportPacket(content.data() + at);
        sections.Push(packet.bytes, packet.payload, packet.unitStart, [&](const TTMLHost::Section& section) {
            for (TtmlDescriptor& ttml : TtmlOfService(section)) {
                found.push_back(std::move(ttml));
            }
        });
    }
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].language, "foo");
    EXPECT_EQ(found[0].purpose, 2);
    EXPECT_EQ(found[0].ttsSuitability, 1);
    EXPECT_TRUE(found[0].profiles.empty());
    EXPECT_FALSE(found[0].essentialFonts);
    EXPECT_EQ(found[1].language, "bar");
    EXPECT_EQ(found[1].purpose, 16);
    EXPECT_EQ(found[1].ttsSuitability, 2);
    EXPECT_EQ(found[1].profiles, (std::vector<int>{1, 2}));
    EXPECT_EQ(found[1].qualifier, 0x12345678U);
    EXPECT_TRUE(found[1].essentialFonts);
    EXPECT_EQ(found[1].fontIds, (std::vector<int>{3, 4, 5}));
    EXPECT_EQ(found[1].text, "Dummy service");
}

} // namespace
