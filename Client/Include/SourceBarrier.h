#ifndef TTMLSRC_SOURCE_BARRIER_H
#define TTMLSRC_SOURCE_BARRIER_H

namespace TTML {
class CTTMLSource;
}

namespace TTMLClient {

// Waits until the source thread has handled everything that was queued to it before, and what those events
// queued in their turn (a signal's stop of the track is such). Any thread but the source's; not from a client
// callback. The source must be started and must outlive the call. At once when the source takes no events.
void WaitForSourceThread(TTML::CTTMLSource& source);

} // namespace TTMLClient

#endif
