// The base of all sources: how it forwards each operation to the source task, and what it does
// when there is none.

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "CTTMLSource.h"
#include "ITTMLSource.h"
#include "ITTMLSourceControl.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

TTML_EXPOSE(SourceTaskOfSource, TTML::CTTMLSource, TTML::CSourceTask*, m_pSourceTask)

namespace TTMLTest {

namespace {

using TTML::CSourceTask;
using TTML::CTTMLSource;
using TTML::ITTMLSource;
using TTML::ITTMLSourceControl;

// A source with everything that derived sources can reach.
class ProbeSource : public CTTMLSource
{
public:
    int GetVideoCurrentTime(long long* pTimeInMS) override
    {
        *pTimeInMS = 42;
        return 0;
    }

    using CTTMLSource::t_Destroy;
    using CTTMLSource::t_NotifyPlayTrack;
    using CTTMLSource::t_NotifyRegisterMenuCB;
    using CTTMLSource::t_NotifySetMenuLang;
    using CTTMLSource::t_NotifyStopTrack;
    using CTTMLSource::t_NotifyUnRegisterMenuCB;
};

// A source that tells when it is deleted.
class MortalSource : public ProbeSource
{
public:
    explicit MortalSource(bool* pDeleted)
        : m_pDeleted(pDeleted)
    {}
    ~MortalSource() override { *m_pDeleted = true; }

private:
    bool* m_pDeleted;
};

struct SourceDeleter
{
    void operator()(CTTMLSource* source) const { source->Destroy(); }
};
using SourcePointer = std::unique_ptr<ProbeSource, SourceDeleter>;

// "L function: message" of what the source's own file logged, L being the level's letter.
Texts OwnLines()
{
    Texts lines;
    for (const auto& line : ScriptedLog::Lines()) {
        if (line.file == "CTTMLSource.cpp") {
            lines.push_back((line.level == PLATFORM_LOG_INFO      ? "I "
                             : line.level == PLATFORM_LOG_WARNING ? "W "
                                                                  : "E ") +
                            line.function + ": " + line.message);
        }
    }
    return lines;
}

// What an operation of the name logs when it has nothing, or one more line, to say.
Texts EnterExit(const std::string& function, const std::string& between = {})
{
    Texts lines = {"I " + function + ": Enter"};
    if (!between.empty()) {
        lines.push_back(between.substr(0, 2) + function + ": " + between.substr(2));
    }
    lines.push_back("I " + function + ": Exit");
    return lines;
}

class BaseSource : public ::testing::Test
{
protected:
    CSourceTask* Task() { return Private<SourceTaskOfSource>(*m_source); }
    void Start()
    {
        m_source->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
        m_source->OnStart();
    }
    Texts OwnLinesOf(const std::function<void()>& action)
    {
        ScriptedLog::Clear();
        action();
        return OwnLines();
    }
    // Whether the operation of the name has been called below the source.
    static bool TaskHasLogged(const std::string& function)
    {
        for (const auto& line : ScriptedLog::Lines()) {
            if (line.file != "CTTMLSource.cpp" && line.function == function) {
                return true;
            }
        }
        return false;
    }

