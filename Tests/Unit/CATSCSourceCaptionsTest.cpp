// The ATSC 3.0 source: captions on their way to the client.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "TTMLRawDataInfo.h"

TTML_EXPOSE_FUNCTION(AtscCaptionCallback, void (*)(TSCaption&, void*), TTML::CATSCSource::m_CaptionCB)
TTML_EXPOSE_FUNCTION(AtscSplit, void (*)(std::vector<unsigned char>&, TTML::TTMLRawDataInfo*),
                     TTML::CATSCSource::m_SplitCaptionAndImageData)

namespace TTMLTest {

namespace {

const std::string kEnd(1, '\0'); // what ends each text
const std::string kPng = "\x89PNG\r\n\x1A\n";

// A source that is subscribed on a service whose captions have the profile given.
class AtscCaptions : public AtscTest
{
protected:
    AtscCaptions() { Begin(0); }

    void Begin(unsigned char profile)
    {
        ScriptedTvService::Change([&](TvScene& scene) { scene.caption->profile = profile; });
        Unsubscribe();
        Subscribe();
        m_client.Clear();
        Forget();
    }
    // What the delivery brings about.
    static Texts StoryOfCaption(const TSCaption& caption)
    {
        return StoryOf([&] { Deliver(caption); });
    }
    unsigned int Delivered() const { return m_client.CountOf(0); }
};

// The lines of the times of a caption when the clock says 1000.
Texts KeepsTime(const std::string& referenceTime, const std::string& offset, const std::string& milliseconds)
{
    return {"TTMLGetTimeofDay() = 1000", "I Timing_Info: sys_time = [1000] when captionReferenceTime =[" +
                                             referenceTime + "], offset = [" + offset +
                                             "]; RefTimeAfterCal = [" + milliseconds + "]"};
}

Texts AsksForCaption(int session, int profile)
{
    const std::string control = "#" + std::to_string(session);
    return {"CreateDataControl(1, 0) = 0, " + control, control + ".GetCurrentCaption() = 1, \"cc1\"",
            "I Current Caption Data:[ID:cc1][LANG:0x0][ROLE:0][Asp:0][Easy:0][Prof:" +
                std::to_string(profile) + "][3D:0]",
            "Destroy(" + control + ")"};
}

const Texts kTimes = KeepsTime("2000000000", "0", "2000");

// The way.

TEST_F(AtscCaptions, AreTimedAskedForDeliveredAndShownInTheBanner)
{
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt/>")),
              Together({kTimes, AsksForCaption(5, 0), {"client 0"}, WritesBanner(1)}));
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt>2</tt>")), Together({kTimes, {"client 0"}}))
        << "the profile is known, the banner on";
}

TEST_F(AtscCaptions, ComeAsARecordOnTheServicesThread)
{
    RunOnThread("Captions", [] { Deliver(CaptionOf("<tt/>")); });
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{0}));
    EXPECT_NE(m_client.Events().at(0).find("@Captions"), std::string::npos);
    const TTML::TTMLRawDataInfo record = LastRecord();
    EXPECT_EQ(record.index, 0U);
    EXPECT_EQ(record.dataType, 0);
    EXPECT_EQ(record.timestamp, 0);
    EXPECT_EQ(record.segStartTimeMs, 0);
    EXPECT_EQ(record.segEndTimeMs, 0);
    EXPECT_EQ(record.data, "<tt/>" + kEnd) << "the zero byte belongs to it";
    EXPECT_EQ(record.secondaryData, "");
}

TEST_F(AtscCaptions, EnterAndLeaveEveryOperation)
{
    const Texts trace = TraceOf([] { Deliver(CaptionOf("<tt/>")); });
    EXPECT_EQ(trace.at(0), "m_CaptionCB: ");
    EXPECT_EQ(trace.at(1), "m_ConsumeCaptionData: Enter");
    EXPECT_EQ(trace.at(2), "m_SetReferenceTimeInfo: Enter");
    EXPECT_EQ(trace.back(), "m_ConsumeCaptionData: Exit");
}

TEST_F(AtscCaptions, EndWithAZeroByteInTheServicesOwnRecord)
{
    TSCaption caption = CaptionOf("<tt/>");
    ScriptedTvService::LateCaption(caption, m_source.get());
    EXPECT_EQ(caption.data, (std::vector<unsigned char>{'<', 't', 't', '/', '>', 0}));
    EXPECT_EQ(StateOf(*m_source).last, caption.data);
}

