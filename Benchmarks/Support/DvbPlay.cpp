#include "DvbPlay.h"

#include "PlatformTvService.h"
#include "PrivateAccess.h"

// The callback that the source gives the TV service.
TTML_EXPOSE_FUNCTION(DvbPacketCallback, void (*)(TSPESData&, void*), TTML::CDVBSource::m_OnPESDataCallback)

namespace TTMLBench {

DvbPlay::DvbPlay()
    : m_source(new TTML::CDVBSource)
{
    m_source->t_Initialize("benchmarks");
    m_source->RegisterCallBack(CaptionClient::OnNotice, &m_client);
    m_client.starts.Expect(1);
    m_source->OnStart();
    m_client.starts.Wait();
}

DvbPlay::~DvbPlay()
{
    m_source->OnStop();
}

void DvbPlay::Deliver(std::vector<TSPESData>& packets, std::size_t count)
{
    m_client.captions.Expect(count);
    for (std::size_t i = 0; i < count; ++i) {
        TTMLTest::CallPrivateStatic<TTMLTest::DvbPacketCallback>(packets[i % packets.size()], m_source.get());
    }
    m_client.captions.Wait();
}

} // namespace TTMLBench
