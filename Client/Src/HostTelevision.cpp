#include "HostTelevision.h"

#include "HostRecorder.h"
#include "HostTvService.h"
#include "PlatformSettings.h"
#include "SettingKeys.h"

namespace TTMLClient {

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

bool HostTelevision::IsOn(Setting setting)
{
    int value = 0;
    const int result = setting == Setting::ChannelLock ? vconf_get_bool(kChannelLockKey, &value)
                                                       : vconf_get_int(kCaptionKey, &value);
    return result == 0 && value != 0;
}

bool HostTelevision::Set(Setting setting, bool on)
{
    const int value = on ? 1 : 0;
    return (setting == Setting::ChannelLock ? vconf_set_bool(kChannelLockKey, value)
                                            : vconf_set_int(kCaptionKey, value)) == 0;
}

void HostTelevision::SignalMpd()
{
    TTMLHost::TvSignalMpd();
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
