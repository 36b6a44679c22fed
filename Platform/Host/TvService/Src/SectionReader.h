#ifndef SECTION_READER_H
#define SECTION_READER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "ByteSpan.h"

struct dvbpsi_s;
struct dvbpsi_psi_section_s;

namespace TTMLHost {

// A section of a table in the long form of ISO/IEC 13818-1 section 2.4.4.11, with a right CRC_32.
struct Section
{
    int tableId = 0;
    int extension = 0; // table_id_extension
    int version = 0;
    bool current = false; // current_next_indicator
    int number = 0;
    int lastNumber = 0;
    ByteSpan payload; // between the header and the CRC_32
};

// Takes the sections out of the packets of one PID, with libdvbpsi. Its readers of whole tables are not used:
// they follow a loop's length beyond the end of a section that lies about it, and end the process where a
// table contradicts itself.
class SectionReader
{
public:
    using Handler = std::function<void(const Section&)>;

    // `longest`: of a section, header and CRC_32 included.
    explicit SectionReader(int longest);
    ~SectionReader();
    SectionReader(const SectionReader&) = delete;
    SectionReader& operator=(const SectionReader&) = delete;

    // A packet with a payload that lies within it, no repetition. A gap before it shows in its counter. Calls
    // the handler for each section that ends in it, also where the packet before said the same.
    void Push(const unsigned char* packet, ByteSpan payload, bool unitStart, const Handler& handler);

    // Sections with a wrong CRC_32.
    std::uint64_t BadSections() const { return m_badSections; }

private:
    static constexpr std::size_t kLongestPayload = 184;

    struct Callbacks;
    struct Detach
    {
        void operator()(dvbpsi_s* handle) const;
    };
    struct Delete
    {
        void operator()(dvbpsi_psi_section_s* sections) const;
    };

    bool IsBetweenSections() const;
    bool IsRepeat(ByteSpan payload, bool unitStart) const;
    void Read(const unsigned char* packet, ByteSpan payload, bool unitStart);

    std::unique_ptr<dvbpsi_s, Detach> m_handle;
    std::unique_ptr<dvbpsi_psi_section_s, Delete> m_complete; // of the last packet, a chain
    std::uint64_t m_badSections = 0;
    // The last packet's payload if m_complete is all that it says, else nothing.
    std::array<unsigned char, kLongestPayload> m_whole{};
    std::size_t m_wholeSize = 0;
};

// Whether the last four bytes are the CRC_32 of those before them (ISO/IEC 13818-1 annex A).
bool EndsWithCrc32(ByteSpan bytes);

} // namespace TTMLHost

#endif
