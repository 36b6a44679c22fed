#include "BroadcastCommands.h"

#include "BroadcastContent.h"
#include "RunControl.h"
#include "ScriptRunner.h"
#include "Session.h"
#include "Television.h"

namespace TTMLClient {

namespace {

bool IsOn(const Step& step)
{
    return step.choice == "on";
}

} // namespace

Vocabulary BroadcastWords()
{
    return {
        {"tune", Argument::Text, "ID|NAME", {}},
        {"lock", Argument::Choice, "", {"on", "off"}},
        {"channel-lock", Argument::Choice, "", {"on", "off"}},
        {"rating", Argument::Age, "AGE|none", {}},
        {"tvs", Argument::Choice, "", {"activate", "deactivate", "terminate"}},
        {"pvr", Argument::Choice, "", {"play", "stop", "trick"}},
    };
}

Vocabulary CaptionWords()
{
    return {
        {"caption", Argument::Choice, "", {"on", "off"}},
        {"mpd", Argument::None, "", {}},
    };
}

BroadcastCommands::BroadcastCommands(Session& session, BroadcastContent& content, Television& television,
                                     RunControl& control)
    : m_session(session)
    , m_content(content)
    , m_television(television)
    , m_control(control)
{}

BroadcastCommands::~BroadcastCommands()
{
    for (const auto& [setting, on] : m_formerSettings) {
        m_television.Set(setting, on);
    }
}

void BroadcastCommands::Teach(ScriptRunner& runner)
{
    runner.On("tune", [this](const Step& step) { Tune(step.text); });
    runner.On("lock", [this](const Step& step) { LockService(IsOn(step)); });
    runner.On("channel-lock",
              [this](const Step& step) { Set(Television::Setting::ChannelLock, IsOn(step)); });
    runner.On("rating", [this](const Step& step) { SetRatingLimit(step.age); });
    runner.On("tvs", [this](const Step& step) { SetService(step.choice); });
    runner.On("pvr", [this](const Step& step) { SignalRecorder(step.choice); });
    runner.On("caption", [this](const Step& step) { Set(Television::Setting::Caption, IsOn(step)); });
    runner.On("mpd", [this](const Step& /*step*/) { SignalMpd(); });
}

void BroadcastCommands::Tune(const std::string& service)
{
    m_content.ExpectTune();
    std::string error;
    if (!m_television.Tune(service, &error)) {
        m_control.Fail(error);
        return;
    }
    error = m_content.WaitTuned();
    if (!error.empty()) {
        m_control.Fail(error);
        return;
    }
    Settle();
}

void BroadcastCommands::SetService(const std::string& state)
{
    if (state == "activate") {
        m_television.Activate();
    } else if (state == "deactivate") {
        m_television.Deactivate();
    } else {
        m_television.Terminate();
    }
    Settle();
}

void BroadcastCommands::LockService(bool locked)
{
    m_television.LockService(locked);
    Settle();
}

void BroadcastCommands::Set(Television::Setting setting, bool on)
{
    m_formerSettings.emplace(setting, m_television.IsOn(setting));
    if (!m_television.Set(setting, on)) {
        m_control.Fail(std::string("setting the ") +
                       (setting == Television::Setting::ChannelLock ? "channel lock" : "captions") +
                       " failed: the settings store does not take it; see the log for the reason");
    }
}

void BroadcastCommands::SetRatingLimit(std::optional<int> age)
{
    m_television.SetRatingLimit(age);
    Settle();
}

void BroadcastCommands::SignalRecorder(const std::string& signal)
{
    m_television.SignalRecorder(signal == "play"   ? Television::Recorder::Plays
                                : signal == "stop" ? Television::Recorder::Stopped
                                                   : Television::Recorder::TrickMode);
    // Trick mode queues a seek.
    m_session.Settle();
}

void BroadcastCommands::SignalMpd()
{
    m_television.SignalMpd();
    Settle();
}

void BroadcastCommands::Settle()
{
    m_television.Settle();
    m_session.Settle();
}

} // namespace TTMLClient
