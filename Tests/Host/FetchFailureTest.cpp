// Fetches that fail: null, one line of the log, and the last error.

#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "FetchFixture.h"
#include "ResolverGate.h"
#include "TemporaryFolder.h"
#include "UnansweredPort.h"

using namespace TTMLTest;

namespace {

std::string Head(const std::string& url)
{
    return "Could not fetch '" + url + "': ";
}

void SetStallTimeout(long seconds)
{
    TTMLHost::FetchLimits limits;
    limits.stallTimeoutS = seconds;
    TTMLHost::SetFetchLimits(limits);
}

void SetMaximum(unsigned long long bytes)
{
    TTMLHost::FetchLimits limits;
    limits.maxBytes = bytes;
    TTMLHost::SetFetchLimits(limits);
}

class FetchFailureTest : public FetchFixture
{};

} // namespace

TEST_F(FetchFailureTest, AStatusFrom400On)
{
    for (const char* status : {"400", "401", "403", "404", "410", "418", "500", "503", "599"}) {
        const CaptureStderr log;
        EXPECT_FALSE(Fetch(Url(std::string("/status/") + status)).done) << status;
        const std::string line = TTMLHost::LastFetchError();
        EXPECT_EQ(log.LogLines(), std::vector<std::string>{"W TTMLHOST: " + line});
        EXPECT_NE(line.find(std::string(", HTTP status ") + status + ";"), std::string::npos) << line;
    }
    const std::string url = Url("/status/404");
    ExpectFailure(url, Head(url) + "the server refused it, HTTP status 404; check the path of the URL");
}

TEST_F(FetchFailureTest, MoreRedirectsThanTheLimit)
{
    const std::string url = Url("/redirect/11");
    ExpectFailure(url, Head(url) + "more than 10 redirects (*), HTTP status 302, redirected to '" +
                           Url("/redirect/1") + "'; check the server's redirects for a loop");
}

TEST_F(FetchFailureTest, ARedirectLoop)
{
    const CaptureStderr log;
    EXPECT_FALSE(Fetch(Url("/redirect-loop")).done);
    EXPECT_EQ(Server().CountLines("GET /redirect-loop"), 11U);
}

TEST_F(FetchFailureTest, ARedirectToAnotherProtocol)
{
    const TemporaryFolder folder;
    const std::string file = "file://" + folder.Write("secret", "secret");
    for (const std::string& target : {file, std::string("ftp://127.0.0.1/a")}) {
        const std::string url = Url("/redirect-to/" + target);
        ExpectFailure(url, Head(url) +
                               "redirected to something other than http or https (*), HTTP status 302, "
                               "redirected to '" +
                               target + "'; check where the server redirects to");
    }
}

TEST_F(FetchFailureTest, AUrlThatIsNone)
{
    for (const char* url : {"", "example.org/a.ttml", "/tmp/a.ttml", "ftp://127.0.0.1/a", "ftp.example.org",
                            "javascript:alert(1)", "http:", "https:/", "data:,x"}) {
        ExpectFailure(url, Head(url) + "no URL that can be fetched; use http://, https:// or "
                                       "file:///absolute/path");
    }
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    const CaptureStderr log;
    unsigned long length = 7;
    EXPECT_EQ(fetcher->Fetch(nullptr, nullptr, &length), nullptr);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(log.LogLines().size(), 1U);
}

TEST_F(FetchFailureTest, AMalformedUrl)
{
    const std::string url = "http://127.0.0.1:999999/";
    ExpectFailure(url, Head(url) + "the URL is malformed (*); check its host, port and path");
}

TEST_F(FetchFailureTest, AConnectionThatIsRefused)
{
    UnansweredPort port;
    port.Close();
    const std::string url = "http://127.0.0.1:" + std::to_string(port.Port()) + "/a";
    ExpectFailure(url,
                  Head(url) + "connection refused (*); check that the server runs and listens on this port");
}

