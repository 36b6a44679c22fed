#include "MediaMaker.h"

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "ChildProcess.h"

namespace TTMLTest {

namespace {

void RunScript(std::vector<std::string> arguments, const std::vector<std::string>& options)
{
    arguments.insert(arguments.begin(), {TTML_TEST_PYTHON, SamplePath("make_stpp.py")});
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ChildResult result = RunChild(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
}

} // namespace

std::string SamplePath(const std::string& name)
{
    return std::string(TTML_TEST_SAMPLES) + "/" + name;
}

void MakeFile(const std::string& path, const std::vector<std::string>& options)
{
    RunScript({"--out", path}, options);
}

void MakeDash(const std::string& path, const std::vector<std::string>& options)
{
    RunScript({"--dash", path}, options);
}

std::string MakeLiveDash(const std::string& path)
{
    MakeDash(path, {"--tracks", "en", "--start-tfdt", "100000000"});
    std::string manifest = Replaced(ReadFile(path + "/manifest.mpd"), "type=\"static\"",
                                    "type=\"dynamic\" availabilityStartTime=\"2024-05-17T08:30:15Z\" "
                                    "minimumUpdatePeriod=\"PT10S\" suggestedPresentationDelay=\"PT20S\"");
    manifest = Replaced(manifest, "mediaPresentationDuration=\"PT60.000S\"", "");
    manifest = Replaced(manifest, "start=\"PT0S\"", "start=\"PT1H\"");
    manifest = Replaced(manifest, "duration=\"10000\" startNumber=\"1\"", "startNumber=\"1\"");
    manifest = Replaced(manifest, "/$Number$.m4s\"/>",
                        "/$Number$.m4s\"><SegmentTimeline><S t=\"100000000\" d=\"10000\" r=\"5\"/>"
                        "</SegmentTimeline></SegmentTemplate>");
    std::ofstream file(path + "/manifest.mpd", std::ios::binary | std::ios::trunc);
    file << manifest;
    file.close();
    EXPECT_TRUE(file.good()) << path;
    return manifest;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Replaced(const std::string& text, const std::string& from, const std::string& to)
{
    std::string result = text;
    std::size_t at = result.find(from);
    EXPECT_NE(at, std::string::npos) << "no '" << from << "' in:\n" << text;
    while (at != std::string::npos) {
        result.replace(at, from.size(), to);
        at = result.find(from, at + to.size());
    }
    return result;
}

} // namespace TTMLTest
