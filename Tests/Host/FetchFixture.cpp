#include "FetchFixture.h"

#include <algorithm>
#include <vector>

namespace TTMLTest {

const std::string kDocument = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"en\"><body><div><p "
                              "begin=\"0s\" end=\"2s\">Grüße, 字幕, "
                              "\U0001f600</p></div></body></tt>\n";

std::unique_ptr<HttpServer> FetchFixture::s_server;

Fetched Fetch(TTML::IFileUtil& fetcher, const std::string& url, const char* userAgent)
{
    Fetched result;
    unsigned long length = 0;
    char* text = fetcher.Fetch(url.c_str(), userAgent, &length);
    if (text != nullptr) {
        result.done = true;
        result.text.assign(text, length);
        EXPECT_EQ(text[length], '\0');
        fetcher.ReleaseText(text);
    } else {
        EXPECT_EQ(length, 0U);
    }
    return result;
}

Fetched Fetch(const std::string& url, const char* userAgent, const char* header)
{
    const Fetcher fetcher(TTML::IFileUtil::Create());
    if (fetcher == nullptr) {
        ADD_FAILURE() << "no fetcher";
        return {};
    }
    if (header != nullptr) {
        fetcher->SetRequestHeader(header);
    }
    return Fetch(*fetcher, url, userAgent);
}

std::string Pattern(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = "0123456789abcdef"[i % 16];
    }
    return text;
}

FetchFixture::FetchFixture()
{
    TTMLHost::SetFetchLimits({});
    TTMLHost::AllowFetches();
}

FetchFixture::~FetchFixture()
{
    TTMLHost::SetFetchLimits({});
    TTMLHost::AllowFetches();
}

void FetchFixture::SetUpTestSuite()
{
    s_server = std::make_unique<HttpServer>();
}

void FetchFixture::TearDownTestSuite()
{
    s_server.reset();
}

void FetchFixture::ExpectFailure(const std::string& url, const std::string& line)
{
    const CaptureStderr log;
    EXPECT_FALSE(Fetch(url).done);
    const std::string last = TTMLHost::LastFetchError();
    EXPECT_EQ(log.LogLines(), std::vector<std::string>{"W TTMLHOST: " + last});
    const std::size_t any = line.find("(*)");
    if (any == std::string::npos) {
        EXPECT_EQ(last, line);
        return;
    }
    const std::string begin = line.substr(0, any + 1);
    const std::string end = line.substr(any + 2);
    EXPECT_GT(last.size(), begin.size() + end.size()) << last;
    EXPECT_EQ(last.substr(0, begin.size()), begin);
    EXPECT_EQ(last.substr(last.size() - std::min(last.size(), end.size())), end);
}

} // namespace TTMLTest
