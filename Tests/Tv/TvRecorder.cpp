#include "TvRecorder.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Gate.h"
#include "TemporaryFolder.h"

namespace TTMLTest {

namespace {

// Settings of these tests' own.
const TemporaryFolder g_folder;
[[maybe_unused]] const int g_place = setenv("TTML_SETTINGS", g_folder.Path("settings.db").c_str(), 1);

constexpr char kEnd[] = "end: ";
constexpr char kName[] = "ttml";
constexpr ESignalType kSignals[] = {SIGNAL_TUNE_START,   SIGNAL_TUNE_SUCCESS,   SIGNAL_SERVICE_LOCKED,
                                    SIGNAL_TVS_ACTIVATE, SIGNAL_TVS_DEACTIVATE, SIGNAL_PES_CHANGED};

bool BeginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

template <typename Session>
class Owned
{
public:
    template <typename Create>
    explicit Owned(Create create)
    {
        EXPECT_EQ(create(&m_session), 0);
    }
    ~Owned() { TVServiceAPI::Destroy(m_session); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    Session* operator->() const { return m_session; }

private:
    Session* m_session = nullptr;
};

TCServiceData CurrentService()
{
    TCServiceData data;
    const Owned<TVServiceAPI::IServiceNavigation> navigation(
        [](auto session) { return TVServiceAPI::CreateServiceNavigation(PROFILE_MAIN, 0, session); });
    int mode = -1;
    if (navigation->GetTvMode(mode) < 1) {
        return data;
    }
    TCCriteriaHelper helper;
    helper.Fetch(SERVICE_ATTRIBUTE_ID);
    helper.Fetch(SERVICE_ATTRIBUTE_LOCK);
    const auto criteria = TCNavigationModeHelper::GetNavigationCriteria(helper, 0, -1, -1, -1);
    (void)navigation->GetCurrentServiceInfo(mode, criteria, data);
    return data;
}

} // namespace

void TvRecorder::OnSignal(ESignalType signal)
{
    const FaultPause pause;
    Note("told " + std::to_string(signal));
}

void TvRecorder::OnPesDelivered()
{
    const FaultPause pause;
    Note("delivered");
}

void TvRecorder::OnCaptionDelivered()
{
    const FaultPause pause;
    Note("delivered");
}

void TvRecorder::OnWarning(const std::string& line)
{
    const FaultPause pause;
    Note("warning: " + line);
}

void TvRecorder::OnTuneFailed(const std::string& line)
{
    const FaultPause pause;
    Note("failed: " + line);
}

void TvRecorder::OnEnd(const std::string& error)
{
    const FaultPause pause;
    Note(kEnd + error);
}

void TvRecorder::Note(const std::string& event)
{
    const FaultPause pause;
    std::function<void()> action;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_events.push_back(event);
        m_changed.notify_all();
        const auto stop = m_stops.find(event);
        if (stop != m_stops.end() && stop->second.held) {
            stop->second.reached = true;
            m_changed.notify_all();
            if (!m_changed.wait_for(lock, kPatience, [&] { return !stop->second.held; })) {
                ADD_FAILURE() << "'" << event << "' was never released";
            }
        }
        const auto found = m_actions.find(event);
        if (found != m_actions.end()) {
            action = found->second;
        }
    }
    if (action) {
        action();
    }
}

void TvRecorder::Hold(const std::string& event)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stops[event] = Stop();
}

bool TvRecorder::WaitHeld(const std::string& event)
{
    return Wait("'" + event + "' being held", [this, &event] { return m_stops[event].reached; });
}

void TvRecorder::Release(const std::string& event)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_stops[event].held = false;
    m_changed.notify_all();
}

void TvRecorder::When(const std::string& event, std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_actions[event] = std::move(action);
}

template <typename Condition>
bool TvRecorder::Wait(const std::string& what, Condition condition)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_changed.wait_for(lock, kPatience, condition)) {
        return true;
    }
    std::string all;
    for (const std::string& event : m_events) {
        all += "\n  " + event;
    }
    ADD_FAILURE() << "waited in vain for " << what << "; events so far:" << all;
    return false;
}

bool TvRecorder::WaitFor(const std::string& event, unsigned times)
{
    return Wait(event, [this, &event, times] { return CountLocked(event) >= times; });
}

std::string TvRecorder::WaitForEnd()
{
    std::string error = "no end came";
    Wait("the end", [this, &error] {
        for (const std::string& event : m_events) {
            if (BeginsWith(event, kEnd)) {
                error = event.substr(std::string(kEnd).size());
                return true;
            }
        }
        return false;
    });
    return error;
}

std::vector<std::string> TvRecorder::Events() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_events;
}

unsigned TvRecorder::Count(const std::string& event) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return CountLocked(event);
}

unsigned TvRecorder::CountLocked(const std::string& event) const
{
    return static_cast<unsigned>(std::count(m_events.begin(), m_events.end(), event));
}

std::vector<std::string> TvRecorder::EventsLike(const std::string& beginning) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> found;
    std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(found),
                 [&beginning](const std::string& event) { return BeginsWith(event, beginning); });
    return found;
}

void TvRecorder::Clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_events.clear();
}

