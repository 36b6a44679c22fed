#include "TuneReports.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "InputError.h"
#include "OneLine.h"
#include "PacketSource.h"

namespace TTMLHost {

namespace {

constexpr char kGiveStreamWithTables[] = "give a transport stream with its tables";

std::string What(int service, const ServiceDirectory& directory)
{
    const std::string kinds = directory.KindsOf(service);
    return kinds.empty() ? "nothing else either" : "only " + kinds;
}

std::string Choice(const ServiceDirectory& directory)
{
    const std::string services = directory.NamesWithTtml();
    return services.empty() ? "give a stream with TTML subtitles"
                            : "choose a service that has them: " + services;
}

} // namespace

std::string TuneReports::NoPat() const
{
    return DescribeInputFailure("tune in", m_input, "it has no program association table (PAT)",
                                kGiveStreamWithTables);
}

std::string TuneReports::NoPatIn(int seconds) const
{
    return DescribeInputFailure("tune in", m_input,
                                "no program association table (PAT) came within " + std::to_string(seconds) +
                                    " s",
                                kGiveStreamWithTables);
}

std::string TuneReports::NoSuchService(const std::string& wanted, const ServiceDirectory& directory) const
{
    if (!directory.HasPat()) {
        return DescribeInputFailure("tune to service '" + wanted + "' of", m_input, "it is no service id",
                                    "give one from 0 to 65535, or a name");
    }
    const std::string names = directory.Names();
    return DescribeInputFailure("tune to service '" + wanted + "' of", m_input, "there is no such service",
                                names.empty() ? "the stream has no services at all; give another"
                                              : "choose one of " + names);
}

std::string TuneReports::NoPmt(int service, const ServiceDirectory& directory) const
{
    return DescribeInputFailure("tune to service " + directory.NameOf(service) + " of", m_input,
                                "its program map table (PMT) does not come", kGiveStreamWithTables);
}

std::string TuneReports::NoPcr(int service, const ServiceDirectory& directory) const
{
    return DescribeInputFailure("tune to service " + directory.NameOf(service) + " of", m_input,
                                "its clock reference (PCR) does not come",
                                "give a transport stream with the PCR component of the service");
}

std::string TuneReports::NoTtml(int service, const ServiceDirectory& directory) const
{
    return DescribeInputFailure("play subtitles of service " + directory.NameOf(service) + " of", m_input,
                                "it has no TTML, " + What(service, directory), Choice(directory));
}

std::string TuneReports::NoTtmlAnywhere(const ServiceDirectory& directory) const
{
    const std::string names = directory.Names();
    return DescribeInputFailure("play subtitles of", m_input,
                                names.empty() ? "it has no services"
                                              : "no service has TTML (" + directory.Contents() + ")",
                                "give a stream with TTML subtitles");
}

std::string TuneReports::InputIsOver(const std::string& wanted) const
{
    return DescribeInputFailure("tune to service '" + wanted + "' of", m_input, "the input is over",
                                "open it again");
}

std::string TuneReports::WaitsForTtml(int service, const ServiceDirectory& directory) const
{
    return OneLine("Service " + directory.NameOf(service) + " of " + NameOfInput(m_input) + " has no TTML, " +
                   What(service, directory) + "; waiting for its program map to change, or " +
                   Choice(directory));
}

std::string TuneReports::LostTtml(int service, const ServiceDirectory& directory) const
{
    return OneLine("Service " + directory.NameOf(service) + " of " + NameOfInput(m_input) +
                   " has lost its TTML component and has " + What(service, directory) +
                   " now; waiting for it to come back");
}

std::string TuneReports::NoSuchLanguage(const std::string& language, int service, const std::string& taken,
                                        const ServiceDirectory& directory) const
{
    return OneLine("Service " + directory.NameOf(service) + " of " + NameOfInput(m_input) +
                   " has no TTML in language '" + language + "'; playing '" + taken +
                   "', choose one of: " + directory.LanguagesOf(service));
}

std::string TuneReports::Scrambled(int service, int pid, std::uint64_t packet,
                                   const ServiceDirectory& directory) const
{
    return OneLine("The subtitles of service " + directory.NameOf(service) + " of " + NameOfInput(m_input) +
                   " (PID " + std::to_string(pid) +
                   ") are scrambled and left out, the first of them before packet " + std::to_string(packet) +
                   "; give a descrambled stream");
}

std::string TuneReports::Jumps(int pid, double seconds, std::uint64_t packet) const
{
    std::array<char, 32> distance = {};
    (void)std::snprintf(distance.data(), distance.size(), "%.1f", std::abs(seconds));
    return OneLine(
        "The clock of " + NameOfInput(m_input) + " (PID " + std::to_string(pid) + ") jumps " +
        (seconds < 0 ? "back" : "ahead") + " by " + distance.data() + " s before packet " +
        std::to_string(packet) +
        " and does not announce it; it is followed, and more jumps are not reported; check how the "
        "stream was put together");
}

std::string TuneReports::Damaged(int pid, const std::string& why, std::uint64_t packet) const
{
    return "A subtitle packet of " + NameOfInput(m_input) + " (PID " + std::to_string(pid) +
           ") is left out before packet " + std::to_string(packet) + ": " + why +
           "; more of them are counted only; check the reception";
}

} // namespace TTMLHost
