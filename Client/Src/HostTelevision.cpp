#include "HostTelevision.h"

#include "HostRecorder.h"
#include "HostTvService.h"
#include "PlatformSettings.h"

namespace TTMLClient {

namespace {

const char* const kChannelLockKey = "db/menu/broadcasting/channel_lock";

} // namespace

HostTelevision::~HostTelevision()
{
    TTMLHost::RecorderClose();
}

bool HostTelevision::Tune(const std::string& service, std::string* error)
{
    return TTMLHost::TvTune(service, error);
}

void HostTelevision::Activate()
{
    TTMLHost::TvActivate();
}

void HostTelevision::Deactivate()
{
    TTMLHost::TvDeactivate();
}

void HostTelevision::Terminate()
{
    TTMLHost::TvTerminate();
}

void HostTelevision::LockService(bool locked)
{
    TTMLHost::TvLockService(locked);
}

void HostTelevision::SetRatingLimit(std::optional<int> age)
{
    TTMLHost::TvSetRatingLimit(age);
}

bool HostTelevision::ChannelLock()
{
    // A store that does not know the key leaves the lock off, as the source takes it.
    int on = 0;
    return vconf_get_bool(kChannelLockKey, &on) == 0 && on != 0;
}

bool HostTelevision::SetChannelLock(bool on)
{
    return vconf_set_bool(kChannelLockKey, on ? 1 : 0) == 0;
}

void HostTelevision::SignalRecorder(Recorder signal)
{
    ps_signal_s record{PS_SIGNAL_TYPE_TRICK_MODE_START, 0};
    if (signal != Recorder::TrickMode) {
        record.type = PS_SIGNAL_TYPE_PLAY_STATE_CHANGE;
        record.playState = signal == Recorder::Plays ? PS_PLAY_STATE_PLAYING : PS_PLAY_STATE_STOPPED;
    }
    TTMLHost::RecorderSignal(record);
    TTMLHost::RecorderSettle();
}

void HostTelevision::Settle()
{
    TTMLHost::TvSettle();
}

} // namespace TTMLClient
