#include <memory>
#include <string>
#include <vector>

#include "FaultInjection.h"
#include "TvFixture.h"

namespace {

using namespace TTMLTest;
using Texts = std::vector<std::string>;

class Memory : public TvTest
{};

TEST_F(Memory, EveryAllocationOfAnOpeningMayFail)
{
    const std::string input = File(Seconds(1));
    bool opened = false;
    // Far more than there are.
    for (unsigned int number = 1; number < 1000 && !opened; ++number) {
        const auto options = FastInput(input);
        std::string error;
        {
            const FaultInjection fault(Call::NEW, number);
            opened = TTMLHost::TvOpen(options, &m_recorder, &error);
            if (fault.Failed() == 0) {
                EXPECT_TRUE(opened) << "nothing failed";
            }
        }
        EXPECT_EQ(error.empty(), opened) << "allocation " << number;
        TTMLHost::TvClose();
    }
    EXPECT_TRUE(opened);
    EXPECT_EQ(Play(FastInput(input)), "") << "and it works all the same";
}

TEST_F(Memory, WithoutMemoryTheInputEndsWithAnError)
{
    TestStream stream = BothServices();
    stream.Pcr(kVideo1, 0).Pes(kDeu, Subtitle(1));
    stream.Pes(kDeu, Pes().Pts(2).Segment(kPlain, std::string(5000, 'x')).Crc().Bytes());
    stream.Pes(kDeu, Subtitle(3));
    std::unique_ptr<FaultInjection> fault;
    m_recorder.When("pes 258 at 1", [&fault] {
        const FaultPause pause;
        fault = std::make_unique<FaultInjection>(Call::NEW, 1, FaultInjection::kAll);
    });
    EXPECT_EQ(PlayFast(stream),
              "Cannot play '" + m_folder.Path("stream.ts") + "': there is no memory left; free some");
    EXPECT_EQ(m_recorder.EventsLike("pes"), Texts{"pes 258 at 1"});
}

} // namespace
