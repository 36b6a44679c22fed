#ifndef PORT_UNDER_TEST_H
#define PORT_UNDER_TEST_H

// What a port arranges for the suite: things that the boundary has no calls for, because on a television the
// viewer, the broadcaster or another process does them. Everything is optional. An ability that a port does
// not give skips its tests, which say so; so a port begins with BarePort.cpp and adds one at a time.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PlatformMediaPlayer.h"
#include "PlatformRecorder.h"

namespace PortTest {

// Reads the system log.
class LogReader
{
public:
    virtual ~LogReader() = default;
    // The main buffer's lines with `marker` in them that were written since the test first asked for the
    // reader, the oldest first, each with whatever the log puts around its message. A line is there once its
    // call has returned.
    virtual std::vector<std::string> Lines(const std::string& marker) = 0;
};

// A web server that the file manager can reach.
class DocumentServer
{
public:
    virtual ~DocumentServer() = default;
    // A URL at which these bytes are a document.
    virtual std::string Publish(const std::string& content) = 0;
    // A URL that answers the request's own headers, one "Name: value" a line.
    virtual std::string EchoUrl() = 0;
    // URLs whose documents cannot be had, by what is wrong with them ("not found", "cut off midway").
    virtual std::map<std::string, std::string> BrokenUrls() = 0;
};

// Another process that uses the same settings store. Both return the result of the call there.
class OtherProcess
{
public:
    virtual ~OtherProcess() = default;
    virtual int SetInt(const std::string& key, int value) = 0;
    virtual int GetInt(const std::string& key, int* value) = 0;
};

// Raises signals of the recorder's player; they may arrive after the return.
class RecorderControl
{
public:
    virtual ~RecorderControl() = default;
    virtual void Raise(const ps_signal_s& signal) = 0;
};

// A subtitle sample that a player pushed.
struct MediaSample
{
    std::string text;
    long long timestampMs = 0; // on the scale of the play position
};

// Opens content in media players and drives them.
class MediaControl
{
public:
    virtual ~MediaControl() = default;
    // A player with content of 30 s at least that can be sought in and has a TTML track, the first sample of
    // which lies in the first ten seconds. It stands at its start. Null: the test fails.
    virtual player_s* OpenOnDemand() = 0;
    // A player with a live adaptive stream. Null: there is none.
    virtual player_s* OpenLive() = 0;
    virtual void Play(player_s* player) = 0;
    virtual void Pause(player_s* player) = 0;
    virtual void Seek(player_s* player, long long positionMs) = 0;
    virtual void Close(player_s* player) = 0;
    // Waits for the next sample that the player pushes. False after a time that is too long.
    virtual bool WaitForSample(player_s* player, MediaSample* sample) = 0;
};

enum class Broadcast
{
    Dvb,       // a service with DVB TTML subtitles, and something of them every few seconds at least
    OtherDvb,  // another such service, with another id
    Atsc3,     // an ATSC 3.0 service with captions, one every few seconds at least
    LargeAtsc3 // the same, each caption of 524,288 bytes, and its MPD longer than 65,536 bytes
};

// What the suite may expect of a broadcast.
struct BroadcastFacts
{
    std::optional<std::uint64_t> serviceId;
    std::string language;                    // of the subtitles or captions that are on, as ISO 639 has it
    int profile = 0;                         // DVB: the bits of TSHybridSBT::profile; ATSC 3.0: TCCaption's
    std::string captionId;                   // ATSC 3.0
    std::string mpdPart;                     // ATSC 3.0: a text that is in the MPD
    std::optional<std::int64_t> availableMs; // ATSC 3.0: availabilityStartTime in ms since 1970
};

// Drives the TV service. Nothing is tuned when a test begins, and the TV service lives.
class TelevisionControl
{
public:
    virtual ~TelevisionControl() = default;

    virtual bool Offers(Broadcast broadcast) = 0;
    virtual BroadcastFacts Facts(Broadcast broadcast) = 0;

    // Begins to tune; the TV service's signals tell the rest. With `realTime` the stream's clock runs as the
    // world's, else as the port likes (a faster one makes the suite faster).
    virtual void Tune(Broadcast broadcast, bool realTime) = 0;
    // Nothing is tuned after the return.
    virtual void Untune() = 0;

    // The rest is optional: false where the port cannot do it.

    // The screen goes to the TV service: SIGNAL_TVS_ACTIVATE.
    virtual bool Activate() { return false; }
    // The viewer locks or unlocks the tuned service, with the channel lock on.
    virtual bool Lock(bool /*locked*/) { return false; }
    // Tells of a new MPD: SIGNAL_ATSC3_SIGNALING with the first word 8.
    virtual bool AnnounceMpd() { return false; }
    // Ends the TV service; it lives again after the test.
    virtual bool Terminate() { return false; }
};

class PortUnderTest
{
public:
    virtual ~PortUnderTest() = default;

    virtual std::string Name() const = 0;
    // Whether it is to have every ability: then one that is missing fails its tests instead of skipping them.
    virtual bool IsComplete() const { return false; }
    // Before and after each test: to what a test may expect to find.
    virtual void Reset() {}

    // Keys that the suite may set; a store that must know its keys beforehand gives others. `index` is 0 to
    // 3: that of 1 is a bool, the others are ints.
    virtual std::string StoredKey(int index) { return "db/port-test/key" + std::to_string(index); }
    virtual std::string PassingKey(int index) { return "memory/port-test/key" + std::to_string(index); }
    // The application package of this process.
    virtual std::optional<std::string> PackageName() { return std::nullopt; }
    // A process that belongs to no package.
    virtual std::optional<int> PidWithoutPackage() { return std::nullopt; }
    // A bool feature of the system, and its value.
    virtual std::optional<std::pair<std::string, bool>> Feature() { return std::nullopt; }

    // Each stays the port's; null: it has no such thing.
    virtual LogReader* Log() { return nullptr; }
    virtual DocumentServer* Documents() { return nullptr; }
    virtual OtherProcess* Settings() { return nullptr; }
    virtual RecorderControl* Recorder() { return nullptr; }
    virtual MediaControl* Media() { return nullptr; }
    virtual TelevisionControl* Television() { return nullptr; }
};

// Defined by the port. Called once, at the beginning of main().
std::unique_ptr<PortUnderTest> CreatePortUnderTest();

// The port that the tests run on.
PortUnderTest& Port();

} // namespace PortTest

// Skips the test unless the port has an ability.
#define PORT_NEEDS(ability, name)                                                                            \
    do {                                                                                                     \
        if (!(ability)) {                                                                                    \
            ASSERT_FALSE(PortTest::Port().IsComplete()) << "it lacks an ability: " << (name);                \
            GTEST_SKIP() << "the port '" << PortTest::Port().Name()                                          \
                         << "' has no ability for it: " << (name);                                           \
        }                                                                                                    \
    } while (false)

#endif
