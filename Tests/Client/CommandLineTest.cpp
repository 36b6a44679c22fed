#include "CommandLine.h"

#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "BroadbandCommand.h"
#include "TemporaryFolder.h"

using TTMLClient::DocumentUrl;

namespace {

struct Outcome
{
    int code;
    std::string out;
    std::string err;
};

// Runs the program with arguments that let it come to its end at once.
Outcome RunProgram(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "ttmlsrc");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = TTMLClient::RunCommandLine(static_cast<int>(arguments.size()), arguments.data());
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

void ExpectUsageError(const std::vector<const char*>& arguments, const std::string& message)
{
    const Outcome outcome = RunProgram(arguments);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ttmlsrc: " + message + "; see ttmlsrc --help\n");
}

TEST(CommandLine, RefusesArgumentsThatDoNotFit)
{
    ExpectUsageError({}, "A subcommand is required");
    ExpectUsageError({"broadband"}, "broadband needs either --url or --media");
    ExpectUsageError({"broadband", "--url", "a", "--media", "b"}, "broadband needs either --url or --media");
    ExpectUsageError({"broadband", "--url", "a", "--fast"}, "--fast needs --media");
    ExpectUsageError({"broadband", "--url", "a", "--track", "0"}, "--track needs --media");
    ExpectUsageError({"broadband", "--url", "a", "--duration", "30"},
                     "--duration takes a time like 1500ms or 30s, not '30'");
    ExpectUsageError({"broadband", "--url", "a", "--duration", "0s"},
                     "--duration takes a time like 1500ms or 30s, not '0s'");
    for (const char* speed : {"0", "-1", "inf", "nan", "fast", "0.0009", "10001", "1e9"}) {
        ExpectUsageError({"broadband", "--media", "a", "--speed", speed},
                         "--speed: takes a number from 0.001 to 10000, such as 2 or 0.5, not '" +
                             std::string(speed) + "'");
    }
    ExpectUsageError({"broadband", "--url", "a", "--dnt", "3"}, "--dnt: takes a number from 0 to 2, not '3'");
    ExpectUsageError({"broadband", "--url", "a", "--dnt", "x"}, "--dnt: takes a number from 0 to 2, not 'x'");
    ExpectUsageError({"broadband", "--media", "a", "--track", "-1"},
                     "--track: takes a number from 0 to 65535, not '-1'");
    ExpectUsageError({"broadband", "--media", "a", "--speed", "2", "--fast"},
                     "--speed and --fast exclude each other");
}

TEST(CommandLine, RefusesArgumentsOfATransportStreamThatDoNotFit)
{
    ExpectUsageError({"dvb"}, "INPUT is required");
    ExpectUsageError({"dvb", ""}, "INPUT: takes a file, -, or an address");
    ExpectUsageError({"dvb", "a", "--service", ""}, "--service: takes the id or the name of a service");
    for (const char* language : {"", "en", "engl", "e-g", "e1g"}) {
        ExpectUsageError({"dvb", "a", "--lang", language},
                         "--lang: takes a language of three letters, such as eng, not '" +
                             std::string(language) + "'");
    }
    ExpectUsageError({"dvb", "a", "--speed", "0"},
                     "--speed: takes a number from 0.001 to 10000, such as 2 or 0.5, not '0'");
    ExpectUsageError({"dvb", "a", "--speed", "2", "--fast"}, "--speed and --fast exclude each other");
    ExpectUsageError(
        {"dvb", "a", "--script", "jump"},
        "--script: unknown script word 'jump'; valid words: play, stop, pause, resume, seek 10s, "
        "seek-done, invalidate, show, hide, fonts NAME,..., dnt 0|1|2, wait 1500ms|2s, "
        "tune ID|NAME, lock on|off, channel-lock on|off, rating AGE|none, "
        "tvs activate|deactivate|terminate, pvr play|stop|trick");
    ExpectUsageError({"info"}, "INPUT is required");
    ExpectUsageError({"info", ""}, "INPUT: takes a file or -");
}

TEST(CommandLine, NamesASubcommandThatThereIsNot)
{
    ExpectUsageError({"nonsense"}, "unknown subcommand 'nonsense'");
    ExpectUsageError({"nonsense", "--fast"}, "unknown subcommand 'nonsense'");
    ExpectUsageError({"settings", "show"}, "unknown subcommand 'show'");
    ExpectUsageError({"settings"}, "A subcommand is required");
    ExpectUsageError({"--nonsense"}, "A subcommand is required");
}

TEST(CommandLine, RefusesWhatItDoesNotKnow)
{
    for (const std::vector<const char*>& arguments : std::vector<std::vector<const char*>>{
             {"nonsense"},
             {"broadband", "--url"},
             {"broadband", "--url", "a", "--nonsense"},
             {"broadband", "--url", "a", "more"},
             {"dvb", "a", "b"},
             {"dvb", "a", "--media", "b"},
             {"info", "a", "--fast"},
         }) {
        const Outcome outcome = RunProgram(arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err.compare(0, 9, "ttmlsrc: "), 0) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    }
}

TEST(CommandLine, RefusesAWrongScriptBeforeAnythingStarts)
{
    const TTMLTest::TemporaryFolder folder;
    const std::string out = folder.Path("out");
    ExpectUsageError(
        {"broadband", "--media", "nothing", "--out", out.c_str(), "--script", "play; jump"},
        "--script: unknown script word 'jump'; valid words: play, stop, pause, resume, seek 10s, seek-done, "
        "invalidate, show, hide, fonts NAME,..., dnt 0|1|2, wait 1500ms|2s");
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(CommandLine, ShowsHelpWithExamples)
{
    const Outcome program = RunProgram({"--help"});
    EXPECT_EQ(program.code, 0);
    EXPECT_NE(program.out.find("broadband"), std::string::npos);
    EXPECT_EQ(program.err, "");
    const Outcome broadband = RunProgram({"broadband", "--help"});
    EXPECT_EQ(broadband.code, 0);
    EXPECT_NE(broadband.out.find("ttmlsrc broadband --media film.mp4 --fast --json"), std::string::npos);
    EXPECT_NE(RunProgram({"dvb", "--help"}).out.find("ttmlsrc dvb capture.ts\n"), std::string::npos);
    EXPECT_NE(RunProgram({"info", "--help"}).out.find("ttmlsrc info capture.ts\n"), std::string::npos);
    EXPECT_EQ(RunProgram({"--version"}).out.compare(0, 8, "ttmlsrc "), 0);
}

TEST(CommandLine, SaysThatADocumentIsNeitherAUrlNorAFile)
{
    const Outcome outcome = RunProgram({"broadband", "--url", "no-such-file.ttml", "--json"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "ttmlsrc: fetching 'no-such-file.ttml' failed: it is neither a URL nor an existing file; "
              "check its spelling\n");
}

TEST(CommandLine, SaysThatTheFolderForDocumentsCannotBeMade)
{
    const TTMLTest::TemporaryFolder folder;
    folder.Write("file", "");
    const std::string out = folder.Path("file");
    const Outcome outcome = RunProgram({"broadband", "--url", "http://127.0.0.1:1/", "--out", out.c_str()});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.err, "ttmlsrc: creating the folder '" + out +
                               "' for --out failed: Not a directory; name a folder that can be written\n");
}

TEST(DocumentUrl, TakesUrlsAsTheyStand)
{
    EXPECT_EQ(DocumentUrl("https://example.org/a b"), "https://example.org/a b");
    EXPECT_EQ(DocumentUrl("file:///a"), "file:///a");
    EXPECT_EQ(DocumentUrl("ftp://example.org/"), "ftp://example.org/");
}

TEST(DocumentUrl, MakesAUrlOfAnExistingFile)
{
    const TTMLTest::TemporaryFolder folder;
    folder.Write("a b%\u00E9#?.ttml", "");
    EXPECT_EQ(DocumentUrl(folder.Path("a b%\u00E9#?.ttml")),
              "file://" + folder.Path("a%20b%25%C3%A9%23%3F.ttml"));
    EXPECT_EQ(DocumentUrl(folder.Path("none.ttml")), std::nullopt);
}

} // namespace
