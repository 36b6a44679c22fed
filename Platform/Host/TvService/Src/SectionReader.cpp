#include "SectionReader.h"

#include <cstring>
#include <new>

extern "C" {
#include <dvbpsi/dvbpsi.h>
// After dvbpsi.h, which it needs.
#include <dvbpsi/psi.h>
}

namespace TTMLHost {

namespace {

constexpr std::size_t kCrcSize = 4;

} // namespace

// What libdvbpsi calls. Nothing in here may throw: its frames are those of C.
struct SectionReader::Callbacks
{
    // The section is ours from here on.
    static void OnSection(dvbpsi_t* handle, dvbpsi_psi_section_t* section)
    {
        auto* const self = static_cast<SectionReader*>(handle->p_sys);
        section->p_next = nullptr;
        if (self->m_complete == nullptr) {
            self->m_complete.reset(section);
            return;
        }
        dvbpsi_psi_section_t* last = self->m_complete.get();
        while (last->p_next != nullptr) {
            last = last->p_next;
        }
        last->p_next = section;
    }

    // Its messages are the only way to hear of a wrong CRC_32.
    static void OnMessage(dvbpsi_t* handle, dvbpsi_msg_level_t /*level*/, const char* text)
    {
        if (std::strstr(text, "Bad CRC_32") != nullptr) {
            ++static_cast<SectionReader*>(handle->p_sys)->m_badSections;
        }
    }
};

void SectionReader::Detach::operator()(dvbpsi_s* handle) const
{
    if (handle->p_decoder != nullptr) {
        dvbpsi_decoder_delete(handle->p_decoder);
        handle->p_decoder = nullptr;
    }
    dvbpsi_delete(handle);
}

void SectionReader::Delete::operator()(dvbpsi_psi_section_s* sections) const
{
    dvbpsi_DeletePSISections(sections);
}

SectionReader::SectionReader(int longest)
    : m_handle(dvbpsi_new(&Callbacks::OnMessage, DVBPSI_MSG_ERROR))
{
    if (m_handle == nullptr) {
        throw std::bad_alloc();
    }
    m_handle->p_sys = this;
    // With the discontinuity flag set for good, a packet with the counter of the one before is not left out:
    // what is a repetition has been decided before.
    m_handle->p_decoder = static_cast<dvbpsi_decoder_t*>(
        dvbpsi_decoder_new(&Callbacks::OnSection, longest, true, sizeof(dvbpsi_decoder_t)));
    if (m_handle->p_decoder == nullptr) {
        throw std::bad_alloc();
    }
}

SectionReader::~SectionReader() = default;

void SectionReader::Push(const unsigned char* packet, ByteSpan payload, bool unitStart,
                         const Handler& handler)
{
    // libdvbpsi believes the pointer to the first section.
    if (payload.size == 0 || (unitStart && std::size_t{1} + payload.data[0] > payload.size)) {
        return;
    }
    if (!IsRepeat(payload, unitStart)) {
        Read(packet, payload, unitStart);
    }
    // The handler is called from here, not from C code, and may throw.
    for (const dvbpsi_psi_section_t* one = m_complete.get(); one != nullptr; one = one->p_next) {
        if (!one->b_syntax_indicator || one->p_payload_end < one->p_payload_start) {
            continue;
        }
        Section section;
        section.tableId = one->i_table_id;
        section.extension = one->i_extension;
        section.version = one->i_version;
        section.current = one->b_current_next;
        section.number = one->i_number;
        section.lastNumber = one->i_last_number;
        section.payload = {one->p_payload_start,
                           static_cast<std::size_t>(one->p_payload_end - one->p_payload_start)};
        handler(section);
    }
}

bool SectionReader::IsBetweenSections() const
{
    return m_handle->p_decoder->p_current_section == nullptr;
}

// Tables are sent many times a second, and seldom say anything new. Most fit one packet, in which they begin
// and end: what libdvbpsi made of it holds for the next one like it, whatever its counter says. As no section
// is under way then, the gap that libdvbpsi sees in the counters later makes it throw nothing away.
bool SectionReader::IsRepeat(ByteSpan payload, bool unitStart) const
{
    return unitStart && m_wholeSize == payload.size &&
           std::memcmp(m_whole.data(), payload.data, payload.size) == 0;
}

void SectionReader::Read(const unsigned char* packet, ByteSpan payload, bool unitStart)
{
    const std::uint64_t badBefore = m_badSections;
    const bool beginsAnew = IsBetweenSections() && unitStart;
    m_complete.reset();
    m_wholeSize = 0;
    // It does not write to the packet.
    dvbpsi_packet_push(m_handle.get(), const_cast<unsigned char*>(packet));
    if (beginsAnew && IsBetweenSections() && m_complete != nullptr && m_badSections == badBefore &&
        payload.size <= m_whole.size()) {
        std::memcpy(m_whole.data(), payload.data, payload.size);
        m_wholeSize = payload.size;
    }
}

bool EndsWithCrc32(ByteSpan bytes)
{
    if (bytes.size < kCrcSize) {
        return false;
    }
    dvbpsi_psi_section_t section = {};
    section.b_syntax_indicator = true;
    // It is only read.
    section.p_data = const_cast<unsigned char*>(bytes.data);
    section.p_payload_end = section.p_data + (bytes.size - kCrcSize);
    return dvbpsi_ValidPSISection(&section);
}

} // namespace TTMLHost