TEST_F(FetchFailureTest, AHostWithoutAnAddress)
{
    const std::string url = "http://nowhere.invalid/a";
    ExpectFailure(url, Head(url) +
                           "the host name has no address (*); check the name and the network's name server");
}

TEST_F(FetchFailureTest, AServerThatDoesNotAnswerTheHandshake)
{
    const UnansweredPort port;
    TTMLHost::FetchLimits limits;
    limits.connectTimeoutMs = 300;
    TTMLHost::SetFetchLimits(limits);
    const std::string url = "https://127.0.0.1:" + std::to_string(port.Port()) + "/a";
    ExpectFailure(url,
                  Head(url) +
                      "no connection within 300 ms (*); check the host, the port and any firewall between");
}

TEST_F(FetchFailureTest, ANameThatIsLookedUpTooLong)
{
    const ResolverGate gate;
    TTMLHost::FetchLimits limits;
    limits.connectTimeoutMs = 300;
    TTMLHost::SetFetchLimits(limits);
    const std::string url = "http://stalled.test/a";
    ExpectFailure(url,
                  Head(url) +
                      "no connection within 300 ms (*); check the host, the port and any firewall between");
}

TEST_F(FetchFailureTest, AServerThatStalls)
{
    SetStallTimeout(1);
    const std::string cause = "the server sent nothing for 1 s";
    const std::string hint = "; check the server's load and the network";
    std::string url = Url("/stall/before");
    ExpectFailure(url, Head(url) + cause + hint);
    for (const char* path : {"/stall/headers", "/stall/body"}) {
        url = Url(path);
        ExpectFailure(url, Head(url) + cause + ", HTTP status 200" + hint);
    }
}

TEST_F(FetchFailureTest, AServerThatStallsAfterARedirect)
{
    SetStallTimeout(1);
    const std::string url = Url("/redirect-to/" + Url("/stall/before"));
    ExpectFailure(url, Head(url) + "the server sent nothing for 1 s, HTTP status 302, redirected to '" +
                           Url("/stall/before") + "'; check the server's load and the network");
}

TEST_F(FetchFailureTest, AServerThatClosesWithoutAnAnswer)
{
    const std::string url = Url("/close/before");
    ExpectFailure(url, Head(url) +
                           "the server closed the connection without an answer (*); check that this port "
                           "speaks http and not https");
}

TEST_F(FetchFailureTest, AServerThatClosesMidway)
{
    const std::string url = Url("/close/midway");
    ExpectFailure(url, Head(url) +
                           "the server closed the connection before the document was complete (*), HTTP "
                           "status 200; try again");
}

TEST_F(FetchFailureTest, ADocumentLargerThanTheLimit)
{
    SetMaximum((1U << 20U) - 1U);
    const std::string cause =
        "the document is larger than 1048575 bytes, HTTP status 200; check that the URL names "
        "a subtitle document";
    // Announced, compressed and endless.
    for (const char* path : {"/bytes/1048576", "/gzip-zeros/1", "/endless"}) {
        const std::string url = Url(path);
        ExpectFailure(url, Head(url) + cause);
    }
}

TEST_F(FetchFailureTest, ADocumentLargerThanTheUsualLimit)
{
    const std::string url = Url("/gzip-zeros/65");
    ExpectFailure(url, Head(url) +
                           "the document is larger than 67108864 bytes, HTTP status 200; check that the URL "
                           "names a subtitle document");
}

TEST_F(FetchFailureTest, AnyDocumentWhereNoneIsSmallEnough)
{
    SetMaximum(0);
    EXPECT_TRUE(Fetch(Url("/bytes/0")).done);
    const CaptureStderr log;
    EXPECT_FALSE(Fetch(Url("/bytes/1")).done);
}

TEST_F(FetchFailureTest, ADamagedContentEncoding)
{
    const std::string url = Url("/gzip-damaged");
    ExpectFailure(url, Head(url) +
                           "the document's content encoding is damaged (*), HTTP status 200; check the "
                           "server's compression");
}

