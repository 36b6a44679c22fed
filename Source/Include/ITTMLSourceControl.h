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
// the source's destruction has begun. No operation throws.
class TTML_EXPORT ITTMLSourceControl
{
public:
    // Starts subtitles of a track: the in-band data of `trackId` when `url` is null or empty, else the
    // document at `url`. `arg`, when it is not null, becomes the track descriptor that every later piece
    // of data carries. The texts are copied.
    virtual void PlayTrack(unsigned int trackId, const char* url, const char* arg) = 0;
    virtual void StopTrack() = 0;
    // Pauses the track; in-band samples are held back until ResumeTrack(). The argument is carried but
    // has no effect.
    virtual void PauseTrack(bool) = 0;
    virtual void ResumeTrack() = 0;
    // Stops the data path, waits until all queued commands are done, and makes the source refuse further
    // plays until OnStart().
    virtual void Invalidate() = 0;
    // `position` is a media time in milliseconds, on the scale of GetVideoCurrentTime().
    virtual void SeekStart(long long position) = 0;
    virtual void SeekCompleted() = 0;

    // Hands one in-band sample to the queue. `sample` is zero-terminated UTF-8 and stays the caller's; it
    // is copied before the call returns. Times in `extra` are TTML time expressions or empty.
    virtual void OnSubtitleData(void* sample, TTMLSubtitleExtraData& extra) = 0;

    // Hands over a finished TTMLRawDataInfo, created with `new`, which is delivered to the client at once
    // on the calling thread, or deleted when no callback is registered.
    virtual void OnSubtitleData(void* rawDataInfo) = 0;

    // The do-not-track header of later requests: 0 "DNT: 0", 1 "DNT: 1", 2 "DNT: null". Other values are
    // refused. Set before a track is played.
    virtual void SetDNTOption(int) = 0;

    // The client reports fonts that it could not download; it is called back at once with code 13. Must
    // not run at the same time as itself.
    virtual void OnErrorDownloadableFonts(std::list<std::string> fonts) = 0;

    // Starts the source thread; a second call is refused.
    virtual void OnStart() = 0;
    // Waits until the source thread has handled every command queued so far. The thread itself ends when
    // the source is destroyed.
    virtual void OnStop() = 0;
    virtual void OnShow() = 0;
    virtual void OnHide() = 0;

    virtual ~ITTMLSourceControl();
};

} // namespace TTML

#endif
