#include "BroadcastFixtures.h"

#include <array>
#include <utility>

TTML_EXPOSE(SourceStateFlags, TTML::CBCSource, std::atomic<std::uint32_t>, m_nStateFlags)

namespace TTMLTest {

namespace {

// What these write is not the broadcast sources' story, and comes on several threads.
bool IsOfTheSourceCore(const std::string& file)
{
    static const std::array<const char*, 6> core = {"CTask.cpp",       "CSourceTask.cpp", "CInbandData.cpp",
                                                    "CTTMLSource.cpp", "CMutex.cpp",      "CPESParser.cpp"};
    for (const char* const name : core) {
        if (file == name) {
            return true;
        }
    }
    return false;
}

bool SaysSomething(const std::string& line)
{
    const std::string message = line.substr(2);
    return !message.empty() && message != "Enter" && message != "Exit" && message != "ENTER" &&
           message != "EXIT";
}

} // namespace

void RunOnThread(const std::string& name, const std::function<void()>& body)
{
    const TestThread thread([&] {
        pthread_setname_np(pthread_self(), name.c_str());
        body();
    });
    thread.WaitUntilDone();
}

Texts Story(const std::string& thread)
{
    Texts story;
    for (const auto& entry : Journal::Instance().Entries()) {
        if (!thread.empty() && entry.thread != thread) {
            continue;
        }
        if (entry.service != "log" || (!IsOfTheSourceCore(entry.file) && SaysSomething(entry.text))) {
            story.push_back(entry.text);
        }
    }
    return story;
}

Texts OwnLines()
{
    return LinesOfFiles({"CATSCSource.cpp", "CDVBSource.cpp", "CBCSource.cpp", "CTTMLSource.cpp"});
}

Texts Together(std::initializer_list<Texts> parts)
{
    Texts all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// A platform on which everything goes well.

BroadcastTest::BroadcastTest()
{
    ShowUnlockedService();
}

void BroadcastTest::ShowUnlockedService()
{
    ScriptedTvService::Show({});
    ScriptedRecorder::Allow();
    ScriptedSettings::SetBool(kChannelLockKey, false);
}

void BroadcastTest::ClientCallback(int code, void* data)
{
    Journal::Instance().Add("client", "client " + std::to_string(code));
    ClientRecorder::Callback(code, data);
}

void BroadcastTest::Forget()
{
    Journal::Instance().Clear();
    ScriptedLog::Clear();
}

void BroadcastTest::Drain(TTML::CTTMLSource& source)
{
    // Twice: what is handled may post something in turn.
    source.TTML::CTTMLSource::OnStop();
    source.TTML::CTTMLSource::OnStop();
}

Texts BroadcastTest::StoryOf(const std::function<void()>& action)
{
    Forget();
    action();
    return Story();
}

Texts BroadcastTest::TraceOf(const std::function<void()>& action)
{
    Forget();
    action();
    return ScriptedLog::TraceOfThisThread();
}

// A broadcast source of the tests' own.

TestSource::TestSource()
{
    t_Complete();
}

TestSource::~TestSource()
{
    t_Close();
}

void TestSource::Note(const std::string& operation)
{
    Journal::Instance().Add("source", operation);
    const auto action = m_during.find(operation);
    if (action != m_during.end()) {
        action->second();
    }
}

void TestSource::During(const std::string& operation, std::function<void()> action)
{
    m_during[operation] = std::move(action);
}

int TestSource::GetVideoCurrentTime(long long* pTimeInMS)
{
    Note("GetVideoCurrentTime()");
    *pTimeInMS = m_time;
    return m_timeResult;
}

void TestSource::PlayTrack(unsigned int trackId, const char* url, const char* arg)
{
    Note("PlayTrack(" + std::to_string(trackId) + ", " + Quoted(url) + ", " + Quoted(arg) + ")");
    CBCSource::PlayTrack(trackId, url, arg);
}

void TestSource::StopTrack()
{
    Note("StopTrack()");
    CBCSource::StopTrack();
}

void TestSource::SeekStart(long long position)
{
    Note("SeekStart(" + std::to_string(position) + ")");
    CBCSource::SeekStart(position);
}

void TestSource::OnShow()
{
    Note("OnShow()");
    CBCSource::OnShow();
}

void TestSource::OnHide()
{
    Note("OnHide()");
    CBCSource::OnHide();
}

bool TestSource::SendEventToSourceThread(void* data, TTML::SourceCallbackFunc handler)
{
    if (m_keepPosts) {
        m_posts.emplace_back(data, handler);
        return true;
    }
    return CBCSource::SendEventToSourceThread(data, handler);
}

void TestSource::t_TVSSignalCBHandler(ESignalType signal, TSSignalData data)
{
    m_lastData = data;
    CBCSource::t_TVSSignalCBHandler(signal, data);
}

void TestSource::t_SubscribeTTML()
{
    Note("t_SubscribeTTML()");
    t_bIsSubscribed = true;
}

void TestSource::t_UnSubscribeTTML()
{
    Note("t_UnSubscribeTTML()");
    t_bIsSubscribed = false;
}

bool TestSource::t_GetServiceInfo(int attribute, TCServiceData& data)
{
    return CBCSource::t_GetServiceInfo(attribute, data);
}

void TestSource::t_PvrSignalCbHandler(const ps_signal_s& signal)
{
    Note("t_PvrSignalCbHandler(" + std::to_string(signal.type) + ")");
    CBCSource::t_PvrSignalCbHandler(signal);
}

void TestSource::t_NotifyPlayTrack()
{
    Note("t_NotifyPlayTrack()");
    CBCSource::t_NotifyPlayTrack();
}

void TestSource::t_NotifyStopTrack()
{
    Note("t_NotifyStopTrack()");
    CBCSource::t_NotifyStopTrack();
}

void TestSource::t_NotifyRegisterMenuCB()
{
    Note("t_NotifyRegisterMenuCB()");
    CBCSource::t_NotifyRegisterMenuCB();
}

void TestSource::t_NotifyUnRegisterMenuCB()
{
    Note("t_NotifyUnRegisterMenuCB()");
    CBCSource::t_NotifyUnRegisterMenuCB();
}

void TestSource::t_NotifySetMenuLang()
{
    Note("t_NotifySetMenuLang()");
    CBCSource::t_NotifySetMenuLang();
}

std::uint32_t StateFlags(TTML::CBCSource& source)
{
    return Private<SourceStateFlags>(source);
}

// A source with a client.

BaseSourceTest::BaseSourceTest()
    : m_source(std::make_unique<TestSource>())
{
    m_source->RegisterCallBack(&BroadcastTest::ClientCallback, m_client.UserData());
}

void BaseSourceTest::Start()
{
    m_source->OnStart();
    m_source->t_RegisterTVSCallbacks();
    Forget();
}

Texts BaseSourceTest::StoryOfAll(const std::function<void()>& action)
{
    Drain(*m_source);
    Forget();
    action();
    Drain(*m_source);
    return Story();
}

Texts BaseSourceTest::StoryOfSignal(int signal)
{
    return StoryOfAll([&] {
        RunOnThread("TvService",
                    [&] { EXPECT_EQ(ScriptedTvService::Signal(signal), (std::vector<int>{1})); });
    });
}

} // namespace TTMLTest
