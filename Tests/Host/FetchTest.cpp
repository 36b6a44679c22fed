// Fetches that succeed, against a real server.

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FetchFixture.h"
#include "TemporaryFolder.h"
#include "TestThread.h"

using namespace TTMLTest;

namespace {

class FetchTest : public FetchFixture
{
protected:
    static void ExpectText(const std::string& url, const std::string& text)
    {
        const CaptureStderr log;
        const Fetched fetched = Fetch(url);
        EXPECT_TRUE(fetched.done) << log.Text();
        // A comparison of large texts should not end on the screen.
        EXPECT_EQ(fetched.text.size(), text.size());
        EXPECT_TRUE(fetched.text == text) << fetched.text.substr(0, 1000);
        EXPECT_EQ(log.Text(), "");
    }

    // The value of a request header as the server received it; "(none)" when it received none.
    static std::string SentHeader(const std::string& name, const char* userAgent, const char* header)
    {
        const Fetched fetched = Fetch(Url("/headers"), userAgent, header);
        EXPECT_TRUE(fetched.done);
        for (const std::string& line : SplitLines(fetched.text)) {
            if (line.rfind(name + ": ", 0) == 0) {
                return line.substr(name.size() + 2);
            }
        }
        return "(none)";
    }
};

} // namespace

TEST_F(FetchTest, BringsTheDocument)
{
    ExpectText(Url("/document"), kDocument);
}

TEST_F(FetchTest, BringsDocumentsOfAnySize)
{
    for (const std::size_t size : {0U, 1U, 2U, 16383U, 16384U, 16385U, 20000000U}) {
        ExpectText(Url("/bytes/" + std::to_string(size)), Pattern(size));
    }
}

TEST_F(FetchTest, AnAnswerWithoutContentIsAnEmptyText)
{
    ExpectText(Url("/status/204"), "");
}

TEST_F(FetchTest, NeedsNoLength)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    char* text = fetcher->Fetch(Url("/bytes/5").c_str(), "tests/1.0", nullptr);
    EXPECT_STREQ(text, "01234");
    fetcher->ReleaseText(text);
}

TEST_F(FetchTest, ReleasingNoTextDoesNothing)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    fetcher->ReleaseText(nullptr);
}

TEST_F(FetchTest, AFetcherFetchesAgain)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    EXPECT_EQ(Fetch(*fetcher, Url("/bytes/3")).text, "012");
    EXPECT_EQ(Fetch(*fetcher, Url("/document")).text, kDocument);
}

TEST_F(FetchTest, SendsTheUserAgentAsItStands)
{
    EXPECT_EQ(SentHeader("User-Agent", "TV/2.0 (set; like others)", nullptr), "TV/2.0 (set; like others)");
    EXPECT_EQ(SentHeader("User-Agent", "", nullptr), "(none)");
    EXPECT_EQ(SentHeader("User-Agent", nullptr, nullptr), "(none)");
}

TEST_F(FetchTest, SendsTheRequestHeaderAsItStands)
{
    EXPECT_EQ(SentHeader("DNT", "tests/1.0", "DNT: 0"), "0");
    EXPECT_EQ(SentHeader("DNT", "tests/1.0", "DNT: 1"), "1");
    EXPECT_EQ(SentHeader("DNT", "tests/1.0", "DNT: null"), "null");
}

TEST_F(FetchTest, AnEmptyRequestHeaderSendsNone)
{
    EXPECT_EQ(SentHeader("DNT", "tests/1.0", ""), "(none)");
    EXPECT_EQ(SentHeader("DNT", "tests/1.0", nullptr), "(none)");

    const Fetched without = Fetch(Url("/headers"), "tests/1.0", "");
    const std::vector<std::string> lines = SplitLines(without.text);
    ASSERT_EQ(lines.size(), 4U) << without.text;
    EXPECT_EQ(lines[0], "Host: 127.0.0.1:" + std::to_string(Server().Port()));
    EXPECT_EQ(lines[1], "User-Agent: tests/1.0");
    EXPECT_EQ(lines[2], "Accept: */*");
    EXPECT_EQ(lines[3].rfind("Accept-Encoding: ", 0), 0U);
}

TEST_F(FetchTest, TheLastRequestHeaderCounts)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    fetcher->SetRequestHeader("DNT: 0");
    fetcher->SetRequestHeader("DNT: 1");
    EXPECT_NE(Fetch(*fetcher, Url("/headers")).text.find("\nDNT: 1\n"), std::string::npos);
    fetcher->SetRequestHeader(nullptr);
    EXPECT_EQ(Fetch(*fetcher, Url("/headers")).text.find("DNT"), std::string::npos);
}

