// Every allocation of every operation of the source core fails once, in turn: no exception leaves, the
// operation reports its failure as documented, nothing is lost or leaked, and the source works on.

#include <functional>
#include <list>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CBBSource.h"
#include "CSourceTask.h"
#include "FaultWalk.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CBBSource;
using TTML::CSourceTask;
using TTML::TTMLRawDataInfo;

// Texts that are too long to be kept without an allocation.
constexpr char kUrl[] = "http://host/a/url/that/is/kept/on/the/heap.ttml";
constexpr char kAgent[] = "a user agent that is kept on the heap";
constexpr char kDescriptor[] = "a descriptor that is kept on the heap";
constexpr char kSample[] = "a sample whose text is kept on the heap";

// Failures of memory within one operation on the calling thread.
struct Operation
{
    std::string name;
    Call kind;
    std::function<void(CSourceTask&)> prepare;
    // Returns whether the operation says that it succeeded.
    std::function<bool(CSourceTask&)> run;
    // What the log may say when it failed; empty for nothing.
    std::string complaint;
};

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

void PlayInband(CSourceTask& task)
{
    task.PlayTrack(1, "", kDescriptor);
}

void Nothing(CSourceTask& /*task*/)
{}

// An operation without a result.
std::function<bool(CSourceTask&)> Void(void (CSourceTask::*function)())
{
    return [function](CSourceTask& task) {
        (task.*function)();
        return true;
    };
}

void AddBoth(std::vector<Operation>& operations, const std::string& name,
             const std::function<void(CSourceTask&)>& prepare, const std::function<bool(CSourceTask&)>& run,
             const std::string& complaint = {})
{
    operations.push_back({name + "Containers", Call::NEW, prepare, run, complaint});
    operations.push_back({name + "Objects", Call::NEW_NOTHROW, prepare, run, complaint});
}

std::vector<Operation> Operations()
{
    static TTML::TTMLSubtitleExtraData extra;
    static char sample[] = "a sample whose text is kept on the heap";
    std::vector<Operation> all;
    AddBoth(all, "RegisterCallBack", Nothing,
            [](CSourceTask& task) { return task.RegisterCallBack(&ClientRecorder::Callback, nullptr); });
    AddBoth(all, "UnRegisterCallBack", Nothing, Void(&CSourceTask::UnRegisterCallBack));
    AddBoth(all, "PlayTrack", Nothing,
            [](CSourceTask& task) { return task.PlayTrack(1, "", kDescriptor) == 0; });
    AddBoth(all, "PauseTrack", PlayInband, [](CSourceTask& task) { return task.PauseTrack(true) == 0; });
    AddBoth(all, "ResumeTrack", PlayInband, [](CSourceTask& task) { return task.ResumeTrack() == 0; });
    AddBoth(all, "StopTrack", PlayInband, [](CSourceTask& task) { return task.StopTrack() == 0; });
    AddBoth(all, "SeekStart", PlayInband, [](CSourceTask& task) { return task.SeekStart(1) == 0; });
    AddBoth(all, "SeekCompleted", PlayInband, [](CSourceTask& task) { return task.SeekCompleted() == 0; });
    // Without memory for its record the process stops, which has a test of its own.
    all.push_back({"SendEventToSourceThreadContainers",
                   Call::NEW,
                   Nothing,
                   [](CSourceTask& task) { return task.SendEventToSourceThread(nullptr, [](int, void*) {}); },
                   {}});
    AddBoth(all, "OnShow", Nothing, Void(&CSourceTask::OnShow));
    AddBoth(all, "OnHide", Nothing, Void(&CSourceTask::OnHide));
    AddBoth(all, "OnErrorDownloadableFonts", Nothing, Void(&CSourceTask::OnErrorDownloadableFonts));
    AddBoth(all, "NotifyRegisterMenuCB", Nothing, Void(&CSourceTask::NotifyRegisterMenuCB));
    AddBoth(all, "NotifyUnRegisterMenuCB", Nothing, Void(&CSourceTask::NotifyUnRegisterMenuCB));
    AddBoth(all, "NotifySetMenuLang", Nothing, Void(&CSourceTask::NotifySetMenuLang));
    AddBoth(all, "NotifyPlayTrack", Nothing, Void(&CSourceTask::NotifyPlayTrack));
    AddBoth(all, "NotifyStopTrack", PlayInband, Void(&CSourceTask::NotifyStopTrack));
    AddBoth(all, "StartSourceThread", Nothing, Void(&CSourceTask::StartSourceThread));
    AddBoth(all, "StopSourceThread", PlayInband, Void(&CSourceTask::StopSourceThread));
    AddBoth(all, "Invalidate", PlayInband, [](CSourceTask& task) { return task.Invalidate() == 0; });
    AddBoth(
        all, "SetUserAgent", Nothing,
        [](CSourceTask& task) {
            const unsigned int complaints = ScriptedLog::CountOf("new failed.");
            task.SetUserAgent(kAgent);
            return ScriptedLog::CountOf("new failed.") == complaints;
        },
        "new failed.");
    AddBoth(all, "SetDNTOption", Nothing, [](CSourceTask& task) {
        task.SetDNTOption(2);
        return true;
    });
    AddBoth(
        all, "OnSubtitleData", Nothing,
        [](CSourceTask& task) {
            const unsigned int complaints = ScriptedLog::CountOf("new failed.");
            task.OnSubtitleData(sample, extra);
            return ScriptedLog::CountOf("new failed.") == complaints;
        },
        "new failed.");
    return all;
}

