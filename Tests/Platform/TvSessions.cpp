#include "TvSessions.h"

#include <algorithm>

namespace PortTest {

using namespace TVServiceAPI;

namespace {

constexpr ESignalType kSignals[] = {SIGNAL_TUNE_START,     SIGNAL_TUNE_SUCCESS,   SIGNAL_SERVICE_LOCKED,
                                    SIGNAL_TVS_ACTIVATE,   SIGNAL_TVS_DEACTIVATE, SIGNAL_PES_CHANGED,
                                    SIGNAL_ATSC3_SIGNALING};

template <typename Session>
SessionOf<Session> Created(int (*create)(EProfile, int, Session**))
{
    Session* session = nullptr;
    EXPECT_EQ(create(PROFILE_MAIN, CTVServiceSubscriber::m_group, &session), 0);
    EXPECT_NE(session, nullptr);
    return SessionOf<Session>(session);
}

} // namespace

SessionOf<IServiceNavigation> NewNavigation()
{
    return Created(&CreateServiceNavigation);
}

SessionOf<ISourceControl> NewSourceControl()
{
    return Created(&CreateSourceControl);
}

SessionOf<IAVControl> NewAvControl()
{
    return Created(&CreateAVControl);
}

SessionOf<IRatingUtil> NewRatingUtil()
{
    IRatingUtil* utility = nullptr;
    EXPECT_EQ(CreateRatingUtil(&utility), 0);
    EXPECT_NE(utility, nullptr);
    return SessionOf<IRatingUtil>(utility);
}

SessionOf<ISOSpecApp> NewSpecApp()
{
    return Created(&CreateSOSpecApp);
}

SessionOf<IDataControl> NewDataControl()
{
    return Created(&CreateDataControl);
}

SessionOf<IATSC3DataControl> NewAtsc3DataControl()
{
    return Created(&CreateATSC3DataControl);
}

SessionOf<IDataSubscriber> NewDataSubscriber()
{
    return Created(&CreateDataSubscriber);
}

SessionOf<IServiceDataAux> NewServiceDataAux()
{
    SessionOf<IServiceDataAux> session(ServiceDataAux(PROFILE_MAIN, CTVServiceSubscriber::m_group));
    EXPECT_NE(session, nullptr);
    return session;
}

TCServiceData ServiceData(const std::vector<int>& attributes, int* result)
{
    TCCriteriaHelper helper;
    for (const int attribute : attributes) {
        helper.Fetch(attribute);
    }
    const TCNavigationCriteria criteria =
        TCNavigationModeHelper::GetNavigationCriteria(helper, 0, -1, -1, -1);
    const auto navigation = NewNavigation();
    int mode = 0;
    (void)navigation->GetTvMode(mode);
    TCServiceData data;
    *result = navigation->GetCurrentServiceInfo(mode, criteria, data);
    return data;
}

std::uint64_t TunedServiceId()
{
    int result = 0;
    const TCServiceData data = ServiceData({SERVICE_ATTRIBUTE_ID}, &result);
    const TCServiceValue* const id = result > 0 ? data.Find(SERVICE_ATTRIBUTE_ID) : nullptr;
    return id == nullptr ? 0 : id->number;
}

int LanguageCode(const std::string& language)
{
    int code = 0;
    for (const char c : language) {
        code = code * 256 + static_cast<unsigned char>(c);
    }
    return code;
}

bool IsTerminated()
{
    bool terminated = true;
    TCServiceUtility::IsTvsTerminated(terminated);
    return terminated;
}

SignalWatch::SignalWatch()
{
    EXPECT_EQ(CreateSignalSubscriber(&OnSignal, &m_subscriber), 0);
    if (m_subscriber != nullptr) {
        for (const ESignalType signal : kSignals) {
            EXPECT_GT(m_subscriber->Subscribe(signal, this, PROFILE_MAIN, 0, &OnSignal), 0) << signal;
        }
    }
}

SignalWatch::~SignalWatch()
{
    if (m_subscriber != nullptr) {
        EXPECT_EQ(DestroySignalSubscriber(&OnSignal), 0);
    }
}

bool SignalWatch::WaitFor(ESignalType signal, unsigned int times)
{
    std::unique_lock<std::mutex> guard(m_mutex);
    if (m_changed.wait_for(guard, TTMLTest::kPatience, [&] {
            return std::count(m_signals.begin(), m_signals.end(), signal) >=
                   static_cast<std::ptrdiff_t>(times);
        })) {
        return true;
    }
    ADD_FAILURE() << "signal " << signal << " did not come " << times << " times";
    return false;
}

unsigned int SignalWatch::Count(ESignalType signal)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return static_cast<unsigned int>(std::count(m_signals.begin(), m_signals.end(), signal));
}

std::vector<ESignalType> SignalWatch::Signals()
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_signals;
}

TSSignalData SignalWatch::LastData(ESignalType signal)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_datas[signal];
}

int SignalWatch::OnSignal(ESignalType signal, EProfile profile, unsigned short index, TSSignalData data,
                          void* userData)
{
    auto* const watch = static_cast<SignalWatch*>(userData);
    EXPECT_EQ(profile, PROFILE_MAIN);
    EXPECT_EQ(index, 0);
    if (watch->m_action) {
        watch->m_action(signal);
    }
    const std::lock_guard<std::mutex> guard(watch->m_mutex);
    watch->m_signals.push_back(signal);
    watch->m_datas[signal] = data;
    watch->m_changed.notify_all();
    return 1;
}

bool TelevisionTest::TuneTo(Broadcast broadcast, bool realTime)
{
    SignalWatch watch;
    Tv().Tune(broadcast, realTime);
    return watch.WaitFor(SIGNAL_TUNE_SUCCESS);
}

} // namespace PortTest
