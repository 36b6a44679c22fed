#include "JsonPrinter.h"

#include <sstream>

#include <gtest/gtest.h>

#include "EventFixtures.h"

using TTMLClient::Event;
using TTMLClient::JsonPrinter;
using TTMLTest::EventOf;

namespace {

std::string Printed(const Event& event)
{
    std::ostringstream out;
    EXPECT_TRUE(JsonPrinter(out).Print(event));
    return out.str();
}

std::string Head(int code, const char* name, const char* thread = "Source")
{
    return "{\"code\":" + std::to_string(code) + ",\"event\":\"" + name + "\",\"thread\":\"" + thread +
           "\",\"wallMs\":1234,\"mediaTimeMs\":1200";
}

TEST(JsonPrinter, WritesEveryCodeWithoutFieldsOfItsOwn)
{
    const std::pair<int, const char*> codes[] = {
        {2, "stopped"},        {3, "paused"},        {4, "resumed"},         {5, "invalidated"},
        {7, "seek_completed"}, {8, "register_menu"}, {9, "unregister_menu"}, {10, "set_menu_lang"},
        {11, "show"},          {12, "hide"},         {13, "fonts_error"},
    };
    for (const auto& [code, name] : codes) {
        EXPECT_EQ(Printed(EventOf(code, "ttmlsrc")), Head(code, name, "ttmlsrc") + "}\n");
    }
}

TEST(JsonPrinter, WritesTheInBandFlagOfAStart)
{
    Event event = EventOf(TTML::CALLBACK_STARTED);
    EXPECT_EQ(Printed(event), Head(1, "started") + ",\"inBand\":false}\n");
    event.inBand = true;
    EXPECT_EQ(Printed(event), Head(1, "started") + ",\"inBand\":true}\n");
}

TEST(JsonPrinter, WritesThePositionOfASeek)
{
    Event event = EventOf(TTML::CALLBACK_SEEK_STARTED);
    event.positionMs = 10000;
    EXPECT_EQ(Printed(event), Head(6, "seek_started") + ",\"positionMs\":10000}\n");
}

TEST(JsonPrinter, WritesADeliveryFieldByField)
{
    TTML::TTMLRawDataInfo data = TTMLTest::Sample();
    data.secondaryData = "PNG!";
    Event event = EventOf(TTML::CALLBACK_DATA, "Inband");
    event.data = &data;
    event.hidden = true; // follows from the lines before
    EXPECT_EQ(Printed(event),
              Head(0, "data", "Inband") +
                  ",\"index\":3,\"dataType\":-1,\"timestamp\":15000,\"segStartTimeMs\":15000,"
                  "\"segEndTimeMs\":20000,\"trackDescriptor\":\"en\",\"bytes\":42,\"secondaryBytes\":4,"
                  "\"data\":\"<tt><body><div><p>Hi</p></div></body></tt>\"}\n");
}

TEST(JsonPrinter, WritesNullForAMediaTimeThatTheSourceDoesNotKnow)
{
    Event event = EventOf(TTML::CALLBACK_STOPPED);
    event.mediaTimeMs.reset();
    EXPECT_EQ(Printed(event), "{\"code\":2,\"event\":\"stopped\",\"thread\":\"Source\",\"wallMs\":1234,"
                              "\"mediaTimeMs\":null}\n");
}

TEST(JsonPrinter, ReplacesBytesThatAreNotUtf8AndCountsThemAsTheyCame)
{
    TTML::TTMLRawDataInfo data;
    data.data = "a\xFF"
                "b\n\"\xE2\x82\xAC\"";
    Event event = EventOf(TTML::CALLBACK_DATA);
    event.data = &data;
    EXPECT_EQ(Printed(event),
              Head(0, "data") +
                  ",\"index\":0,\"dataType\":-1,\"timestamp\":0,\"segStartTimeMs\":0,\"segEndTimeMs\":0,"
                  "\"trackDescriptor\":\"\",\"bytes\":9,\"secondaryBytes\":0,"
                  "\"data\":\"a\uFFFDb\\n\\\"\u20AC\\\"\"}\n");
}

TEST(JsonPrinter, NamesACodeOutsideTheContractUnknown)
{
    EXPECT_EQ(Printed(EventOf(99)), Head(99, "unknown") + "}\n");
}

TEST(JsonPrinter, SaysThatALineCouldNotBeWritten)
{
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(JsonPrinter(out).Print(EventOf(TTML::CALLBACK_SHOW)));
}

} // namespace