class SourceMemory : public SourceTaskTest
{
protected:
    void StartNewTask()
    {
        m_task.reset();
        ScriptedLog::Reset();
        m_client.Clear();
        m_task = std::make_unique<CSourceTask>();
        Start();
        m_task->StopSourceThread();
    }
    // Whatever happened before, a track can be played from the beginning.
    void ExpectToWork()
    {
        m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
        m_task->Invalidate();
        m_task->StartSourceThread();
        m_client.Clear();
        PlayInband(*m_task);
        m_task->StopSourceThread();
        Push("<tt/>");
        m_client.WaitForCode(0);
        EXPECT_EQ(m_client.Records().back().data, "<tt/>");
        EXPECT_EQ(m_client.Records().back().trackDescriptor, kDescriptor);
    }
    Texts Complaints()
    {
        Texts all = ScriptedLog::Messages(PLATFORM_LOG_WARNING);
        const Texts errors = ScriptedLog::Messages(PLATFORM_LOG_ERROR);
        all.insert(all.end(), errors.begin(), errors.end());
        return all;
    }
};

class SourceMemoryOfOperation : public SourceMemory, public ::testing::WithParamInterface<Operation>
{};

TEST_P(SourceMemoryOfOperation, FailsInTurnAndWorksOn)
{
    const Operation& operation = GetParam();
    WalkFaults([&](unsigned int n) {
        StartNewTask();
        operation.prepare(*m_task);
        m_task->StopSourceThread();
        ScriptedLog::Clear();
        const std::size_t queued = Queued(*m_task).size();
        bool succeeded = false;
        unsigned int failed = 0;
        {
            const FaultInjection noMemory(operation.kind, n);
            EXPECT_NO_THROW(succeeded = operation.run(*m_task));
            failed = noMemory.Failed();
        }
        EXPECT_EQ(succeeded, failed == 0);
        if (failed != 0) {
            EXPECT_EQ(Complaints(), operation.complaint.empty() ? Texts{} : Texts{operation.complaint});
            EXPECT_EQ(Queued(*m_task).size(), queued);
        }
        ExpectToWork();
        return failed != 0;
    });
}

INSTANTIATE_TEST_SUITE_P(Of, SourceMemoryOfOperation, ::testing::ValuesIn(Operations()),
                         [](const ::testing::TestParamInfo<Operation>& operation) {
                             return operation.param.name;
                         });

