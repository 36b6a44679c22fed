#include "Utf8.h"

#include <gtest/gtest.h>

using TTMLClient::FitColumns;
using TTMLClient::ReadCodePoint;

namespace {

struct Read
{
    char32_t codePoint;
    std::size_t bytes;
    bool operator==(const Read& other) const { return codePoint == other.codePoint && bytes == other.bytes; }
};

Read First(const std::string& text)
{
    std::size_t at = 0;
    const char32_t codePoint = ReadCodePoint(text, at);
    return {codePoint, at};
}

TEST(Utf8, ReadsSequencesOfEveryLength)
{
    EXPECT_TRUE((First("A") == Read{U'A', 1}));
    EXPECT_TRUE((First("\u00E9x") == Read{0xE9, 2}));
    EXPECT_TRUE((First("\u20ACx") == Read{0x20AC, 3}));
    EXPECT_TRUE((First("\U0001F600x") == Read{0x1F600, 4}));
    EXPECT_TRUE((First("\U0010FFFF") == Read{0x10FFFF, 4}));
}

TEST(Utf8, ReadsIllFormedBytesOneByOneAsTheReplacementCharacter)
{
    const Read replaced{TTMLClient::kReplacementCharacter, 1};
    EXPECT_TRUE(First("\x80") == replaced);             // a continuation alone
    EXPECT_TRUE(First("\xC3") == replaced);             // cut short
    EXPECT_TRUE(First("\xC3(") == replaced);            // no continuation
    EXPECT_TRUE(First("\xC0\xAF") == replaced);         // longer than needed
    EXPECT_TRUE(First("\xE0\x80\xAF") == replaced);     // longer than needed
    EXPECT_TRUE(First("\xED\xA0\x80") == replaced);     // a surrogate
    EXPECT_TRUE(First("\xF4\x90\x80\x80") == replaced); // beyond the last code point
    EXPECT_TRUE(First("\xFF") == replaced);
}

TEST(Utf8, AppendsWhatItReads)
{
    for (const char* text : {"A", "\u00E9", "\u20AC", "\U0001F600"}) {
        std::string appended;
        TTMLClient::AppendCodePoint(appended, First(text).codePoint);
        EXPECT_EQ(appended, text);
    }
}

TEST(FitColumns, LeavesWhatFits)
{
    EXPECT_EQ(FitColumns("", 5), "");
    EXPECT_EQ(FitColumns("hello", 5), "hello");
    EXPECT_EQ(FitColumns("\u043F\u0440\u0438\u0432\u0435\u0442", 6), "\u043F\u0440\u0438\u0432\u0435\u0442");
}

TEST(FitColumns, CutsAtACodePointAndSaysSo)
{
    EXPECT_EQ(FitColumns("hello!", 5), "hell\u2026");
    EXPECT_EQ(FitColumns("\u043F\u0440\u0438\u0432\u0435\u0442", 3), "\u043F\u0440\u2026");
    EXPECT_EQ(FitColumns("ab", 1), "\u2026");
    EXPECT_EQ(FitColumns("ab", 0), "");
}

TEST(FitColumns, CountsWideCharactersTwice)
{
    EXPECT_EQ(FitColumns("\u65E5\u672C\u8A9E", 6), "\u65E5\u672C\u8A9E");
    EXPECT_EQ(FitColumns("\u65E5\u672C\u8A9E", 5), "\u65E5\u672C\u2026");
    EXPECT_EQ(FitColumns("\u65E5\u672C\u8A9E", 4), "\u65E5\u2026");
}

TEST(FitColumns, KeepsMarksWithTheirLetter)
{
    // Four columns, each letter with a combining acute accent.
    const std::string letter = "e\u0301";
    EXPECT_EQ(FitColumns(letter + letter + letter + letter, 4), letter + letter + letter + letter);
    EXPECT_EQ(FitColumns(letter + letter + letter + letter, 3), letter + letter + "\u2026");
}

TEST(FitColumns, ReplacesWhatWouldSteerATerminal)
{
    EXPECT_EQ(FitColumns("a\033[31mb\x7F", 20), "a\uFFFD[31mb\uFFFD");
    EXPECT_EQ(FitColumns("a\u009Bb\nc", 20), "a\uFFFDb\uFFFDc");
    EXPECT_EQ(FitColumns("\xFF", 20), "\uFFFD");
}

} // namespace