TEST_F(AtscCaptions, KeepBytesOfAnyValue)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    Deliver(CaptionOf(bytes));
    EXPECT_EQ(LastRecord().data, bytes + kEnd);
}

// What is refused.

TEST_F(AtscCaptions, NeedASource)
{
    TSCaption caption = CaptionOf("<tt/>");
    EXPECT_EQ(StoryOf([&] { CallPrivateStatic<AtscCaptionCallback>(caption, nullptr); }),
              (Texts{"W Source pointer is null"}));
    EXPECT_EQ(caption.data.size(), 5U);
}

TEST_F(AtscCaptions, OfAnotherTypeAreDropped)
{
    for (const int type : {0, 1, 2, 4, -1}) {
        TSCaption caption = CaptionOf("<tt/>");
        caption.type = type;
        EXPECT_EQ(StoryOfCaption(caption), (Texts{"W Caption type is not CLOSED_CAPTION_TYPE_ATSC3. Type:[" +
                                                  std::to_string(type) + "]"}));
    }
    TSCaption caption;
    caption.type = 9;
    EXPECT_EQ(StoryOfCaption(caption), (Texts{"W Caption type is not CLOSED_CAPTION_TYPE_ATSC3. Type:[9]"}))
        << "the size is not looked at";
    EXPECT_EQ(Delivered(), 0U);
}

TEST_F(AtscCaptions, OfNoSizeOrTooMuchAreDropped)
{
    EXPECT_EQ(StoryOfCaption(CaptionOf("")), (Texts{"W Buffer size is invalid=[0]"}));
    EXPECT_EQ(StoryOfCaption(CaptionOf(std::string(524289, 'x'))),
              (Texts{"W Buffer size is invalid=[524289]"}));
    EXPECT_EQ(StoryOfCaption(CaptionOf(std::string(600000, 'x'))),
              (Texts{"W Buffer size is invalid=[600000]"}));
    EXPECT_EQ(StateOf(*m_source).referenceTime, 0) << "their times are not looked at";
    EXPECT_EQ(Delivered(), 0U);
}

TEST_F(AtscCaptions, OfTheSmallestAndTheLargestSizeAreDelivered)
{
    Deliver(CaptionOf("x"));
    EXPECT_EQ(LastRecord().data, "x" + kEnd);
    const std::string largest(524288, 'x');
    Deliver(CaptionOf(largest));
    EXPECT_EQ(LastRecord().data, largest + kEnd);
    EXPECT_EQ(Delivered(), 2U);
    Deliver(CaptionOf(""));
    Deliver(CaptionOf("next"));
    EXPECT_EQ(Delivered(), 3U) << "the next one is handled as ever";
}

TEST_F(AtscCaptions, WithATimeThatIsRefusedAreDropped)
{
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt/>", 5, 10)),
              (Texts{"E Ignoring caption data as referenceTime [5] or offset [10] is invalid!",
                     "W Error while storing reference time and offset."}));
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt/>", -1, -5)),
              (Texts{"E Ignoring caption data as referenceTime [-1] or offset [-5] is invalid!",
                     "W Error while storing reference time and offset."}));
    EXPECT_EQ(Delivered(), 0U);
    Deliver(CaptionOf("<tt/>", 0, -5));
    EXPECT_EQ(Delivered(), 1U);
}

// Repeats.

TEST_F(AtscCaptions, AreDeliveredOnceWhenRepeated)
{
    Deliver(CaptionOf("<tt/>", 1000000));
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt/>", 3000000)),
              Together({KeepsTime("3000000", "0", "3"), {"W Discarding duplicate data!"}}));
    EXPECT_EQ(Delivered(), 1U);
    EXPECT_EQ(StateOf(*m_source).referenceTime, 3000000) << "the repeat's time counts";
    EXPECT_EQ(StateOf(*m_source).afterCal, 3);
    Deliver(CaptionOf("<tt/>", 3000000));
    EXPECT_EQ(Delivered(), 1U);
}

TEST_F(AtscCaptions, AreComparedWithTheLastOneOnly)
{
    for (const char* const text : {"a", "b", "a", "ab", "a"}) {
        Deliver(CaptionOf(text));
    }
    EXPECT_EQ(Delivered(), 5U);
}

