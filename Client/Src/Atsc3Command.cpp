#include "Atsc3Command.h"

#include <CLI/CLI.hpp>

#include "BroadcastCommands.h"
#include "CATSCSource.h"
#include "HostSystem.h"
#include "OptionChecks.h"
#include "Output.h"
#include "PlatformSettings.h"
#include "SettingKeys.h"
#include "StreamReport.h"

namespace TTMLClient {

namespace {

const char* const kExamples =
    "Examples:\n"
    "  ttmlsrc atsc3 service.mpd\n"
    "  ttmlsrc atsc3 service.mpd --lang kor --fast --json\n"
    "  ttmlsrc atsc3 http://receiver.local/1/service.mpd --duration 30s --out captions\n"
    "  ttmlsrc atsc3 service.mpd --pvr --speed 2 --script \"wait 5s; pvr trick; wait 5s; pvr stop\"\n"
    "  ttmlsrc atsc3 service.mpd --also second.mpd --script \"show; wait 5s; caption off; show; tune 2; "
    "wait 5s\"";

// What the factory of a television sets and a fresh store lacks. A viewer's own choice stays.
void TurnOnWhatHasNoValue()
{
    int value = 0;
    // A store that refuses has said so.
    if (vconf_get_bool(kReceptionKey, &value) != 0) {
        (void)vconf_set_bool(kReceptionKey, 1);
    }
    if (vconf_get_int(kCaptionKey, &value) != 0) {
        (void)vconf_set_int(kCaptionKey, 1);
    }
}

// Why the source cannot have taken any caption; empty when nothing speaks against it.
std::string WhyNotReceiving()
{
    int value = 0;
    if (vconf_get_bool(kReceptionKey, &value) == 0 && value != 0) {
        return {};
    }
    return std::string("ATSC 3.0 reception is off; turn it on with 'ttmlsrc settings set ") + kReceptionKey +
           " on'";
}

} // namespace

CLI::App* Atsc3Command::Declare(CLI::App& program)
{
    CLI::App* command = program.add_subcommand(
        "atsc3", "Captions of an ATSC 3.0 service: the caption segments that its MPD names");
    command
        ->add_option("INPUT", m_tv.input,
                     "The MPD of the service, its segments where it names them: a file or a URL")
        ->option_text(" ")
        ->required()
        ->check(TextCheck("a file or a URL"));
    command
        ->add_option("--also", m_tv.also,
                     "The MPD of one more service, which a script can tune to; may be repeated")
        ->option_text("MPD")
        ->allow_extra_args(false)
        ->check(TextCheck("a file or a URL"));
    command->add_option("--lang", m_tv.language, "The language of the captions (the first one)")
        ->option_text("TAG")
        ->check(LanguageTagCheck());
    command->add_option("--region", m_region, "Be a television of this region (korea)")
        ->option_text("REGION")
        ->check(ChoiceCheck({"korea"}));
    AddOptions(*command, kExamples);
    return command;
}

Vocabulary Atsc3Command::Words() const
{
    Vocabulary words = BroadcastCommand::Words();
    for (Word& word : CaptionWords()) {
        words.push_back(std::move(word));
    }
    return words;
}

bool Atsc3Command::Open(TTMLHost::TvListener* listener, const std::atomic<bool>* cancel,
                        std::string* error) const
{
    // Before the input is opened and the source constructed: both ask for it.
    if (!m_region.empty()) {
        TTMLHost::SetSystemFeature(TTMLHost::kKoreanRegionFeature, true);
    }
    TurnOnWhatHasNoValue();
    TTMLHost::TvAtsc3Options options = m_tv;
    options.speed = Speed();
    options.fast = IsFast();
    options.cancel = cancel;
    return TTMLHost::TvOpenAtsc3(options, listener, error);
}

SourcePtr Atsc3Command::CreateSource(const std::string& userAgent) const
{
    return MakeSource<TTML::CATSCSource>(userAgent);
}

std::string Atsc3Command::WhyNothingCame(const TTMLHost::TvStatistics& statistics) const
{
    if (statistics.captionsDelivered > 0) {
        return "none of its " + CountText(statistics.captionsDelivered, "caption") +
               " was taken; the log says why";
    }
    const std::string reason = WhyNotReceiving();
    return reason.empty() ? "no caption came; play more of the service, or choose another language" : reason;
}

std::string Atsc3Command::WhyNothingArrived(const TTMLHost::TvStatistics& statistics, bool tuned) const
{
    if (statistics.captionsDelivered > 0) {
        return {};
    }
    const std::string nothing = "nothing came from " + InputName(m_tv.input) + " within --duration";
    if (!tuned) {
        return nothing + "; check the address and the server";
    }
    const std::string reason = WhyNotReceiving();
    return reason.empty() ? reason : nothing + ": " + reason;
}

} // namespace TTMLClient
