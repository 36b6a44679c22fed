#include "DvbCommand.h"

#include <CLI/CLI.hpp>

#include "CDVBSource.h"
#include "OptionChecks.h"
#include "Output.h"
#include "StreamReport.h"

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
    AddOptions(*command, kExamples);
    return command;
}

bool DvbCommand::Open(TTMLHost::TvListener* listener, const std::atomic<bool>* cancel,
                      std::string* error) const
{
    TTMLHost::TvOptions options = m_tv;
    options.speed = Speed();
    options.fast = IsFast();
    options.cancel = cancel;
    return TTMLHost::TvOpen(options, listener, error);
}

SourcePtr DvbCommand::CreateSource(const std::string& userAgent) const
{
    return MakeSource<TTML::CDVBSource>(userAgent);
}

std::string DvbCommand::WhyNothingCame(const TTMLHost::TvStatistics& statistics) const
{
    if (statistics.pesDelivered > 0) {
        return "none of its " + CountText(statistics.pesDelivered, "TTML PES packet") +
               " could be read; the log says why";
    }
    // That packets are scrambled or damaged has been said when they came.
    if (statistics.scrambledPackets > 0 || statistics.pesDropped > 0) {
        return {};
    }
    return "no TTML PES packet came; play more of the stream, or choose another service or language";
}

std::string DvbCommand::WhyNothingArrived(const TTMLHost::TvStatistics& statistics, bool /*tuned*/) const
{
    if (statistics.packets > 0) {
        return {};
    }
    return "nothing came from " + InputName(m_tv.input) + " within --duration; check " +
           (m_tv.input == "-" ? "the program that writes it" : "the address and the sender");
}

} // namespace TTMLClient
