#include "SegmentTemplate.h"

#include <algorithm>
#include <cstddef>

namespace TTMLHost {

namespace {

constexpr std::size_t kMostDigits = 18; // always fit 64 bits

std::string Padded(std::int64_t value, std::size_t width)
{
    std::string digits = std::to_string(value);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The width of "%0[width]d", the one format there is.
std::optional<std::size_t> WidthOf(const std::string& format)
{
    if (format.size() < 4 || format.size() > 5 || format.compare(0, 2, "%0") != 0 || format.back() != 'd') {
        return std::nullopt;
    }
    std::size_t width = 0;
    for (std::size_t at = 2; at + 1 < format.size(); ++at) {
        if (!IsDigit(format[at])) {
            return std::nullopt;
        }
        width = width * 10 + static_cast<std::size_t>(format[at] - '0');
    }
    return width;
}

} // namespace

std::optional<SegmentTemplate>
SegmentTemplate::Parse(const std::string& text, const std::string& representationId, std::int64_t bandwidth)
{
    SegmentTemplate result;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t open = text.find('$', at);
        result.AddText(text.substr(at, open == std::string::npos ? open : open - at));
        if (open == std::string::npos) {
            break;
        }
        const std::size_t close = text.find('$', open + 1);
        if (close == std::string::npos ||
            !result.AddIdentifier(text.substr(open + 1, close - open - 1), representationId, bandwidth)) {
            return std::nullopt;
        }
        at = close + 1;
    }
    return result;
}

bool SegmentTemplate::AddIdentifier(const std::string& identifier, const std::string& representationId,
                                    std::int64_t bandwidth)
{
    if (identifier.empty()) {
        AddText("$");
        return true;
    }
    if (identifier == "RepresentationID") {
        AddText(representationId);
        return true;
    }
    const std::size_t percent = std::min(identifier.find('%'), identifier.size());
    const std::optional<std::size_t> width =
        percent == identifier.size() ? std::optional<std::size_t>(1) : WidthOf(identifier.substr(percent));
    const std::string name = identifier.substr(0, percent);
    if (!width) {
        return false;
    }
    if (name == "Bandwidth") {
        AddText(Padded(bandwidth, *width));
    } else if (name == "Number") {
        m_pieces.push_back({Kind::Number, std::string(), *width});
    } else if (name == "Time") {
        m_pieces.push_back({Kind::Time, std::string(), *width});
    } else {
        return false;
    }
    return true;
}

void SegmentTemplate::AddText(const std::string& text)
{
    if (text.empty()) {
        return;
    }
    if (m_pieces.empty() || m_pieces.back().kind != Kind::Text) {
        m_pieces.emplace_back();
    }
    m_pieces.back().text += text;
}

bool SegmentTemplate::Uses(Kind kind) const
{
    return std::any_of(m_pieces.begin(), m_pieces.end(),
                       [kind](const Piece& piece) { return piece.kind == kind; });
}

std::string SegmentTemplate::Fill(std::int64_t number, std::int64_t time) const
{
    std::string name;
    for (const Piece& piece : m_pieces) {
        if (piece.kind == Kind::Text) {
            name += piece.text;
        } else {
            name += Padded(piece.kind == Kind::Number ? number : time, piece.width);
        }
    }
    return name;
}

std::string SegmentTemplate::Folder() const
{
    if (m_pieces.empty() || m_pieces.front().kind != Kind::Text) {
        return std::string();
    }
    const std::string& text = m_pieces.front().text;
    const std::size_t slash = text.rfind('/');
    return slash == std::string::npos ? std::string() : text.substr(0, slash + 1);
}

std::optional<std::int64_t> SegmentTemplate::NumberOf(const std::string& name) const
{
    if (!HasNumber() || HasTime()) {
        return std::nullopt;
    }
    const std::size_t begin = m_pieces.front().kind == Kind::Text ? m_pieces.front().text.size() : 0;
    std::size_t end = begin;
    while (end < name.size() && IsDigit(name[end])) {
        ++end;
    }
    // The text behind the number may begin with digits, too: the longest number that gives this name. The
    // zeros before a number are as many as its width wants.
    const std::size_t first = std::min(name.find_first_not_of('0', begin), end);
    for (; end > begin; --end) {
        std::int64_t number = 0;
        const bool isRead = end < first + kMostDigits + 1;
        for (std::size_t at = first; isRead && at < end; ++at) {
            number = number * 10 + (name[at] - '0');
        }
        if (isRead && Fill(number, 0) == name) {
            return number;
        }
    }
    return std::nullopt;
}

} // namespace TTMLHost
