#include "BroadbandCommand.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <CLI/CLI.hpp>

#include "CBBSource.h"
#include "HostFileManager.h"
#include "HostPlayer.h"
#include "OptionChecks.h"
#include "Output.h"
#include "PlayerContent.h"
#include "RunControl.h"
#include "ScriptRunner.h"
#include "Session.h"
#include "SignalWatcher.h"
#include "TrackCommands.h"

namespace TTMLClient {

namespace {

const char* const kExamples =
    "Examples:\n"
    "  ttmlsrc broadband --url https://example.org/news.ttml\n"
    "  ttmlsrc broadband --url news.ttml --json --dnt 1\n"
    "  ttmlsrc broadband --media film.mp4 --script \"play; wait 2s; pause; wait 1s; resume; seek 10s; "
    "stop\"\n"
    "  ttmlsrc broadband --media https://example.org/live.mpd --duration 30s --out documents\n"
    "  ttmlsrc broadband --media film.mp4 --fast --json";

bool HasScheme(const std::string& text)
{
    return text.find("://") != std::string::npos || text.compare(0, 5, "file:") == 0;
}

// Bytes that a URL's path may hold as they stand (RFC 3986).
bool IsPathCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string("-._~/!$&'()*+,;=:@").find(character) != std::string::npos;
}

std::string FileUrl(const std::string& absolutePath)
{
    const std::string digits = "0123456789ABCDEF";
    std::string url = "file://";
    for (const char character : absolutePath) {
        if (IsPathCharacter(character)) {
            url += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            url += '%';
            url += digits[byte >> 4U];
            url += digits[byte & 0xFU];
        }
    }
    return url;
}

} // namespace

std::optional<std::string> DocumentUrl(const std::string& text)
{
    if (HasScheme(text)) {
        return text;
    }
    std::error_code error;
    if (!std::filesystem::exists(text, error)) {
        return std::nullopt;
    }
    const std::filesystem::path path = std::filesystem::absolute(text, error);
    return error ? std::nullopt : std::optional<std::string>(FileUrl(path.string()));
}

CLI::App* BroadbandCommand::Declare(CLI::App& program)
{
    CLI::App* command = program.add_subcommand(
        "broadband", "Subtitles beside a media player: a document at a URL, or the samples of media");
    command
        ->add_option("--url", m_url, "The document to fetch: http, https or file URL, or the path of a file")
        ->option_text("URL");
    command
        ->add_option("--media", m_media,
                     "The media whose TTML track to play: a file, an HTTP URL or a DASH manifest")
        ->option_text("FILE_OR_URL");
    command->add_option("--track", m_track, "Which TTML track of the media, counted from 0 (the first one)")
        ->option_text("N")
        ->check(NumberCheck(0, 65535));
    command->add_option("--speed", m_speed, "Speed of the play clock (1.0)")
        ->option_text("X")
        ->check(SpeedCheck());
    command->add_flag("--fast", m_fast, "Deliver as fast as the media can be read");
    command
        ->add_option("--dnt", m_dnt,
                     "Do-not-track header: \"DNT: 0\", \"DNT: 1\" or \"DNT: null\"; without it none")
        ->option_text("0|1|2")
        ->check(NumberCheck(0, 2));
    command->add_option("--descriptor", m_descriptor, "Track descriptor that every delivery carries")
        ->option_text("TEXT");
    m_common.AddTo(*command);
    command->footer("Script words: " + WordForms(TrackWords()) + "\n\n" + kExamples);
    return command;
}

void BroadbandCommand::Complete()
{
    if (m_url.empty() == m_media.empty()) {
        throw UsageError("broadband needs either --url or --media");
    }
    if (m_media.empty() && (m_track || m_fast)) {
        throw UsageError(std::string(m_track ? "--track" : "--fast") + " needs --media");
    }
    if (m_speed && m_fast) {
        throw UsageError("--speed and --fast exclude each other");
    }
    m_common.Complete(TrackWords());
}

