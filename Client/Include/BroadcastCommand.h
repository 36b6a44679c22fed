#ifndef TTMLSRC_BROADCAST_COMMAND_H
#define TTMLSRC_BROADCAST_COMMAND_H

#include <atomic>
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

// A run of a broadcast source beside the TV service: everything but which source and what input it is.
class BroadcastCommand : public Command
{
public:
    void Complete() override;
    int Run() override;

protected:
    // Adds what all broadcast subcommands have: the speed, the recorder's player and the common options; and
    // as the footer the script words and these examples.
    void AddOptions(CLI::App& command, const std::string& examples);

    double Speed() const { return m_speed.value_or(1.0); }
    bool IsFast() const { return m_fast; }

    // The script words that the command knows.
    virtual Vocabulary Words() const;
    // What the input is called on the command line.
    virtual const std::string& Input() const = 0;
    // Opens it; as TvOpen().
    virtual bool Open(TTMLHost::TvListener* listener, const std::atomic<bool>* cancel,
                      std::string* error) const = 0;
    // A new source, initialised with the user agent. Null when there is no memory for it.
    virtual SourcePtr CreateSource(const std::string& userAgent) const = 0;
    // Why a run whose input is over delivered nothing; empty when that has been said.
    virtual std::string WhyNothingCame(const TTMLHost::TvStatistics& statistics) const = 0;
    // Why a run whose time is up got nothing of its input, where a service may have been tuned to; empty when
    // the time may just have been too short.
    virtual std::string WhyNothingArrived(const TTMLHost::TvStatistics& statistics, bool tuned) const = 0;

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
    bool m_fast = false;
    bool m_recording = false;
};

} // namespace TTMLClient

#endif