TEST_F(AtscCaptions, AreComparedByEveryByte)
{
    Deliver(CaptionOf("abc"));
    Deliver(CaptionOf("abd"));
    Deliver(CaptionOf("bbd"));
    Deliver(CaptionOf("bbd" + kEnd));
    EXPECT_EQ(Delivered(), 4U);
    Deliver(CaptionOf("bbd" + kEnd));
    EXPECT_EQ(Delivered(), 4U);
}

TEST_F(AtscCaptions, AreDeliveredAgainAfterAJumpBack)
{
    Deliver(CaptionOf("<tt/>", 5000));
    Deliver(CaptionOf("<tt/>", 5000));
    EXPECT_EQ(Delivered(), 1U);
    Deliver(CaptionOf("<tt/>", 4999));
    EXPECT_EQ(Delivered(), 2U);
    Deliver(CaptionOf("<tt/>", 4999));
    EXPECT_EQ(Delivered(), 2U) << "once only";
}

TEST_F(AtscCaptions, AreNotDeliveredAgainForATimeThatIsRefused)
{
    Deliver(CaptionOf("<tt/>", 5000));
    Deliver(CaptionOf("<tt/>", -1));
    Deliver(CaptionOf("<tt/>", 5000));
    EXPECT_EQ(Delivered(), 1U);
}

TEST_F(AtscCaptions, AreRememberedAsTheyCameNotAsTheyWereSplit)
{
    Begin(1);
    Deliver(CaptionOf("<tt/>" + kPng));
    Deliver(CaptionOf("<tt/>" + kPng));
    EXPECT_EQ(Delivered(), 1U);
    Deliver(CaptionOf("<tt/>" + kPng + "other"));
    EXPECT_EQ(Delivered(), 2U);
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(Delivered(), 3U);
}

TEST_F(AtscCaptions, ThatAreDroppedAreNotRemembered)
{
    Deliver(CaptionOf("<tt/>", -1));
    TSCaption other = CaptionOf("<tt/>");
    other.type = 0;
    Deliver(other);
    EXPECT_TRUE(StateOf(*m_source).last.empty());
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(Delivered(), 1U);
}

// The profile.

TEST_F(AtscCaptions, OfAProfileThatIsKnownAskForNone)
{
    for (const unsigned char profile : std::vector<unsigned char>{0, 1}) {
        ForceProfile(*m_source, profile);
        Deliver(CaptionOf("text " + std::to_string(profile)));
        EXPECT_EQ(ScriptedLog::CountOf({"m_GetCurrentCaptionFromTVS", "Enter"}), 0U);
    }
}

TEST_F(AtscCaptions, OfAnUnknownProfileAskForItEachTime)
{
    // Pins: m_GetCurrentCaptionProfile.
    for (const unsigned char profile : std::vector<unsigned char>{2, 3, 254, 255}) {
        SCOPED_TRACE(static_cast<int>(profile));
        Begin(profile);
        for (const char* const text : {"first", "second"}) {
            Forget();
            Deliver(CaptionOf(text + kPng));
            EXPECT_EQ(LastRecord().dataType, 0) << "not the profile with images";
            EXPECT_EQ(LastRecord().data, text + kPng + kEnd);
            EXPECT_EQ(ScriptedLog::CountOf({"m_GetCurrentCaptionFromTVS", "Enter"}), 1U);
        }
        EXPECT_EQ(StateOf(*m_source).caption.profile, profile);
    }
}

TEST_F(AtscCaptions, KeepWhatTheServiceSaysOfThem)
{
    ScriptedTvService::Change(
        [](TvScene& scene) { scene.caption = TCCaption{"track-7", 0x656E67, 1, 2, 3, 1, 4}; });
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(ScriptedLog::CountOf("Current Caption "
                                   "Data:[ID:track-7][LANG:0x656e67][ROLE:1][Asp:2][Easy:3][Prof:1][3D:4]"),
              1U);
    const TCCaption caption = StateOf(*m_source).caption;
    EXPECT_EQ(caption.id, "track-7");
    EXPECT_EQ(caption.languageCode, 0x656E67);
    EXPECT_EQ(caption.role, 1);
    EXPECT_EQ(caption.aspect, 2);
    EXPECT_EQ(caption.easyReader, 3);
    EXPECT_EQ(caption.profile, 1);
    EXPECT_EQ(caption.is3D, 4);
}

