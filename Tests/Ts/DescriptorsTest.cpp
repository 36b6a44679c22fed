#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Descriptors.h"
#include "TsBuilder.h"

namespace {

using TTMLHost::ByteSpan;
using TTMLHost::FindRating;
using TTMLHost::FindServiceName;
using TTMLHost::FindTtmlDescriptor;
using TTMLHost::TtmlDescriptor;
using TTMLTest::Bytes;
using TTMLTest::DescriptorBytes;
using TTMLTest::RatingDescriptor;
using TTMLTest::TextBytes;
using TTMLTest::TtmlDescriptorBytes;
using TTMLTest::TtmlFields;
using TTMLTest::operator+;

ByteSpan Span(const Bytes& bytes)
{
    return {bytes.data(), bytes.size()};
}

TtmlFields AllFields()
{
    TtmlFields fields;
    fields.language = "deu";
    fields.purpose = 0x31;
    fields.ttsSuitability = 2;
    fields.profiles = {0x02, 0x01, 0x00};
    fields.qualifier = 0x01020304U;
    fields.fontIds = std::vector<int>{5, 0x7f};
    fields.text = "Untertitel";
    return fields;
}

TEST(TtmlDescriptor, HasAllItsFields)
{
    const Bytes bytes = DescriptorBytes(0x52, {9}) + TtmlDescriptorBytes(AllFields());
    const std::optional<TtmlDescriptor> ttml = FindTtmlDescriptor(Span(bytes));
    ASSERT_TRUE(ttml);
    EXPECT_EQ(ttml->language, "deu");
    EXPECT_EQ(ttml->purpose, 0x31);
    EXPECT_EQ(ttml->ttsSuitability, 2);
    EXPECT_EQ(ttml->profiles, (std::vector<int>{0x02, 0x01, 0x00}));
    EXPECT_EQ(ttml->qualifier, 0x01020304U);
    EXPECT_TRUE(ttml->essentialFonts);
    EXPECT_EQ(ttml->fontIds, (std::vector<int>{5, 0x7f}));
    EXPECT_EQ(ttml->text, "Untertitel");
}

TEST(TtmlDescriptor, MayHaveOnlyWhatItMust)
{
    const Bytes bytes = TtmlDescriptorBytes({});
    const std::optional<TtmlDescriptor> ttml = FindTtmlDescriptor(Span(bytes));
    ASSERT_TRUE(ttml);
    EXPECT_EQ(ttml->language, "eng");
    EXPECT_EQ(ttml->purpose, 0);
    EXPECT_TRUE(ttml->profiles.empty());
    EXPECT_FALSE(ttml->qualifier);
    EXPECT_FALSE(ttml->essentialFonts);
    EXPECT_EQ(ttml->text, "");
}

// What can be read of the descriptor when the body ends behind `body` bytes.
void ExpectReadAsFarAs(const std::optional<TtmlDescriptor>& ttml, std::size_t body)
{
    ASSERT_EQ(ttml.has_value(), body >= 1) << body;
    if (!ttml) {
        return;
    }
    EXPECT_EQ(ttml->language, body >= 4 ? "deu" : "") << body;
    EXPECT_EQ(ttml->purpose, body >= 5 ? 0x31 : 0) << body;
    EXPECT_EQ(ttml->profiles.size(), body < 7 ? 0U : std::min<std::size_t>(body - 6, 3)) << body;
    EXPECT_EQ(ttml->qualifier.has_value(), body >= 13) << body;
    EXPECT_EQ(ttml->fontIds.size(), body < 15 ? 0U : std::min<std::size_t>(body - 14, 2)) << body;
    EXPECT_EQ(ttml->text, std::string("Untertitel").substr(0, body < 18 ? 0 : body - 17)) << body;
}

TEST(TtmlDescriptor, IsReadAsFarAsItGoes)
{
    const Bytes whole = TtmlDescriptorBytes(AllFields());
    for (std::size_t body = 0; body <= whole.size() - 2; ++body) {
        const Bytes end(whole.begin() + 2, whole.begin() + 2 + static_cast<std::ptrdiff_t>(body));
        // Once with a length that says so, once with one that promises the rest, at the end of the loop.
        const Bytes honest = DescriptorBytes(0x7f, end);
        ExpectReadAsFarAs(FindTtmlDescriptor(Span(honest)), body);
        const Bytes lying = Bytes{0x7f, whole[1]} + end;
        ExpectReadAsFarAs(FindTtmlDescriptor(Span(lying)), body);
        const Bytes followed = honest + RatingDescriptor(5);
        ExpectReadAsFarAs(FindTtmlDescriptor(Span(followed)), body);
    }
}

TEST(TtmlDescriptor, HasNoLanguageWithoutLetters)
{
    TtmlFields fields;
    fields.language = "e1g";
    const Bytes bytes = TtmlDescriptorBytes(fields);
    EXPECT_EQ(FindTtmlDescriptor(Span(bytes))->language, "");
}

TEST(TtmlDescriptor, IsNoOtherExtension)
{
    for (int extension = 0; extension < 256; ++extension) {
        const Bytes bytes =
            DescriptorBytes(0x7f, {static_cast<unsigned char>(extension), 'e', 'n', 'g', 0, 0, 0});
        EXPECT_EQ(FindTtmlDescriptor(Span(bytes)).has_value(), extension == 0x20);
    }
}

TEST(Descriptors, EndWithALoopOfEachLength)
{
    const Bytes loop = DescriptorBytes(0x52, {9}) + DescriptorBytes(0x0a, TextBytes("eng0"));
    for (std::size_t size = 0; size <= loop.size(); ++size) {
        const Bytes cut(loop.begin(), loop.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(FindTtmlDescriptor(Span(cut)), std::nullopt);
        EXPECT_EQ(FindRating(Span(cut)), std::nullopt);
        EXPECT_EQ(FindServiceName(Span(cut)), "");
    }
}

TEST(Rating, IsThreeYearsMoreThanItsNumber)
{
    EXPECT_EQ(FindRating(Span(RatingDescriptor(0x01))), 4);
    EXPECT_EQ(FindRating(Span(RatingDescriptor(0x0f))), 18);
}

TEST(Rating, IsUnknownForOtherNumbers)
{
    EXPECT_EQ(FindRating(Span(RatingDescriptor(0x00))), std::nullopt);
    EXPECT_EQ(FindRating(Span(RatingDescriptor(0x10))), std::nullopt);
    EXPECT_EQ(FindRating(Span(RatingDescriptor(0xff))), std::nullopt);
}

TEST(Rating, IsTheStrictestOfAllCountries)
{
    const Bytes bytes = DescriptorBytes(0x55, TextBytes("DEU\x03"
                                                        "FRA\x09"
                                                        "ITA\x05"));
    EXPECT_EQ(FindRating(Span(bytes)), 12);
    EXPECT_EQ(FindRating(Span(bytes + RatingDescriptor(13))), 16);
}

TEST(Rating, IsReadOfWholeEntriesOnly)
{
    const Bytes whole = DescriptorBytes(0x55, TextBytes("DEU\x03"
                                                        "FRA\x09"));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(FindRating(Span(cut)), size < 6 ? std::nullopt : std::make_optional(6)) << size;
    }
}

TEST(ServiceName, FollowsTheProvider)
{
    const Bytes bytes = DescriptorBytes(0x48, Bytes{1, 3} + TextBytes("abc") + Bytes{5} + TextBytes("Eins!"));
    EXPECT_EQ(FindServiceName(Span(bytes)), "Eins!");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(FindServiceName(Span(cut)), std::string("Eins!").substr(0, size < 8 ? 0 : size - 8))
            << size;
    }
}

} // namespace
