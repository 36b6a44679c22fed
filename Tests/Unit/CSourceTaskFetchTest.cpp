// A track with a URL: how the document is fetched, what becomes of it, and the request options.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CSourceTask;

constexpr char kUrl[] = "http://host/a.ttml";

class SourceTaskFetch : public SourceTaskTest
{
protected:
    SourceTaskFetch() { Start(); }

    void Play(const FetchAnswer& answer, const char* descriptor = nullptr)
    {
        ScriptedFileManager::ExpectFetch(kUrl, answer);
        Journal::Instance().Clear();
        Do([&] { m_task->PlayTrack(1, kUrl, descriptor); });
    }
    static Texts Calls() { return Journal::Instance().Calls("file manager"); }
    // The request header that the next fetch is given.
    std::string HeaderOfNextFetch()
    {
        m_task->StartSourceThread();
        Play(FetchAnswer::Failure());
        return Calls().at(1);
    }
};

TEST_F(SourceTaskFetch, DrivesTheFetcherInOrder)
{
    m_task->SetUserAgent("agent/1.0");
    m_task->SetDNTOption(1);
    Play(FetchAnswer::Document("<tt/>"));
    EXPECT_EQ(Calls(), (Texts{"IFileUtil::Create() = #1", "#1.SetRequestHeader(\"DNT: 1\")",
                              "#1.Fetch(\"http://host/a.ttml\", \"agent/1.0\", 0) = \"<tt/>\"",
                              "#1.ReleaseText(\"<tt/>\")", "#1.Destroy()"}));
    for (const auto& entry : Journal::Instance().Entries()) {
        if (entry.service == "file manager") {
            EXPECT_EQ(entry.thread, "Source") << entry.text;
        }
    }
}

TEST_F(SourceTaskFetch, SendsEmptyOptionsWhenNoneWereSet)
{
    Play(FetchAnswer::Document("x"));
    EXPECT_EQ(Calls(), (Texts{"IFileUtil::Create() = #1", "#1.SetRequestHeader(\"\")",
                              "#1.Fetch(\"http://host/a.ttml\", \"\", 0) = \"x\"", "#1.ReleaseText(\"x\")",
                              "#1.Destroy()"}));
}

TEST_F(SourceTaskFetch, DeliversTheDocumentBeforeItReleasesTheText)
{
    unsigned int callsThen = 0;
    m_client.On(0, [&] { callsThen = static_cast<unsigned int>(Calls().size()); });
    Play(FetchAnswer::Document("<tt/>"));
    EXPECT_EQ(callsThen, 3U) << "Create, SetRequestHeader and Fetch come first";
    EXPECT_EQ(Calls().size(), 5U);
}

TEST_F(SourceTaskFetch, DeliversTheWholeDocumentAsOneRecord)
{
    const std::string document(100000, 'x');
    Play(FetchAnswer::Document(document), "eng");
    ASSERT_EQ(m_client.Codes(), (std::vector<int>{0, 1}));
    const TTML::TTMLRawDataInfo record = m_client.Records().at(0);
    EXPECT_EQ(record.index, 0);
    EXPECT_EQ(record.dataType, -1);
    EXPECT_EQ(record.timestamp, 0);
    EXPECT_EQ(record.segStartTimeMs, 0);
    EXPECT_EQ(record.segEndTimeMs, 0);
    EXPECT_EQ(record.trackDescriptor, "eng");
    EXPECT_EQ(record.data, document);
    EXPECT_EQ(record.secondaryData, "");
    EXPECT_EQ(record.userData, m_client.UserData());
}

TEST_F(SourceTaskFetch, DoesNotLookAtTheLength)
{
    Play(FetchAnswer::Document("<tt/>").WithLength(1000000));
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Source", "1 out of band @Source"}));
    Play(FetchAnswer::Document("<tt>2</tt>").WithLength(0));
    EXPECT_EQ(m_client.Records().at(0).data, "<tt>2</tt>");
}

TEST_F(SourceTaskFetch, DeliversAnEmptyDocument)
{
    Play(FetchAnswer::Document(""));
    EXPECT_EQ(m_client.Events(), (Texts{"0  @Source", "1 out of band @Source"}));
}

