#include "BroadcastCommand.h"

#include <atomic>
#include <functional>
#include <utility>

#include <CLI/CLI.hpp>

#include "BroadcastCommands.h"
#include "BroadcastContent.h"
#include "HostSystem.h"
#include "HostTelevision.h"
#include "OptionChecks.h"
#include "Output.h"
#include "RunControl.h"
#include "ScriptRunner.h"
#include "SignalWatcher.h"
#include "StreamReport.h"
#include "TrackCommands.h"

namespace TTMLClient {

namespace {

// The package by which sources know the player of recordings.
const char* const kRecordingPlayer = "org.oxnar.pvrplayer";

// Closes the TV service of the process when it goes.
class TvServiceCloser
{
public:
    TvServiceCloser() = default;
    ~TvServiceCloser() { TTMLHost::TvClose(); }
    TvServiceCloser(const TvServiceCloser&) = delete;
    TvServiceCloser& operator=(const TvServiceCloser&) = delete;
};

} // namespace

void BroadcastCommand::AddOptions(CLI::App& command, const std::string& examples)
{
    command.add_option("--speed", m_speed, "Speed of the play (1.0)")->option_text("X")->check(SpeedCheck());
    command.add_flag("--fast", m_fast, "Play as fast as the input can be read");
    command.add_flag("--pvr", m_recording, "Be the recorder's player: the input is a recording");
    m_common.AddTo(command);
    command.footer("Script words: " + WordForms(Words()) + "\n\n" + examples);
}

Vocabulary BroadcastCommand::Words() const
{
    Vocabulary words = TrackWords();
    for (Word& word : BroadcastWords()) {
        words.push_back(std::move(word));
    }
    return words;
}

void BroadcastCommand::Complete()
{
    if (m_speed && m_fast) {
        throw UsageError("--speed and --fast exclude each other");
    }
    m_common.Complete(Words());
}

int BroadcastCommand::Run()
{
    Output output(m_common);
    if (!output.Prepare()) {
        PrintMessage(output.Error());
        return EXIT_FAILED;
    }
    if (m_recording) {
        // Sources ask for it when they are constructed.
        TTMLHost::SetPackageName(kRecordingPlayer);
    }

    RunControl control;
    HostTelevision television;
    BroadcastContent content(
        [this, &television] {
            if (m_recording) {
                television.SignalRecorder(Television::Recorder::Plays);
            }
        },
        [this, &control](bool failed) {
            // Only without a script is a run over with its input; one that broke off ends both.
            if (failed) {
                control.Stop(StopReason::Failed);
            } else if (!m_common.script) {
                control.Stop(StopReason::InputOver);
            }
        });
    std::atomic<bool> cancel{false};
    control.SetStopHook([&cancel, &content](StopReason) {
        cancel = true;
        content.GiveUpWaits();
    });
    const SignalWatcher watcher(control, m_common.duration);

    std::string error;
    int code = EXIT_FAILED;
    if (Open(&content, &cancel, &error)) {
        const TvServiceCloser closer;
        code = Play({content, television, control}, output);
    } else if (control.Reason() == StopReason::Interrupted) {
        code = EXIT_DONE;
    } else {
        PrintMessage(error);
    }
    control.SetStopHook(nullptr);
    return code;
}

int BroadcastCommand::Play(const Stage& stage, Output& output) const
{
    SourcePtr source = CreateSource(m_common.userAgent);
    if (!source) {
        PrintMessage("creating the source failed: out of memory; close other programs");
        return EXIT_FAILED;
    }
    Session session(std::move(source), {output.Printer(), output.Writer(), nullptr, stage.control},
                    SettleBy::Barrier);
    if (!session.Start()) {
        PrintMessage("starting the source failed: out of memory; close other programs");
        return EXIT_FAILED;
    }
    session.Settle();
    stage.content.Connect(&session);
    TTMLHost::TvStart();
    Perform(session, stage);
    if (m_recording) {
        stage.television.SignalRecorder(Television::Recorder::Stopped);
    }
    stage.content.Disconnect();
    session.End();

    const std::string errors = ErrorCounts(TTMLHost::TvGetStatistics());
    if (!errors.empty()) {
        PrintMessage("errors in " + InputName(Input()) + ": " + errors);
    }
    const std::string complaint = Complaint(session, stage);
    if (!complaint.empty()) {
        PrintMessage(complaint);
        return EXIT_FAILED;
    }
    return CameToNothing(session, stage) ? EXIT_FAILED : EXIT_DONE;
}

bool BroadcastCommand::CameToNothing(const Session& session, const Stage& stage)
{
    if (session.Delivered() > 0) {
        return false;
    }
    const StopReason reason = stage.control.Reason();
    // The time may have been too short for the first subtitle.
    return reason == StopReason::InputOver || (reason == StopReason::TimeUp && stage.content.Complained());
}

void BroadcastCommand::Perform(Session& session, const Stage& stage) const
{
    if (!m_common.script) {
        stage.control.Wait();
        return;
    }
    // Its words are about a service that is there. That the first tune fails comes as a warning, or as the
    // end.
    (void)stage.content.WaitTuned();
    TrackCommands track(session, stage.content, stage.control, {0, "", std::nullopt});
    BroadcastCommands commands(session, stage.content, stage.television, stage.control);
    ScriptRunner runner;
    track.Teach(runner);
    commands.Teach(runner);
    runner.Run(*m_common.script, stage.control);
}

std::string BroadcastCommand::Complaint(const Session& session, const Stage& stage) const
{
    const RunControl& control = stage.control;
    if (!control.Failure().empty()) {
        return control.Failure();
    }
    if (control.Reason() == StopReason::Interrupted) {
        return {};
    }
    if (!stage.content.InputError().empty()) {
        return stage.content.InputError();
    }
    const TTMLHost::TvStatistics statistics = TTMLHost::TvGetStatistics();
    // A complaint says better than this why nothing arrived.
    if (control.Reason() == StopReason::TimeUp && !stage.content.Complained()) {
        return WhyNothingArrived(statistics, stage.content.Tuned());
    }
    if (control.Reason() == StopReason::InputOver && session.Delivered() == 0) {
        const std::string reason = WhyNothingCame(statistics);
        return reason.empty() ? reason : "playing " + InputName(Input()) + " delivered nothing: " + reason;
    }
    return {};
}

} // namespace TTMLClient
