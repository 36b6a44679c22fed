#ifndef TTML_HOST_TV_SERVICE_H
#define TTML_HOST_TV_SERVICE_H

// The Linux platform's TV service, beyond what the source layer asks of it: giving it an input, tuning, the
// viewer's locks, and what a stream holds. There is one TV service in a process, as on a TV.

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PlatformExport.h"
#include "PlatformTvServiceData.h"

namespace TTMLHost {

struct TvOptions
{
    // A transport stream: the path of a file, "-" for standard input, or "udp://[LOCAL@]ADDRESS:PORT" or
    // "rtp://..." (a multicast group is joined).
    std::string input;
    std::string service;  // id (decimal or 0x...) or name; empty: the first one with TTML
    std::string language; // ISO 639 code of the TTML component; empty: the first one
    double speed = 1.0;   // stream seconds per second
    // As fast as the input can be read; a network sets its own pace. The system time clock then stands at the
    // packet delivered last: it shows the last clock reference before that one.
    bool fast = false;
    const std::atomic<bool>* cancel = nullptr; // makes TvOpen() give up once it is true
};

// What happens in a TV service. The calls come on threads of the service, one at a time for each listener.
// None may throw, and none may close the service.
class TvListener
{
public:
    virtual ~TvListener() = default;

    // All subscribers of a signal have been called. While this call lasts nothing is read of an input that
    // is played fast, so a listener that waits here until a source has handled the signal loses no packet.
    // At the success of a tune that goes for files and pipes at any speed.
    virtual void OnSignal(ESignalType signal) = 0;

    // A PES packet of the subscribed component has been handed to all subscribers.
    virtual void OnPesDelivered() = 0;

    // A caption of the ATSC 3.0 service that is tuned has been handed to all subscribers.
    virtual void OnCaptionDelivered() {}

    // Something is wrong with the input, and the rest of it is delivered: one line that says what and where.
    virtual void OnWarning(const std::string& line) = 0;

    // A tune that TvTune() began cannot be done, because the service or its PMT or PCR does not come: one
    // line. Nothing is tuned then, and the tune still succeeds if what it waits for comes after all. Comes
    // once for each such tune, instead of OnWarning(), after 5 s (of the stream for files and pipes) or
    // before the end.
    virtual void OnTuneFailed(const std::string& /*line*/) {}