// A track with a URL, failing where it is posted.
TEST_F(SourceMemory, APlayThatFindsNoMemoryIsNotQueued)
{
    for (const Call kind : {Call::NEW, Call::NEW_NOTHROW}) {
        unsigned int failures = 0;
        WalkFaults([&](unsigned int n) {
            StartNewTask();
            m_task->PlayTrack(1, "", "the old descriptor");
            m_task->StopSourceThread();
            SourceThreadHold hold(*m_task);
            unsigned int result = 7;
            unsigned int failed = 0;
            {
                const FaultInjection noMemory(kind, n);
                EXPECT_NO_THROW(result = m_task->PlayTrack(2, kUrl, kDescriptor));
                failed = noMemory.Failed();
            }
            failures += failed;
            EXPECT_EQ(result, failed != 0 ? 1U : 0U);
            EXPECT_EQ(Queued(*m_task).size(), failed != 0 ? 0U : 1U);
            if (failed == 0) {
                ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
            }
            return failed != 0;
        });
        EXPECT_GE(failures, kind == Call::NEW ? 2U : 1U);
    }
}

// The same where it is carried out.
TEST_F(SourceMemory, AFetchThatFindsNoMemoryFails)
{
    for (const Call kind : {Call::NEW, Call::NEW_NOTHROW}) {
        unsigned int failures = 0;
        WalkFaults([&](unsigned int n) {
            ScriptedFileManager::Reset();
            StartNewTask();
            m_task->SetUserAgent(kAgent);
            m_task->SetDNTOption(2);
            ScriptedLog::Clear();
            Journal::Instance().Clear();
            ScriptedFileManager::ExpectFetch(kUrl,
                                             FetchAnswer::Document("a document that is kept on the heap"));
            unsigned int failed = 0;
            {
                const FaultInjection noMemory(kind, n, 1, FaultScope::ANY_THREAD);
                const FaultPause notHere;
                m_task->PlayTrack(1, kUrl, kDescriptor);
                m_task->StopSourceThread();
                failed = noMemory.Failed();
            }
            failures += failed;
            const bool delivered = m_client.CountOf(0) != 0;
            if (delivered) {
                EXPECT_EQ(m_client.Codes(), (std::vector<int>{0, 1}));
                EXPECT_EQ(Complaints(), Texts{});
            } else {
                EXPECT_EQ(failed, 1U);
                EXPECT_EQ(m_client.Codes(), std::vector<int>{});
                EXPECT_EQ(Complaints(), (Texts{"GetData failed!", "new failed."}));
            }
            EXPECT_EQ(TrackState(*m_task), 3);
            const Texts calls = Journal::Instance().Calls("file manager");
            if (calls.size() < 3) {
                ScriptedFileManager::Reset(); // the document that was not asked for
            } else {
                EXPECT_EQ(calls.back(), "#1.Destroy()");
            }
            ExpectToWork();
            return failed != 0;
        });
        EXPECT_GE(failures, 1U);
    }
}

TEST_F(SourceMemory, DataGoesOutWithoutADescriptorForWhichThereIsNoMemory)
{
    StartNewTask();
    PlayInband(*m_task);
    m_task->StopSourceThread();
    m_client.Clear();
    auto* record = new TTMLRawDataInfo;
    record->data = "<tt/>";
    {
        const FaultInjection noMemory(Call::NEW);
        EXPECT_NO_THROW(m_task->OnSubtitleData(record));
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @caller"}));
    EXPECT_EQ(m_client.Records().at(0).trackDescriptor, "");
    EXPECT_EQ(m_client.Records().at(0).userData, m_client.UserData());
    ExpectToWork();
}

TEST_F(SourceMemory, ASampleWhoseDeliveryFindsNoMemoryGoesOut)
{
    StartNewTask();
    PlayInband(*m_task);
    m_task->StopSourceThread();
    m_client.Clear();
    {
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll, FaultScope::ANY_THREAD);
        const FaultPause notHere;
        Push(kSample);
        m_client.WaitForCode(0);
    }
    EXPECT_EQ(m_client.Events(), (Texts{std::string("0 ") + kSample + " @Inband"}));
    ExpectToWork();
}

