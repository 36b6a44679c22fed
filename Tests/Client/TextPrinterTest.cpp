#include "TextPrinter.h"

#include <sstream>

#include <gtest/gtest.h>

#include "EventFixtures.h"

using TTMLClient::Event;
using TTMLClient::TextLayout;
using TTMLClient::TextPrinter;
using TTMLTest::EventOf;

namespace {

std::string Printed(const Event& event, const TextLayout& layout = {})
{
    std::ostringstream out;
    EXPECT_TRUE(TextPrinter(out, layout).Print(event));
    return out.str();
}

TEST(TextPrinter, AlignsEveryKindOfLine)
{
    TTML::TTMLRawDataInfo data = TTMLTest::Sample();
    Event event = EventOf(TTML::CALLBACK_DATA, "Inband");
    event.data = &data;
    EXPECT_EQ(Printed(event),
              "     1.234  Inband    data             00:00:01.200  #3 00:00:15.000 - 00:00:20.000    Hi\n");

    data.segStartTimeMs = 0;
    data.segEndTimeMs = 0;
    EXPECT_EQ(Printed(event),
              "     1.234  Inband    data             00:00:01.200  #3 at 00:00:15.000                Hi\n");

    event.thread = "Source";
    EXPECT_EQ(Printed(event),
              "     1.234  Source    data             00:00:01.200  document, 42 B                    Hi\n");

    Event started = EventOf(TTML::CALLBACK_STARTED);
    EXPECT_EQ(Printed(started), "     1.234  Source    started          00:00:01.200  out of band\n");
    started.inBand = true;
    EXPECT_EQ(Printed(started), "     1.234  Source    started          00:00:01.200  in band\n");

    Event seek = EventOf(TTML::CALLBACK_SEEK_STARTED);
    seek.positionMs = 10000;
    seek.mediaTimeMs.reset();
    EXPECT_EQ(Printed(seek), "     1.234  Source    seek_started     -             to 00:00:10.000\n");

    Event fonts = EventOf(TTML::CALLBACK_FONTS_ERROR, "ttmlsrc");
    fonts.fonts = {"Noto", "DejaVu"};
    EXPECT_EQ(Printed(fonts), "     1.234  ttmlsrc   fonts_error      00:00:01.200                           "
                              "         Noto, DejaVu\n");

    EXPECT_EQ(Printed(EventOf(TTML::CALLBACK_STOPPED)),
              "     1.234  Source    stopped          00:00:01.200\n");
}

TEST(TextPrinter, SaysOfABroadcastDocumentWhatKindItIs)
{
    TTML::TTMLRawDataInfo data;
    data.data = "<tt><body><div><p>Hi</p></div></body></tt>";
    Event event = EventOf(TTML::CALLBACK_DATA, "TvInput");
    event.data = &data;
    const std::string head = "     1.234  TvInput   data             00:00:01.200  ";
    EXPECT_EQ(Printed(event), head + "document, 42 B                    Hi\n");
    data.dataType = 0;
    EXPECT_EQ(Printed(event), head + "IMSC1 document, 42 B              Hi\n");
    data.dataType = 1;
    EXPECT_EQ(Printed(event), head + "IMSC1 image document, 42 B        Hi\n");
    data.dataType = 2;
    EXPECT_EQ(Printed(event), head + "EBU-TT-D document, 42 B           Hi\n");
}

TEST(TextPrinter, MarksWhatComesWhileTheCaptionIsHidden)
{
    const TTML::TTMLRawDataInfo data = TTMLTest::Sample();
    Event event = EventOf(TTML::CALLBACK_DATA, "Inband");
    event.data = &data;
    event.hidden = true;
    EXPECT_EQ(Printed(event), "     1.234  Inband    data             00:00:01.200  #3 00:00:15.000 - "
                              "00:00:20.000    [hidden] Hi\n");
}

TEST(TextPrinter, SaysWhereThereIsNoTextAndHowBigAnImageIs)
{
    TTML::TTMLRawDataInfo data;
    Event event = EventOf(TTML::CALLBACK_DATA);
    event.data = &data;
    EXPECT_NE(Printed(event).find("document, 0 B                     (empty)\n"), std::string::npos);
    data.data = "<tt/>" + std::string(2043, ' ');
    data.secondaryData = std::string(3UL * 1024 * 1024, 'x');
    EXPECT_NE(Printed(event).find("document, 2.0 KB                  [image 3.0 MB] (no text)\n"),
              std::string::npos);
}

TEST(TextPrinter, CutsTheTextToTheWidthOfTheLine)
{
    TTML::TTMLRawDataInfo data;
    data.data = std::string(200, 'x');
    Event event = EventOf(TTML::CALLBACK_DATA);
    event.data = &data;
    EXPECT_NE(Printed(event).find("  " + std::string(71, 'x') + "\u2026\n"), std::string::npos);
    // 87 columns stand before the text.
    const std::string fitted = Printed(event, {false, 120});
    EXPECT_NE(fitted.find("  " + std::string(32, 'x') + "\u2026\n"), std::string::npos) << fitted;
    EXPECT_NE(Printed(event, {false, 40}).find("  " + std::string(19, 'x') + "\u2026\n"), std::string::npos);
}

TEST(TextPrinter, KeepsAnyDocumentOnOneLineWithoutControlCharacters)
{
    TTML::TTMLRawDataInfo data;
    data.data = "<p>a\033]0;b\007\nc&#10;d&#27;e</p>";
    Event event = EventOf(TTML::CALLBACK_DATA);
    event.data = &data;
    const std::string line = Printed(event);
    EXPECT_NE(line.find("  a\uFFFD]0;b\uFFFD c d\uFFFDe\n"), std::string::npos) << line;
}

TEST(TextPrinter, ColoursOnlyWhereItIsTold)
{
    const Event event = EventOf(TTML::CALLBACK_STOPPED);
    EXPECT_EQ(Printed(event).find('\033'), std::string::npos);
    EXPECT_EQ(Printed(event, {true, 0}),
              "\033[2m     1.234  Source    \033[0m\033[33mstopped        \033[0m  00:00:01.200\n");
}

TEST(TextPrinter, SaysThatALineCouldNotBeWritten)
{
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    EXPECT_FALSE(TextPrinter(out, {}).Print(EventOf(TTML::CALLBACK_SHOW)));
}

} // namespace