    ClientRecorder m_client;
    SourcePointer m_source{new ProbeSource};
};

TEST_F(BaseSource, HasTheQueryInterfaceFirst)
{
    CTTMLSource* const source = m_source.get();
    EXPECT_EQ(static_cast<void*>(static_cast<ITTMLSource*>(source)), static_cast<void*>(source));
    EXPECT_GT(static_cast<void*>(static_cast<ITTMLSourceControl*>(source)), static_cast<void*>(source));
}

// Construction and destruction.

TEST_F(BaseSource, LogsItsConstructionAndItsDestruction)
{
    EXPECT_EQ(OwnLines(), (Texts{"I CTTMLSource: "}));
    EXPECT_EQ(OwnLinesOf([&] { delete m_source.release(); }), (Texts{"I ~CTTMLSource: "}));
}

TEST_F(BaseSource, DestroyDeletesTheObject)
{
    bool deleted = false;
    CTTMLSource* source = new MortalSource(&deleted);
    EXPECT_EQ(OwnLinesOf([&] { source->Destroy(); }),
              (Texts{"I Destroy: Enter", "I ~CTTMLSource: ", "I Destroy: Exit"}));
    EXPECT_TRUE(deleted);
}

TEST_F(BaseSource, IsDeletedThroughEitherInterface)
{
    bool deleted = false;
    ITTMLSource* query = new MortalSource(&deleted);
    delete query;
    EXPECT_TRUE(deleted);
    deleted = false;
    ITTMLSourceControl* control = new MortalSource(&deleted);
    delete control;
    EXPECT_TRUE(deleted);
}

TEST_F(BaseSource, EndsItsThreadsWhenItIsDestroyed)
{
    Start();
    m_source->PlayTrack(1, "", nullptr);
    m_source->OnStop();
    WaitForThreads("Source", 1);
    WaitForThreads("Inband", 1);
    m_source.reset();
    WaitForThreads("Source", 0);
    WaitForThreads("Inband", 0);
}

TEST_F(BaseSource, DestroyHookDoesNothing)
{
    Start();
    m_source->t_Destroy();
    m_source->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

// Forwarding with a task.

TEST_F(BaseSource, ForwardsTheRegistration)
{
    bool result = false;
    EXPECT_EQ(OwnLinesOf([&] {
                  result = m_source->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
              }),
              EnterExit("RegisterCallBack"));
    EXPECT_TRUE(result);
    m_source->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

TEST_F(BaseSource, RefusesANullCallbackAndKeepsTheEarlierOne)
{
    Start();
    ScriptedLog::Clear();
    EXPECT_FALSE(m_source->RegisterCallBack(nullptr, this));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Null pointer"}));
    m_source->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

TEST_F(BaseSource, ForwardsTheEndOfTheRegistration)
{
    Start();
    EXPECT_EQ(OwnLinesOf([&] { m_source->UnRegisterCallBack(); }), EnterExit("UnRegisterCallBack"));
    m_source->OnShow();
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(BaseSource, ForwardsTheUserAgent)
{
    ScriptedLog::Clear();
    EXPECT_TRUE(m_source->t_Initialize("agent/1.0"));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I User agent =agent/1.0"}));
    EXPECT_EQ(OwnLines(), EnterExit("t_Initialize"));
    ScriptedLog::Clear();
    EXPECT_TRUE(m_source->t_Initialize(nullptr));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Handle to user agent is null"}));
}

TEST_F(BaseSource, ForwardsTrackCommands)
{
    Start();
    struct Command
    {
        const char* name;
        std::function<void()> run;
        Texts events;
    };
    const std::vector<Command> commands = {
        {"PlayTrack", [&] { m_source->PlayTrack(1, "", "eng"); }, {"1 in band @Source"}},
        {"SeekStart", [&] { m_source->SeekStart(-5); }, {"6 -5 @Source"}},
        {"SeekCompleted", [&] { m_source->SeekCompleted(); }, {}},
        {"PauseTrack", [&] { m_source->PauseTrack(false); }, {"3 @Source"}},
        {"ResumeTrack", [&] { m_source->ResumeTrack(); }, {"4 @Source"}},
        {"StopTrack", [&] { m_source->StopTrack(); }, {"2 @Source"}},
        {"Invalidate", [&] { m_source->Invalidate(); }, {"5 @caller"}},
    };
    for (const auto& command : commands) {
        m_client.Clear();
        EXPECT_EQ(OwnLinesOf(command.run), EnterExit(command.name));
        EXPECT_TRUE(TaskHasLogged(command.name)) << command.name;
        m_source->OnStop();
        EXPECT_EQ(m_client.Events(), command.events) << command.name;
    }
}

TEST_F(BaseSource, IsDrivenThroughTheControlInterface)
{
    Start();
    ITTMLSourceControl* const control = m_source.get();
    control->PlayTrack(1, "", "eng");
    control->StopTrack();
    control->OnStop();
    control->Invalidate();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "2 @Source", "5 @caller"}));
}

TEST_F(BaseSource, ForwardsRawData)
{
    Start();
    auto* record = new TTML::TTMLRawDataInfo;
    record->data = "<tt/>";
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnSubtitleData(record); }), EnterExit("OnSubtitleData"));
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @caller"}));
}

