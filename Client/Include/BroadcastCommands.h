#ifndef TTMLSRC_BROADCAST_COMMANDS_H
#define TTMLSRC_BROADCAST_COMMANDS_H

#include <map>
#include <optional>
#include <string>

#include "Script.h"
#include "Television.h"

namespace TTMLClient {

class BroadcastContent;
class RunControl;
class ScriptRunner;
class Session;

// The words that every broadcast source knows beside those of the track.
Vocabulary BroadcastWords();
// The words that captions of ATSC 3.0 have besides.
Vocabulary CaptionWords();

// The commands of a television, carried out on it. Each returns once the source has handled what follows from
// it. One thread at a time.
class BroadcastCommands
{
public:
    // All stay the caller's and must outlive the object.
    BroadcastCommands(Session& session, BroadcastContent& content, Television& television,
                      RunControl& control);
    // Puts the settings, which would outlive the run, back to what they were.
    ~BroadcastCommands();
    BroadcastCommands(const BroadcastCommands&) = delete;
    BroadcastCommands& operator=(const BroadcastCommands&) = delete;

    // Makes `runner` carry out the words of BroadcastWords() and CaptionWords().
    void Teach(ScriptRunner& runner);

    // A service that cannot be tuned to fails the run.
    void Tune(const std::string& service);
    void SetService(const std::string& state); // "activate", "deactivate" or "terminate"
    void LockService(bool locked);
    void Set(Television::Setting setting, bool on);
    void SetRatingLimit(std::optional<int> age);
    void SignalRecorder(const std::string& signal); // "play", "stop" or "trick"
    void SignalMpd();

private:
    // Waits until the source has handled the signals of the TV service so far.
    void Settle();

    Session& m_session;
    BroadcastContent& m_content;
    Television& m_television;
    RunControl& m_control;
    std::map<Television::Setting, bool> m_formerSettings; // of those that have been set
};

} // namespace TTMLClient

#endif
