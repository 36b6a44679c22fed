#include "DvbCommand.h"

#include <new>

#include <CLI/CLI.hpp>

#include "CDVBSource.h"
#include "OptionChecks.h"

namespace TTMLClient {

namespace {

const char* const kExamples =
    "Examples:\n"
    "  ttmlsrc dvb capture.ts\n"
    "  ttmlsrc dvb capture.ts --service \"Harbour TV\" --lang deu --fast --json\n"
    "  ttmlsrc dvb udp://239.1.2.3:1234 --duration 30s --out documents\n"
    "  ttmlsrc dvb recording.ts --pvr --speed 2 --script \"wait 5s; pvr trick; wait 5s; pvr stop\"\n"
    "  ttmlsrc dvb capture.ts --script \"show; wait 5s; channel-lock on; lock on; wait 5s; lock off; "
    "tune 2; wait 5s\"";

} // namespace

CLI::App* DvbCommand::Declare(CLI::App& program)
{
    CLI::App* command =
        program.add_subcommand("dvb", "Subtitles of a DVB service: the TTML component of a transport stream");
    command
        ->add_option("INPUT", m_tv.input,
                     "The transport stream: a file, - for standard input, or udp://[LOCAL@]ADDRESS:PORT or "
                     "rtp://...")
        ->option_text(" ")
        ->required()
        ->check(TextCheck("a file, -, or an address"));
    command
        ->add_option("--service", m_tv.service,
                     "The service to tune to, by id or name (the first one with TTML)")
        ->option_text("ID|NAME")
        ->check(TextCheck("the id or the name of a service"));
    command->add_option("--lang", m_tv.language, "The language of the subtitles (the first one)")
        ->option_text("XXX")
        ->check(LanguageCheck());
    AddOptions(*command);
    command->footer("Script words: " + WordForms(Words()) + "\n\n" + kExamples);
    return command;
}

SourcePtr DvbCommand::CreateSource(const std::string& userAgent) const
{
    SourcePtr source(new (std::nothrow) TTML::CDVBSource);
    if (source) {
        source->t_Initialize(userAgent.c_str());
    }
    return source;
}

} // namespace TTMLClient
