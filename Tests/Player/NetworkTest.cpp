#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "CuttingServer.h"
#include "HttpServer.h"
#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::ChildResult;
using TTMLTest::CuttingServer;
using TTMLTest::Fast;
using TTMLTest::HttpServer;
using TTMLTest::OpenError;
using TTMLTest::PushedSample;
using TTMLTest::ReadFile;
using TTMLTest::RunChild;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Timestamps;

using std::chrono::steady_clock;

using Numbers = std::vector<long long>;

const Numbers kAll = {0, 5000, 10000, 15000, 20000, 25000, 30000, 35000, 40000, 45000, 50000, 55000};

// Well below the network's patience, which is 30 s, and far above what a loaded machine needs.
constexpr std::chrono::seconds kPrompt{10};

// Where sample `index` of the file begins.
std::size_t SampleOffset(const std::string& file, int index)
{
    std::size_t at = 0;
    for (int i = 0; i <= index; ++i) {
        at = file.find("mdat", at) + 4;
    }
    return at;
}

HttpServer::Options ServingSamples()
{
    HttpServer::Options options;
    options.root = TTML_TEST_SAMPLES;
    return options;
}

TEST(Network, PlaysAFileFromAServer)
{
    HttpServer server(ServingSamples());
    TestPlayer player(server.Url("/files/subtitles.mp4"), Fast());
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    const std::vector<PushedSample> samples = player.PlayToEnd();
    EXPECT_EQ(Timestamps(samples), kAll);
    for (const PushedSample& sample : samples) {
        EXPECT_EQ(file.compare(SampleOffset(file, sample.index), sample.text.size(), sample.text), 0);
        EXPECT_FALSE(sample.segEndTime.empty());
    }
    EXPECT_EQ(server.CountLines("GET /files/subtitles.mp4"), 1U) << "one request is enough for a small file";
}

TEST(Network, SeeksInAFileFromAServer)
{
    HttpServer server(ServingSamples());
    TestPlayer player(server.Url("/files/subtitles.mp4"), Fast());
    player.Seek(51000);
    EXPECT_EQ(Timestamps(player.PlayToEnd()), (Numbers{50000, 55000}));
    player.Seek(0);
    EXPECT_EQ(player.PlayToEnd().size(), 14U);
}

TEST(Network, PlaysADashPresentationFromAServer)
{
    HttpServer server(ServingSamples());
    TestPlayer player(server.Url("/files/dash/manifest.mpd"), Fast());
    EXPECT_EQ(Timestamps(player.PlayToEnd()), kAll);
    EXPECT_EQ(server.CountLines("GET /files/dash/en/6.m4s"), 1U);
    EXPECT_EQ(server.CountLines("GET /files/dash/de/2.m4s"), 0U) << "the other language is left alone";
}

TEST(Network, SendsTheUserAgent)
{
    CuttingServer server;
    server.Serve("/a.mp4", ReadFile(SamplePath("subtitles.mp4")));
    TTMLHost::PlayerOptions options = Fast();
    options.userAgent = "A test/1.0 (with blanks)";
    TestPlayer player(server.Url("/a.mp4"), options);
    EXPECT_NE(server.LastRequest("/a.mp4").find("\r\nUser-Agent: A test/1.0 (with blanks)\r\n"),
              std::string::npos)
        << server.LastRequest("/a.mp4");
}

TEST(Network, SaysWhichStatusAServerAnsweredWith)
{
    HttpServer server;
    EXPECT_EQ(
        OpenError(server.Url("/status/404")),
        "Cannot open '" + server.Url("/status/404") +
            "': Server returned 404 Not Found (HTTP error 404 Not Found); check the address and what the "
            "server offers there");
    EXPECT_EQ(
        OpenError(server.Url("/status/500"))
            .find("Cannot open '" + server.Url("/status/500") + "': Server returned 5XX Server Error reply"),
        0U);
}

TEST(Network, SaysThatNobodyListens)
{
    std::string url;
    {
        const CuttingServer server;
        url = server.Url("/a.mp4");
    }
    const std::string error = OpenError(url);
    EXPECT_EQ(error.find("Cannot open '" + url + "': Connection refused"), 0U) << error;
    EXPECT_NE(error.find("; check that the server is up and can be reached, and try again"),
              std::string::npos)
        << error;
}

TEST(Network, DoesNotTrustAnUnknownCertificate)
{
    const TemporaryFolder folder;
    HttpServer::Options options = ServingSamples();
    options.certificate = folder.Path("certificate.pem");
    options.key = folder.Path("key.pem");
    const ChildResult made =
        RunChild({TTML_TEST_OPENSSL, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                  "/CN=127.0.0.1", "-keyout", options.key, "-out", options.certificate});
    ASSERT_EQ(made.status, 0) << made.error;
    HttpServer server(options);
    const std::string url = server.Url("/files/subtitles.mp4");
    const std::string error = OpenError(url);
    EXPECT_EQ(error.find("Cannot open '" + url + "': "), 0U) << error;
    EXPECT_NE(error.find("certificate"), std::string::npos) << error;
    EXPECT_EQ(server.CountLines("GET /files/subtitles.mp4"), 0U);
}

