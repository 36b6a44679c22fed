#ifndef TUNED_SERVICE_H
#define TUNED_SERVICE_H

#include <string>

#include "Countdown.h"
#include "HostTvService.h"
#include "StreamFile.h"

namespace TTMLBench {

// The process's TV service, tuned to a service with TTML subtitles whose clock runs and which sends no
// document. One at a time.
class TunedService : private TTMLHost::TvListener
{
public:
    // Throws std::runtime_error when the stream cannot be opened.
    TunedService();
    ~TunedService() override;
    TunedService(const TunedService&) = delete;
    TunedService& operator=(const TunedService&) = delete;

private:
    void OnSignal(ESignalType signal) override;
    void OnPesDelivered() override {}
    void OnWarning(const std::string& line) override;
    void OnEnd(const std::string& error) override;

    const StreamFile m_stream;
    Countdown m_tuned;
};

} // namespace TTMLBench

#endif
