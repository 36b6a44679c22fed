#ifndef ATSC3_SERVICES_H
#define ATSC3_SERVICES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TTMLHost {

// The ATSC 3.0 services that can be tuned to, each with an MPD of its own. Their ids are counted from 1.
class Atsc3Services
{
public:
    Atsc3Services(const std::string& input, const std::vector<std::string>& also);

    // The service's place in the list, by its id, its MPD as it was given, or the MPD's file name, with or
    // without extension; the first one when `service` is empty. Nothing when there is no such service.
    std::optional<std::size_t> Find(const std::string& service) const;

    // One line why there is nothing to tune to.
    std::string NoSuchService(const std::string& service) const;

    std::size_t Count() const { return m_inputs.size(); }
    const std::string& InputOf(std::size_t place) const { return m_inputs[place]; }
    static std::uint64_t IdOf(std::size_t place) { return place + 1; }

private:
    std::vector<std::string> m_inputs;
};

} // namespace TTMLHost

#endif
