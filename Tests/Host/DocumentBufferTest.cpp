#include "DocumentBuffer.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

using TTMLHost::DocumentBuffer;

namespace {

struct Freer
{
    void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Freer>;

} // namespace

TEST(DocumentBuffer, IsAnEmptyTextAtFirst)
{
    DocumentBuffer buffer;
    EXPECT_EQ(buffer.Size(), 0U);
    const OwnedText text(buffer.Release());
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text.get(), "");
}

TEST(DocumentBuffer, KeepsWhatIsAddedInOrder)
{
    DocumentBuffer buffer;
    std::string expected;
    for (std::size_t size = 0; size < 1000; ++size) {
        const std::string part(size, static_cast<char>('a' + size % 26));
        ASSERT_TRUE(buffer.Append(part.data(), part.size()));
        expected += part;
    }
    ASSERT_EQ(buffer.Size(), expected.size());
    const OwnedText text(buffer.Release());
    EXPECT_STREQ(text.get(), expected.c_str());
    EXPECT_EQ(buffer.Size(), 0U);
}

TEST(DocumentBuffer, CanBeUsedAgainAfterItsTextWasTaken)
{
    DocumentBuffer buffer;
    ASSERT_TRUE(buffer.Append("one", 3));
    const OwnedText first(buffer.Release());
    ASSERT_TRUE(buffer.Append("two", 3));
    const OwnedText second(buffer.Release());
    EXPECT_STREQ(first.get(), "one");
    EXPECT_STREQ(second.get(), "two");
}

TEST(DocumentBuffer, TakesOverOtherMemory)
{
    DocumentBuffer buffer;
    ASSERT_TRUE(buffer.Append("old", 3));
    auto* other = static_cast<char*>(std::malloc(5));
    ASSERT_NE(other, nullptr);
    other[0] = 'n';
    other[1] = 'e';
    buffer.Adopt(other, 2);
    ASSERT_TRUE(buffer.Append("w", 1));
    const OwnedText text(buffer.Release());
    EXPECT_STREQ(text.get(), "new");
}
