#include "DocumentText.h"

#include <gtest/gtest.h>

using TTMLClient::FirstText;

namespace {

std::string Document(const std::string& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tt xmlns=\"http://www.w3.org/ns/ttml\" "
           "xml:lang=\"en\">"
           "<head><metadata><ttm:title>A title</ttm:title></metadata><styling><style "
           "xml:id=\"s\"/></styling></head>"
           "<body><div>" +
           body + "</div></body></tt>";
}

TEST(FirstText, IsTheFirstParagraphWithText)
{
    EXPECT_EQ(FirstText(Document("<p begin=\"0s\">Hello</p><p>World</p>")), "Hello");
    EXPECT_EQ(FirstText(Document("<p/><p> \n </p><p>World</p>")), "World");
}

TEST(FirstText, StripsTagsAndCollapsesBlanks)
{
    EXPECT_EQ(FirstText(Document(
                  "<p>\n  <span style=\"s\">Good \t evening</span>,\n  <span>everybody</span>\n</p>")),
              "Good evening, everybody");
    EXPECT_EQ(FirstText(Document("<p>one<br/>two<br></br>three</p>")), "one two three");
}

TEST(FirstText, ReadsElementsWithANamespacePrefix)
{
    EXPECT_EQ(
        FirstText("<tt:tt xmlns:tt=\"http://www.w3.org/ns/ttml\"><tt:head><ttm:desc>no</ttm:desc></tt:head>"
                  "<tt:body><tt:div><tt:p>yes<tt:br/>indeed</tt:p></tt:div></tt:body></tt:tt>"),
        "yes indeed");
}

TEST(FirstText, ResolvesReferences)
{
    EXPECT_EQ(FirstText(Document("<p>&lt;b&gt; &amp; &quot;c&apos; &#65;&#x42;&#x20AC; &#32; d</p>")),
              "<b> & \"c' AB\u20AC d");
    EXPECT_EQ(FirstText(Document("<p>&nbsp; &#0; &#xD800; &#x110000; &; & AT&T</p>")),
              "&nbsp; &#0; &#xD800; &#x110000; &; & AT&T");
}

TEST(FirstText, ReadsCharacterDataAsItStands)
{
    EXPECT_EQ(FirstText(Document("<p><![CDATA[a < b &amp; c]]></p>")), "a < b &amp; c");
}

TEST(FirstText, SkipsCommentsInstructionsAndMetadata)
{
    EXPECT_EQ(FirstText("<!DOCTYPE tt><tt><!-- <p>no</p> --><body><?x <p>no</p>?><div><metadata>no</metadata>"
                        "<p><metadata><ttm:desc>no</ttm:desc></metadata>yes</p></div></body></tt>"),
              "yes");
}

TEST(FirstText, IsNotMisledByAttributes)
{
    EXPECT_EQ(FirstText(Document("<p title=\"a > b\" x='/>'>text</p>")), "text");
}

TEST(FirstText, ReadsEveryScript)
{
    EXPECT_EQ(FirstText(Document("<p>\u3053\u3093\u306B\u3061\u306F \u4E16\u754C</p>")),
              "\u3053\u3093\u306B\u3061\u306F \u4E16\u754C");
    EXPECT_EQ(FirstText(Document("<p>\u0645\u0631\u062D\u0628\u0627</p>")), "\u0645\u0631\u062D\u0628\u0627");
}

TEST(FirstText, FallsBackToTextOutsideParagraphs)
{
    EXPECT_EQ(FirstText("<tt>before<body><div>loose <b>text</b></div></body></tt>"), "loose text");
    EXPECT_EQ(FirstText("just  text"), "just text");
}

TEST(FirstText, IsEmptyWhereThereIsNone)
{
    EXPECT_EQ(FirstText(""), "");
    EXPECT_EQ(FirstText(Document("<p/>")), "");
    EXPECT_EQ(FirstText(Document("<image type=\"image/png\">iVBORw0KGgo=</image>")), "");
}

TEST(FirstText, LeavesOutAZeroByteBehindTheDocument)
{
    using namespace std::string_literals;
    EXPECT_EQ(FirstText("<tt xmlns=\"http://www.w3.org/ns/ttml\"/>\0"s), "");
    EXPECT_EQ(FirstText(Document("<p>Hello</p>") + "\0"s), "Hello");
}

TEST(FirstText, StandsWhatIsCutShort)
{
    const std::string document = Document("<p begin=\"0s\">a&amp;b<![CDATA[c]]><!--d--></p>");
    for (std::size_t size = 0; size <= document.size(); ++size) {
        const std::string text = FirstText(document.substr(0, size));
        EXPECT_LE(text.size(), size);
    }
    EXPECT_EQ(FirstText("<p>x</p"), "x");
    EXPECT_EQ(FirstText("<"), "");
    EXPECT_EQ(FirstText("</"), "");
}

TEST(FirstText, CutsEndlessText)
{
    EXPECT_EQ(FirstText(Document("<p>" + std::string(1000000, 'x') + "</p>")).size(), 4096U);
}

} // namespace
