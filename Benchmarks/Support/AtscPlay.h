#ifndef ATSC_PLAY_H
#define ATSC_PLAY_H

#include <memory>
#include <string>
#include <vector>

#include "CATSCSource.h"
#include "CaptionClient.h"
#include "Countdown.h"
#include "HostTvService.h"

struct TSCaption;

namespace TTMLBench {

struct DestroyAtscSource
{
    void operator()(TTML::CATSCSource* source) const { source->Destroy(); }
};
using AtscSourcePointer = std::unique_ptr<TTML::CATSCSource, DestroyAtscSource>;

// A source with answers to what it asks for when it is constructed.
AtscSourcePointer MakeAtscSource();

// The process's TV service, tuned to the sample service for ATSC 3.0, whose own captions are over. One at a
// time.
class AtscService : private TTMLHost::TvListener
{
public:
    // Throws std::runtime_error when the service cannot be opened.
    explicit AtscService(const std::string& language);
    ~AtscService() override;
    AtscService(const AtscService&) = delete;
    AtscService& operator=(const AtscService&) = delete;

private:
    void OnSignal(ESignalType /*signal*/) override {}
    void OnPesDelivered() override {}
    void OnWarning(const std::string& line) override;
    void OnEnd(const std::string& error) override;

    Countdown m_ended;
};

// A source that has subscribed to the captions of such a service, and is given captions as that gives them.
class AtscPlay
{
public:
    enum class Profile
    {
        Text,
        Image
    };

    explicit AtscPlay(Profile profile);
    ~AtscPlay();
    AtscPlay(const AtscPlay&) = delete;
    AtscPlay& operator=(const AtscPlay&) = delete;

    // Gives the captions, each of which must be another one than that before, and waits for all of them.
    void Deliver(std::vector<TSCaption>& captions);
    // Gives captions that repeat the last one. False when one of them came to the client.
    bool DeliverRepeats(std::vector<TSCaption>& captions);

private:
    static void m_OnBanner(struct _keynode_t* node, void* userData);
    void m_Give(std::vector<TSCaption>& captions);

    const AtscService m_service;
    CaptionClient m_client;
    Countdown m_banner;
    AtscSourcePointer m_source;
};

} // namespace TTMLBench

#endif
