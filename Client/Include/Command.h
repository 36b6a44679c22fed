#ifndef TTMLSRC_COMMAND_H
#define TTMLSRC_COMMAND_H

namespace CLI {
class App;
}

namespace TTMLClient {

// What the process ends with.
enum ExitCode
{
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2
};

// A subcommand of the program.
class Command
{
public:
    virtual ~Command() = default;

    // Adds the subcommand with its options; returns it.
    virtual CLI::App* Declare(CLI::App& program) = 0;

    // Checks what the options say together. Throws UsageError.
    virtual void Complete() = 0;

    // Does it. Returns an ExitCode.
    virtual int Run() = 0;
};

} // namespace TTMLClient

#endif
