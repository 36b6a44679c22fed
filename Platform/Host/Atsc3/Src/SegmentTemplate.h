#ifndef SEGMENT_TEMPLATE_H
#define SEGMENT_TEMPLATE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TTMLHost {

// A template of segment names (ISO/IEC 23009-1, 5.3.9.4.4) of one representation.
class SegmentTemplate
{
public:
    SegmentTemplate() = default;

    // Nothing when the text holds an identifier that is none, or an unpaired '$'.
    static std::optional<SegmentTemplate> Parse(const std::string& text, const std::string& representationId,
                                                std::int64_t bandwidth);

    bool Empty() const { return m_pieces.empty(); }
    bool HasNumber() const { return Uses(Kind::Number); }
    bool HasTime() const { return Uses(Kind::Time); }

    std::string Fill(std::int64_t number, std::int64_t time) const;

    // Up to and with the last '/' before the first number or time: where all segments are, unless the number
    // or the time is in the name of a folder.
    std::string Folder() const;
    // The number that gives this name; nothing when none does, or when the names hold a time.
    std::optional<std::int64_t> NumberOf(const std::string& name) const;

private:
    enum class Kind
    {
        Text,
        Number,
        Time
    };
    struct Piece
    {
        Kind kind = Kind::Text;
        std::string text;
        std::size_t width = 1;
    };

    bool Uses(Kind kind) const;
    bool AddIdentifier(const std::string& identifier, const std::string& representationId,
                       std::int64_t bandwidth);
    void AddText(const std::string& text);

    std::vector<Piece> m_pieces;
};

} // namespace TTMLHost

#endif
