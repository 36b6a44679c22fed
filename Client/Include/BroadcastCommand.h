#ifndef TTMLSRC_BROADCAST_COMMAND_H
#define TTMLSRC_BROADCAST_COMMAND_H

#include <optional>
#include <string>

#include "Command.h"
#include "CommonOptions.h"
#include "HostTvService.h"
#include "Session.h"

namespace TTMLClient {

class BroadcastContent;
class Output;
class RunControl;
class Television;

// A run of a broadcast source beside the TV service: everything but which source it is. Derived commands
// declare their input's options into what stands here.
class BroadcastCommand : public Command
{
public:
    void Complete() override;
    int Run() override;

protected:
    // Adds what all broadcast subcommands have: the speed, the recorder's player and the common options.
    void AddOptions(CLI::App& command);
    // The script words, as the help text lists them.
    static Vocabulary Words();

    // A new source, initialised with the user agent. Null when there is no memory for it.
    virtual SourcePtr CreateSource(const std::string& userAgent) const = 0;

    TTMLHost::TvOptions m_tv; // what the input is and which service of it

private:
    // What takes part in a run.
    struct Stage
    {
        BroadcastContent& content;
        Television& television;
        RunControl& control;
    };

    int Play(const Stage& stage, Output& output) const;
    void Perform(Session& session, const Stage& stage) const;
    // What went wrong in a run that is over, in one line; empty when nothing did.
    std::string Complaint(const Session& session, const Stage& stage) const;

    // Whether a run that is over delivered nothing because of its input.
    static bool CameToNothing(const Session& session, const Stage& stage);

    CommonOptions m_common;
    std::optional<double> m_speed;
    bool m_recording = false;
};

} // namespace TTMLClient

#endif
