#ifndef CMPD_PARSER_H
#define CMPD_PARSER_H

#include <cstdint>
#include <string>

namespace TTML {

// Reads the two times that anchor an ATSC 3.0 presentation out of the text of its MPD (ISO/IEC 23009-1).
// Takes the first place where an attribute's name, equals sign and double quote stand, whatever is around
// them. Part of the ATSC 3.0 source's layout; for the library's own use. Not for several threads at once.
class CMpdParser
{
public:
    CMpdParser() = default;

    // Both times are unknown, 0, again.
    void Reset();

    // Reads both; what the text lacks stays as it is. Always true. Throws std::bad_alloc when there is no
    // memory for an attribute's text.
    bool Parse(const std::string& mpd);

    // availabilityStartTime: milliseconds since 1970-01-01T00:00:00Z.
    std::int64_t GetAST() const { return m_AST; }
    // suggestedPresentationDelay: milliseconds.
    std::int64_t GetSPD() const { return m_SPD; }

private:
    bool m_UpdateInfoFromMpd(const std::string& mpd);
    static bool m_GetMpdPropertyString(const std::string& mpd, const std::string& property,
                                       std::string& value);
    static std::int64_t m_EpochTimeToMilliSecond(const char* text);
    static std::int64_t m_ISO8601TimeToSecond(const std::string& text);
    static std::int32_t m_GmtOffset();

    std::int64_t m_AST = 0;
    std::int64_t m_SPD = 0;
};

} // namespace TTML

#endif
