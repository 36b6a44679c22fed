// PlatformFileManager.h: fetching documents. TimeTest.cpp has the rest of it.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PlatformFileManager.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using PortTest::Port;

struct FetcherDestroyer
{
    void operator()(TTML::IFileUtil* fetcher) const { fetcher->Destroy(); }
};
using Fetcher = std::unique_ptr<TTML::IFileUtil, FetcherDestroyer>;

Fetcher NewFetcher()
{
    Fetcher fetcher(TTML::IFileUtil::Create());
    EXPECT_NE(fetcher, nullptr);
    return fetcher;
}

constexpr const char* kFailed = "(failed)";

std::string Fetch(TTML::IFileUtil& fetcher, const std::string& url, const char* agent = "port-test")
{
    unsigned long length = 0;
    char* const text = fetcher.Fetch(url.c_str(), agent, &length);
    if (text == nullptr) {
        return kFailed;
    }
    std::string document(text, length);
    EXPECT_EQ(text[length], '\0') << "the text is not zero-terminated at its length";
    fetcher.ReleaseText(text);
    return document;
}

std::string Fetch(const std::string& url, const char* agent = "port-test")
{
    return Fetch(*NewFetcher(), url, agent);
}

// The value of a header in what the echo URL answered; names are told apart by nothing but their letters.
std::string Header(const std::string& headers, std::string name)
{
    const auto lower = [](std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        return text;
    };
    name = lower(name) + ": ";
    std::size_t at = 0;
    while (at < headers.size()) {
        const std::size_t end = std::min(headers.find('\n', at), headers.size());
        const std::string line = headers.substr(at, end - at);
        if (lower(line.substr(0, name.size())) == name) {
            return line.substr(name.size());
        }
        at = end + 1;
    }
    return "(none)";
}

const std::string kDocument = "<tt xmlns=\"http://www.w3.org/ns/ttml\"><body><div><p begin=\"0s\" "
                              "end=\"2s\">Grüße, 字幕</p></div></body></tt>\n";

class FileManager : public testing::Test
{
protected:
    void SetUp() override { PORT_NEEDS(Port().Documents(), "documents at a URL"); }

    static std::string Publish(const std::string& content) { return Port().Documents()->Publish(content); }
    static std::string Echo() { return Port().Documents()->EchoUrl(); }
};

TEST(FileManagerAlone, CreatesFetchersThatNeedNotFetch)
{
    const Fetcher one = NewFetcher();
    const Fetcher other = NewFetcher();
    EXPECT_NE(one, other);
    one->SetRequestHeader("DNT: 1");
    one->SetRequestHeader("");
}

TEST(FileManagerAlone, FailsForWhatIsNoUrl)
{
    const Fetcher fetcher = NewFetcher();
    for (const std::string url : {"", "no url", "://", "nothing:here", "http://", "http:///"}) {
        EXPECT_EQ(Fetch(*fetcher, url), kFailed) << "'" << url << "'";
    }
}

TEST_F(FileManager, FetchesADocument)
{
    EXPECT_EQ(Fetch(Publish(kDocument)), kDocument);
}

TEST_F(FileManager, FetchesAnEmptyDocumentAsAnEmptyText)
{
    EXPECT_EQ(Fetch(Publish("")), "");
}

TEST_F(FileManager, FetchesALargeDocument)
{
    std::string document = "<tt>";
    while (document.size() < 5000000) {
        document += "0123456789abcde\n";
    }
    document += "</tt>";
    const std::string fetched = Fetch(Publish(document));
    EXPECT_EQ(fetched.size(), document.size());
    EXPECT_TRUE(fetched == document);
}

TEST_F(FileManager, FetchesAUrlOfEightThousandCharacters)
{
    EXPECT_EQ(Fetch(Publish(kDocument) + "?" + std::string(8000, 'q')), kDocument);
}

TEST_F(FileManager, FailsForDocumentsThatCannotBeHad)
{
    const Fetcher fetcher = NewFetcher();
    for (const auto& [what, url] : Port().Documents()->BrokenUrls()) {
        EXPECT_EQ(Fetch(*fetcher, url), kFailed) << what;
    }
    EXPECT_EQ(Fetch(*fetcher, Publish(kDocument)), kDocument) << "a failure leaves the fetcher usable";
}

