#ifndef ITTML_SOURCE_CONTROL_H
#define ITTML_SOURCE_CONTROL_H

#include <list>
#include <string>

#include "TTMLExport.h"
#include "TTMLSubtitleExtraData.h"

namespace TTML {

// The side of a source that obeys. Slots are in declaration order.
//
// The track commands are queued to the source thread and carried out there in order; a command that the
// track's state does not allow is refused with a line on the log. Any thread may call any operation,
// except: OnStart, OnStop and Invalidate not from inside a client callback, and no operation at all once
// the source's destruction has begun. No operation throws. A command for which there is no memory is lost.
class TTML_EXPORT ITTMLSourceControl
{
public:
    // Starts subtitles of a track: the in-band data of `trackId` when `url` is null or empty, else the
    // document at `url`. `arg`, when it is not null, becomes at once the track descriptor that every later
    // piece of data carries, even when the play is refused. The texts are copied. A track that plays is
    // stopped first. Answered with code 1; a document that cannot be fetched leaves a line on the log.
    virtual void PlayTrack(unsigned int trackId, const char* url, const char* arg) = 0;
    // Ends the track's data; in-band samples that are still queued are dropped. Answered with code 2.
    virtual void StopTrack() = 0;
    // Pauses the track; in-band samples are held back until ResumeTrack(). The argument is carried but
    // has no effect. Answered with code 3 when a track was playing.
    virtual void PauseTrack(bool) = 0;
    // Goes on with a paused track, or starts one that was played meanwhile. Answered with code 4.
    virtual void ResumeTrack() = 0;
    // Stops the data path, waits until all queued commands are done (a fetch under way included), makes
    // the source refuse further plays until OnStart(), and calls back with code 5. A broadcast source that is
    // subscribed takes OnStop() and OnStart() to play again, and its data go on until then.
    virtual void Invalidate() = 0;
    // `position` is a media time in milliseconds, on the scale of GetVideoCurrentTime(). Answered with
    // code 6; until SeekCompleted() a second one is refused.
    virtual void SeekStart(long long position) = 0;
    // Answered with code 7 when the track has a URL.
    virtual void SeekCompleted() = 0;

    // Hands one in-band sample to the queue. `sample` is zero-terminated UTF-8; it and `extra` stay the
    // caller's and are copied before the call returns. Times in `extra` are TTML time expressions or empty.
    // A null sample is refused. While no track runs only the 20 newest samples are kept.
    virtual void OnSubtitleData(void* sample, TTMLSubtitleExtraData& extra) = 0;

    // Hands over a finished TTMLRawDataInfo, created with `new`, which is delivered to the client at once
    // on the calling thread, or deleted when it cannot be.
    virtual void OnSubtitleData(void* rawDataInfo) = 0;

    // The do-not-track header of later requests: 0 "DNT: 0", 1 "DNT: 1", 2 "DNT: null". Other values are
    // refused. Set before a track is played.
    virtual void SetDNTOption(int) = 0;

    // The client reports fonts that it could not download; it is called back at once with code 13. Must
    // not run at the same time as itself.
    virtual void OnErrorDownloadableFonts(std::list<std::string> fonts) = 0;

    // Starts the source thread with the track stopped. Called once, and again after Invalidate(); the
    // thread is then left as it is and only the track's state is set anew.
    virtual void OnStart() = 0;
    // Waits until the source thread has handled every command queued so far, a fetch included; at once
    // when the thread was not started. The thread itself ends when the source is destroyed. A broadcast
    // source ends its subscriptions instead.
    virtual void OnStop() = 0;
    // The caption becomes visible or hidden: calls back at once, with code 11 or 12, on this thread.
    virtual void OnShow() = 0;
    virtual void OnHide() = 0;

    virtual ~ITTMLSourceControl();
};

} // namespace TTML

#endif