TEST_F(AtscCaptions, AreTextWhenTheProfileCannotBeAskedFor)
{
    Begin(1);
    for (const TvAnswer answer : {TvAnswer::Failure(-1), TvAnswer::Failure(1), TvAnswer::Null()}) {
        ScriptedTvService::Answer(TvCall::CREATE_DATA_CONTROL, answer);
        Forget();
        Deliver(CaptionOf("text " + std::to_string(Delivered()) + kPng));
        const Texts calls = Journal::Instance().Calls("tv service");
        EXPECT_EQ(calls, (Texts{"CreateDataControl(1, 0) = " + std::to_string(*answer.result) + ", null"}));
        EXPECT_EQ(ScriptedLog::CountOf({"m_GetCurrentCaptionFromTVS", "CreateDataControl failed!"}), 1U);
        EXPECT_EQ(LastRecord().dataType, 0);
        EXPECT_EQ(LastRecord().secondaryData, "");
    }
    Deliver(CaptionOf("last" + kPng));
    EXPECT_EQ(LastRecord().dataType, 1) << "the next one asks again";
}

TEST_F(AtscCaptions, AreTextWhenTheProfileIsNotTold)
{
    Begin(1);
    for (const int result : {0, -1}) {
        ScriptedTvService::Answer(TvCall::GET_CURRENT_CAPTION, TvAnswer::Failure(result));
        const Texts story = StoryOfCaption(CaptionOf("text " + std::to_string(result) + kPng));
        ASSERT_GE(story.size(), 6U);
        EXPECT_NE(story.at(3).find(".GetCurrentCaption() = " + std::to_string(result)), std::string::npos);
        EXPECT_EQ(story.at(4), "W GetCurrentCaption failed!!");
        EXPECT_EQ(story.at(5).rfind("Destroy(#", 0), 0U);
        EXPECT_EQ(LastRecord().dataType, 0);
        EXPECT_EQ(StateOf(*m_source).caption.profile, 255);
    }
}

TEST_F(AtscCaptions, OfATrackWhoseProfileIsLeftOutAskForItAgain)
{
    Begin(1);
    ScriptedTvService::Change([](TvScene& scene) { scene.captionProfileTold = false; });
    Deliver(CaptionOf("<tt/>" + kPng));
    EXPECT_EQ(LastRecord().dataType, 0);
    EXPECT_EQ(StateOf(*m_source).caption.profile, 255) << "not taken for text for good";
    EXPECT_EQ(StateOf(*m_source).caption.id, "cc1");
    ScriptedTvService::Change([](TvScene& scene) { scene.captionProfileTold = true; });
    Deliver(CaptionOf("<tt></tt>" + kPng));
    EXPECT_EQ(LastRecord().dataType, 1);
    EXPECT_EQ(LastRecord().data, "<tt></tt>");
}

// Images.

TEST_F(AtscCaptions, OfTheImageProfileAreSplitAtTheImage)
{
    Begin(1);
    EXPECT_EQ(StoryOfCaption(CaptionOf("<tt/>" + kPng + "pixels")),
              Together({kTimes, AsksForCaption(9, 1), {"I Image data found!", "client 0"}, WritesBanner(1)}));
    EXPECT_EQ(LastRecord().dataType, 1);
    EXPECT_EQ(LastRecord().data, "<tt/>");
    EXPECT_EQ(LastRecord().secondaryData, kPng + "pixels" + kEnd);
}

TEST_F(AtscCaptions, OfTheImageProfileWithoutAnImageAreText)
{
    Begin(1);
    for (const std::string& text : {std::string("<tt/>"), "<tt/>" + kPng.substr(0, 7), kPng.substr(1),
                                    kPng.substr(0, 4) + " " + kPng.substr(4), std::string("PNG")}) {
        Deliver(CaptionOf(text));
        EXPECT_EQ(LastRecord().dataType, 0);
        EXPECT_EQ(LastRecord().data, text + kEnd);
        EXPECT_EQ(LastRecord().secondaryData, "");
    }
    EXPECT_EQ(Delivered(), 5U);
    EXPECT_EQ(ScriptedLog::CountOf("Image data found!"), 0U);
}

