#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "HttpServer.h"
#include "MpdText.h"
#include "SegmentStore.h"
#include "TemporaryFolder.h"
#include "TestThread.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::SegmentStore;
using TTMLHost::StoredFile;
using TTMLTest::CaptionText;
using TTMLTest::HttpServer;
using TTMLTest::MpdText;
using TTMLTest::ParsedMpd;
using TTMLTest::PeriodText;
using TTMLTest::TemporaryFolder;
using Kind = StoredFile::Kind;
using Numbers = std::optional<std::vector<std::int64_t>>;

CaptionSet Set(const std::string& media, const std::vector<std::string>& bases = {})
{
    const TTMLHost::Mpd mpd = ParsedMpd(MpdText(
        "", PeriodText("", CaptionText("", "<SegmentTemplate duration=\"2\" media=\"" + media + "\"/>"))));
    CaptionSet set = mpd.periods.at(0).captions.at(0);
    set.bases = bases;
    return set;
}

TEST(SegmentStore, ReadsAnMpdAndWhatIsBesideIt)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("s.mpd", "<MPD/>");
    folder.Write("1.m4s", std::string("a\0b", 3));
    for (const std::string& input : {path, "file://" + path}) {
        SegmentStore store(input);
        EXPECT_TRUE(store.IsLocal());
        const StoredFile mpd = store.FetchMpd();
        EXPECT_EQ(mpd.kind, Kind::Fetched);
        EXPECT_EQ(mpd.bytes, "<MPD/>");
        EXPECT_EQ(mpd.error, "");
        EXPECT_EQ(store.Fetch(Set("$Number$.m4s"), "1.m4s").bytes, std::string("a\0b", 3));
    }
}

TEST(SegmentStore, FollowsBaseUrlsIntoFolders)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("s.mpd", "<MPD/>");
    std::filesystem::create_directories(folder.Path("p/s"));
    folder.Write("p/s/1.m4s", "in");
    SegmentStore store(path);
    EXPECT_EQ(store.Fetch(Set("$Number$.m4s", {"p/", "s/"}), "1.m4s").bytes, "in");
    EXPECT_EQ(store.Fetch(Set("$Number$.m4s", {"p/", "s/1.m4s"}), "").bytes, "in");
    EXPECT_EQ(store.PlaceOf(Set("$Number$.m4s", {"p/", "s/"}), "1.m4s"), folder.Path("p/s/1.m4s"));
}

TEST(SegmentStore, FindsEncodedNamesEitherWay)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("s.mpd", "<MPD/>");
    folder.Write("a b.m4s", "decoded");
    folder.Write("c%20d.m4s", "as it is");
    SegmentStore store(path);
    EXPECT_EQ(store.Fetch(Set("$Number$"), "a%20b.m4s").bytes, "decoded");
    EXPECT_EQ(store.Fetch(Set("$Number$"), "c%20d.m4s").bytes, "as it is");
    EXPECT_EQ(store.Fetch(Set("$Number$"), "e%20f.m4s").kind, Kind::NotThere);
}

TEST(SegmentStore, TellsWhatIsNotThereYetFromWhatCannotBeRead)
{
    const TemporaryFolder folder;
    SegmentStore store(folder.Write("s.mpd", "<MPD/>"));
    const StoredFile missing = store.Fetch(Set("$Number$.m4s"), "9.m4s");
    EXPECT_EQ(missing.kind, Kind::NotThere);
    EXPECT_EQ(missing.error,
              "Cannot read '" + folder.Path("9.m4s") + "': No such file or directory; check the path");
    std::filesystem::create_directory(folder.Path("7.m4s"));
    const StoredFile other = store.Fetch(Set("$Number$.m4s"), "7.m4s");
    EXPECT_EQ(other.kind, Kind::Failed);
    EXPECT_EQ(other.error,
              "Cannot read '" + folder.Path("7.m4s") + "': it is not a regular file; check the path");
    EXPECT_EQ(SegmentStore(folder.Path("none/s.mpd")).FetchMpd().kind, Kind::NotThere);
}

TEST(SegmentStore, DoesNotWaitForAPipe)
{
    const TemporaryFolder folder;
    SegmentStore store(folder.Write("s.mpd", "<MPD/>"));
    ASSERT_EQ(mkfifo(folder.Path("1.m4s").c_str(), 0600), 0);
    EXPECT_EQ(store.Fetch(Set("$Number$.m4s"), "1.m4s").kind, Kind::Failed);
}

TEST(SegmentStore, RefusesAddressesItCannotUse)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("s.mpd", "<MPD/>");
    const StoredFile file = SegmentStore(path).Fetch(Set("$Number$", {"ftp://h/"}), "1");
    EXPECT_EQ(file.kind, Kind::Failed);
    EXPECT_EQ(file.error,
              "Cannot read '1': '" + path +
                  "' gives it an address that cannot be used; use relative references, http or https");
}