TEST_F(FetchFailureTest, ADamagedUtf16Document)
{
    const std::string url = Url("/utf16le-damaged");
    ExpectFailure(url, Head(url) +
                           "the document begins with a UTF-16 mark and goes on with something else, HTTP "
                           "status 200; check the document's encoding");
}

TEST_F(FetchFailureTest, AFileThatCannotBeRead)
{
    const TemporaryFolder folder;
    const std::string hint = "; check the path and its permissions";
    std::string url = "file://" + folder.Path("missing");
    ExpectFailure(url, Head(url) + "the file cannot be read (No such file or directory)" + hint);
    url = "file://" + folder.Path();
    ExpectFailure(url, Head(url) + "the file cannot be read (not a regular file)" + hint);
    // Opening a pipe would wait for ever.
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);
    url = "file://" + folder.Path("pipe");
    ExpectFailure(url, Head(url) + "the file cannot be read (not a regular file)" + hint);
}

TEST_F(FetchFailureTest, AFileLargerThanTheLimit)
{
    SetMaximum(1000);
    const TemporaryFolder folder;
    const std::string url = "file://" + folder.Write("large", Pattern(1001));
    ExpectFailure(url, Head(url) +
                           "the document is larger than 1000 bytes; check that the URL names a subtitle "
                           "document");
}

TEST_F(FetchFailureTest, LeavesTheFetcherUsable)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    {
        const CaptureStderr log;
        EXPECT_FALSE(Fetch(*fetcher, Url("/status/404")).done);
    }
    EXPECT_EQ(Fetch(*fetcher, Url("/document")).text, kDocument);
    EXPECT_NE(TTMLHost::LastFetchError(), "") << "a success forgets the last failure";
}

TEST_F(FetchFailureTest, NoMemoryForAFetcher)
{
    const FaultInjection noMemory(Call::NEW_NOTHROW);
    EXPECT_EQ(TTML::IFileUtil::Create(), nullptr);
    EXPECT_EQ(noMemory.Failed(), 1U);
}

TEST_F(FetchFailureTest, NoMemoryForTheRequestHeader)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    fetcher->SetRequestHeader("DNT: 0");
    const CaptureStderr log;
    {
        const FaultInjection noMemory(Call::NEW);
        fetcher->SetRequestHeader("X-A-Header-That-Is-Too-Long-For-A-Small-String: 1");
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(log.LogLines(),
              std::vector<std::string>{"W TTMLHOST: No memory for the request header; it is not sent"});
    EXPECT_EQ(Fetch(*fetcher, Url("/headers")).text.find("DNT"), std::string::npos);
}

TEST_F(FetchFailureTest, NoMemoryForAnyStepOfAFailure)
{
    // Each allocation of a failing fetch, redirects and a long last error among them, fails once in turn.
    const std::string url = Url("/redirect-to/" + Url("/status/404"));
    TTMLHost::FetchLimits limits;
    limits.caFile = "/a/path/that/is/too/long/for/a/small/string.pem";
    TTMLHost::SetFetchLimits(limits);
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    bool failed = true;
    unsigned int step = 0;
    while (failed) {
        ++step;
        ASSERT_LT(step, 1000U);
        const CaptureStderr log;
        unsigned long length = 0;
        char* text = nullptr;
        {
            const FaultInjection noMemory(Call::NEW, step);
            text = fetcher->Fetch(url.c_str(), "tests/1.0", &length);
            failed = noMemory.Failed() != 0;
        }
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(log.LogLines().size(), 1U) << step;
        if (!failed || TTMLHost::LastFetchError() != "out of memory") {
            EXPECT_NE(TTMLHost::LastFetchError().find("HTTP status 404"), std::string::npos);
        }
    }
    EXPECT_GT(step, 3U);
}
