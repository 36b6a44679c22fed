#include "InfoCommand.h"

#include <atomic>
#include <cerrno>
#include <iostream>
#include <system_error>

#include <CLI/CLI.hpp>

#include "HostTvService.h"
#include "OptionChecks.h"
#include "Output.h"
#include "RunControl.h"
#include "SignalWatcher.h"
#include "StreamReport.h"

namespace TTMLClient {

namespace {

const char* const kExamples = "Examples:\n"
                              "  ttmlsrc info capture.ts\n"
                              "  ttmlsrc info - --json < capture.ts";

} // namespace

CLI::App* InfoCommand::Declare(CLI::App& program)
{
    CLI::App* command =
        program.add_subcommand("info", "What a transport stream holds: services, components, errors");
    command->add_option("INPUT", m_input, "The transport stream: a file, or - for standard input")
        ->option_text(" ")
        ->required()
        ->check(TextCheck("a file or -"));
    command->add_flag("--json", m_json, "One JSON object on standard output, and nothing else there");
    command->footer(kExamples);
    return command;
}

void InfoCommand::Complete()
{}

int InfoCommand::Run()
{
    RunControl control;
    std::atomic<bool> cancel{false};
    control.SetStopHook([&cancel](StopReason) { cancel = true; });
    TTMLHost::TvStreamInfo info;
    std::string error;
    bool read = false;
    {
        const SignalWatcher watcher(control, std::nullopt);
        read = TTMLHost::TvInspect(m_input, &cancel, &info, &error);
    }
    if (!read) {
        PrintMessage(error);
        return EXIT_FAILED;
    }

    errno = 0;
    std::cout << (m_json ? StreamJson(m_input, info) : StreamTable(m_input, info)) << std::flush;
    if (!std::cout.good() && errno != EPIPE) {
        PrintMessage("writing to standard output failed: " + std::generic_category().message(errno) +
                     "; check where it goes to");
        return EXIT_FAILED;
    }
    return EXIT_DONE;
}

} // namespace TTMLClient
