// The lines of failures that a test can hardly bring about, and what all lines have in common.

#include "FetchError.h"

#include <string>

#include <gtest/gtest.h>

using namespace TTMLHost;

namespace {

constexpr const char* kUrl = "http://example.org/a.ttml";

FetchOutcome Failed(CURLcode code, const std::string& detail = "")
{
    FetchOutcome outcome;
    outcome.kind = FetchOutcome::Kind::TransferFailed;
    outcome.code = code;
    outcome.detail = detail;
    return outcome;
}

std::string Describe(const FetchOutcome& outcome)
{
    return DescribeFailure(kUrl, outcome, FetchLimits());
}

std::string DescribeStatus(long status)
{
    FetchOutcome outcome = Failed(CURLE_HTTP_RETURNED_ERROR);
    outcome.status = status;
    return Describe(outcome);
}

} // namespace

TEST(FetchError, SaysWhatToDoAboutAStatus)
{
    const std::string head =
        "Could not fetch 'http://example.org/a.ttml': the server refused it, HTTP status ";
    EXPECT_EQ(DescribeStatus(400), head + "400; see the server's log");
    EXPECT_EQ(DescribeStatus(401),
              head + "401; the server wants other credentials, another user agent or another network");
    EXPECT_EQ(DescribeStatus(403),
              head + "403; the server wants other credentials, another user agent or another network");
    EXPECT_EQ(DescribeStatus(404), head + "404; check the path of the URL");
    EXPECT_EQ(DescribeStatus(410), head + "410; check the path of the URL");
    EXPECT_EQ(DescribeStatus(429), head + "429; the server is busy; try again later");
    EXPECT_EQ(DescribeStatus(500), head + "500; see the server's log");
    EXPECT_EQ(DescribeStatus(503), head + "503; the server is busy; try again later");
}

TEST(FetchError, NamesTheLibrarysWords)
{
    EXPECT_EQ(Describe(Failed(CURLE_SEND_ERROR, "Send failure: Broken pipe")),
              "Could not fetch 'http://example.org/a.ttml': the transfer failed (Send failure: Broken pipe); "
              "check the server and the network");
    EXPECT_EQ(
        Describe(Failed(CURLE_COULDNT_RESOLVE_PROXY, "Could not resolve proxy: p")),
        "Could not fetch 'http://example.org/a.ttml': the proxy's name has no address (Could not resolve "
        "proxy: p); check the proxy settings of the environment");
}

TEST(FetchError, NamesWhereRedirectsLed)
{
    FetchOutcome outcome = Failed(CURLE_HTTP_RETURNED_ERROR);
    outcome.status = 404;
    outcome.effectiveUrl = "http://example.net/b";
    EXPECT_EQ(
        Describe(outcome),
        "Could not fetch 'http://example.org/a.ttml': the server refused it, HTTP status 404, redirected "
        "to 'http://example.net/b'; check the path of the URL");
}

TEST(FetchError, IsOneLineWhateverItNames)
{
    FetchOutcome outcome;
    outcome.kind = FetchOutcome::Kind::BadUrl;
    EXPECT_EQ(DescribeFailure("a\nb\r\x7f\tc", outcome, FetchLimits()),
              "Could not fetch 'a?b???c': no URL that can be fetched; use http://, https:// or "
              "file:///absolute/path");
    EXPECT_EQ(
        DescribeFailure(nullptr, outcome, FetchLimits()),
        "Could not fetch '': no URL that can be fetched; use http://, https:// or file:///absolute/path");
}

TEST(FetchError, NamesFailuresOfTheMachine)
{
    FetchOutcome outcome;
    outcome.kind = FetchOutcome::Kind::NoMemory;
    EXPECT_EQ(Describe(outcome), "Could not fetch 'http://example.org/a.ttml': out of memory; free memory or "
                                 "fetch a smaller document");
    outcome.kind = FetchOutcome::Kind::NoConverter;
    EXPECT_EQ(Describe(outcome),
              "Could not fetch 'http://example.org/a.ttml': the document is UTF-16 and this "
              "machine has no converter for it; install the C library's character sets or "
              "serve the document as UTF-8");
}