TEST(SegmentStore, ListsTheNumbersOfAFolder)
{
    const TemporaryFolder folder;
    SegmentStore store(folder.Write("s.mpd", "<MPD/>"));
    std::filesystem::create_directory(folder.Path("seg"));
    for (const char* const name :
         {"d-796069160.m4s", "d-796069158.m4s", "d-init.mp4", "d-9.m4s", "e-3.m4s"}) {
        folder.Write(name, "");
        folder.Write(std::string("seg/") + name, "");
    }
    const std::vector<std::int64_t> expected = {9, 796069158, 796069160};
    EXPECT_EQ(store.Numbers(Set("d-$Number$.m4s")), Numbers(expected));
    EXPECT_EQ(store.Numbers(Set("seg/d-$Number$.m4s")), Numbers(expected));
    EXPECT_EQ(store.Numbers(Set("d-$Number$.m4s", {"seg/"})), Numbers(expected));
    EXPECT_EQ(store.Numbers(Set("none/d-$Number$.m4s")), Numbers(std::vector<std::int64_t>()));
    EXPECT_EQ(store.Numbers(Set("d-$Number$.m4s", {"http://h/"})), std::nullopt);
}

TEST(SegmentStore, FetchesNothingOnceItIsInterrupted)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("s.mpd", "<MPD/>");
    SegmentStore store(path);
    store.Interrupt();
    const StoredFile file = store.FetchMpd();
    EXPECT_EQ(file.kind, Kind::Interrupted);
    EXPECT_EQ(file.error, "Cannot read '" + path + "': it was interrupted; start it again");
}

class SegmentStoreOnAServer : public ::testing::Test
{
protected:
    SegmentStoreOnAServer()
        : m_server(Options(m_folder))
    {}

    static HttpServer::Options Options(const TemporaryFolder& folder)
    {
        folder.Write("s.mpd", "<MPD/>");
        folder.Write("1.m4s", std::string("a\0b", 3));
        HttpServer::Options options;
        options.root = folder.Path();
        return options;
    }

    TemporaryFolder m_folder;
    HttpServer m_server;
};

TEST_F(SegmentStoreOnAServer, FetchesAnMpdAndWhatIsBesideIt)
{
    SegmentStore store(m_server.Url("/files/s.mpd"));
    EXPECT_FALSE(store.IsLocal());
    EXPECT_EQ(store.FetchMpd().bytes, "<MPD/>");
    EXPECT_EQ(store.Fetch(Set("$Number$.m4s"), "1.m4s").bytes, std::string("a\0b", 3));
    EXPECT_EQ(store.Numbers(Set("$Number$.m4s")), std::nullopt);
}

TEST_F(SegmentStoreOnAServer, FindsSegmentsBesideAnMpdThatIsElsewhere)
{
    SegmentStore store(m_server.Url("/redirect-to/" + std::string("%2Ffiles%2Fs.mpd")));
    EXPECT_EQ(store.FetchMpd().bytes, "<MPD/>");
    EXPECT_EQ(store.Fetch(Set("$Number$.m4s"), "1.m4s").kind, Kind::Fetched);
    EXPECT_EQ(store.FetchMpd().kind, Kind::Fetched);
    EXPECT_EQ(m_server.CountLines("GET /redirect-to/%2Ffiles%2Fs.mpd"), 2U);
}

TEST_F(SegmentStoreOnAServer, TellsWhatIsNotThereYetFromWhatCannotBeRead)
{
    SegmentStore store(m_server.Url("/files/s.mpd"));
    const StoredFile missing = store.Fetch(Set("$Number$.m4s"), "2.m4s");
    EXPECT_EQ(missing.kind, Kind::NotThere);
    EXPECT_EQ(missing.error, "Could not fetch '" + m_server.Url("/files/2.m4s") +
                                 "': the server refused it, HTTP status 404; check the path of the URL");
    EXPECT_EQ(store.Fetch(Set("$Number$"), "/status/410").kind, Kind::NotThere);
    EXPECT_EQ(store.Fetch(Set("$Number$"), "/status/500").kind, Kind::Failed);
    EXPECT_EQ(store.Fetch(Set("$Number$"), "file:///etc/hostname").kind, Kind::Failed);
}

TEST_F(SegmentStoreOnAServer, IsInterruptedWhileItWaits)
{
    SegmentStore store(m_server.Url("/stall/before"));
    StoredFile file;
    {
        TTMLTest::TestThread thread([&] { file = store.FetchMpd(); });
        ASSERT_TRUE(m_server.WaitForLine("stalled /stall/before"));
        store.Interrupt();
    }
    EXPECT_EQ(file.kind, Kind::Interrupted);
    EXPECT_EQ(store.FetchMpd().kind, Kind::Interrupted);
    EXPECT_EQ(SegmentStore(m_server.Url("/files/s.mpd")).FetchMpd().kind, Kind::Fetched);
}

} // namespace