TEST(Network, EndsWithAnErrorWhenTheServerDiesMidway)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    CuttingServer server;
    server.ServeUpTo("/a.mp4", file, SampleOffset(file, 7) + 100, CuttingServer::Then::Close);
    TestPlayer player(server.Url("/a.mp4"), Fast());
    player.Play();
    const std::string error = player.Listener().WaitForEnd();
    EXPECT_EQ(error.find("Cannot read '" + server.Url("/a.mp4") + "': "), 0U) << error;
    EXPECT_NE(error.find("; check that the server is up and can be reached, and try again"),
              std::string::npos)
        << error;
    EXPECT_EQ(Timestamps(player.Listener().Samples()), (Numbers{0, 5000, 10000, 15000, 20000, 25000, 30000}));
}

TEST(Network, EndsWithAnErrorWhenTheServerDiesBetweenTwoSamples)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    CuttingServer server;
    // Right behind sample 3: the next byte would be a new fragment's.
    server.ServeUpTo("/a.mp4", file, file.find("</tt>\n", SampleOffset(file, 3)) + 6,
                     CuttingServer::Then::Close);
    TestPlayer player(server.Url("/a.mp4"), Fast());
    player.Play();
    const std::string error = player.Listener().WaitForEnd();
    EXPECT_EQ(error.find("Cannot read '" + server.Url("/a.mp4") + "': "), 0U) << error;
    EXPECT_EQ(Timestamps(player.Listener().Samples()), (Numbers{0, 5000, 10000, 15000}));
}

TEST(Network, EndsWithAnErrorWhenTheServerFallsSilent)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    CuttingServer server;
    server.ServeUpTo("/a.mp4", file, SampleOffset(file, 5) + 100, CuttingServer::Then::Stall);
    TTMLHost::PlayerOptions options = Fast();
    options.networkTimeoutMs = 200;
    TestPlayer player(server.Url("/a.mp4"), options);
    player.Play();
    const std::string error = player.Listener().WaitForEnd();
    EXPECT_EQ(error.find("Cannot read '" + server.Url("/a.mp4") + "': "), 0U) << error;
    EXPECT_EQ(Timestamps(player.Listener().Samples()), (Numbers{0, 5000, 10000, 15000, 20000}));
}

TEST(Network, GivesUpOpeningWhenTheServerFallsSilent)
{
    HttpServer server;
    TTMLHost::PlayerOptions options;
    options.networkTimeoutMs = 200;
    const std::string error = OpenError(server.Url("/stall/before"), options);
    EXPECT_EQ(error.find("Cannot open '" + server.Url("/stall/before") + "': "), 0U) << error;
    EXPECT_NE(error.find("; check that the server is up and can be reached, and try again"),
              std::string::npos)
        << error;
}

TEST(Network, ClosesAtOnceWhileTheServerIsSilent)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    CuttingServer server;
    server.ServeUpTo("/a.mp4", file, SampleOffset(file, 5) + 100, CuttingServer::Then::Stall);
    TestPlayer player(server.Url("/a.mp4"), Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(5));
    ASSERT_TRUE(server.Stalled().Wait());
    const auto start = steady_clock::now();
    player.Close();
    EXPECT_LT(steady_clock::now() - start, kPrompt);
    EXPECT_EQ(player.Listener().Ends(), 0U);
}

TEST(Network, SeeksBackAtOnceWhileTheServerIsSilent)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    CuttingServer server;
    server.ServeUpTo("/a.mp4", file, SampleOffset(file, 5) + 100, CuttingServer::Then::Stall);
    TestPlayer player(server.Url("/a.mp4"), Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(5));
    ASSERT_TRUE(server.Stalled().Wait());
    // The server has recovered.
    server.Serve("/a.mp4", file);
    const auto start = steady_clock::now();
    player.Seek(16000);
    EXPECT_EQ(player.Listener().WaitForEnd(), "");
    EXPECT_LT(steady_clock::now() - start, kPrompt);
    EXPECT_EQ(Timestamps(player.Listener().Samples()),
              (Numbers{0, 5000, 10000, 15000, 20000, 15000, 20000, 25000, 30000, 35000, 40000, 45000, 50000,
                       55000}));
}

TEST(Network, GivesUpOpeningWhenItIsCancelled)
{
    HttpServer server;
    const std::string url = server.Url("/stall/before");
    std::atomic<bool> cancel{false};
    TTMLHost::PlayerOptions options;
    options.cancel = &cancel;
    const auto start = steady_clock::now();
    std::thread canceller([&] {
        server.WaitForLine("stalled /stall/before");
        cancel = true;
    });
    EXPECT_EQ(OpenError(url, options),
              "Cannot open '" + url + "': it was cancelled; start it again when it is wanted");
    EXPECT_LT(steady_clock::now() - start, kPrompt);
    canceller.join();
}

TEST(Network, ALaterCancelDoesNotMatter)
{
    std::atomic<bool> cancel{false};
    TTMLHost::PlayerOptions options = Fast();
    options.cancel = &cancel;
    TestPlayer player(SamplePath("subtitles.mp4"), options);
    cancel = true;
    EXPECT_EQ(player.PlayToEnd().size(), 12U);
}

} // namespace
