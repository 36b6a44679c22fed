#ifndef TTMLSRC_SETTING_KEYS_H
#define TTMLSRC_SETTING_KEYS_H

namespace TTMLClient {

// Settings that the broadcast sources read.
constexpr char kChannelLockKey[] = "db/menu/broadcasting/channel_lock"; // a bool
constexpr char kReceptionKey[] = "db/menu/broadcasting/atsc3_enable";   // a bool, of ATSC 3.0 services
constexpr char kCaptionKey[] = "db/menu/caption/caption";               // an int

} // namespace TTMLClient

#endif
