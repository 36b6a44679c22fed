#ifndef TTML_CALLBACK_H
#define TTML_CALLBACK_H

namespace TTML {

// The client's callback, and the type of a function that is run on the source thread.
//
// A client callback must not throw, and must not call OnStart, OnStop, Invalidate or Destroy of its source,
// nor wait for a thread that does: code 2 may come while the source holds its track. Codes 1 to 4, 6 and 7
// come on the source thread, unless it is said otherwise.
typedef void (*SourceCallbackFunc)(int code, void* data);

// What the client's callback is called with. Unless another payload is named, `data` is the user data
// given to RegisterCallBack().
enum ECallbackCode
{
    // A piece of subtitle data; `data` is a TTMLRawDataInfo* that the client owns from here on. On the
    // thread that brings the data: the source thread for a document at a URL, the thread "Inband" for
    // samples, the platform's thread for broadcast data.
    CALLBACK_DATA = 0,
    // A track started; `data` is a const TTMLStartNotice*, valid during the call.
    CALLBACK_STARTED = 1,
    // A track stopped.
    CALLBACK_STOPPED = 2,
    // A playing track paused.
    CALLBACK_PAUSED = 3,
    // A paused track resumed.
    CALLBACK_RESUMED = 4,
    // The source was invalidated; on the thread that called Invalidate().
    CALLBACK_INVALIDATED = 5,
    // A seek started; `data` is a const TTMLSeekNotice*, valid during the call.
    CALLBACK_SEEK_STARTED = 6,
    // A seek completed; sent for tracks with a URL only.
    CALLBACK_SEEK_COMPLETED = 7,
    // The broadcast sources ask the client to follow the subtitle menu, to leave it, and to set its
    // language; on the thread that makes the source ask.
    CALLBACK_REGISTER_MENU = 8,
    CALLBACK_UNREGISTER_MENU = 9,
    CALLBACK_SET_MENU_LANG = 10,
    // Visibility, and fonts that could not be downloaded; on the thread of the OnShow(), OnHide() or
    // OnErrorDownloadableFonts() call.
    CALLBACK_SHOW = 11,
    CALLBACK_HIDE = 12,
    CALLBACK_FONTS_ERROR = 13
};

// The payload of CALLBACK_STARTED.
struct TTMLStartNotice
{
    bool inBand;
    void* userData;
};

// The payload of CALLBACK_SEEK_STARTED. The position is in milliseconds.
struct TTMLSeekNotice
{
    long long position;
    void* userData;
};

} // namespace TTML

#endif
