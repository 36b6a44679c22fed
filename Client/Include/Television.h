#ifndef TTMLSRC_TELEVISION_H
#define TTMLSRC_TELEVISION_H

#include <optional>
#include <string>

namespace TTMLClient {

// What a viewer does with a television, and what other applications do to it. One thread at a time, but for
// SignalRecorder().
class Television
{
public:
    // Signals of the recorder's player.
    enum class Recorder
    {
        Plays,
        Stopped,
        TrickMode
    };

    virtual ~Television() = default;

    // Tunes to a service of the input, by id or name. False when there is none, with one line in `error`.
    virtual bool Tune(const std::string& service, std::string* error) = 0;

    // The screen goes to the TV service, or to another application; the TV service ends.
    virtual void Activate() = 0;
    virtual void Deactivate() = 0;
    virtual void Terminate() = 0;

    virtual void LockService(bool locked) = 0;
    // Nothing: no limit.
    virtual void SetRatingLimit(std::optional<int> age) = 0;

    // Settings of the viewer's menu.
    enum class Setting
    {
        ChannelLock,
        Caption
    };
    // Whether one is on; off where it has no value. Setting one is false on failure.
    virtual bool IsOn(Setting setting) = 0;
    virtual bool Set(Setting setting, bool on) = 0;

    // Tells of a new MPD of the service.
    virtual void SignalMpd() = 0;

    // Raises a signal of the recorder's player; returns once all who listen to it have had it. Any thread but
    // the recorder's.
    virtual void SignalRecorder(Recorder signal) = 0;

    // Waits until every signal of the TV service so far has been given to all who listen to it.
    virtual void Settle() = 0;
};

} // namespace TTMLClient

#endif
