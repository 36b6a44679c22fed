#ifndef CTTML_SOURCE_H
#define CTTML_SOURCE_H

#include <list>
#include <string>

#include "ITTMLSource.h"
#include "ITTMLSourceControl.h"
#include "TTMLCallback.h"
#include "TTMLExport.h"

namespace TTML {

class CSourceTask;

// The common base of all sources. It owns the source thread's task and forwards every command to it.
// Slots and fields are in declaration order.
class TTML_EXPORT CTTMLSource : public ITTMLSource, public ITTMLSourceControl
{
public:
    CTTMLSource();
    ~CTTMLSource() override;
    CTTMLSource(const CTTMLSource&) = delete;
    CTTMLSource& operator=(const CTTMLSource&) = delete;

    bool RegisterCallBack(void (*callback)(int event, void* data), void* userData) override;
    void UnRegisterCallBack() override;
    const std::list<std::string>& GetDownloadableFontsInfo() const override;
    int GetSubtitleMode() override;

    // Hands the user agent of later requests to the source; the text is copied. The creator of a source
    // calls it once, before OnStart(). A null text is refused with a line on the log, and the old one
    // stays. Returns false when the source has no thread.
    virtual bool t_Initialize(const char* userAgent);

protected:
    // A hook for derived sources; does nothing.
    virtual void t_Destroy();

public:
    // Deletes the source: carries out the commands that are still queued, with their callbacks, waits for a
    // fetch under way, and ends the threads. No callback is made after the return. Not from inside a
    // client callback, and not while another thread is inside an operation of the source.
    virtual void Destroy();

    void Invalidate() override;
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override;
    void StopTrack() override;
    void PauseTrack(bool) override;
    void ResumeTrack() override;
    void SeekStart(long long position) override;
    void SeekCompleted() override;
    void OnSubtitleData(void* sample, TTMLSubtitleExtraData& extra) override;
    void OnSubtitleData(void* rawDataInfo) override;
    void SetDNTOption(int) override;
    void OnErrorDownloadableFonts(std::list<std::string> fonts) override;
    void OnStart() override;
    void OnStop() override;
    void OnShow() override;
    void OnHide() override;

    // Has `handler` called on the source thread with code 14 and `data`. Any thread. `data` stays with
    // the handler, which disposes of it. Returns false, and `data` stays the caller's, when the call
    // could not be queued. A handler still queued when the source is destroyed is not called: who posts
    // must be able to dispose of its data then. The process stops when there is no memory for the call.
    virtual bool SendEventToSourceThread(void* data, SourceCallbackFunc handler);

protected:
    // For derived sources. Playing runs at once on the calling thread, where it may wait for the in-band
    // thread of an earlier track to end; stopping is queued.
    virtual void t_NotifyPlayTrack();
    virtual void t_NotifyStopTrack();
    virtual void t_NotifyRegisterMenuCB();
    virtual void t_NotifyUnRegisterMenuCB();
    virtual void t_NotifySetMenuLang();

    // For the destructors of derived sources whose operations run on the source thread: has everything queued
    // handled and ends the thread, so that none of them runs on an object that is half gone. Nothing else may
    // be called on this base afterwards.
    void t_EndSourceThread();

private:
    CSourceTask* m_pSourceTask;                     // null only when there was no memory for it
    std::list<std::string> m_listDownloadableFonts; // filled only while OnErrorDownloadableFonts() runs
};

} // namespace TTML

#endif
