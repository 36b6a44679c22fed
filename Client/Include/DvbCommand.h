#ifndef TTMLSRC_DVB_COMMAND_H
#define TTMLSRC_DVB_COMMAND_H

#include "BroadcastCommand.h"

namespace TTMLClient {

// "ttmlsrc dvb": the TTML subtitles of a service of a transport stream, through the DVB source.
class DvbCommand : public BroadcastCommand
{
public:
    CLI::App* Declare(CLI::App& program) override;

protected:
    const std::string& Input() const override { return m_tv.input; }
    bool Open(TTMLHost::TvListener* listener, const std::atomic<bool>* cancel,
              std::string* error) const override;
    SourcePtr CreateSource(const std::string& userAgent) const override;
    std::string WhyNothingCame(const TTMLHost::TvStatistics& statistics) const override;
    std::string WhyNothingArrived(const TTMLHost::TvStatistics& statistics, bool tuned) const override;

private:
    TTMLHost::TvOptions m_tv; // but for the speed
};

} // namespace TTMLClient

#endif
