#ifndef SERVICE_INPUT_H
#define SERVICE_INPUT_H

#include <cstdint>
#include <optional>
#include <string>

#include "HostTvService.h"

namespace TTMLHost {

// What the TV service knows of the service that is tuned.
struct TunedService
{
    std::uint64_t id = 0;
    bool isAtsc3 = false;
    std::optional<int> rating; // age of what is on
};

// Where an input hands what it has. The calls come on the input's thread, one at a time, unless stated
// otherwise; they may throw std::bad_alloc, which ends the input.
class ServiceOutput
{
public:
    virtual ~ServiceOutput() = default;

    // Only queues the signal; may be called on any thread and while a lock is held.
    virtual void Raise(ESignalType signal) = 0;
    // The same: an ATSC 3.0 service has a new MPD.
    virtual void RaiseNewMpd() = 0;
    // The service of the last tune is there, and the queries answer for it: locks it where it has to be.
    virtual void OnTuned(const TunedService& service) = 0;
    // Another programme of the tuned service is on, or its rating has become known.
    virtual void OnRatingChanged(const TunedService& service) = 0;
    // Hands out one PES packet. Returns whether anybody took it.
    virtual bool OnPes(const TSPESData& packet) = 0;
    // After a packet that somebody took, once the input has counted it.
    virtual void OnPesDelivered() = 0;
    // The same with one caption.
    virtual bool OnCaption(const TSCaption& caption) = 0;
    virtual void OnCaptionDelivered() = 0;
    virtual void OnWarning(const std::string& line) = 0;
    // A later tune than the first cannot be done.
    virtual void OnTuneFailed(const std::string& line) = 0;
    virtual void OnEnd(const std::string& error) = 0;
    // Waits until all signals raised so far have been handed out, or the TV service is being closed.
    virtual void AwaitSignals() = 0;
};

// One input of the TV service: it reads, tunes and keeps the time on a thread of its own. Any thread may make
// the calls, unless stated otherwise. Queries answer false where nothing is tuned or the input has no such
// thing, and leave their outputs as they are then.
class ServiceInput
{
public:
    virtual ~ServiceInput() = default;

    // Opens the input and starts the thread, which waits for Start(). On failure `*error` is one line.
    virtual bool Open(std::string* error) = 0;
    // Raises SIGNAL_TUNE_START and begins to read. Later calls do nothing.
    virtual void Start() = 0;
    virtual bool Tune(const std::string& service, std::string* error) = 0;

    // Asks the thread to end, at once if it waits; nothing is handed out that has not begun.
    virtual void RequestStop() = 0;
    // Waits for the end of the thread. Not on that thread.
    virtual void Join() = 0;

    virtual TvStatistics Statistics() const = 0;

    virtual std::optional<TunedService> Current() const = 0;
    // Language as three letters, one a byte, and index of the subtitle stream that is on.
    virtual bool CurrentSubtitle(int* languageCode, int* index) const = 0;
    virtual bool Subtitle(std::uint64_t serviceId, int index, int languageCode,
                          TSHybridSBT* stream) const = 0;
    // 33 bits at 90 kHz.
    virtual bool Stc(unsigned long long* stc) const = 0;
    virtual bool Mpd(std::uint64_t serviceId, std::string* mpd) const = 0;
    virtual bool CurrentCaption(TCCaption* caption) const = 0;
};

} // namespace TTMLHost

#endif
