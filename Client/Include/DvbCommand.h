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
    SourcePtr CreateSource(const std::string& userAgent) const override;
};

} // namespace TTMLClient

#endif