TEST_F(BaseSource, ForwardsSamples)
{
    Start();
    m_source->PlayTrack(1, "", "eng");
    m_source->OnStop();
    m_client.Clear();
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnSubtitleData(sample, extra); }), EnterExit("OnSubtitleData"));
    m_client.WaitForEvents(1);
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Inband"}));
    EXPECT_EQ(m_client.Records().at(0).trackDescriptor, "eng");
}

TEST_F(BaseSource, ForwardsTheDoNotTrackOption)
{
    ScriptedLog::Clear();
    m_source->SetDNTOption(2);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I DNT flag value is  2"}));
    EXPECT_EQ(OwnLines(), EnterExit("SetDNTOption"));
}

TEST_F(BaseSource, ForwardsStartAndStop)
{
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnStart(); }), EnterExit("OnStart"));
    WaitForThreads("Source", 1);
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnStop(); }), EnterExit("OnStop"));
    WaitForThreads("Source", 1);
    EXPECT_TRUE(TaskHasLogged("StopSourceThread"));
}

TEST_F(BaseSource, OnStopWaitsForWhatIsQueued)
{
    Start();
    SourceThreadHold hold(*Task());
    m_source->PlayTrack(1, "", nullptr);
    const BlockedThread stopper([&] { m_source->OnStop(); });
    EXPECT_FALSE(stopper.IsDone());
    EXPECT_EQ(m_client.Events(), Texts{});
    hold.Release();
    stopper.WaitUntilDone();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
}

TEST_F(BaseSource, ForwardsVisibility)
{
    Start();
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnShow(); }), EnterExit("OnShow"));
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnHide(); }), EnterExit("OnHide"));
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller", "12 @caller"}));
}

TEST_F(BaseSource, PostsAFunctionToTheSourceThread)
{
    struct Call
    {
        int code = 0;
        std::string thread;
    } call;
    Start();
    bool result = false;
    EXPECT_EQ(OwnLinesOf([&] {
                  result = m_source->SendEventToSourceThread(&call, [](int code, void* data) {
                      *static_cast<Call*>(data) = {code, ThisThreadName()};
                  });
              }),
              EnterExit("SendEventToSourceThread"));
    EXPECT_TRUE(result);
    m_source->OnStop();
    EXPECT_EQ(call.code, 14);
    EXPECT_EQ(call.thread, "Source");
}

TEST_F(BaseSource, NotifiesOfAPlayAtOnceAndOfAStopThroughTheQueue)
{
    Start();
    m_source->OnStop();
    {
        SourceThreadHold hold(*Task());
        EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyPlayTrack(); }), EnterExit("t_NotifyPlayTrack"));
        EXPECT_EQ(m_client.Events(), (Texts{"1 in band @caller"}));
        EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyStopTrack(); }), EnterExit("t_NotifyStopTrack"));
        EXPECT_EQ(m_client.Events(), (Texts{"1 in band @caller"}));
        EXPECT_EQ(TrackState(*Task()), 3);
    }
    m_source->OnStop();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @caller", "2 @Source"}));
}

