#include <gtest/gtest.h>

#include "Place.h"

namespace {

using TTMLHost::Decoded;
using TTMLHost::JoinPlaces;
using TTMLHost::PlaceOfInput;

TEST(Place, OfAFileUrlIsItsPath)
{
    EXPECT_EQ(PlaceOfInput("file:///a/b%20c.mpd"), "/a/b c.mpd");
    EXPECT_EQ(PlaceOfInput("a/b%20c.mpd"), "a/b%20c.mpd");
    EXPECT_EQ(PlaceOfInput("http://h/x.mpd"), "http://h/x.mpd");
}

TEST(Place, IsRelativeToAFile)
{
    EXPECT_EQ(JoinPlaces("/a/b/s.mpd", "seg/1.m4s"), "/a/b/seg/1.m4s");
    EXPECT_EQ(JoinPlaces("s.mpd", "1.m4s"), "1.m4s");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "seg/"), "/a/seg/");
    EXPECT_EQ(JoinPlaces("/a/seg/", "1.m4s"), "/a/seg/1.m4s");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "/x/1.m4s"), "/x/1.m4s");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", ""), "/a/s.mpd");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "http://h/1"), "http://h/1");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "file:///x/1"), "/x/1");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "12:30.m4s"), "");
    EXPECT_EQ(JoinPlaces("/a/s.mpd", "./12:30.m4s"), "/a/./12:30.m4s");
}

TEST(Place, IsRelativeToAUrl)
{
    EXPECT_EQ(JoinPlaces("http://h:8080/a/s.mpd?x=1", "seg/1.m4s"), "http://h:8080/a/seg/1.m4s");
    EXPECT_EQ(JoinPlaces("http://h/a/s.mpd", "/1.m4s"), "http://h/1.m4s");
    EXPECT_EQ(JoinPlaces("http://h/a/s.mpd", "../1.m4s"), "http://h/1.m4s");
    EXPECT_EQ(JoinPlaces("http://h/a/s.mpd", "https://i/1.m4s"), "https://i/1.m4s");
    EXPECT_EQ(JoinPlaces("http://h/a/b/", "c d.m4s"), "http://h/a/b/c%20d.m4s");
}

TEST(Place, OfTheNetworkLeadsToNoFiles)
{
    EXPECT_EQ(JoinPlaces("http://h/a/s.mpd", "file:///etc/passwd"), "");
    EXPECT_EQ(JoinPlaces("http://h/a/s.mpd", "ftp://h/1"), "");
}

TEST(Place, IsDecodedAsFarAsItIsEncoded)
{
    EXPECT_EQ(Decoded("a%20b%2fC%2F"), "a b/C/");
    EXPECT_EQ(Decoded("100%"), "100%");
    EXPECT_EQ(Decoded("%4"), "%4");
    EXPECT_EQ(Decoded("%zz%41"), "%zzA");
}

} // namespace
