#include "ServiceDirectory.h"

#include <algorithm>
#include <cstdlib>

namespace TTMLHost {

namespace {

// dvb_ttml_profile values of ETSI EN 303 560.
constexpr int kProfileAny = 0x00; // IMSC1 Text or EBU-TT-D: a document conforms to both
constexpr int kProfileImsc1 = 0x01;
constexpr int kProfileEbuTtD = 0x02;

// The IMSC1 bit that this service sets of the two.
constexpr int kImsc1Bit = 0x01;

// The text as a whole must be a number; the largest one stands for those beyond it.
std::optional<unsigned long> AnyNumberOf(const std::string& text)
{
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = isHex ? text.substr(2) : text;
    const char* const allowed = isHex ? "0123456789abcdefABCDEF" : "0123456789";
    if (digits.empty() || digits.find_first_not_of(allowed) != std::string::npos) {
        return std::nullopt;
    }
    return std::strtoul(digits.c_str(), nullptr, isHex ? 16 : 10);
}

bool IsTooLarge(const std::string& text)
{
    const std::optional<unsigned long> number = AnyNumberOf(text);
    return number && *number > static_cast<unsigned long>(kLastServiceId);
}

std::optional<int> NumberOf(const std::string& text)
{
    const std::optional<unsigned long> number = AnyNumberOf(text);
    return number && !IsTooLarge(text) ? std::optional<int>(static_cast<int>(*number)) : std::nullopt;
}

char Lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

void AddToList(std::string* list, const std::string& item)
{
    *list += list->empty() ? item : ", " + item;
}

} // namespace

bool IsSameName(const std::string& left, const std::string& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return Lower(one) == Lower(other); });
}

bool operator==(const TtmlStream& left, const TtmlStream& right)
{
    return left.index == right.index && left.pid == right.pid &&
           left.descriptor.language == right.descriptor.language &&
           left.descriptor.purpose == right.descriptor.purpose &&
           left.descriptor.profiles == right.descriptor.profiles;
}

int LanguageCodeOf(const TtmlStream& stream)
{
    constexpr std::size_t kLetters = 3;
    const std::string& language = stream.descriptor.language;
    if (language.size() != kLetters) {
        return 0;
    }
    int code = 0;
    for (const char letter : language) {
        code = code << 8 | static_cast<unsigned char>(letter);
    }
    return code;
}

TSHybridSBT HybridSbtOf(const TtmlStream& stream)
{
    int bits = 0;
    for (const int profile : stream.descriptor.profiles) {
        if (profile == kProfileAny || profile == kProfileImsc1) {
            bits |= kImsc1Bit;
        }
        if (profile == kProfileAny || profile == kProfileEbuTtD) {
            bits |= HYBRID_SBT_PROFILE_EBU_TT_D;
        }
    }
    TSHybridSBT sbt;
    sbt.sbtType = HYBRID_SBT_TYPE_TTML;
    sbt.profile = static_cast<unsigned char>(bits);
    return sbt;
}

ServiceDirectory::Answer ServiceDirectory::Find(const std::string& wanted, bool waited, int* id) const
{
    if (!m_pat) {
        return Answer::NotYet;
    }
    if (wanted.empty()) {
        return FindFirstWithTtml(waited, id);
    }
    const std::optional<int> number = NumberOf(wanted);
    if (number && Lists(*number)) {
        *id = *number;
        return Answer::Found;
    }
    if (FindByName(wanted, id)) {
        return Answer::Found;
    }
    // Even an id that is not listed waits for the names: they are part of what people are told then.
    return m_sdt || waited ? Answer::Missing : Answer::NotYet;
}

bool ServiceDirectory::Excludes(const std::string& wanted) const
{
    int id = 0;
    if (IsTooLarge(wanted)) {
        return !FindByName(wanted, &id);
    }
    const std::optional<int> number = NumberOf(wanted);
    return m_pat && number && !Lists(*number) && !FindByName(wanted, &id);
}

ServiceDirectory::Answer ServiceDirectory::FindFirstWithTtml(bool waited, int* id) const
{
    for (const Pat::Service& service : m_pat->services) {
        if (HasTtml(service.id)) {
            *id = service.id;
            return Answer::Found;
        }
        // A capture of single components leaves the maps of other services out: not to be waited for long.
        if (PmtOf(service.id) == nullptr && !waited) {
            return Answer::NotYet;
        }
    }
    return Answer::NotYet;
}

