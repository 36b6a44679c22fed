#ifndef TUNE_REPORTS_H
#define TUNE_REPORTS_H

#include <cstdint>
#include <string>

#include "ServiceDirectory.h"

namespace TTMLHost {

// The lines about what is wrong with the services of an input: what and where it is, and what to do.
class TuneReports
{
public:
    explicit TuneReports(const std::string& input)
        : m_input(input)
    {}

    std::string NoPat() const;
    std::string NoPatIn(int seconds) const;
    std::string NoSuchService(const std::string& wanted, const ServiceDirectory& directory) const;
    std::string NoPmt(int service, const ServiceDirectory& directory) const;
    std::string NoPcr(int service, const ServiceDirectory& directory) const;
    std::string NoTtml(int service, const ServiceDirectory& directory) const;
    std::string NoTtmlAnywhere(const ServiceDirectory& directory) const;
    std::string InputIsOver(const std::string& wanted) const;

    std::string WaitsForTtml(int service, const ServiceDirectory& directory) const;
    std::string LostTtml(int service, const ServiceDirectory& directory) const;
    std::string NoSuchLanguage(const std::string& language, int service, const std::string& taken,
                               const ServiceDirectory& directory) const;
    std::string Scrambled(int service, int pid, std::uint64_t packet,
                          const ServiceDirectory& directory) const;
    std::string Jumps(int pid, double seconds, std::uint64_t packet) const;
    std::string Damaged(int pid, const std::string& why, std::uint64_t packet) const;

private:
    const std::string m_input;
};

} // namespace TTMLHost

#endif
