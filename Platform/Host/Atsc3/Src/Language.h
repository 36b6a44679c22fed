#ifndef LANGUAGE_H
#define LANGUAGE_H

#include <cstdint>
#include <string>

namespace TTMLHost {

// The three letters of ISO 639-2/T, in lower case, for the language of a tag such as "en", "eng", "en-US" or
// "ger" (its bibliographic code); the tag's own language where the standard has none, and empty for what is
// no language.
std::string LanguageOf(const std::string& tag);

// Three letters, one a byte, the first one on top; 0 for anything else.
std::int32_t LanguageCodeOf(const std::string& letters);

} // namespace TTMLHost

#endif
