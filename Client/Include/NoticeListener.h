#ifndef TTMLSRC_NOTICE_LISTENER_H
#define TTMLSRC_NOTICE_LISTENER_H

namespace TTMLClient {

// Learns what a session's callback was called with, after it has been shown. On the calling thread; must
// not throw.
class NoticeListener
{
public:
    virtual ~NoticeListener() = default;

    // `code` is a TTML::ECallbackCode.
    virtual void OnNotice(int code) = 0;
};

} // namespace TTMLClient

#endif
