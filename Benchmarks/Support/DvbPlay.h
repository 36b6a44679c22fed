#ifndef DVB_PLAY_H
#define DVB_PLAY_H

#include <cstddef>
#include <memory>
#include <vector>

#include "CDVBSource.h"
#include "CaptionClient.h"
#include "TunedService.h"

struct TSPESData;

namespace TTMLBench {

// A DVB source that has subscribed to a tuned service, and is given packets as that gives them.
class DvbPlay
{
public:
    DvbPlay();
    ~DvbPlay();
    DvbPlay(const DvbPlay&) = delete;
    DvbPlay& operator=(const DvbPlay&) = delete;

    TTML::CDVBSource& Source() { return *m_source; }
    // Gives the packets in turn, `count` altogether, and waits until each has brought a caption: each must
    // hold one document, and another one than the packet before.
    void Deliver(std::vector<TSPESData>& packets, std::size_t count);

private:
    struct DestroySource
    {
        void operator()(TTML::CDVBSource* source) const { source->Destroy(); }
    };

    const TunedService m_service;
    CaptionClient m_client;
    std::unique_ptr<TTML::CDVBSource, DestroySource> m_source;
};

} // namespace TTMLBench

#endif
