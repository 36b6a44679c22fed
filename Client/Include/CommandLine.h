#ifndef TTMLSRC_COMMAND_LINE_H
#define TTMLSRC_COMMAND_LINE_H

namespace TTMLClient {

// Reads the program's arguments and does what they say. Returns an ExitCode.
int RunCommandLine(int argc, const char* const* argv);

} // namespace TTMLClient

#endif
