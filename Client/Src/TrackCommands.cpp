#include "TrackCommands.h"

#include <utility>

#include "Content.h"
#include "RunControl.h"
#include "ScriptRunner.h"
#include "Session.h"

namespace TTMLClient {

TrackCommands::TrackCommands(Session& session, Content& content, RunControl& control, TrackChoice track)
    : m_session(session)
    , m_content(content)
    , m_control(control)
    , m_track(std::move(track))
{}

void TrackCommands::Teach(ScriptRunner& runner)
{
    runner.On("play", [this](const Step&) { Play(); });
    runner.On("stop", [this](const Step&) { Stop(); });
    runner.On("pause", [this](const Step&) { Pause(); });
    runner.On("resume", [this](const Step&) { Resume(); });
    runner.On("seek", [this](const Step& step) { Seek(step.duration.count()); });
    runner.On("seek-done", [this](const Step&) { SeekDone(); });
    runner.On("invalidate", [this](const Step&) { Invalidate(); });
    runner.On("show", [this](const Step&) { m_session.Source().OnShow(); });
    runner.On("hide", [this](const Step&) { m_session.Source().OnHide(); });
    runner.On("fonts", [this](const Step& step) { m_session.Source().OnErrorDownloadableFonts(step.names); });
    runner.On("dnt", [this](const Step& step) { m_session.Source().SetDNTOption(std::stoi(step.choice)); });
    runner.On("wait", [this](const Step& step) { m_control.WaitFor(step.duration); });
}

void TrackCommands::Play()
{
    // A source that is not started yet would drop what it is given, and one that plays stops first.
    m_content.HoldSamples();
    m_session.Source().PlayTrack(m_track.id, m_track.url.c_str(),
                                 m_track.descriptor ? m_track.descriptor->c_str() : nullptr);
    m_session.Settle();
    // Not started: refused, not fetched, or waiting for a resume.
    if (m_session.TrackStarted()) {
        m_content.Play();
    }
}

void TrackCommands::Stop()
{
    m_content.Pause();
    m_session.Source().StopTrack();
    m_session.Settle();
}

void TrackCommands::Pause()
{
    m_content.Pause();
    m_session.Source().PauseTrack(true);
    m_session.Settle();
}

void TrackCommands::Resume()
{
    m_session.Source().ResumeTrack();
    m_session.Settle();
    if (m_session.TrackStarted()) {
        m_content.Play();
    }
}

void TrackCommands::Seek(long long positionMs)
{
    m_session.Source().SeekStart(positionMs);
    m_session.Settle();
    m_content.Seek(positionMs);
}

void TrackCommands::SeekDone()
{
    m_session.Source().SeekCompleted();
    m_session.Settle();
}

void TrackCommands::Invalidate()
{
    m_content.Pause();
    m_session.Source().Invalidate();
}

} // namespace TTMLClient
