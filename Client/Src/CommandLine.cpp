#include "CommandLine.h"

#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Atsc3Command.h"
#include "BroadbandCommand.h"
#include "Command.h"
#include "CommonOptions.h"
#include "DvbCommand.h"
#include "InfoCommand.h"
#include "Output.h"
#include "SettingsCommand.h"

namespace TTMLClient {

namespace {

// The word where a subcommand should stand; empty when there is none.
std::string UnknownSubcommand(const CLI::App& program)
{
    const CLI::App* app = &program;
    while (!app->get_subcommands().empty()) {
        app = app->get_subcommands().front();
    }
    const std::vector<std::string> rest = app->remaining();
    return app->get_require_subcommand_min() == 0 || rest.empty() || rest.front()[0] == '-' ? ""
                                                                                            : rest.front();
}

} // namespace

int RunCommandLine(int argc, const char* const* argv)
{
    CLI::App program("Plays TTML subtitles through the source layer and shows what a subtitle engine gets",
                     "ttmlsrc");
    program.set_version_flag("--version", "ttmlsrc " TTMLSRC_VERSION);
    program.require_subcommand(1);
    program.footer("Run 'ttmlsrc SUBCOMMAND --help' for its options and examples.\n"
                   "Exit codes: 0 done, 1 nothing delivered or output failed, 2 wrong usage.\n"
                   "TTML_LOG=info|warning|error|off sets how much of the log is shown on standard error.");

    std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> commands;
    const auto add = [&program, &commands](std::unique_ptr<Command> command) {
        CLI::App* declared = command->Declare(program);
        commands.emplace_back(declared, std::move(command));
    };
    add(std::make_unique<BroadbandCommand>());
    add(std::make_unique<DvbCommand>());
    add(std::make_unique<Atsc3Command>());
    add(std::make_unique<InfoCommand>());
    add(std::make_unique<SettingsCommand>());

    try {
        program.parse(argc, argv);
        for (const auto& [declared, command] : commands) {
            if (declared->parsed()) {
                command->Complete();
                return command->Run();
            }
        }
    } catch (const CLI::Success& success) {
        // Help or the version was asked for.
        return program.exit(success) == 0 ? EXIT_DONE : EXIT_FAILED;
    } catch (const CLI::ParseError& error) {
        const std::string unknown = UnknownSubcommand(program);
        PrintMessage((unknown.empty() ? error.what() : "unknown subcommand '" + unknown + "'") +
                     "; see ttmlsrc --help");
        return EXIT_USAGE;
    } catch (const UsageError& error) {
        PrintMessage(std::string(error.what()) + "; see ttmlsrc --help");
        return EXIT_USAGE;
    }
    return EXIT_USAGE;
}

} // namespace TTMLClient
