#ifndef TTMLSRC_TRACK_COMMANDS_H
#define TTMLSRC_TRACK_COMMANDS_H

#include <list>
#include <optional>
#include <string>

namespace TTMLClient {

class Content;
class RunControl;
class ScriptRunner;
class Session;

// What PlayTrack() is called with.
struct TrackChoice
{
    unsigned int id = 0;
    std::string url;                       // empty for a track in band
    std::optional<std::string> descriptor; // nothing leaves the one before
};

// The commands that every kind of source knows, carried out on a session and on the content beside it.
// Each returns once the source has handled it. One thread at a time.
class TrackCommands
{
public:
    // All stay the caller's and must outlive the object.
    TrackCommands(Session& session, Content& content, RunControl& control, TrackChoice track);

    // Makes `runner` carry out the words of TrackWords().
    void Teach(ScriptRunner& runner);

    void Play();
    void Stop();
    void Pause();
    void Resume();
    void Seek(long long positionMs);
    void SeekDone();
    void Invalidate();

private:
    Session& m_session;
    Content& m_content;
    RunControl& m_control;
    const TrackChoice m_track;
};

} // namespace TTMLClient

#endif