TvViewer::TvViewer(TvRecorder* recorder)
    : m_recorder(recorder)
{
    EXPECT_EQ(TVServiceAPI::CreateSignalSubscriber(&OnSignal, &m_subscriber), 0);
    for (const ESignalType signal : kSignals) {
        EXPECT_EQ(m_subscriber->Subscribe(signal, this, PROFILE_MAIN, 0, &OnSignal), 1);
    }
}

TvViewer::~TvViewer()
{
    for (const ESignalType signal : kSignals) {
        EXPECT_EQ(m_subscriber->Unsubscribe(signal, PROFILE_MAIN, 0, &OnSignal), 1);
    }
    EXPECT_EQ(TVServiceAPI::DestroySignalSubscriber(&OnSignal), 0);
    if (m_subscribed) {
        EXPECT_TRUE(CTVServiceSubscriber(kName).UnsubscribePES());
    }
}

int TvViewer::OnSignal(ESignalType signal, EProfile /*profile*/, unsigned short /*index*/,
                       TSSignalData /*data*/, void* userData)
{
    auto* const viewer = static_cast<TvViewer*>(userData);
    viewer->m_recorder->Note("signal " + std::to_string(signal));
    if (signal == SIGNAL_TUNE_START && viewer->m_subscribed) {
        EXPECT_TRUE(CTVServiceSubscriber(kName).UnsubscribePES());
        viewer->m_subscribed = false;
    } else if (signal == SIGNAL_TUNE_SUCCESS && !viewer->m_subscribed) {
        EXPECT_TRUE(CTVServiceSubscriber(kName).SubscribePES(&OnPes, viewer));
        viewer->m_subscribed = true;
    }
    return 1;
}

void TvViewer::OnPes(TSPESData& packet, void* userData)
{
    const FaultPause pause;
    EXPECT_EQ(packet.dataType, PES_DATA_TYPE_TTML);
    static_cast<TvViewer*>(userData)->m_recorder->Note("pes " + std::to_string(packet.pesData.pid) + " at " +
                                                       std::to_string(packet.pesData.pts));
}

std::string CurrentServiceText()
{
    const TCServiceData data = CurrentService();
    const TCServiceValue* const id = data.Find(SERVICE_ATTRIBUTE_ID);
    if (id == nullptr) {
        return "none";
    }
    const TCServiceValue* const lock = data.Find(SERVICE_ATTRIBUTE_LOCK);
    return "service " + std::to_string(id->number) + (lock != nullptr && lock->integer != 0 ? " locked" : "");
}

std::string CurrentSubtitleText()
{
    const Owned<TVServiceAPI::IDataControl> control(
        [](auto session) { return TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, session); });
    int language = -1;
    int index = -1;
    if (control->GetCurrentHybridSBT(language, index) < 1) {
        return language == -1 && index == -1 ? "none" : "none, with outputs";
    }
    const TCServiceData data = CurrentService();
    const TCServiceValue* const id = data.Find(SERVICE_ATTRIBUTE_ID);
    TVServiceAPI::IServiceDataAux* const auxiliary = TVServiceAPI::ServiceDataAux(PROFILE_MAIN, 0);
    TSHybridSBT stream;
    const int result = auxiliary->GetHybridSBT(id != nullptr ? id->number : 0, index, language, stream);
    TVServiceAPI::Destroy(auxiliary);
    const std::string letters = {static_cast<char>(language >> 16), static_cast<char>(language >> 8),
                                 static_cast<char>(language)};
    return letters + " " + std::to_string(index) +
           (result == 0
                ? " unknown"
                : " type " + std::to_string(stream.sbtType) + " profile " + std::to_string(stream.profile));
}

std::string StcText()
{
    const Owned<TVServiceAPI::IDataControl> control(
        [](auto session) { return TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, session); });
    unsigned long long stc = 0;
    return control->GetSTCCount(stc) != 0 ? std::to_string(stc) : "none";
}

std::string LockText()
{
    const Owned<TVServiceAPI::IAVControl> control(
        [](auto session) { return TVServiceAPI::CreateAVControl(PROFILE_MAIN, 0, session); });
    bool locked = false;
    if (control->GetParentalLock(locked) < 1) {
        return "none";
    }
    return locked ? "locked" : "open";
}

std::string RatingText()
{
    const Owned<TVServiceAPI::IRatingUtil> utility(
        [](auto session) { return TVServiceAPI::CreateRatingUtil(session); });
    int rating = -1;
    bool permitted = false;
    if (utility->GetRating(rating, permitted) < 1) {
        return "none";
    }
    return std::to_string(rating) + (permitted ? " permitted" : " refused");
}

OpenTv::OpenTv(const TTMLHost::TvOptions& options, TvRecorder* recorder)
{
    std::string error;
    EXPECT_TRUE(TTMLHost::TvOpen(options, recorder, &error)) << error;
}

TTMLHost::TvOptions FastInput(const std::string& input)
{
    TTMLHost::TvOptions options;
    options.input = input;
    options.fast = true;
    return options;
}

TTMLHost::TvOptions InputAtSpeed(const std::string& input, double speed)
{
    TTMLHost::TvOptions options;
    options.input = input;
    options.speed = speed;
    return options;
}

std::string TvOpenError(const TTMLHost::TvOptions& options)
{
    TvRecorder recorder;
    std::string error;
    if (TTMLHost::TvOpen(options, &recorder, &error)) {
        TTMLHost::TvClose();
        return "it was opened";
    }
    return error;
}

} // namespace TTMLTest