TEST_F(BaseSource, NotifiesOfMenuMatters)
{
    Start();
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyRegisterMenuCB(); }), EnterExit("t_NotifyRegisterMenuCB"));
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyUnRegisterMenuCB(); }),
              EnterExit("t_NotifyUnRegisterMenuCB"));
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifySetMenuLang(); }), EnterExit("t_NotifySetMenuLang"));
    EXPECT_EQ(m_client.Events(), (Texts{"8 @caller", "9 @caller", "10 @caller"}));
}

// Fonts and the mode.

TEST_F(BaseSource, ShowsTheFontsOnlyWhileTheClientIsCalled)
{
    Start();
    std::list<std::string> seen;
    m_client.On(13, [&] { seen = m_source->GetDownloadableFontsInfo(); });
    EXPECT_TRUE(m_source->GetDownloadableFontsInfo().empty());
    for (const auto& fonts :
         {std::list<std::string>{"Arial", "Times", "Arial"}, std::list<std::string>{"One"},
          std::list<std::string>{}, std::list<std::string>{"A", "B", "C", "D"}}) {
        m_source->OnErrorDownloadableFonts(fonts);
        EXPECT_EQ(seen, fonts);
        EXPECT_TRUE(m_source->GetDownloadableFontsInfo().empty());
    }
    EXPECT_EQ(m_client.Events(), (Texts{"13 @caller", "13 @caller", "13 @caller", "13 @caller"}));
}

TEST_F(BaseSource, AlwaysHandsOutTheSameFontsList)
{
    const std::list<std::string>* const list = &m_source->GetDownloadableFontsInfo();
    m_source->OnErrorDownloadableFonts({"Arial"});
    EXPECT_EQ(&m_source->GetDownloadableFontsInfo(), list);
}

TEST_F(BaseSource, LogsFontsTwiceWithAnEmptyMessage)
{
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnErrorDownloadableFonts({"Arial"}); }),
              (Texts{"I OnErrorDownloadableFonts: ", "I OnErrorDownloadableFonts: "}));
    EXPECT_TRUE(m_source->GetDownloadableFontsInfo().empty()) << "without a client";
}

TEST_F(BaseSource, IsABroadbandSourceUnlessToldOtherwise)
{
    EXPECT_EQ(OwnLinesOf([&] { EXPECT_EQ(m_source->GetSubtitleMode(), 66); }), Texts{});
}

// Without a task: there was no memory for it, or its own construction ran out of memory.

class BaseSourceWithoutTask : public BaseSource, public ::testing::WithParamInterface<Call>
{
protected:
    BaseSourceWithoutTask()
    {
        m_source.reset(MakeWithoutTask());
        EXPECT_EQ(Task(), nullptr);
    }
    static ProbeSource* MakeWithoutTask()
    {
        auto* const memory = static_cast<ProbeSource*>(::operator new(sizeof(ProbeSource)));
        const FaultInjection noMemory(GetParam());
        return new (memory) ProbeSource;
    }
};

TEST_P(BaseSourceWithoutTask, SaysSo)
{
    const Texts lines = OwnLinesOf([] { delete MakeWithoutTask(); });
    EXPECT_EQ(lines, (Texts{"I CTTMLSource: ", "W CTTMLSource: m_pSourceTask null", "I ~CTTMLSource: "}));
}

