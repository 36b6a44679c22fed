#ifndef TTMLSRC_INFO_COMMAND_H
#define TTMLSRC_INFO_COMMAND_H

#include <string>

#include "Command.h"

namespace TTMLClient {

// "ttmlsrc info": what a transport stream holds.
class InfoCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override;
    void Complete() override;
    int Run() override;

private:
    std::string m_input;
    bool m_json = false;
};

} // namespace TTMLClient

#endif
