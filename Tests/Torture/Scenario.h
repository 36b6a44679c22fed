#ifndef TORTURE_SCENARIO_H
#define TORTURE_SCENARIO_H

#include <memory>

#include "Stage.h"

namespace TTMLTest {

// The life of one source, from its creation to its destruction, with everything that it can be made to do.
// It is played again and again, so nothing in it depends on what a call answered, except whether there is a
// source at all.
class Scenario
{
public:
    virtual ~Scenario() = default;

    // The platform on which everything goes well.
    virtual void SetUp() const = 0;
    virtual void Play(Stage& stage) const = 0;
};

std::unique_ptr<Scenario> BroadbandScenario();
std::unique_ptr<Scenario> DvbScenario();
std::unique_ptr<Scenario> AtscScenario();

// What the scenarios share.

// A source in memory of the client's, for which there is always some.
template <class Source>
TTML::CTTMLSource* MakeSource()
{
    void* place = nullptr;
    {
        const FaultPause pause;
        place = ::operator new(sizeof(Source));
    }
    return new (place) Source;
}

// Changes the platform, which is not the library's work.
template <class Action>
void Aside(const Action& action)
{
    const FaultPause pause;
    action();
}

// The time of the media, from the client's rendering thread.
void AskForTheTime(TTML::CTTMLSource& source);
// Pushes one in-band sample with the times "1s" to "2s", of which SetUpTimes() tells the platform.
void SetUpTimes();
void PushSample(TTML::CTTMLSource& source);
// In-band samples of the playing track, with a pause, a resume and a seek.
void PlayInband(Stage& stage, TTML::CTTMLSource& source);

// Of broadcasts: OnShow() and the service's lock with each of the locks, and a recording that is played.
void ShowLocks(Stage& stage, TTML::CTTMLSource& source);
void PlayRecording(Stage& stage);

// Texts that are too long to be kept without an allocation.
constexpr char kTortureAgent[] = "a user agent that is kept on the heap";
constexpr char kTortureDescriptor[] = "a descriptor that is kept on the heap";
constexpr char kTortureUrl[] = "http://host/a/url/that/is/kept/on/the/heap.ttml";

} // namespace TTMLTest

#endif
