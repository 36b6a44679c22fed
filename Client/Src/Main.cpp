#include <csignal>
#include <exception>
#include <string>

#include "Command.h"
#include "CommandLine.h"
#include "Output.h"
#include "SignalWatcher.h"

int main(int argc, char** argv)
{
    // Before anything creates a thread.
    TTMLClient::SignalWatcher::BlockSignals();
    // A reader that goes away shows as a failed write, so that the source is still put away in order.
    (void)std::signal(SIGPIPE, SIG_IGN);

    try {
        return TTMLClient::RunCommandLine(argc, argv);
    } catch (const std::exception& error) {
        TTMLClient::PrintMessage(std::string("the run failed: ") + error.what());
        return TTMLClient::EXIT_FAILED;
    }
}