TEST_F(FileManager, SendsTheUserAgentAsItStands)
{
    EXPECT_EQ(Header(Fetch(Echo(), "HbbTV/1.6.1 (; port-test; 1.0;) %s %n"), "User-Agent"),
              "HbbTV/1.6.1 (; port-test; 1.0;) %s %n");
    const std::string agent = "port-test/" + std::string(1000, 'a');
    EXPECT_EQ(Header(Fetch(Echo(), agent.c_str()), "User-Agent"), agent);
}

TEST_F(FileManager, FetchesWithAnEmptyUserAgent)
{
    EXPECT_EQ(Fetch(Publish(kDocument), ""), kDocument);
}

TEST_F(FileManager, SendsTheRequestHeaderWithLaterFetches)
{
    const Fetcher fetcher = NewFetcher();
    EXPECT_EQ(Header(Fetch(*fetcher, Echo()), "DNT"), "(none)");
    std::string header = "DNT: 1";
    fetcher->SetRequestHeader(header.c_str());
    header.assign(header.size(), '#'); // it was copied
    EXPECT_EQ(Header(Fetch(*fetcher, Echo()), "DNT"), "1");
    EXPECT_EQ(Header(Fetch(*fetcher, Echo()), "DNT"), "1") << "the second fetch";
    EXPECT_EQ(Header(Fetch(Echo()), "DNT"), "(none)") << "another fetcher's";
    fetcher->SetRequestHeader("DNT: null");
    EXPECT_EQ(Header(Fetch(*fetcher, Echo()), "DNT"), "null");
    fetcher->SetRequestHeader("X-Port-Test: 2");
    const std::string headers = Fetch(*fetcher, Echo());
    EXPECT_EQ(Header(headers, "DNT"), "(none)") << "there is one extra header";
    EXPECT_EQ(Header(headers, "X-Port-Test"), "2");
    fetcher->SetRequestHeader("");
    EXPECT_EQ(Header(Fetch(*fetcher, Echo()), "X-Port-Test"), "(none)");
}

TEST_F(FileManager, TextsStayUntilTheyAreReleased)
{
    const Fetcher fetcher = NewFetcher();
    const std::vector<std::string> documents = {kDocument, "", "<tt>other</tt>"};
    std::vector<char*> texts;
    for (const std::string& document : documents) {
        unsigned long length = 0;
        texts.push_back(fetcher->Fetch(Publish(document).c_str(), "", &length));
        ASSERT_NE(texts.back(), nullptr);
        EXPECT_EQ(length, document.size());
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(std::string(texts[i]), documents[i]);
        texts[i][0] = '\0'; // the caller's own
    }
    // In any order.
    fetcher->ReleaseText(texts[1]);
    fetcher->ReleaseText(texts[2]);
    fetcher->ReleaseText(texts[0]);
}

TEST_F(FileManager, SeveralFetchersWorkAtOnce)
{
    const std::string first = Publish("<tt>first</tt>");
    const std::string second = Publish("<tt>second</tt>");
    const auto fetch = [](const std::string& url, const std::string& text) {
        return [url, text] {
            const Fetcher fetcher = NewFetcher();
            for (int i = 0; i < 5; ++i) {
                EXPECT_EQ(Fetch(*fetcher, url), text);
            }
        };
    };
    TTMLTest::RunTogether({fetch(first, "<tt>first</tt>"), fetch(second, "<tt>second</tt>"),
                           fetch(first, "<tt>first</tt>"), fetch(second, "<tt>second</tt>")});
}

TEST_F(FileManager, AFetcherIsUsedByOneThreadAfterAnother)
{
    const Fetcher fetcher = NewFetcher();
    for (int i = 0; i < 3; ++i) {
        const TTMLTest::TestThread thread([&] { EXPECT_EQ(Fetch(*fetcher, Publish(kDocument)), kDocument); });
    }
}

} // namespace
