#include "Script.h"

#include <gtest/gtest.h>

#include "BroadcastCommands.h"

using TTMLClient::ParseScript;
using TTMLClient::Script;
using TTMLClient::ScriptError;
using TTMLClient::Step;
using TTMLClient::TrackWords;

namespace {

const std::string kValid =
    "; valid words: play, stop, pause, resume, seek 10s, seek-done, invalidate, show, hide, "
    "fonts NAME,..., dnt 0|1|2, wait 1500ms|2s";

// What a script is refused with.
std::string Refusal(const std::string& text)
{
    try {
        ParseScript(text, TrackWords());
    } catch (const ScriptError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Script, ReadsEveryWordInOrder)
{
    const Script script =
        ParseScript("play; stop; pause; resume; seek 10s; seek-done; invalidate; show; hide; "
                    "fonts Noto Sans,DejaVu; dnt 1; wait 1500ms",
                    TrackWords());
    std::vector<std::string> words;
    for (const Step& step : script) {
        words.push_back(step.word);
    }
    EXPECT_EQ(words, (std::vector<std::string>{"play", "stop", "pause", "resume", "seek", "seek-done",
                                               "invalidate", "show", "hide", "fonts", "dnt", "wait"}));
    EXPECT_EQ(script[4].duration.count(), 10000);
    EXPECT_EQ(script[9].names, (std::list<std::string>{"Noto Sans", "DejaVu"}));
    EXPECT_EQ(script[10].choice, "1");
    EXPECT_EQ(script[11].duration.count(), 1500);
}

TEST(Script, TakesBlanksAndEmptyPlacesAnywhere)
{
    const Script script = ParseScript(" ;\tplay ;;wait\t 2s\n;  fonts A , B ;", TrackWords());
    ASSERT_EQ(script.size(), 3U);
    EXPECT_EQ(script[0].word, "play");
    EXPECT_EQ(script[1].duration.count(), 2000);
    EXPECT_EQ(script[2].names, (std::list<std::string>{"A", "B"}));
}

TEST(Script, RefusesAnUnknownWordAndListsTheValidOnes)
{
    EXPECT_EQ(Refusal("play; plya; stop"), "unknown script word 'plya'" + kValid);
    EXPECT_EQ(Refusal("Play"), "unknown script word 'Play'" + kValid);
    EXPECT_EQ(Refusal("play stop"), "script word 'play' takes no argument, but has 'stop'" + kValid);
    EXPECT_EQ(Refusal("play,stop"), "unknown script word 'play,stop'" + kValid);
}

TEST(Script, RefusesAnEmptyScript)
{
    EXPECT_EQ(Refusal(""), "the script is empty" + kValid);
    EXPECT_EQ(Refusal(" ; ; "), "the script is empty" + kValid);
}

TEST(Script, RefusesArgumentsThatDoNotFit)
{
    EXPECT_EQ(Refusal("wait"), "script word 'wait' lacks its argument" + kValid);
    EXPECT_EQ(Refusal("seek ;"), "script word 'seek' lacks its argument" + kValid);
    EXPECT_EQ(Refusal("wait 2"), "script word 'wait' takes a time like 1500ms or 2s, not '2'" + kValid);
    EXPECT_EQ(Refusal("seek -1s"), "script word 'seek' takes a time like 1500ms or 2s, not '-1s'" + kValid);
    EXPECT_EQ(Refusal("dnt 3"), "script word 'dnt' takes 0|1|2, not '3'" + kValid);
    EXPECT_EQ(Refusal("dnt 01"), "script word 'dnt' takes 0|1|2, not '01'" + kValid);
    EXPECT_EQ(Refusal("fonts"), "script word 'fonts' lacks its argument" + kValid);
    EXPECT_EQ(Refusal("fonts A,,B"), "script word 'fonts' has an empty name in 'A,,B'" + kValid);
    for (const char* word : {"play", "stop", "pause", "resume", "seek-done", "invalidate", "show", "hide"}) {
        EXPECT_EQ(Refusal(std::string(word) + " 1"),
                  "script word '" + std::string(word) + "' takes no argument, but has '1'" + kValid);
    }
}

// What a script of a broadcast's words is refused with.
std::string BroadcastRefusal(const std::string& text)
{
    try {
        ParseScript(text, TTMLClient::BroadcastWords());
    } catch (const ScriptError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Script, ReadsTheWordsOfABroadcast)
{
    const Script script = ParseScript("tune 2; tune  Harbour TV ; lock on; channel-lock off; rating 12; "
                                      "rating 0; rating none; tvs terminate; pvr trick",
                                      TTMLClient::BroadcastWords());
    ASSERT_EQ(script.size(), 9U);
    EXPECT_EQ(script[0].text, "2");
    EXPECT_EQ(script[1].text, "Harbour TV");
    EXPECT_EQ(script[2].choice, "on");
    EXPECT_EQ(script[3].choice, "off");
    EXPECT_EQ(script[4].age, 12);
    EXPECT_EQ(script[5].age, 0);
    EXPECT_EQ(script[6].age, std::nullopt);
    EXPECT_EQ(script[7].choice, "terminate");
    EXPECT_EQ(script[8].choice, "trick");
}

TEST(Script, RefusesABroadcastsArgumentsThatDoNotFit)
{
    const std::string valid = "; valid words: tune ID|NAME, lock on|off, channel-lock on|off, "
                              "rating AGE|none, tvs activate|deactivate|terminate, pvr play|stop|trick";
    EXPECT_EQ(BroadcastRefusal("tune"), "script word 'tune' lacks its argument" + valid);
    EXPECT_EQ(BroadcastRefusal("lock"), "script word 'lock' lacks its argument" + valid);
    EXPECT_EQ(BroadcastRefusal("lock maybe"), "script word 'lock' takes on|off, not 'maybe'" + valid);
    for (const char* age : {"-1", "100", "twelve", "12.5", "None", "1 2"}) {
        EXPECT_EQ(BroadcastRefusal("rating " + std::string(age)),
                  "script word 'rating' takes an age from 0 to 99, or none, not '" + std::string(age) + "'" +
                      valid);
    }
    EXPECT_EQ(BroadcastRefusal("tvs on"),
              "script word 'tvs' takes activate|deactivate|terminate, not 'on'" + valid);
    EXPECT_EQ(BroadcastRefusal("pvr pause"), "script word 'pvr' takes play|stop|trick, not 'pause'" + valid);
}

TEST(Script, KnowsOnlyTheWordsOfItsVocabulary)
{
    const TTMLClient::Vocabulary vocabulary = {{"lock", TTMLClient::Argument::Choice, "", {"on", "off"}}};
    EXPECT_EQ(ParseScript("lock off", vocabulary).at(0).choice, "off");
    EXPECT_THROW(ParseScript("play", vocabulary), ScriptError);
}

} // namespace