int BroadbandCommand::Run()
{
    if (m_media.empty()) {
        const std::optional<std::string> url = DocumentUrl(m_url);
        if (!url) {
            PrintMessage("fetching '" + m_url +
                         "' failed: it is neither a URL nor an existing file; check its spelling");
            return EXIT_FAILED;
        }
        m_documentUrl = *url;
    }
    Output output(m_common);
    if (!output.Prepare()) {
        PrintMessage(output.Error());
        return EXIT_FAILED;
    }

    RunControl control;
    // Only without a script is a run over with its input.
    PlayerContent content(m_common.script ? std::function<void()>()
                                          : [&control] { control.Stop(StopReason::InputOver); });
    // Opening media may wait for a server for long, and there is nothing to put away yet.
    control.SetStopHook([this](StopReason reason) {
        if (reason == StopReason::TimeUp) {
            PrintMessage("opening '" + m_media + "' took longer than --duration; give it more time");
        }
        std::_Exit(reason == StopReason::Interrupted ? EXIT_DONE : EXIT_FAILED);
    });
    const SignalWatcher watcher(control, m_common.duration);
    std::string error;
    const bool opened = OpenContent(content, &error);
    control.SetStopHook([&content](StopReason reason) {
        TTMLHost::AbortFetches();
        content.Feed().Close();
        if (reason != StopReason::TimeUp) {
            content.Feed().GiveUpWaits();
        }
    });

    int code = EXIT_FAILED;
    if (opened) {
        code = Play(content, output, control);
    } else {
        PrintMessage(error);
    }
    control.SetStopHook(nullptr);
    return code;
}

int BroadbandCommand::Play(PlayerContent& content, Output& output, RunControl& control) const
{
    SourcePtr source(TTML::CBBSource::Create(content.Player(), m_common.userAgent.c_str()));
    if (!source) {
        PrintMessage("creating the source failed: out of memory; close other programs");
        return EXIT_FAILED;
    }
    content.Connect(source.get());

    Session session(std::move(source), {output.Printer(), output.Writer(), &content.Feed(), control});
    if (!session.Start()) {
        PrintMessage("starting the source failed: out of memory; close other programs");
        return EXIT_FAILED;
    }
    if (m_dnt) {
        session.Source().SetDNTOption(*m_dnt);
    }
    Perform(session, content, control);

    // A paused source delivers nothing more.
    if (session.TrackStarted() && !session.TrackPaused()) {
        content.HoldSamples();
        content.WaitDelivered();
    }
    content.Pause();
    session.End();

    const std::string complaint = Complaint(session, content, control);
    if (!complaint.empty()) {
        PrintMessage(complaint);
        return EXIT_FAILED;
    }
    if (control.Reason() == StopReason::InputOver && content.Feed().SamplesRead() == 0) {
        PrintMessage("'" + m_media + "' holds no sample in its TTML track");
    }
    return EXIT_DONE;
}

bool BroadbandCommand::OpenContent(PlayerContent& content, std::string* error) const
{
    if (m_media.empty()) {
        return content.OpenIdle(m_speed.value_or(1.0), error);
    }
    TTMLHost::PlayerOptions options;
    options.track = m_track.value_or(-1);
    options.speed = m_speed.value_or(1.0);
    options.fast = m_fast;
    options.userAgent = m_common.userAgent;
    return content.Open(m_media, options, error);
}

void BroadbandCommand::Perform(Session& session, PlayerContent& content, RunControl& control) const
{
    TrackChoice track;
    if (m_media.empty()) {
        track.url = m_documentUrl;
    } else {
        track.id = static_cast<unsigned int>(m_track.value_or(0));
    }
    track.descriptor = m_descriptor;

    TrackCommands commands(session, content, control, track);
    if (m_common.script) {
        ScriptRunner runner;
        commands.Teach(runner);
        runner.Run(*m_common.script, control);
        return;
    }
    commands.Play();
    // A document is all there once its play was handled.
    if (!m_media.empty() || (m_common.duration && session.TrackStarted())) {
        control.Wait();
    }
}

std::string BroadbandCommand::Complaint(const Session& session, const PlayerContent& content,
                                        const RunControl& control) const
{
    if (!control.Failure().empty()) {
        return control.Failure();
    }
    if (control.Reason() == StopReason::Interrupted) {
        return {};
    }
    if (!content.Feed().InputError().empty()) {
        return content.Feed().InputError();
    }
    if (m_media.empty() && session.Delivered() == 0 && !m_common.script &&
        control.Reason() == StopReason::TimeUp) {
        return "fetching '" + m_url + "' took longer than --duration; give it more time";
    }
    if (m_media.empty() && session.Delivered() == 0 && !TTMLHost::LastFetchError().empty()) {
        return TTMLHost::LastFetchError();
    }
    return {};
}

} // namespace TTMLClient
