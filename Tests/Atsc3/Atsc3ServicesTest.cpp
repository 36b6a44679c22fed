#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Atsc3Services.h"

namespace {

using TTMLHost::Atsc3Services;

TEST(Atsc3Services, AreFoundByIdMpdAndFileName)
{
    const Atsc3Services services("/a/one.mpd", {"http://host/two.mpd?key=1/2", "three"});
    EXPECT_EQ(services.Find(""), 0U);
    EXPECT_EQ(services.Find("1"), 0U);
    EXPECT_EQ(services.Find("3"), 2U);
    EXPECT_EQ(services.Find("/a/one.mpd"), 0U);
    EXPECT_EQ(services.Find("one.mpd"), 0U);
    EXPECT_EQ(services.Find("one"), 0U);
    EXPECT_EQ(services.Find("http://host/two.mpd?key=1/2"), 1U);
    EXPECT_EQ(services.Find("two.mpd"), 1U);
    EXPECT_EQ(services.Find("two"), 1U);
    EXPECT_EQ(services.Find("three"), 2U);
}

TEST(Atsc3Services, AreNotFoundByAnythingElse)
{
    const Atsc3Services services("/a/one.mpd", {"two.mpd"});
    for (const char* const name :
         {"0", "3", "-1", "1 ", "ONE", "a/one.mpd", "99999999999999999999", "mpd", "."}) {
        EXPECT_EQ(services.Find(name), std::nullopt) << name;
    }
}

TEST(Atsc3Services, OfOneNameAreFoundInTheirOrder)
{
    const Atsc3Services services("/a/s.mpd", {"/b/s.mpd", "2", "s.mpd"});
    EXPECT_EQ(services.Find("/b/s.mpd"), 1U);
    EXPECT_EQ(services.Find("2"), 1U) << "an id goes before a name";
    EXPECT_EQ(services.Find("s.mpd"), 3U) << "what was given goes before a part of it";
    EXPECT_EQ(services.Find("s"), 0U);
}

TEST(Atsc3Services, ARefusalNamesThoseThereAre)
{
    const Atsc3Services services("/a/one.mpd", {"two.mpd"});
    EXPECT_EQ(services.NoSuchService("x"), "Cannot tune to service 'x' of '/a/one.mpd': there is no such "
                                           "service; choose one of 1 (one.mpd), 2 (two.mpd)");
}

} // namespace
