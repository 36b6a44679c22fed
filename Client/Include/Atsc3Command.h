#ifndef TTMLSRC_ATSC3_COMMAND_H
#define TTMLSRC_ATSC3_COMMAND_H

#include "BroadcastCommand.h"

namespace TTMLClient {

// "ttmlsrc atsc3": the captions of an ATSC 3.0 service, through the ATSC 3.0 source.
class Atsc3Command : public BroadcastCommand
{
public:
    CLI::App* Declare(CLI::App& program) override;

protected:
    Vocabulary Words() const override;
    const std::string& Input() const override { return m_tv.input; }
    bool Open(TTMLHost::TvListener* listener, const std::atomic<bool>* cancel,
              std::string* error) const override;
    SourcePtr CreateSource(const std::string& userAgent) const override;
    std::string WhyNothingCame(const TTMLHost::TvStatistics& statistics) const override;
    std::string WhyNothingArrived(const TTMLHost::TvStatistics& statistics, bool tuned) const override;

private:
    TTMLHost::TvAtsc3Options m_tv; // but for the speed
    std::string m_region;
};

} // namespace TTMLClient

#endif
