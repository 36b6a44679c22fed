// What the client of a source task is told: its registration, the notices of the direct operations, the data
// that is delivered, and the invalidation.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CSourceTask;
using TTML::TTMLRawDataInfo;

class SourceTaskClient : public SourceTaskTest
{
protected:
    static TTMLRawDataInfo* NewRecord(const std::string& text)
    {
        auto* record = new TTMLRawDataInfo;
        record->data = text;
        return record;
    }
};

// Registration.

TEST_F(SourceTaskClient, RegistersACallback)
{
    EXPECT_TRUE(m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData()));
    m_task->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

TEST_F(SourceTaskClient, RefusesANullCallbackAndKeepsTheEarlierOne)
{
    ScriptedLog::Clear();
    EXPECT_FALSE(m_task->RegisterCallBack(nullptr, this));
    m_task->OnShow();
    EXPECT_EQ(m_client.Events(), Texts{});
    m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    EXPECT_FALSE(m_task->RegisterCallBack(nullptr, this));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Null pointer", "W Null pointer"}));
    m_task->OnShow();
    EXPECT_EQ(m_client.Events(), (Texts{"11 @caller"}));
}

TEST_F(SourceTaskClient, AnotherRegistrationReplacesTheFirst)
{
    int other = 0;
    m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    EXPECT_TRUE(m_task->RegisterCallBack(&ClientRecorder::Callback, &other));
    m_client.ExpectUserData(&other);
    m_task->OnHide();
    EXPECT_TRUE(m_task->RegisterCallBack(&ClientRecorder::Callback, nullptr));
    m_client.ExpectUserData(nullptr);
    m_task->OnHide();
    EXPECT_EQ(m_client.Events(), (Texts{"12 @caller", "12 @caller"}));
}

TEST_F(SourceTaskClient, UnregisteringEndsAllCalls)
{
    Start();
    m_task->UnRegisterCallBack();
    m_task->OnShow();
    m_task->OnHide();
    m_task->OnErrorDownloadableFonts();
    m_task->NotifySetMenuLang();
    Do([&] { m_task->PlayTrack(1, "", nullptr); });
    EXPECT_EQ(m_client.Events(), Texts{});
}

// Direct notices.

