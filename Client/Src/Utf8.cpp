#include "Utf8.h"

#include <algorithm>
#include <array>

namespace TTMLClient {

namespace {

struct Range
{
    char32_t first;
    char32_t last;
};

// The blocks of marks and format characters that scripts with subtitles use.
constexpr std::array<Range, 30> kZeroWidth = {{
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x05BF, 0x05BF}, {0x05C1, 0x05C2},
    {0x05C4, 0x05C5}, {0x0610, 0x061A}, {0x064B, 0x065F}, {0x0670, 0x0670}, {0x06D6, 0x06DC},
    {0x0900, 0x0902}, {0x093C, 0x093C}, {0x0941, 0x0948}, {0x094D, 0x094D}, {0x0981, 0x0981},
    {0x09BC, 0x09BC}, {0x09CD, 0x09CD}, {0x0BC0, 0x0BC0}, {0x0BCD, 0x0BCD}, {0x0C4D, 0x0C4D},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2069}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F},
}};

constexpr std::array<Range, 13> kWide = {{
    {0x1100, 0x115F},
    {0x2E80, 0x303E},
    {0x3041, 0x33FF},
    {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF},
    {0xA000, 0xA4CF},
    {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},
    {0x1F300, 0x1FAFF},
    {0x20000, 0x3FFFD},
}};

template <std::size_t Count>
bool IsIn(const std::array<Range, Count>& ranges, char32_t codePoint)
{
    return std::any_of(ranges.begin(), ranges.end(), [codePoint](const Range& range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

// C0 and C1 controls, DEL and the separators that break lines: text from a document must not steer the
// terminal.
bool IsControl(char32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0x2028 ||
           codePoint == 0x2029;
}

} // namespace

char32_t ReadCodePoint(const std::string& text, std::size_t& at)
{
    const auto byte = [&text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
        ++at;
        return lead;
    }

    std::size_t length = 0;
    char32_t codePoint = 0;
    char32_t smallest = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        codePoint = lead & 0x1FU;
        smallest = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        codePoint = lead & 0x0FU;
        smallest = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        codePoint = lead & 0x07U;
        smallest = 0x10000;
    }
    bool good = length != 0 && text.size() - at >= length;
    for (std::size_t index = 1; good && index < length; ++index) {
        good = (byte(at + index) & 0xC0U) == 0x80U;
        codePoint = (codePoint << 6U) | (byte(at + index) & 0x3FU);
    }
    if (!good || codePoint < smallest || codePoint > 0x10FFFF ||
        (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        ++at;
        return kReplacementCharacter;
    }
    at += length;
    return codePoint;
}

void AppendCodePoint(std::string& text, char32_t codePoint)
{
    const auto append = [&text](char32_t byte) {
        text += static_cast<char>(static_cast<unsigned char>(byte));
    };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0U | (codePoint >> 6U));
        append(0x80U | (codePoint & 0x3FU));
    } else if (codePoint < 0x10000) {
        append(0xE0U | (codePoint >> 12U));
        append(0x80U | ((codePoint >> 6U) & 0x3FU));
        append(0x80U | (codePoint & 0x3FU));
    } else {
        append(0xF0U | (codePoint >> 18U));
        append(0x80U | ((codePoint >> 12U) & 0x3FU));
        append(0x80U | ((codePoint >> 6U) & 0x3FU));
        append(0x80U | (codePoint & 0x3FU));
    }
}

std::size_t ColumnsOf(char32_t codePoint)
{
    if (IsIn(kZeroWidth, codePoint)) {
        return 0;
    }
    return IsIn(kWide, codePoint) ? 2 : 1;
}

std::string FitColumns(const std::string& text, std::size_t columns)
{
    std::string shown;
    std::size_t used = 0;
    std::size_t beforeEllipsis = 0; // bytes of the longest beginning that leaves a column for the ellipsis
    std::size_t at = 0;
    while (at < text.size()) {
        char32_t codePoint = ReadCodePoint(text, at);
        if (IsControl(codePoint)) {
            codePoint = kReplacementCharacter;
        }
        const std::size_t width = ColumnsOf(codePoint);
        if (used + width > columns) {
            shown.resize(beforeEllipsis);
            return columns == 0 ? std::string() : shown + "\u2026";
        }
        used += width;
        AppendCodePoint(shown, codePoint);
        if (used < columns) {
            beforeEllipsis = shown.size();
        }
    }
    return shown;
}

} // namespace TTMLClient
