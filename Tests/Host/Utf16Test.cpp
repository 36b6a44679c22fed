#include "Utf16.h"

#include <string>

#include <gtest/gtest.h>

using namespace TTMLHost;

namespace {

enum class Order
{
    Little,
    Big
};

// UTF-16 with a byte-order mark.
std::string Utf16(const std::u16string& text, Order order)
{
    std::string bytes;
    for (const char16_t unit : u"\ufeff" + text) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xff);
        bytes += order == Order::Big ? high : low;
        bytes += order == Order::Big ? low : high;
    }
    return bytes;
}

TextConversion Convert(std::string* text)
{
    DocumentBuffer document;
    EXPECT_TRUE(document.Append(text->data(), text->size()));
    const TextConversion result = ConvertUtf16(&document);
    text->assign(document.Data() == nullptr ? "" : document.Data(), document.Size());
    return result;
}

void ExpectConverted(const std::u16string& from, const std::string& to)
{
    for (const Order order : {Order::Little, Order::Big}) {
        std::string text = Utf16(from, order);
        EXPECT_EQ(Convert(&text), TextConversion::Done);
        EXPECT_EQ(text, to);
    }
}

void ExpectUnchanged(const std::string& original)
{
    std::string text = original;
    EXPECT_EQ(Convert(&text), TextConversion::NotNeeded);
    EXPECT_EQ(text, original);
}

void ExpectInvalid(const std::string& original)
{
    std::string text = original;
    EXPECT_EQ(Convert(&text), TextConversion::Invalid);
}

} // namespace

TEST(Utf16, BecomesUtf8WithoutAMark)
{
    ExpectConverted(u"<tt/>", "<tt/>");
    ExpectConverted(u"Gr\u00fc\u00dfe, \u5b57\u5e55", "Grüße, 字幕");
    ExpectConverted(u"\U0001f600", "\xf0\x9f\x98\x80");
}

TEST(Utf16, ADocumentOfAMarkAloneIsEmpty)
{
    ExpectConverted(u"", "");
}

TEST(Utf16, GrowsToThreeBytesForTwo)
{
    std::string utf8;
    for (int i = 0; i < 100000; ++i) {
        utf8 += "字";
    }
    ExpectConverted(std::u16string(100000, u'\u5b57'), utf8);
}

TEST(Utf16, KeepsCharactersThatNeedNoText)
{
    ExpectConverted(std::u16string(u"a\0b", 3), std::string("a\0b", 3));
    ExpectConverted(u"a\ufeffb", "a\xef\xbb\xbf"
                                 "b");
}

TEST(Utf16, OtherTextIsLeftAlone)
{
    ExpectUnchanged("");
    ExpectUnchanged("<");
    ExpectUnchanged("\xff");
    ExpectUnchanged("<?xml version=\"1.0\"?><tt/>");
    ExpectUnchanged("\xef\xbb\xbf<tt/>");
    ExpectUnchanged(std::string("<\0t\0t\0", 6)); // no mark, no conversion
}

TEST(Utf16, RefusesWhatIsNone)
{
    ExpectInvalid("\xff\xfe<");                         // half a character
    ExpectInvalid(std::string("\xff\xfe\0\xd8", 4));    // the first half of a pair
    ExpectInvalid(std::string("\xff\xfe\0\xd8<\0", 6)); // the same in the middle
    ExpectInvalid(std::string("\xff\xfe\0\xdc", 4));    // the second half of a pair
    ExpectInvalid(std::string("\xfe\xff\xd8\0\0<", 6)); // the other byte order
}