bool ServiceDirectory::FindByName(const std::string& wanted, int* id) const
{
    if (!m_sdt) {
        return false;
    }
    const auto found = std::find_if(m_sdt->services.begin(), m_sdt->services.end(), [&](const auto& service) {
        return IsSameName(service.name, wanted) && Lists(service.id);
    });
    if (found == m_sdt->services.end()) {
        return false;
    }
    *id = found->id;
    return true;
}

bool ServiceDirectory::Lists(int service) const
{
    return m_pat && std::any_of(m_pat->services.begin(), m_pat->services.end(),
                                [service](const Pat::Service& listed) { return listed.id == service; });
}

const Pmt* ServiceDirectory::PmtOf(int service) const
{
    const auto found = m_pmts.find(service);
    return found != m_pmts.end() ? &found->second : nullptr;
}

std::optional<int> ServiceDirectory::RatingOf(int service) const
{
    const auto found = m_ratings.find(service);
    return found != m_ratings.end() ? found->second : std::nullopt;
}

std::optional<TtmlStream> ServiceDirectory::Ttml(int service, int index) const
{
    const Pmt* const pmt = PmtOf(service);
    if (pmt == nullptr) {
        return std::nullopt;
    }
    int next = 0;
    for (const Pmt::Component& component : pmt->components) {
        if (component.ttml && next++ == index) {
            return TtmlStream{index, component.pid, *component.ttml};
        }
    }
    return std::nullopt;
}

std::optional<TtmlStream> ServiceDirectory::Choose(int service, const std::string& language,
                                                   const std::optional<TtmlStream>& previous) const
{
    std::optional<TtmlStream> best;
    int bestRank = 0;
    for (int index = 0;; ++index) {
        const std::optional<TtmlStream> stream = Ttml(service, index);
        if (!stream) {
            return best;
        }
        // What the viewer asked for counts most, then staying with what was played.
        int rank = 1;
        if (!language.empty() && IsSameName(stream->descriptor.language, language)) {
            rank += 8;
        }
        if (previous && previous->descriptor.language == stream->descriptor.language) {
            rank += previous->descriptor.purpose == stream->descriptor.purpose ? 4 : 2;
        }
        if (previous && previous->pid == stream->pid) {
            rank += 1;
        }
        if (rank > bestRank) {
            best = stream;
            bestRank = rank;
        }
    }
}

std::string ServiceDirectory::NameOf(int service) const
{
    std::string text = std::to_string(service);
    if (m_sdt) {
        for (const Sdt::Service& described : m_sdt->services) {
            if (described.id == service && !described.name.empty()) {
                text += " \"" + described.name + "\"";
                break;
            }
        }
    }
    return text;
}

std::string ServiceDirectory::Names() const
{
    std::string list;
    if (m_pat) {
        for (const Pat::Service& service : m_pat->services) {
            AddToList(&list, NameOf(service.id));
        }
    }
    return list;
}

std::string ServiceDirectory::NamesWithTtml() const
{
    std::string list;
    if (m_pat) {
        for (const Pat::Service& service : m_pat->services) {
            if (HasTtml(service.id)) {
                AddToList(&list, NameOf(service.id));
            }
        }
    }
    return list;
}

std::string ServiceDirectory::KindsOf(int service) const
{
    std::string list;
    if (const Pmt* const pmt = PmtOf(service)) {
        for (const Pmt::Component& component : pmt->components) {
            AddToList(&list, component.kind);
        }
    }
    return list;
}

std::string ServiceDirectory::Contents() const
{
    std::string list;
    if (m_pat) {
        for (const Pat::Service& service : m_pat->services) {
            const std::string kinds = KindsOf(service.id);
            list +=
                (list.empty() ? "" : "; ") + NameOf(service.id) + ": " + (kinds.empty() ? "nothing" : kinds);
        }
    }
    return list;
}

std::string ServiceDirectory::LanguagesOf(int service) const
{
    std::string list;
    for (int index = 0;; ++index) {
        const std::optional<TtmlStream> stream = Ttml(service, index);
        if (!stream) {
            return list;
        }
        AddToList(&list, stream->descriptor.language);
    }
}

} // namespace TTMLHost