TEST_F(SourceTaskFetch, ReleasesOnlyTheFetcherWhenTheFetchFails)
{
    // Pins: m_GetPlayerSubtitleDataOutband.
    Play(FetchAnswer::Failure());
    EXPECT_EQ(Calls(), (Texts{"IFileUtil::Create() = #1", "#1.SetRequestHeader(\"\")",
                              "#1.Fetch(\"http://host/a.ttml\", \"\", 0) = null", "#1.Destroy()"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"GetData failed!"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(SourceTaskFetch, TakesAMissingFetcherForAFailedFetch)
{
    ScriptedFileManager::ExpectCreateFailure();
    Journal::Instance().Clear();
    EXPECT_EQ(
        LinesOf([&] { m_task->PlayTrack(1, kUrl, nullptr); }),
        (Texts{"I State is: [2]", "I Out of band data, url : http://host/a.ttml", "W GetData failed!"}));
    EXPECT_EQ(Calls(), (Texts{"IFileUtil::Create() = null"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(SourceTaskFetch, FailsWhenThereIsNoMemoryForTheRecord)
{
    m_task->StopSourceThread();
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    ScriptedLog::Clear();
    Journal::Instance().Clear();
    {
        const FaultInjection noMemory(Call::NEW_NOTHROW, 1, 1, FaultScope::ANY_THREAD);
        const FaultPause notHere;
        m_task->PlayTrack(1, kUrl, nullptr);
        m_task->StopSourceThread();
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I State is: [2]", "I Out of band data, url : http://host/a.ttml", "E new failed.",
                     "W GetData failed!"}));
    EXPECT_EQ(Calls(), (Texts{"IFileUtil::Create() = #1", "#1.SetRequestHeader(\"\")",
                              "#1.Fetch(\"http://host/a.ttml\", \"\", 0) = \"<tt/>\"",
                              "#1.ReleaseText(\"<tt/>\")", "#1.Destroy()"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(SourceTaskFetch, FreesTheDocumentWithoutAClient)
{
    m_task->UnRegisterCallBack();
    Play(FetchAnswer::Document(std::string(1000, 'x')));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING),
              (Texts{"m_pCoreCBFunc is null!", "No call back function to be called"}));
    EXPECT_EQ(Calls().back(), "#1.Destroy()");
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(SourceTaskFetch, KeepsCommandsWaitingDuringAFetch)
{
    Gate fetching("the fetch is under way");
    Gate goOn("the fetch may end");
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>").During([&] {
        fetching.Open();
        goOn.Wait();
    }));
    m_task->PlayTrack(1, kUrl, nullptr);
    fetching.Wait();
    EXPECT_EQ(m_task->PauseTrack(true), 0U);
    EXPECT_TRUE(CanBeTakenElsewhere(TaskMutex(*m_task)));
    WaitUntilBlocked("Source");
    EXPECT_EQ(m_client.Events(), Texts{});
    goOn.Open();
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Source", "1 out of band @Source", "3 @Source"}));
}

// Request options.

TEST_F(SourceTaskFetch, LogsTheUserAgent)
{
    ScriptedLog::Clear();
    m_task->SetUserAgent("agent/1.0");
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I User agent =agent/1.0"}));
}

TEST_F(SourceTaskFetch, KeepsTheUserAgentWhenItIsGivenNone)
{
    m_task->SetUserAgent("agent/1.0");
    ScriptedLog::Clear();
    m_task->SetUserAgent(nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Handle to user agent is null"}));
    Play(FetchAnswer::Failure());
    EXPECT_EQ(Calls().at(2), "#1.Fetch(\"http://host/a.ttml\", \"agent/1.0\", 0) = null");
}

TEST_F(SourceTaskFetch, SendsTheUserAgentSetLast)
{
    m_task->SetUserAgent("a");
    m_task->SetUserAgent("");
    Play(FetchAnswer::Failure());
    EXPECT_EQ(Calls().at(2), "#1.Fetch(\"http://host/a.ttml\", \"\", 0) = null");
}

TEST_F(SourceTaskFetch, SetsTheDoNotTrackHeader)
{
    const std::vector<std::pair<int, std::string>> headers = {{0, "DNT: 0"}, {1, "DNT: 1"}, {2, "DNT: null"}};
    unsigned int fetch = 0;
    for (const auto& [option, header] : headers) {
        ScriptedLog::Clear();
        m_task->SetDNTOption(option);
        EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I DNT flag value is  " + std::to_string(option)}));
        const std::string number = std::to_string(++fetch);
        EXPECT_EQ(HeaderOfNextFetch(), "#" + number + ".SetRequestHeader(\"" + header + "\")");
    }
}

TEST_F(SourceTaskFetch, RefusesOtherDoNotTrackValues)
{
    m_task->SetDNTOption(2);
    for (const int option : {3, -1, 2147483647, -2147483647 - 1}) {
        ScriptedLog::Clear();
        m_task->SetDNTOption(option);
        EXPECT_EQ(ScriptedLog::Substance(),
                  (Texts{"I DNT flag value is  " + std::to_string(option), "W Invalid value of DNT flag"}));
    }
    EXPECT_EQ(HeaderOfNextFetch(), "#1.SetRequestHeader(\"DNT: null\")");
}

TEST_F(SourceTaskFetch, KeepsTheHeaderForLaterFetches)
{
    m_task->SetDNTOption(0);
    EXPECT_EQ(HeaderOfNextFetch(), "#1.SetRequestHeader(\"DNT: 0\")");
    EXPECT_EQ(HeaderOfNextFetch(), "#2.SetRequestHeader(\"DNT: 0\")");
}

} // namespace

} // namespace TTMLTest
