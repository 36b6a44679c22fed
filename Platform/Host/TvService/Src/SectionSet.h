#ifndef SECTION_SET_H
#define SECTION_SET_H

#include <map>
#include <vector>

#include "SectionReader.h"

namespace TTMLHost {

// The sections of one table, which are repeated over and over until its version changes.
class SectionSet
{
public:
    // True when the table is whole and says something that it did not before. Sections that are to be in
    // force later are left out.
    bool Add(const Section& section);

    int Extension() const { return m_extension; }
    int Version() const { return m_version; }
    // The payloads by section number.
    const std::map<int, std::vector<unsigned char>>& Payloads() const { return m_payloads; }

private:
    int m_extension = -1;
    int m_version = -1;
    int m_lastNumber = -1;
    std::map<int, std::vector<unsigned char>> m_payloads;
};

} // namespace TTMLHost

#endif
