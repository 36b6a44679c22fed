#include "Language.h"

#include <cstddef>
#include <string_view>

namespace TTMLHost {

namespace {

constexpr std::size_t kTwo = 2;
constexpr std::size_t kThree = 3;

// The two letters of ISO 639-1 and the three of ISO 639-2/T.
constexpr std::string_view kTwoLetterCodes[] = {
    "aaaar", "ababk", "aeave", "afafr", "akaka", "amamh", "anarg", "arara", "asasm", "avava", "ayaym",
    "azaze", "babak", "bebel", "bgbul", "bhbih", "bibis", "bmbam", "bnben", "bobod", "brbre", "bsbos",
    "cacat", "ceche", "chcha", "cocos", "crcre", "csces", "cuchu", "cvchv", "cycym", "dadan", "dedeu",
    "dvdiv", "dzdzo", "eeewe", "elell", "eneng", "eoepo", "esspa", "etest", "eueus", "fafas", "ffful",
    "fifin", "fjfij", "fofao", "frfra", "fyfry", "gagle", "gdgla", "glglg", "gngrn", "guguj", "gvglv",
    "hahau", "heheb", "hihin", "hohmo", "hrhrv", "hthat", "huhun", "hyhye", "hzher", "iaina", "idind",
    "ieile", "igibo", "iiiii", "ikipk", "ioido", "isisl", "itita", "iuiku", "jajpn", "jvjav", "kakat",
    "kgkon", "kikik", "kjkua", "kkkaz", "klkal", "kmkhm", "knkan", "kokor", "krkau", "kskas", "kukur",
    "kvkom", "kwcor", "kykir", "lalat", "lbltz", "lglug", "lilim", "lnlin", "lolao", "ltlit", "lulub",
    "lvlav", "mgmlg", "mhmah", "mimri", "mkmkd", "mlmal", "mnmon", "mrmar", "msmsa", "mtmlt", "mymya",
    "nanau", "nbnob", "ndnde", "nenep", "ngndo", "nlnld", "nnnno", "nonor", "nrnbl", "nvnav", "nynya",
    "ococi", "ojoji", "omorm", "orori", "ososs", "papan", "pipli", "plpol", "pspus", "ptpor", "quque",
    "rmroh", "rnrun", "roron", "rurus", "rwkin", "sasan", "scsrd", "sdsnd", "sesme", "sgsag", "sisin",
    "skslk", "slslv", "smsmo", "snsna", "sosom", "sqsqi", "srsrp", "ssssw", "stsot", "susun", "svswe",
    "swswa", "tatam", "tetel", "tgtgk", "ththa", "titir", "tktuk", "tltgl", "tntsn", "toton", "trtur",
    "tstso", "tttat", "twtwi", "tytah", "uguig", "ukukr", "ururd", "uzuzb", "veven", "vivie", "vovol",
    "wawln", "wowol", "xhxho", "yiyid", "yoyor", "zazha", "zhzho", "zuzul",
};

// The bibliographic code and the terminology code of ISO 639-2, where they differ.
constexpr std::string_view kBibliographicCodes[] = {
    "albsqi", "armhye", "baqeus", "burmya", "chizho", "czeces", "dutnld", "frefra", "geokat", "gerdeu",
    "greell", "iceisl", "macmkd", "maomri", "maymsa", "perfas", "rumron", "sloslk", "tibbod", "welcym",
};

template <std::size_t Size>
std::string Lookup(const std::string_view (&table)[Size], const std::string& code)
{
    for (const std::string_view entry : table) {
        if (entry.substr(0, code.size()) == code) {
            return std::string(entry.substr(code.size()));
        }
    }
    return code;
}

} // namespace

std::string LanguageOf(const std::string& tag)
{
    std::string code;
    for (const char c : tag) {
        const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if (lower == '-' || lower == '_') {
            break;
        }
        if (lower < 'a' || lower > 'z' || code.size() == kThree) {
            return std::string();
        }
        code += lower;
    }
    if (code.size() == kTwo) {
        return Lookup(kTwoLetterCodes, code);
    }
    return code.size() == kThree ? Lookup(kBibliographicCodes, code) : std::string();
}

std::int32_t LanguageCodeOf(const std::string& letters)
{
    if (letters.size() != kThree) {
        return 0;
    }
    std::int32_t code = 0;
    for (const char letter : letters) {
        code = code << 8 | static_cast<unsigned char>(letter);
    }
    return code;
}

} // namespace TTMLHost