    // The input is over: `error` is empty at its regular end, else one line that says what failed, where and
    // what to do. Comes once for each TvOpen(), after the last delivery; in real time when the clock has
    // reached the end of the input.
    virtual void OnEnd(const std::string& error) = 0;
};

// Opens the input; nothing is read for playing yet. `listener` must outlive the service. False on failure,
// with one line in `error`. The service is active and not terminated.
TTML_PLATFORM_EXPORT bool TvOpen(const TvOptions& options, TvListener* listener, std::string* error);

struct TvAtsc3Options
{
    // The MPD of a service whose captions are played: its path, or its URL (http, https or file). Its
    // segments are where it names them, as a ROUTE receiver leaves them.
    std::string input;
    // The same of further services that can be tuned to.
    std::vector<std::string> also;
    std::string language; // of the captions, a tag such as "en" or "eng"; empty: the first ones
    double speed = 1.0;   // seconds of the service per second; a live one has the world's
    // Captions do not wait for their time. The segments of a live service come when they come all the same.
    bool fast = false;
    const std::atomic<bool>* cancel = nullptr; // makes TvOpenAtsc3() give up once it is true
};

// Opens ATSC 3.0 services instead, one of which is tuned at a time. All is as with TvOpen(), except that
// - an MPD that is a file is refused when it cannot be read; what else is wrong with it ends the tune;
// - the services' ids are 1 for `input`, then 2 and so on for `also`. TvTune() takes an id, an MPD as it is
//   given here, or its file name with or without extension, and is refused for nothing else;
// - SIGNAL_TUNE_SUCCESS comes once the MPD and what the captions begin with (the initialization segment) are
//   there; a live service without that waits for it;
// - the MPD of a live service is read again as it asks for; SIGNAL_ATSC3_SIGNALING with the first word 8 says
//   that there is a new one;
// - OnEnd() comes when the tuned service is over: at the end of one that is complete, static or recorded (a
//   live one whose segments are of another time), and when the first one cannot be tuned to. A live one goes
//   on until the input is closed or its MPD says that it has ended. TvTune() works after an end, too, and the
//   end of that service comes then.
// Sources take captions only where the settings "db/menu/broadcasting/atsc3_enable" (bool) and
// "db/menu/caption/caption" (int) are on: who plays without a viewer sets them. In the region that the system
// information "com.velmora/featureconf/caption.support_kor" tells of, sources do not read the MPD, and a
// caption's offset is one without it.
TTML_PLATFORM_EXPORT bool TvOpenAtsc3(const TvAtsc3Options& options, TvListener* listener,
                                      std::string* error);

// Begins to read and tunes to the service of the options: SIGNAL_TUNE_START, then, once PAT, PMT and a PCR
// are there, SIGNAL_TUNE_SUCCESS, and SIGNAL_SERVICE_LOCKED after it where the service is withheld. Subtitle
// packets that are complete before the success are not delivered. Later calls do nothing.
TTML_PLATFORM_EXPORT void TvStart();

// Tunes to another service of the input, by id or name; before TvStart() it only replaces that of the
// options. Queries fail until the tune's success. False, with one line in `error`, when a program association
// that has been read does not hold it, for an id above 65535, and after the end of the input; the service
// stays as it is then.
TTML_PLATFORM_EXPORT bool TvTune(const std::string& service, std::string* error);

// Tells of a new MPD although there is none: SIGNAL_ATSC3_SIGNALING with the first word 8.
TTML_PLATFORM_EXPORT void TvSignalMpd();

// The screen goes to the TV service, or to another application: SIGNAL_TVS_ACTIVATE, SIGNAL_TVS_DEACTIVATE.
TTML_PLATFORM_EXPORT void TvActivate();
TTML_PLATFORM_EXPORT void TvDeactivate();

// Ends the TV service, as when its process goes: every query fails from now on, and neither signals nor
// packets are delivered. The input is read on, so its end comes all the same. TvOpen() brings the service
// back.
TTML_PLATFORM_EXPORT void TvTerminate();

// Locks or unlocks the tuned service for the viewer, until the input is closed; where none is tuned, the one
// that is tuned next. SIGNAL_SERVICE_LOCKED follows where it now is locked. The lock withholds the service
// only while the setting "db/menu/broadcasting/channel_lock" is on; a change of that setting alone raises no
// signal.
TTML_PLATFORM_EXPORT void TvLockService(bool locked);

// The oldest age whose programmes the viewer may see (ETSI EN 300 468 parental rating); nothing: no limit.
// A programme rated above it is withheld: SIGNAL_SERVICE_LOCKED follows where one is on, and comes when one
// begins. A programme without rating is permitted. The limit outlives the input.
TTML_PLATFORM_EXPORT void TvSetRatingLimit(std::optional<int> age);

// Waits until every signal raised so far has been given to all subscribers and the listener. Not on a thread
// of the service.
TTML_PLATFORM_EXPORT void TvSettle();

// What reading found so far, or has found of the input that was closed last.
struct TvStatistics
{
    std::uint64_t packets = 0;
    std::uint64_t continuityErrors = 0; // of tables and the subscribed component (TvInspect: all)
    std::uint64_t transportErrors = 0;
    std::uint64_t scrambledPackets = 0; // of the subscribed component (TvInspect: all)
    std::uint64_t resynchronisations = 0;
    std::uint64_t pesDelivered = 0;
    std::uint64_t pesDropped = 0;        // damaged
    std::uint64_t badSections = 0;       // of tables: wrong CRC_32
    std::uint64_t captionsDelivered = 0; // of ATSC 3.0 services
};

TTML_PLATFORM_EXPORT TvStatistics TvGetStatistics();

// Ends the threads of the service and closes the input. No callback and no listener call runs after the
// return. Subscriptions stay where they are.
TTML_PLATFORM_EXPORT void TvClose();

// What a stream holds, for people.

struct TvTtmlComponent
{
    int pid = 0;
    std::string language;
    int purpose = 0;           // subtitle_purpose of ETSI EN 303 560
    std::vector<int> profiles; // dvb_ttml_profile values
    std::uint64_t pesPackets = 0;
};

struct TvComponent
{
    int pid = 0;
    int streamType = 0;
    std::string kind; // "video (H.264)", "audio (AAC)", "teletext", "DVB subtitles", "private data"
    std::uint64_t pesPackets = 0;
};

struct TvServiceInfo
{
    int id = 0;
    std::string name; // UTF-8; empty when the stream has none
    int pmtPid = 0;
    int pcrPid = 0;
    std::uint64_t pcrs = 0;
    std::optional<int> rating; // age of the present event
    std::vector<TvTtmlComponent> ttml;
    std::vector<TvComponent> others;
};

struct TvStreamInfo
{
    int packetSize = 0; // 188, 192 or 204
    TvStatistics statistics;
    std::vector<TvServiceInfo> services;
};

// Reads a whole input (a file or standard input) and says what it holds. False on failure, with one line in
// `error`. Does not touch the TV service of the process.
TTML_PLATFORM_EXPORT bool TvInspect(const std::string& input, const std::atomic<bool>* cancel,
                                    TvStreamInfo* info, std::string* error);

} // namespace TTMLHost

#endif
