#include "SourceBarrier.h"

#include <atomic>

#include <gtest/gtest.h>

#include "CTTMLSource.h"
#include "Session.h"

namespace {

// A source as it is, with its thread.
class PlainSource : public TTML::CTTMLSource
{
public:
    int GetVideoCurrentTime(long long* pTimeInMS) override
    {
        *pTimeInMS = 0;
        return 0;
    }
};

TEST(SourceBarrier, WaitsForWhatIsQueuedAndForWhatThatQueues)
{
    struct Chain
    {
        TTML::CTTMLSource* source;
        std::atomic<bool> second{false};
    };

    const TTMLClient::SourcePtr source(new PlainSource);
    source->t_Initialize("test");
    source->OnStart();
    for (int round = 0; round < 200; ++round) {
        Chain chain{source.get()};
        const bool queued = source->SendEventToSourceThread(&chain, [](int, void* data) {
            auto* const first = static_cast<Chain*>(data);
            first->source->SendEventToSourceThread(
                first, [](int, void* again) { static_cast<Chain*>(again)->second = true; });
        });
        ASSERT_TRUE(queued);
        TTMLClient::WaitForSourceThread(*source);
        ASSERT_TRUE(chain.second);
    }
}

} // namespace
