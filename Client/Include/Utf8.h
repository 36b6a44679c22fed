#ifndef TTMLSRC_UTF8_H
#define TTMLSRC_UTF8_H

#include <cstddef>
#include <string>

namespace TTMLClient {

constexpr char32_t kReplacementCharacter = 0xFFFD;

// Reads the code point at `at` (which must be inside the text) and moves `at` past it. A byte that begins
// no well-formed sequence reads as the replacement character and counts one byte.
char32_t ReadCodePoint(const std::string& text, std::size_t& at);

void AppendCodePoint(std::string& text, char32_t codePoint);

// How many columns of a terminal a code point takes: 0 for marks that combine with what stands before
// them, 2 for East Asian wide characters and emoji, else 1.
std::size_t ColumnsOf(char32_t codePoint);

// The text as it can be shown in at most `columns` columns: control characters and ill-formed bytes become
// the replacement character; what does not fit is cut at a code point, never before a mark that belongs to
// the last one kept, and an ellipsis says so.
std::string FitColumns(const std::string& text, std::size_t columns);

} // namespace TTMLClient

#endif
