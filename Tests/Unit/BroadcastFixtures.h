#ifndef BROADCAST_FIXTURES_H
#define BROADCAST_FIXTURES_H

// What the tests of the broadcast sources share: a story of all that happens, and a broadcast source of the
// tests' own.

#include <atomic>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CBCSource.h"
#include "PlatformRecorder.h"
#include "PlatformTvService.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TvTexts.h"

namespace TTMLTest {

// A signal that no source knows.
constexpr int kOtherSignal = 61;

// Runs `body` on a thread with the name, and waits for its end.
void RunOnThread(const std::string& name, const std::function<void()>& body);

// All that happened since the journal was cleared, in one order: the calls of the platform, what the client
// is told ("client 11"), the operations of a TestSource ("t_SubscribeTTML()"), and the lines of the broadcast
// sources' own files that say something, each behind the letter of its level ("W TVS is terminated!"). With a
// thread's name only what happened there.
Texts Story(const std::string& thread = {});
// The lines of the broadcast sources' files since the log was cleared, as "function: message".
Texts OwnLines();
// The texts one after another.
Texts Together(std::initializer_list<Texts> parts);

// A platform on which everything goes well: a service that is not locked, with a TTML stream.
class BroadcastTest : public ::testing::Test
{
public:
    // Sets that platform up.
    static void ShowUnlockedService();

protected:
    BroadcastTest();

    // The callback to register, with the user data of m_client.
    static void ClientCallback(int code, void* data);
    // Forgets what happened.
    static void Forget();
    // Waits until the source thread has handled everything, and what that brought about.
    static void Drain(TTML::CTTMLSource& source);
    // What happens by the action on this thread.
    static Texts StoryOf(const std::function<void()>& action);
    // The lines that the action leaves on this thread, as "function: message".
    static Texts TraceOf(const std::function<void()>& action);

    ClientRecorder m_client;
};

// A concrete broadcast source that notes the calls of its virtual operations in the journal and does what the
// base does. Its subscriptions exist in its own books only.
class TestSource : public TTML::CBCSource
{
public:
    TestSource();
    ~TestSource() override;

    int GetVideoCurrentTime(long long* pTimeInMS) override;
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override;
    void StopTrack() override;
    void SeekStart(long long position) override;
    void OnShow() override;
    void OnHide() override;
    bool SendEventToSourceThread(void* data, TTML::SourceCallbackFunc handler) override;

    // For the tests, what is for derived classes.
    void t_RegisterTVSCallbacks() override { CBCSource::t_RegisterTVSCallbacks(); }
    void t_UnregisterTVSCallbacks() override { CBCSource::t_UnregisterTVSCallbacks(); }
    void t_TVSSignalCBHandler(ESignalType signal, TSSignalData data) override;
    void t_SubscribeTTML() override;
    void t_UnSubscribeTTML() override;
    bool t_GetServiceInfo(int attribute, TCServiceData& data) override;
    void t_PvrSignalCbHandler(const ps_signal_s& signal) override;
    bool t_IsPvrPlayerMode() override { return CBCSource::t_IsPvrPlayerMode(); }
    bool t_IsSourceTypeSupported() override { return CBCSource::t_IsSourceTypeSupported(); }
    bool IsSubscribed() const { return t_bIsSubscribed; }
    TVServiceAPI::ISignalSubscriber* Subscriber() const { return t_pSigSubscriber; }

    // Run inside the operation, after it has been noted.
    void During(const std::string& operation, std::function<void()> action);

    // The answer of GetVideoCurrentTime(); the time is written when there is one.
    std::atomic<int> m_timeResult{0};
    std::atomic<long long> m_time{0};
    // What the handler of a TV service signal was given last, on the source thread.
    TSSignalData m_lastData = {};
    // Set: what is posted to the source thread is kept here instead.
    bool m_keepPosts = false;
    std::vector<std::pair<void*, TTML::SourceCallbackFunc>> m_posts;

protected:
    void t_NotifyPlayTrack() override;
    void t_NotifyStopTrack() override;
    void t_NotifyRegisterMenuCB() override;
    void t_NotifyUnRegisterMenuCB() override;
    void t_NotifySetMenuLang() override;

private:
    void Note(const std::string& operation);

    std::map<std::string, std::function<void()>> m_during;
};

// The state flags of a broadcast source.
constexpr std::uint32_t kShown = 1;
constexpr std::uint32_t kTuned = 2;
constexpr std::uint32_t kActive = 4;
std::uint32_t StateFlags(TTML::CBCSource& source);

// A TestSource with a client.
class BaseSourceTest : public BroadcastTest
{
protected:
    BaseSourceTest();

    // Starts the source thread and subscribes to the signals; forgets what that did.
    void Start();
    // What happens by the action, on all threads.
    Texts StoryOfAll(const std::function<void()>& action);
    // What a TV service signal, sent on a thread of the service's, brings about.
    Texts StoryOfSignal(int signal);

    std::unique_ptr<TestSource> m_source;
};

} // namespace TTMLTest

#endif