TEST_P(BaseSourceWithoutTask, RefusesRegistrationsSilently)
{
    bool result = true;
    EXPECT_EQ(OwnLinesOf([&] {
                  result = m_source->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
              }),
              EnterExit("RegisterCallBack"));
    EXPECT_FALSE(result);
    ScriptedLog::Clear();
    EXPECT_FALSE(m_source->RegisterCallBack(nullptr, nullptr));
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_P(BaseSourceWithoutTask, RefusesTheUserAgent)
{
    bool result = true;
    EXPECT_EQ(OwnLinesOf([&] { result = m_source->t_Initialize("agent"); }),
              EnterExit("t_Initialize", "E m_pSourceTask is NULL"));
    EXPECT_FALSE(result);
}

TEST_P(BaseSourceWithoutTask, TakesCommandsSilently)
{
    struct Command
    {
        const char* name;
        std::function<void()> run;
    };
    const std::vector<Command> commands = {
        {"UnRegisterCallBack", [&] { m_source->UnRegisterCallBack(); }},
        {"PlayTrack", [&] { m_source->PlayTrack(1, "", nullptr); }},
        {"StopTrack", [&] { m_source->StopTrack(); }},
        {"PauseTrack", [&] { m_source->PauseTrack(true); }},
        {"ResumeTrack", [&] { m_source->ResumeTrack(); }},
        {"Invalidate", [&] { m_source->Invalidate(); }},
        {"SeekStart", [&] { m_source->SeekStart(1); }},
        {"SeekCompleted", [&] { m_source->SeekCompleted(); }},
        {"SetDNTOption", [&] { m_source->SetDNTOption(7); }},
        {"OnStart", [&] { m_source->OnStart(); }},
        {"OnStop", [&] { m_source->OnStop(); }},
        {"OnShow", [&] { m_source->OnShow(); }},
        {"OnHide", [&] { m_source->OnHide(); }},
        {"t_NotifyUnRegisterMenuCB", [&] { m_source->t_NotifyUnRegisterMenuCB(); }},
        {"t_NotifySetMenuLang", [&] { m_source->t_NotifySetMenuLang(); }},
    };
    for (const auto& command : commands) {
        EXPECT_EQ(OwnLinesOf(command.run), EnterExit(command.name));
        EXPECT_EQ(ScriptedLog::Substance(), Texts{}) << command.name;
    }
    WaitForThreads("Source", 0);
}

TEST_P(BaseSourceWithoutTask, WarnsWhereDataWouldBeLost)
{
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnSubtitleData(sample, extra); }),
              EnterExit("OnSubtitleData", "W m_pSourceTask is null."));
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnSubtitleData(new TTML::TTMLRawDataInfo); }),
              EnterExit("OnSubtitleData", "W m_pSourceTask is null."));
}

TEST_P(BaseSourceWithoutTask, WarnsWhereASourceWouldRelyOnIt)
{
    int data = 0;
    bool result = true;
    EXPECT_EQ(OwnLinesOf([&] { result = m_source->SendEventToSourceThread(&data, [](int, void*) {}); }),
              EnterExit("SendEventToSourceThread", "W m_pSourceTask is null"));
    EXPECT_FALSE(result);
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyPlayTrack(); }),
              EnterExit("t_NotifyPlayTrack", "W m_pSourceTask is null"));
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyStopTrack(); }),
              EnterExit("t_NotifyStopTrack", "W m_pSourceTask is null"));
    EXPECT_EQ(OwnLinesOf([&] { m_source->t_NotifyRegisterMenuCB(); }),
              EnterExit("t_NotifyRegisterMenuCB", "W m_pSourceTask is null"));
}

TEST_P(BaseSourceWithoutTask, ReturnsAtOnceFromFonts)
{
    EXPECT_EQ(OwnLinesOf([&] { m_source->OnErrorDownloadableFonts({"Arial"}); }),
              (Texts{"I OnErrorDownloadableFonts: "}));
    EXPECT_TRUE(m_source->GetDownloadableFontsInfo().empty());
}

TEST_P(BaseSourceWithoutTask, StillAnswersQuestions)
{
    long long time = 0;
    EXPECT_EQ(m_source->GetVideoCurrentTime(&time), 0);
    EXPECT_EQ(time, 42);
    EXPECT_EQ(m_source->GetSubtitleMode(), 66);
}

INSTANTIATE_TEST_SUITE_P(NoMemory, BaseSourceWithoutTask, ::testing::Values(Call::NEW_NOTHROW, Call::NEW),
                         [](const ::testing::TestParamInfo<Call>& call) {
                             return call.param == Call::NEW ? "ForItsMembers" : "ForTheTask";
                         });

} // namespace

} // namespace TTMLTest
