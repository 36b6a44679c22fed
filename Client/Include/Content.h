#ifndef TTMLSRC_CONTENT_H
#define TTMLSRC_CONTENT_H

namespace TTMLClient {

// What plays beside a source and brings it its data. One thread at a time.
class Content
{
public:
    virtual ~Content() = default;

    // Plays on from where it stands; samples reach the source.
    virtual void Play() = 0;

    // Stands still; no sample reaches the source after the return.
    virtual void Pause() = 0;

    // Plays on if it plays, but keeps samples from the source until Play().
    virtual void HoldSamples() = 0;

    virtual void Seek(long long positionMs) = 0;

    // Waits until the source has delivered everything it was given. The track must be playing.
    virtual void WaitDelivered() = 0;
};

} // namespace TTMLClient

#endif