TEST_F(AtscCaptions, ThatBeginWithTheImageGoOutWholeWithTheImageBesides)
{
    Begin(1);
    Deliver(CaptionOf(kPng + "pixels"));
    EXPECT_EQ(ScriptedLog::CountOf("Image data found!"), 1U);
    EXPECT_EQ(LastRecord().dataType, 0);
    EXPECT_EQ(LastRecord().data, kPng + "pixels" + kEnd);
    EXPECT_EQ(LastRecord().secondaryData, kPng + "pixels" + kEnd);
}

TEST_F(AtscCaptions, AreSplitAtTheFirstImage)
{
    Begin(1);
    Deliver(CaptionOf("<tt/>" + kPng + "one" + kPng + "two"));
    EXPECT_EQ(LastRecord().data, "<tt/>");
    EXPECT_EQ(LastRecord().secondaryData, kPng + "one" + kPng + "two" + kEnd);
}

TEST_F(AtscCaptions, AreSplitAtAnImageAtTheVeryEnd)
{
    Begin(1);
    Deliver(CaptionOf("<tt/>" + kPng));
    EXPECT_EQ(LastRecord().dataType, 1);
    EXPECT_EQ(LastRecord().data, "<tt/>");
    EXPECT_EQ(LastRecord().secondaryData, kPng + kEnd);
    // A beginning of the signature in front does not hide it.
    Deliver(CaptionOf("x\x89\x89PN" + kPng));
    EXPECT_EQ(LastRecord().data, "x\x89\x89PN");
}

TEST_F(AtscCaptions, OfTheTextProfileAreNotSplit)
{
    Deliver(CaptionOf("<tt/>" + kPng + "pixels"));
    EXPECT_EQ(LastRecord().dataType, 0);
    EXPECT_EQ(LastRecord().data, "<tt/>" + kPng + "pixels" + kEnd);
    EXPECT_EQ(LastRecord().secondaryData, "");
    EXPECT_EQ(ScriptedLog::CountOf("Image data found!"), 0U);
}

TEST_F(AtscCaptions, WithoutAnImageChangeNothingInTheSplit)
{
    std::vector<unsigned char> payload = {'a', 'b'};
    TTML::TTMLRawDataInfo record;
    record.data = "before";
    record.secondaryData = "image before";
    record.dataType = 7;
    EXPECT_EQ(StoryOf([&] { CallPrivateStatic<AtscSplit>(payload, &record); }), Texts{});
    EXPECT_EQ(record.data, "before");
    EXPECT_EQ(record.secondaryData, "image before");
    EXPECT_EQ(record.dataType, 7);
    EXPECT_EQ(payload.size(), 2U);
}

// Memory.

using AtscCaptionsMemory = AtscCaptions;

const std::string kLongText(100, 'x');

TEST_F(AtscCaptionsMemory, IsNeededForTheRecord)
{
    EXPECT_DEATH(
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW);
            Deliver(CaptionOf(kLongText));
        },
        "Assertion `pSubtitleData' failed");
}

TEST_F(AtscCaptionsMemory, IsNeededForTheZeroByteAndTheTexts)
{
    Begin(1);
    ForceProfile(*m_source, 1);
    // The zero byte, the document and the image.
    for (const unsigned int allocation : {1U, 2U, 3U}) {
        EXPECT_DEATH(
            {
                TSCaption caption = CaptionOf(kLongText + kPng + kLongText);
                caption.data.shrink_to_fit();
                const FaultInjection noMemory(Call::NEW, allocation);
                ScriptedTvService::LateCaption(caption, m_source.get());
            },
            "Assertion `pSubtitleData' failed");
    }
}

TEST_F(AtscCaptionsMemory, ThatIsMissingForTheRepeatRuleLetsARepeatThrough)
{
    Deliver(CaptionOf("before"));
    TSCaption caption = CaptionOf(kLongText);
    caption.data.shrink_to_fit();
    {
        // Behind the zero byte and the text.
        const FaultInjection noMemory(Call::NEW, 3);
        ScriptedTvService::LateCaption(caption, m_source.get());
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(Delivered(), 2U);
    EXPECT_TRUE(StateOf(*m_source).last.empty()) << "nor is the one before the last any more";
    Deliver(CaptionOf(kLongText));
    EXPECT_EQ(Delivered(), 3U);
    Deliver(CaptionOf(kLongText));
    EXPECT_EQ(Delivered(), 3U);
}

} // namespace

} // namespace TTMLTest