TEST_F(FetchTest, TheRequestHeaderIsCopied)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    ASSERT_NE(fetcher, nullptr);
    std::string header = "DNT: 1";
    fetcher->SetRequestHeader(header.c_str());
    header.assign(header.size(), '?');
    EXPECT_NE(Fetch(*fetcher, Url("/headers")).text.find("\nDNT: 1\n"), std::string::npos);
}

TEST_F(FetchTest, TextsWithLineEndsSmuggleInNoHeader)
{
    const CaptureStderr log;
    EXPECT_EQ(SentHeader("Evil", "tests/1.0", "DNT: 1\r\nEvil: yes"), "(none)");
    EXPECT_EQ(SentHeader("Evil", "tests/1.0\r\nEvil: yes", nullptr), "(none)");
    EXPECT_EQ(log.LogLines(), (std::vector<std::string>{
                                  "W TTMLHOST: The request header holds a control character and is not sent",
                                  "W TTMLHOST: The user agent holds a control character and is not sent"}));
}

TEST_F(FetchTest, AsksForCompressionAndUndoesIt)
{
    const std::string accepted = SentHeader("Accept-Encoding", "tests/1.0", nullptr);
    EXPECT_NE(accepted.find("gzip"), std::string::npos) << accepted;
    EXPECT_NE(accepted.find("br"), std::string::npos) << accepted;
    ExpectText(Url("/gzip"), kDocument);
    ExpectText(Url("/brotli"), kDocument);
}

TEST_F(FetchTest, FollowsRedirectsUpToTheLimit)
{
    ExpectText(Url("/redirect/1"), kDocument);
    ExpectText(Url("/redirect/10"), kDocument);
}

TEST_F(FetchTest, FollowsARedirectToAnotherServer)
{
    HttpServer other;
    ExpectText(Url("/redirect-to/" + other.Url("/bytes/4")), "0123");
    EXPECT_EQ(other.CountLines("GET /bytes/4"), 1U);
}

TEST_F(FetchTest, Utf16BecomesUtf8)
{
    ExpectText(Url("/utf16le"), kDocument);
    ExpectText(Url("/utf16be"), kDocument);
}

TEST_F(FetchTest, AUtf8MarkStays)
{
    ExpectText(Url("/utf8-bom"), "\xef\xbb\xbf" + kDocument);
}

TEST_F(FetchTest, ASlowServerIsWaitedFor)
{
    // Slower as a whole than a stall may be long, and never stalled.
    TTMLHost::FetchLimits limits;
    limits.stallTimeoutS = 1;
    TTMLHost::SetFetchLimits(limits);
    ExpectText(Url("/drip/10/200"), Pattern(10));
}

TEST_F(FetchTest, ADocumentOfTheSizeLimitIsFetched)
{
    TTMLHost::FetchLimits limits;
    limits.maxBytes = 1U << 20U;
    TTMLHost::SetFetchLimits(limits);
    ExpectText(Url("/bytes/1048576"), Pattern(1U << 20U));
    ExpectText(Url("/gzip-zeros/1"), std::string(1U << 20U, '\0'));
}

TEST_F(FetchTest, SeveralThreadsFetchAtOnce)
{
    constexpr int kThreads = 8;
    constexpr int kFetches = 10;
    const std::string documents = Url("/bytes/");
    std::vector<std::function<void()>> bodies;
    for (int thread = 0; thread < kThreads; ++thread) {
        bodies.push_back([&documents, thread] {
            const Fetcher fetcher(TTML::IFileUtil::Create());
            ASSERT_NE(fetcher, nullptr);
            for (int i = 0; i < kFetches; ++i) {
                const std::size_t size = static_cast<std::size_t>(thread * 1000 + i);
                EXPECT_EQ(Fetch(*fetcher, documents + std::to_string(size)).text, Pattern(size));
            }
        });
    }
    RunTogether(bodies);
}

TEST_F(FetchTest, BringsALocalFile)
{
    const TemporaryFolder folder;
    ExpectText("file://" + folder.Write("a.ttml", kDocument), kDocument);
    ExpectText("file://localhost" + folder.Write("b.ttml", kDocument), kDocument);
    ExpectText("FILE://" + folder.Write("c.ttml", kDocument), kDocument);
    ExpectText("file://" + folder.Write("empty.ttml", ""), "");
    ExpectText("file://" + folder.Write("large.ttml", Pattern(3000000)), Pattern(3000000));
}

TEST_F(FetchTest, AFileUrlMayBeEncoded)
{
    const TemporaryFolder folder;
    (void)folder.Write("two words.ttml", kDocument);
    ExpectText("file://" + folder.Path("two%20words.ttml"), kDocument);
}
