#ifndef PORT_TEST_TV_SESSIONS_H
#define PORT_TEST_TV_SESSIONS_H

// The TV service's session objects as the source layer uses them, and a tuned service to ask them about.

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Gate.h"
#include "PlatformTvService.h"
#include "PortUnderTest.h"

namespace PortTest {

struct SessionDestroyer
{
    void operator()(TVServiceAPI::ITvsSession* session) const { TVServiceAPI::Destroy(session); }
};
template <typename Session>
using SessionOf = std::unique_ptr<Session, SessionDestroyer>;

// Each a new one; one that cannot be had fails the test.
SessionOf<TVServiceAPI::IServiceNavigation> NewNavigation();
SessionOf<TVServiceAPI::ISourceControl> NewSourceControl();
SessionOf<TVServiceAPI::IAVControl> NewAvControl();
SessionOf<TVServiceAPI::IRatingUtil> NewRatingUtil();
SessionOf<TVServiceAPI::ISOSpecApp> NewSpecApp();
SessionOf<TVServiceAPI::IDataControl> NewDataControl();
SessionOf<TVServiceAPI::IATSC3DataControl> NewAtsc3DataControl();
SessionOf<TVServiceAPI::IDataSubscriber> NewDataSubscriber();
SessionOf<TVServiceAPI::IServiceDataAux> NewServiceDataAux();

// What the tuned service has of the attributes; the result of the query goes to `result`.
TCServiceData ServiceData(const std::vector<int>& attributes, int* result);
// The id of the tuned service; 0 when there is none.
std::uint64_t TunedServiceId();

// A language as the boundary has it.
int LanguageCode(const std::string& language);

bool IsTerminated();

// Tells of signals: subscribes to all that the source layer looks at, from its construction on.
class SignalWatch
{
public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    // Run by the service's thread with each signal; set before it can come.
    void During(std::function<void(ESignalType)> action) { m_action = std::move(action); }
    // Waits until the signal has come `times` times.
    bool WaitFor(ESignalType signal, unsigned int times = 1);
    unsigned int Count(ESignalType signal);
    // All that came, in order.
    std::vector<ESignalType> Signals();
    TSSignalData LastData(ESignalType signal);

private:
    static int OnSignal(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                        void* userData);

    TVServiceAPI::ISignalSubscriber* m_subscriber = nullptr;
    std::function<void(ESignalType)> m_action;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<ESignalType> m_signals;          // guarded by m_mutex
    std::map<ESignalType, TSSignalData> m_datas; // guarded by m_mutex
};

// A test that needs a broadcast. Nothing is tuned at first.
class TelevisionTest : public testing::Test
{
protected:
    static bool Offers(Broadcast broadcast)
    {
        return Port().Television() != nullptr && Port().Television()->Offers(broadcast);
    }
    static TelevisionControl& Tv() { return *Port().Television(); }

    // Tunes and waits for the success.
    static bool TuneTo(Broadcast broadcast, bool realTime = false);
};

} // namespace PortTest

// In a test's body: tunes, or skips the test where the port has no such broadcast.
#define PORT_TUNES(broadcast, name, realTime)                                                                \
    PORT_NEEDS(Offers(broadcast), name);                                                                     \
    ASSERT_TRUE(TuneTo(broadcast, realTime))

#endif
