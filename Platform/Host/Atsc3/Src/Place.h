#ifndef PLACE_H
#define PLACE_H

#include <string>

namespace TTMLHost {

// Places of files: paths, and URLs of http and https.

bool IsWebPlace(const std::string& place);

// The path that a file URL names; anything else as it is.
std::string PlaceOfInput(const std::string& input);

// What `reference` names from `base`, whose last part is a file's name unless it ends with a slash
// (RFC 3986). Empty when that is no place: a scheme that is not known, or a malformed URL.
std::string JoinPlaces(const std::string& base, const std::string& reference);

// Without percent-encoding.
std::string Decoded(const std::string& path);

} // namespace TTMLHost

#endif
