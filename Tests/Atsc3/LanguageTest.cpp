#include <gtest/gtest.h>

#include "Language.h"

namespace {

using TTMLHost::LanguageCodeOf;
using TTMLHost::LanguageOf;

TEST(Language, HasThreeLetters)
{
    EXPECT_EQ(LanguageOf("eng"), "eng");
    EXPECT_EQ(LanguageOf("en"), "eng");
    EXPECT_EQ(LanguageOf("EN-us"), "eng");
    EXPECT_EQ(LanguageOf("ko"), "kor");
    EXPECT_EQ(LanguageOf("aa"), "aar");
    EXPECT_EQ(LanguageOf("zu"), "zul");
    EXPECT_EQ(LanguageOf("zh-Hant"), "zho");
}

TEST(Language, IsTheSameByItsBibliographicCode)
{
    EXPECT_EQ(LanguageOf("ger"), "deu");
    EXPECT_EQ(LanguageOf("de"), "deu");
    EXPECT_EQ(LanguageOf("fre"), "fra");
    EXPECT_EQ(LanguageOf("wel"), "cym");
}

TEST(Language, StaysWhatTheStandardDoesNotKnow)
{
    EXPECT_EQ(LanguageOf("qaa"), "qaa");
    EXPECT_EQ(LanguageOf("xx"), "xx");
}

TEST(Language, IsEmptyForWhatIsNone)
{
    for (const char* const tag : {"", "english", "e", "1en", "e n", "-en"}) {
        EXPECT_EQ(LanguageOf(tag), "") << tag;
    }
}

TEST(Language, PacksItsLetters)
{
    EXPECT_EQ(LanguageCodeOf("eng"), 0x656e67);
    EXPECT_EQ(LanguageCodeOf("en"), 0);
    EXPECT_EQ(LanguageCodeOf(""), 0);
}

} // namespace
