#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MediaMaker.h"
#include "RecordingListener.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::Fast;
using TTMLTest::PushedSample;
using TTMLTest::ReadFile;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;

// Folders with an init segment and media segments below the one that TTML_TEST_MEDIA names.
std::vector<std::filesystem::path> SegmentFolders()
{
    std::vector<std::filesystem::path> folders;
    const char* const media = std::getenv("TTML_TEST_MEDIA");
    std::error_code error;
    if (media == nullptr || !std::filesystem::is_directory(media, error)) {
        return folders;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(media)) {
        if (entry.path().filename() == "init.mp4" &&
            ReadFile(entry.path().string()).find("stpp") != std::string::npos) {
            folders.push_back(entry.path().parent_path());
        }
    }
    std::sort(folders.begin(), folders.end());
    return folders;
}

// False for a file whose tables contradict each other, which libavformat refuses to open: one of the known
// media has segments of another track than its init segment. Any other failure is one of the test.
bool Opens(const std::string& path)
{
    TTMLTest::RecordingListener listener;
    std::string error;
    player_s* const player = TTMLHost::PlayerOpen(path, Fast(), &listener, &error);
    const bool contradicts = error.find("trun track id unknown") != std::string::npos;
    EXPECT_TRUE(player != nullptr || contradicts) << error;
    TTMLHost::PlayerClose(player);
    return player != nullptr;
}

TEST(PublicMedia, PlaysSegmentsMadeByOthers)
{
    const std::vector<std::filesystem::path> folders = SegmentFolders();
    if (folders.empty()) {
        GTEST_SKIP() << "TTML_TEST_MEDIA names no folder with stpp segments";
    }
    std::size_t played = 0;
    for (const std::filesystem::path& source : folders) {
        std::string content = ReadFile((source / "init.mp4").string());
        std::size_t segments = 0;
        while (std::filesystem::exists(source / (std::to_string(segments + 1) + ".m4s"))) {
            ++segments;
            content += ReadFile((source / (std::to_string(segments) + ".m4s")).string());
        }
        const TemporaryFolder folder;
        const std::string path = folder.Write("all.mp4", content);
        if (!Opens(path)) {
            continue;
        }
        ++played;
        TestPlayer player(path, Fast());
        const std::vector<PushedSample> samples = player.PlayToEnd();
        EXPECT_GE(samples.size(), segments) << source;
        for (const PushedSample& sample : samples) {
            EXPECT_NE(sample.text.find("</tt"), std::string::npos) << source << " sample " << sample.index;
            EXPECT_FALSE(sample.segStartTime.empty()) << source << " sample " << sample.index;
            EXPECT_FALSE(sample.segEndTime.empty()) << source << " sample " << sample.index;
        }
    }
    EXPECT_GE(played, 1U);
}

} // namespace