TEST_F(SourceTaskClient, NotifiesOnTheCallersThread)
{
    Start();
    Do([&] {
        const SourceThreadHold hold(*m_task);
        m_task->OnShow();
        m_task->OnHide();
        m_task->OnErrorDownloadableFonts();
        m_task->NotifyRegisterMenuCB();
        m_task->NotifyUnRegisterMenuCB();
        m_task->NotifySetMenuLang();
    });
    EXPECT_EQ(m_client.Events(),
              (Texts{"11 @caller", "12 @caller", "13 @caller", "8 @caller", "9 @caller", "10 @caller"}));
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(SourceTaskClient, VisibilityAndFontsWithoutAClientAreSilent)
{
    ScriptedLog::Clear();
    m_task->OnShow();
    m_task->OnHide();
    m_task->OnErrorDownloadableFonts();
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(SourceTaskClient, MenuNoticesWithoutAClientWarn)
{
    // Pins: m_NotifyOrWarn.
    const std::vector<std::pair<std::string, void (CSourceTask::*)()>> notices = {
        {"NotifyRegisterMenuCB", &CSourceTask::NotifyRegisterMenuCB},
        {"NotifyUnRegisterMenuCB", &CSourceTask::NotifyUnRegisterMenuCB},
        {"NotifySetMenuLang", &CSourceTask::NotifySetMenuLang},
    };
    for (const auto& [name, notify] : notices) {
        ScriptedLog::Clear();
        (m_task.get()->*notify)();
        EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W m_pCoreCBFunc is null!"}));
        EXPECT_EQ(ScriptedLog::CountOf({name, "m_pCoreCBFunc is null!", "CSourceTask.cpp"}), 1U);
    }
}

// Data.

TEST_F(SourceTaskClient, DeliversRawDataAtOnceOnTheCallersThread)
{
    Start();
    m_task->PlayTrack(1, "", "the descriptor");
    Do([&] {
        const SourceThreadHold hold(*m_task);
        TTMLRawDataInfo* record = NewRecord("<tt/>");
        record->index = 3;
        record->dataType = 2;
        record->timestamp = 4;
        record->segStartTimeMs = 5;
        record->segEndTimeMs = 6;
        record->secondaryData = std::string("\0png", 4);
        record->trackDescriptor = "of the producer";
        record->userData = record;
        m_task->OnSubtitleData(record);
    });
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @caller"}));
    const TTMLRawDataInfo delivered = m_client.Records().at(0);
    EXPECT_EQ(delivered.index, 3);
    EXPECT_EQ(delivered.dataType, 2);
    EXPECT_EQ(delivered.timestamp, 4);
    EXPECT_EQ(delivered.segStartTimeMs, 5);
    EXPECT_EQ(delivered.segEndTimeMs, 6);
    EXPECT_EQ(delivered.secondaryData, std::string("\0png", 4));
    EXPECT_EQ(delivered.trackDescriptor, "the descriptor");
    EXPECT_EQ(delivered.userData, m_client.UserData());
}

TEST_F(SourceTaskClient, APlayWithoutADescriptorKeepsTheLastOne)
{
    Start();
    for (const char* descriptor : {"first", static_cast<const char*>(nullptr), "", "second"}) {
        m_task->PlayTrack(1, "", descriptor);
        m_task->OnSubtitleData(NewRecord("x"));
    }
    Texts descriptors;
    for (const auto& record : m_client.Records()) {
        descriptors.push_back(record.trackDescriptor);
    }
    EXPECT_EQ(descriptors, (Texts{"first", "first", "", "second"}));
}

TEST_F(SourceTaskClient, FreesRawDataWithoutAClient)
{
    ScriptedLog::Clear();
    m_task->OnSubtitleData(NewRecord(std::string(1000, 'x')));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W m_pCoreCBFunc is null!"}));
}

TEST_F(SourceTaskClient, RefusesNullRawData)
{
    // Pins: m_SendRawData.
    Start();
    ScriptedLog::Clear();
    m_task->OnSubtitleData(nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W rawDataInfo is null!"}));
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(SourceTaskClient, TheInbandDeliveryFunctionDoesNothingWithoutATask)
{
    const std::unique_ptr<TTMLRawDataInfo> record(NewRecord("x"));
    ScriptedLog::Clear();
    CSourceTask::m_InbandData_Cb(record.get(), nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
    EXPECT_EQ(record->data, "x");
}

TEST_F(SourceTaskClient, TheInbandDeliveryFunctionDelivers)
{
    Start();
    CSourceTask::m_InbandData_Cb(NewRecord("x"), m_task.get());
    EXPECT_EQ(m_client.Events(), (Texts{"0 x @caller"}));
}

TEST_F(SourceTaskClient, DeliversSamplesOnTheInbandThread)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    m_client.Clear();
    Push("<tt/>", 9);
    m_client.WaitForEvents(1);
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Inband"}));
    EXPECT_EQ(m_client.Records().at(0).index, 9);
    EXPECT_EQ(m_client.Records().at(0).dataType, -1);
}

TEST_F(SourceTaskClient, RefusesANullSample)
{
    TTML::TTMLSubtitleExtraData extra;
    ScriptedLog::Clear();
    m_task->OnSubtitleData(nullptr, extra);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Buffer is NULL"}));
}

// Invalidation.

TEST_F(SourceTaskClient, InvalidateWaitsForWhatIsQueuedAndTellsTheClientLast)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    m_client.Clear();
    Gate released("the posted function has run");
    SourceThreadHold hold(*m_task);
    m_task->SendEventToSourceThread(&released, [](int, void* gate) { static_cast<Gate*>(gate)->Open(); });
    unsigned int result = 7;
    BlockedThread other([&] {
        result = m_task->Invalidate();
        EXPECT_TRUE(released.IsOpen());
    });
    EXPECT_FALSE(other.IsDone());
    EXPECT_EQ(m_client.Events(), Texts{});
    hold.Release();
    other.WaitUntilDone();
    EXPECT_EQ(result, 0U);
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{5}));
    EXPECT_EQ(TrackState(*m_task), 0);
}

TEST_F(SourceTaskClient, InvalidateTellsTheClientOnTheCallersThread)
{
    Start();
    EXPECT_EQ(LinesOf([&] { EXPECT_EQ(m_task->Invalidate(), 0U); }),
              (Texts{"I Task is neither running nor in preparation stage! Q Size=[0]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"5 @caller"}));
}

TEST_F(SourceTaskClient, InvalidateWithoutAClientOrAThreadIsHarmless)
{
    ScriptedLog::Clear();
    EXPECT_EQ(m_task->Invalidate(), 0U);
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I Task is neither running nor in preparation stage! Q Size=[0]",
                     "I Returning as task is not running"}));
}

TEST_F(SourceTaskClient, PlaysAgainOnlyAfterAStart)
{
    Start();
    m_task->Invalidate();
    EXPECT_EQ(LinesOf([&] { m_task->PlayTrack(1, "", nullptr); }),
              (Texts{"I State is: [0]", "W Not a proper state to play, state:[0]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    m_task->StartSourceThread();
    Do([&] { m_task->PlayTrack(1, "", nullptr); });
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
}

} // namespace

} // namespace TTMLTest
