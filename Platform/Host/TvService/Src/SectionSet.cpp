#include "SectionSet.h"

#include <cstddef>
#include <utility>

namespace TTMLHost {

bool SectionSet::Add(const Section& section)
{
    if (!section.current || section.number > section.lastNumber) {
        return false;
    }
    if (section.extension != m_extension || section.version != m_version ||
        section.lastNumber != m_lastNumber) {
        m_extension = section.extension;
        m_version = section.version;
        m_lastNumber = section.lastNumber;
        m_payloads.clear();
    }
    std::vector<unsigned char> payload(section.payload.data, section.payload.data + section.payload.size);
    std::vector<unsigned char>& known = m_payloads[section.number];
    // Compared, not only counted by version: where captures were joined, the version stays and the table is
    // another.
    const bool isRepetition = known == payload && !payload.empty();
    known = std::move(payload);
    return !isRepetition && m_payloads.size() == static_cast<std::size_t>(m_lastNumber) + 1;
}

} // namespace TTMLHost
