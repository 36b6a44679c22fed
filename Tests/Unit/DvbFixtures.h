#ifndef DVB_FIXTURES_H
#define DVB_FIXTURES_H

// What the tests of the DVB source share.

#include <memory>
#include <string>

#include "BroadcastFixtures.h"
#include "CDVBSource.h"
#include "PesBuilder.h"

namespace TTMLTest {

// What the DVB source does with the scene of a TTML service, from the first session number on.
Texts AsksForTheStream(int session = 1);
Texts Subscribes(int session = 1);
Texts Unsubscribes();
// With the signal subscriber's number.
Texts Registers(int subscriber);
Texts Unregisters(int subscriber);

std::int32_t ProfileOf(TTML::CDVBSource& source);

// A DVB source with a client on a platform on which everything goes well.
class DvbTest : public BroadcastTest
{
protected:
    DvbTest();

    // Starts the source, and forgets what that did.
    void Start();
    // What happens by the action, on all threads.
    Texts StoryOfAll(const std::function<void()>& action);
    // What a TV service signal, sent on a thread of the service's, brings about.
    Texts StoryOfSignal(int signal);

    // The operations for derived sources, through the virtual table.
    void Subscribe();
    void Unsubscribe();

    std::unique_ptr<TTML::CDVBSource> m_source;
};

} // namespace TTMLTest

#endif
