#ifndef FETCH_FIXTURE_H
#define FETCH_FIXTURE_H

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "CaptureStderr.h"
#include "HostFileManager.h"
#include "HttpServer.h"
#include "PlatformFileManager.h"

namespace TTMLTest {

struct FetcherDestroyer
{
    void operator()(TTML::IFileUtil* fetcher) const { fetcher->Destroy(); }
};
using Fetcher = std::unique_ptr<TTML::IFileUtil, FetcherDestroyer>;

// What a fetch gave. A text that is not zero-terminated at its length fails the test.
struct Fetched
{
    bool done = false;
    std::string text;
};

Fetched Fetch(TTML::IFileUtil& fetcher, const std::string& url, const char* userAgent = "tests/1.0");
// The same with a fetcher of its own, and `header` set unless it is null.
Fetched Fetch(const std::string& url, const char* userAgent = "tests/1.0", const char* header = nullptr);

// A test with an HTTP server, in which fetches are allowed and have their usual limits at first and again at
// the end. The tests of a suite share the server.
class FetchFixture : public ::testing::Test
{
protected:
    FetchFixture();
    ~FetchFixture() override;

    static void SetUpTestSuite();
    static void TearDownTestSuite();
    static HttpServer& Server() { return *s_server; }
    static std::string Url(const std::string& path) { return Server().Url(path); }

    // Fetches, and expects the failure: null, `line` as the one line of the log at warning level, and as the
    // last error. "(*)" in `line` stands for the HTTP library's own words, which differ between versions.
    static void ExpectFailure(const std::string& url, const std::string& line);

private:
    static std::unique_ptr<HttpServer> s_server;
};

// The document at /document.
extern const std::string kDocument;

// The first `size` bytes of the pattern at /bytes.
std::string Pattern(std::size_t size);

} // namespace TTMLTest

#endif
