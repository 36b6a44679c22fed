#ifndef TTMLSRC_SESSION_H
#define TTMLSRC_SESSION_H

#include <chrono>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "CTTMLSource.h"
#include "DocumentWriter.h"
#include "Event.h"
#include "NoticeListener.h"
#include "RunControl.h"

namespace TTMLClient {

struct SourceDestroyer
{
    void operator()(TTML::CTTMLSource* source) const { source->Destroy(); }
};

using SourcePtr = std::unique_ptr<TTML::CTTMLSource, SourceDestroyer>;

// A new broadcast source, initialised with the user agent. Null when there is no memory for it.
template <class Source>
SourcePtr MakeSource(const std::string& userAgent)
{
    SourcePtr source(new (std::nothrow) Source);
    if (source) {
        source->t_Initialize(userAgent.c_str());
    }
    return source;
}

// Where a session shows what it gets. All stay the caller's and must outlive the session.
struct SessionOutput
{
    EventPrinter& printer;
    DocumentWriter* writer;   // null when documents are not kept
    NoticeListener* listener; // may be null
    RunControl& control;      // learns of output that cannot be written
};

// How a session waits until its source has handled every command so far.
enum class SettleBy
{
    Stop,   // OnStop(), which is that barrier for a source that subscribes to nothing
    Barrier // an event on the source thread: a broadcast source's OnStop() would end its subscriptions
};

// A source with the client's callback on it, from the start to the end in the order that a source asks
// for. The commands are called on the source itself; Settle() after a queued one makes runs repeatable.
class Session
{
public:
    Session(SourcePtr source, const SessionOutput& output, SettleBy settleBy = SettleBy::Stop);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Registers the callback and starts the source. False when the source cannot work, for want of memory.
    bool Start();

    TTML::CTTMLSource& Source();

    // Waits until the source has handled every command so far. Not from a callback; by a barrier, any other
    // thread.
    void Settle();

    // What the notices say: a track has started and was neither stopped nor invalidated since; it is
    // paused; how much data has come.
    bool TrackStarted() const;
    bool TrackPaused() const;
    long long Delivered() const;

    // Stops a track that is started, waits for what is queued, removes the callback and destroys the
    // source. Nobody may call the source any more. The destructor calls it as well.
    void End();

private:
    enum class Shown
    {
        Done,
        ReaderGone, // nobody reads standard output any more
        Failed
    };

    static void OnCallback(int code, void* data);
    void Handle(int code, void* data, const TTML::TTMLRawDataInfo* info);
    // Adds the times, keeps and prints. Returns how it went; `failure` says what failed.
    Shown Show(Event& event, std::string& failure);
    void Note(int code);

    SourcePtr m_source;
    const SessionOutput m_output;
    const SettleBy m_settleBy;
    const std::chrono::steady_clock::time_point m_begin;

    // Callbacks come on several threads; one at a time is shown. Held while the source answers the media
    // time, so that a line's times fit its place.
    std::mutex m_showMutex;
    bool m_hidden = false;     // under m_showMutex: the caption is hidden
    bool m_outputLost = false; // under m_showMutex: something could not be written, nothing more is

    mutable std::mutex m_stateMutex;
    bool m_trackStarted = false; // under m_stateMutex
    bool m_trackPaused = false;  // under m_stateMutex
    long long m_delivered = 0;   // under m_stateMutex
};

} // namespace TTMLClient

#endif
