// The tables of transport streams: an input is a row of sections, which get their header, their CRC_32 and
// their packets here, or checksums would stop nearly all inputs.

#include <map>
#include <set>
#include <string>

#include "FuzzTarget.h"
#include "Inspect.h"
#include "ServiceDirectory.h"
#include "TableReader.h"
#include "TsBuilder.h"

using TTMLTest::Hold;

namespace {

constexpr std::size_t kLongestPayload = 1012; // of a section of 1024 bytes

// Whether it is UTF-8 (RFC 3629) without control codes.
bool IsCleanText(const std::string& text)
{
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at]);
        const std::size_t length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
        std::uint32_t code = length == 1 ? first : first & (0xffU >> (length + 1));
        if ((first >= 0x80 && first < 0xc2) || first > 0xf4 || text.size() - at < length) {
            return false;
        }
        for (std::size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(text[at + i]);
            if ((next & 0xc0U) != 0x80) {
                return false;
            }
            code = code << 6U | (next & 0x3fU);
        }
        const bool isLongForm = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
        if (isLongForm || code < 0x20 || (code >= 0x7f && code < 0xa0) || (code >= 0xd800 && code < 0xe000) ||
            code > 0x10ffff) {
            return false;
        }
        at += length;
    }
    return true;
}

bool IsPid(int pid)
{
    return pid >= 0 && pid <= TTMLHost::kNoPid;
}

// Looks at each table, and keeps them as the TV service does.
class Reader : public TTMLHost::StreamInspector
{
public:
    void OnPat(const TTMLHost::Pat& pat) override
    {
        Hold(pat.services.size() <= TTMLHost::TableReader::kMostServices, "there is a limit to services");
        for (const TTMLHost::Pat::Service& service : pat.services) {
            Hold(service.id > 0 && service.id <= TTMLHost::kLastServiceId, "a service has an id");
            Hold(service.pmtPid >= 0x10 && service.pmtPid < TTMLHost::kNoPid, "a programme map has a PID");
        }
        m_directory.Set(pat);
        StreamInspector::OnPat(pat);
    }
    void OnPmt(const TTMLHost::Pmt& pmt) override
    {
        Hold(m_directory.Lists(pmt.serviceId), "a programme map is that of a service");
        Hold(IsPid(pmt.pcrPid), "clock references have a PID");
        for (const TTMLHost::Pmt::Component& component : pmt.components) {
            Hold(IsPid(component.pid), "components have a PID");
            Hold(!component.kind.empty() && IsCleanText(component.kind), "components are called something");
            if (component.ttml) {
                Hold(component.ttml->language.empty() || component.ttml->language.size() == 3,
                     "languages have three letters");
                Hold(IsCleanText(component.ttml->language), "languages can be shown");
                Hold(IsCleanText(component.ttml->text), "descriptions can be shown");
            }
        }
        m_directory.Set(pmt);
        StreamInspector::OnPmt(pmt);
    }
    void OnSdt(const TTMLHost::Sdt& sdt) override
    {
        for (const TTMLHost::Sdt::Service& service : sdt.services) {
            Hold(IsCleanText(service.name), "names can be shown");
        }
        m_directory.Set(sdt);
        StreamInspector::OnSdt(sdt);
    }
    void OnRating(int serviceId, std::optional<int> age) override
    {
        Hold(!age || (*age >= 4 && *age <= 18), "ratings are ages from 4 to 18");
        m_directory.SetRating(serviceId, age);
        StreamInspector::OnRating(serviceId, age);
    }

    void CheckDirectory() const
    {
        int id = 0;
        if (m_directory.Find("", true, &id) == TTMLHost::ServiceDirectory::Answer::Found) {
            Hold(m_directory.Lists(id) && m_directory.HasTtml(id), "the first service with TTML has TTML");
            const auto stream = m_directory.Choose(id, "eng", std::nullopt);
            Hold(stream && m_directory.Ttml(id, stream->index) == stream, "what is chosen is there");
            Hold(TTMLHost::LanguageCodeOf(*stream) >= 0, "a language has a code");
            TTMLHost::HybridSbtOf(*stream);
        }
        Hold(IsCleanText(m_directory.Contents()), "the contents can be shown");
        Hold(IsCleanText(m_directory.NamesWithTtml()), "the names can be shown");
    }

private:
    TTMLHost::ServiceDirectory m_directory;
};

// PIDs of tables and the ids of what they carry; further ones are in the input.
struct Place
{
    int pid;
    int tableId;
};
constexpr Place kPlaces[] = {{0x00, 0x00}, {0x11, 0x42}, {0x12, 0x4e}, {0x100, 0x02}, {0x200, 0x02}};
constexpr std::size_t kPlaceCount = sizeof(kPlaces) / sizeof(kPlaces[0]);

Place TakePlace(TTMLTest::FuzzInput* input)
{
    const std::uint64_t choice = input->Number(1) % (kPlaceCount + 1);
    if (choice < kPlaceCount) {
        return kPlaces[choice];
    }
    const int pid = static_cast<int>(input->Number(2) & 0x1fffU);
    return {pid, static_cast<int>(input->Number(1))};
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    TTMLTest::FuzzInput input(data, size);
    Reader reader;
    std::map<int, TTMLTest::PidWriter> writers;
    while (input.Left() > 0) {
        const Place place = TakePlace(&input);
        TTMLTest::SectionFields fields;
        fields.tableId = place.tableId;
        fields.extension = static_cast<int>(input.Number(2));
        const std::uint64_t version = input.Number(1);
        fields.version = static_cast<int>(version / 2 % 32);
        fields.current = version % 2 == 1;
        fields.number = static_cast<int>(input.Number(1));
        fields.lastNumber = static_cast<int>(input.Number(1));
        const std::string payload =
            input.Text(static_cast<std::size_t>(input.Number(2)) % (kLongestPayload + 1));
        const TTMLTest::Bytes packets =
            writers.emplace(place.pid, place.pid)
                .first->second.Sections(TTMLTest::MakeSection(fields, TTMLTest::TextBytes(payload)));
        reader.Stream().Push(packets.data(), packets.size() / TTMLHost::kPacketSize, TTMLHost::kPacketSize);
    }
    Hold(reader.Stream().Counters().badSections == 0, "right checksums are taken for right");
    Hold(reader.Stream().Counters().continuityErrors == 0, "no packet is missed");
    reader.CheckDirectory();
    reader.Info();
    return 0;
}
