#ifndef SERVICE_DIRECTORY_H
#define SERVICE_DIRECTORY_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "PlatformTvServiceData.h"
#include "Tables.h"

namespace TTMLHost {

constexpr int kLastServiceId = 0xffff; // ISO/IEC 13818-1: program_number

// Capital and small letters of ASCII are the same: names are typed by people.
bool IsSameName(const std::string& left, const std::string& right);

// A TTML component of a service.
struct TtmlStream
{
    int index = 0; // among the TTML components of the service, in the order of the programme map
    int pid = kNoPid;
    TtmlDescriptor descriptor;
};

bool operator==(const TtmlStream& left, const TtmlStream& right);

// The language of the component as three letters, one a byte; 0 without one.
int LanguageCodeOf(const TtmlStream& stream);
// What the boundary says of the component.
TSHybridSBT HybridSbtOf(const TtmlStream& stream);

// The services of a transport stream, as far as its tables have come. Not for two threads at once.
class ServiceDirectory
{
public:
    void Set(const Pat& pat) { m_pat = pat; }
    void Set(const Pmt& pmt) { m_pmts[pmt.serviceId] = pmt; }
    void Set(const Sdt& sdt) { m_sdt = sdt; }
    void SetRating(int service, std::optional<int> age) { m_ratings[service] = age; }

    enum class Answer
    {
        Found,
        NotYet, // tables that are still to come may bring it
        Missing
    };

    // Finds a service by id (decimal or 0x...) or name; an empty text finds the first one with TTML.
    // `waited`: what has not come by now is not waited for any longer.
    Answer Find(const std::string& wanted, bool waited, int* id) const;

    // Whether it is an id that the stream does not have.
    bool Excludes(const std::string& wanted) const;

    bool HasPat() const { return m_pat.has_value(); }
    bool Lists(int service) const;
    // Null as long as it has not come.
    const Pmt* PmtOf(int service) const;
    std::optional<int> RatingOf(int service) const;

    // The TTML component of a service by its index; nothing if there is none.
    std::optional<TtmlStream> Ttml(int service, int index) const;
    bool HasTtml(int service) const { return Ttml(service, 0).has_value(); }
    // The component to play: of the language, else the one that `previous` has become, else the first one.
    std::optional<TtmlStream> Choose(int service, const std::string& language,
                                     const std::optional<TtmlStream>& previous) const;

    // For people. "1 "Name"", "1 "Name", 2", "video (H.264), audio (AAC)", "deu, fra"
    std::string NameOf(int service) const;
    std::string Names() const;
    std::string NamesWithTtml() const;
    std::string KindsOf(int service) const;
    std::string LanguagesOf(int service) const;
    // "1 "Name": video (H.264), audio (AAC); 2: ..."
    std::string Contents() const;

private:
    Answer FindFirstWithTtml(bool waited, int* id) const;
    bool FindByName(const std::string& wanted, int* id) const;

    std::optional<Pat> m_pat;
    std::map<int, Pmt> m_pmts; // by service
    std::optional<Sdt> m_sdt;
    std::map<int, std::optional<int>> m_ratings; // by service
};

} // namespace TTMLHost

#endif
