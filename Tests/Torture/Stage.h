#ifndef TORTURE_STAGE_H
#define TORTURE_STAGE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CTTMLSource.h"
#include "SourceFixtures.h"
#include "WaitProbe.h"

namespace TTMLTest {

// All that happened, in one order for each thread: what its calls of the platform and its log lines were, and
// below "client" and "data" what the client was told.
using ThreadStories = std::map<std::string, Texts>;

// The text with "own" for this process's id, so that runs in different processes tell the same story.
std::string WithoutProcessId(std::string text);

// What a scenario plays on: one source with a client, on threads that are waited for after each act, so that
// every thread meets the same steps in the same order in each run. What does not call the library stands in a
// FaultPause.
class Stage
{
public:
    Stage() = default;
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // The source that is played with from now on; null when there is none.
    void Enter(TTML::CTTMLSource* source);
    // Its destruction.
    void Leave();

    // Acts, and waits until the source's threads have nothing to do. A thread that never comes to that fails
    // the test.
    template <class Action>
    void Act(const Action& action)
    {
        action();
        Settle();
    }

    ClientRecorder& Client() { return m_client; }
    // Whether the source's thread, or its in-band thread, lacked what handles its events: those leak by
    // design.
    bool WasWithoutProcessor() const { return m_withoutProcessor; }

    ThreadStories Stories() const;

private:
    bool IsSettled() const;
    void Settle() const;

    const WaitProbe m_waits;
    ClientRecorder m_client;
    TTML::CTTMLSource* m_pSource = nullptr;
    bool m_withoutProcessor = false;
};

} // namespace TTMLTest

#endif