TEST_F(SourceMemory, ASampleForWhichTheQueueCannotGrowIsLost)
{
    StartNewTask();
    PlayInband(*m_task);
    m_task->StopSourceThread();
    m_task->PauseTrack(true);
    m_task->StopSourceThread();
    Push("held");
    ScriptedLog::WaitFor("Before sem wait");
    m_client.Clear();
    ScriptedLog::Clear();
    // The queue grows by whole blocks of pointers; short texts need no memory of their own.
    unsigned int pushed = 0;
    unsigned int lost = 0;
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "x";
    {
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll);
        while (noMemory.Failed() == 0 && pushed < 1000) {
            ++pushed;
            EXPECT_NO_THROW(m_task->OnSubtitleData(sample, extra));
        }
        lost = noMemory.Failed();
    }
    EXPECT_EQ(lost, 1U);
    EXPECT_EQ(Queued(*InbandQueue(*m_task)).size(), pushed - 1);
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"new failed."}));
    m_task->ResumeTrack();
    m_client.WaitForCode(0, pushed);
    EXPECT_EQ(m_client.Records().front().data, "held");
    ExpectToWork();
}

TEST_F(SourceMemory, FontsNeedNoMemoryOnTheirWayToTheClient)
{
    const std::unique_ptr<CBBSource, void (*)(CBBSource*)> source(
        CBBSource::Create(ScriptedPlayer::Handle(), kAgent), [](CBBSource* created) { created->Destroy(); });
    source->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    std::list<std::string> seen;
    m_client.On(13, [&] {
        const FaultPause pause;
        seen = source->GetDownloadableFontsInfo();
    });
    const std::list<std::string> fonts = {"a font with a name that is kept on the heap", "another", "third"};
    WalkFaults([&](unsigned int n) {
        std::list<std::string> given = fonts;
        seen.clear();
        unsigned int failed = 0;
        {
            const FaultInjection noMemory(Call::NEW, n);
            EXPECT_NO_THROW(source->OnErrorDownloadableFonts(std::move(given)));
            failed = noMemory.Failed();
        }
        EXPECT_TRUE(source->GetDownloadableFontsInfo().empty());
        if (failed == 0) {
            EXPECT_EQ(seen, fonts);
        }
        return failed != 0;
    });
}

// Construction.

TEST_F(SourceMemory, ATaskIsBuiltOrThrowsNothingButBadAlloc)
{
    unsigned int thrown = 0;
    unsigned int withoutQueue = 0;
    for (unsigned int n = 1; !HasFailure(); ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        m_task.reset();
        auto* const memory = static_cast<CSourceTask*>(::operator new(sizeof(CSourceTask)));
        const FaultInjection noMemory(Call::NEW, n);
        try {
            m_task.reset(new (memory) CSourceTask);
        } catch (const std::bad_alloc&) {
            ::operator delete(memory);
            ++thrown;
            continue;
        }
        if (noMemory.Failed() == 0) {
            EXPECT_NE(InbandQueue(*m_task), nullptr);
            break;
        }
        EXPECT_EQ(InbandQueue(*m_task), nullptr);
        ++withoutQueue;
    }
    EXPECT_GE(thrown, 1U);
    EXPECT_GE(withoutQueue, 1U);
    Start();
    ExpectToWork();
}

TEST_F(SourceMemory, ATaskWithoutCallbacksIsDestroyedCleanly)
{
    // The first three allocations are the task mutex, the in-band queue and its mutex.
    for (unsigned int n = 4; !HasFailure(); ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        m_task.reset();
        unsigned int failed = 0;
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW, n);
            m_task.reset(new CSourceTask);
            failed = noMemory.Failed();
        }
        EXPECT_NE(InbandQueue(*m_task), nullptr);
        m_task->StartSourceThread();
        m_task->StopSourceThread();
        m_task->Invalidate();
        if (failed == 0) {
            EXPECT_GE(n, 5U);
            break;
        }
    }
    ExpectToWork();
}

TEST_F(SourceMemory, ABroadbandSourceIsCreatedOrNot)
{
    const unsigned int failures = WalkFaults([&](unsigned int n) {
        CBBSource* source = nullptr;
        unsigned int failed = 0;
        {
            const FaultInjection noMemory(Call::NEW, n);
            EXPECT_NO_THROW(source = CBBSource::Create(ScriptedPlayer::Handle(), kAgent));
            failed = noMemory.Failed();
        }
        if (source == nullptr) {
            ADD_FAILURE() << "only the source's own memory decides";
            return false;
        }
        source->OnStart();
        source->OnShow();
        source->OnStop();
        source->Destroy();
        return failed != 0;
    });
    EXPECT_GE(failures, 1U);
}

} // namespace

} // namespace TTMLTest
