// The abort: a fetch that waits for whatever ends within a second.

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FetchFixture.h"
#include "ResolverGate.h"
#include "TestThread.h"
#include "UnansweredPort.h"

using namespace TTMLTest;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kAbortLimit = std::chrono::seconds(1);

const std::string kHint = "; fetches are allowed again after the client says so";

class FetchAbortTest : public FetchFixture
{
protected:
    // Fetches on a thread, aborts when `waitUntilUnderWay` has returned, and expects null in time and one
    // line.
    static void ExpectAborted(const std::string& url, const std::function<bool()>& waitUntilUnderWay)
    {
        const CaptureStderr log;
        Clock::time_point aborted;
        Clock::time_point returned;
        bool done = true;
        {
            TestThread fetching([&] {
                done = Fetch(url).done;
                returned = Clock::now();
            });
            (void)waitUntilUnderWay();
            aborted = Clock::now();
            TTMLHost::AbortFetches();
        }
        TTMLHost::AllowFetches();
        EXPECT_FALSE(done);
        EXPECT_LT(returned - aborted, kAbortLimit);
        const std::string line = TTMLHost::LastFetchError();
        EXPECT_EQ(log.LogLines(), std::vector<std::string>{"W TTMLHOST: " + line});
        // A status may have arrived by then, or not yet.
        const std::string begin = "Could not fetch '" + url + "': aborted";
        EXPECT_TRUE(line == begin + kHint || line == begin + ", HTTP status 200" + kHint) << line;
    }

    // The same for a path of the server, under way when the server says `line`.
    static void ExpectAborted(const std::string& path, const std::string& line)
    {
        ExpectAborted(Url(path), [&line] { return Server().WaitForLine(line); });
    }
};

} // namespace

TEST_F(FetchAbortTest, EndsAFetchThatWaitsForAnAnswer)
{
    ExpectAborted("/stall/before", "stalled /stall/before");
}

TEST_F(FetchAbortTest, EndsAFetchThatWaitsForTheDocument)
{
    ExpectAborted("/stall/headers", "stalled /stall/headers");
    ExpectAborted("/stall/body", "stalled /stall/body");
}

TEST_F(FetchAbortTest, EndsAFetchThatGoesOn)
{
    ExpectAborted("/drip/100000/1", "GET /drip/100000/1");
}

TEST_F(FetchAbortTest, EndsAFetchThatWaitsForTheHandshake)
{
    UnansweredPort port;
    ExpectAborted("https://127.0.0.1:" + std::to_string(port.Port()) + "/a",
                  [&port] { return port.WaitForClient(); });
}

TEST_F(FetchAbortTest, EndsAFetchThatWaitsForTheNameServer)
{
    const ResolverGate gate;
    ExpectAborted("http://stalled.test/a", [&gate] { return gate.WaitForLookUp(); });
}

TEST_F(FetchAbortTest, EndsAllFetches)
{
    constexpr unsigned int kFetches = 6;
    const std::string url = Url("/stall/before?all");
    const CaptureStderr log;
    std::vector<std::unique_ptr<TestThread>> fetches;
    bool done[kFetches];
    std::fill_n(done, kFetches, true);
    for (unsigned int i = 0; i < kFetches; ++i) {
        fetches.push_back(std::make_unique<TestThread>([&, i] { done[i] = Fetch(url).done; }));
    }
    (void)Server().WaitForLine("stalled /stall/before?all");
    const Clock::time_point aborted = Clock::now();
    TTMLHost::AbortFetches();
    fetches.clear();
    EXPECT_LT(Clock::now() - aborted, kAbortLimit);
    for (const bool fetched : done) {
        EXPECT_FALSE(fetched);
    }
    EXPECT_EQ(log.LogLines().size(), kFetches);
}

TEST_F(FetchAbortTest, LetsNoFetchBeginUntilTheyAreAllowed)
{
    TTMLHost::AbortFetches();
    const std::string url = Url("/bytes/7");
    ExpectFailure(url, "Could not fetch '" + url + "': aborted" + kHint);
    EXPECT_EQ(Server().CountLines("GET /bytes/7"), 0U);
    TTMLHost::AllowFetches();
    EXPECT_EQ(Fetch(url).text, "0123456");
}

TEST_F(FetchAbortTest, EndsWhatWasUnderWayEvenWhenFetchesAreAllowedAtOnce)
{
    const CaptureStderr log;
    bool done = true;
    {
        TestThread fetching([&] { done = Fetch(Url("/stall/before?again")).done; });
        (void)Server().WaitForLine("stalled /stall/before?again");
        TTMLHost::AbortFetches();
        TTMLHost::AllowFetches();
        EXPECT_EQ(Fetch(Url("/bytes/3")).text, "012");
    }
    EXPECT_FALSE(done);
}

TEST_F(FetchAbortTest, MayComeAtAnyTime)
{
    // Fetches and aborts cross each other; each fetch gives its document or nothing.
    const std::string url = Url("/document");
    const CaptureStderr log;
    Gate over("the fetches are over");
    const TestThread aborting([&over] {
        while (!over.IsOpen()) {
            TTMLHost::AbortFetches();
            TTMLHost::AllowFetches();
        }
    });
    const auto fetching = [&url] {
        for (int i = 0; i < 50; ++i) {
            const Fetched fetched = Fetch(url);
            EXPECT_EQ(fetched.text, fetched.done ? kDocument : "");
        }
    };
    RunTogether({fetching, fetching, fetching});
    over.Open();
}
