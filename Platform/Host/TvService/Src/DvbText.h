#ifndef DVB_TEXT_H
#define DVB_TEXT_H

#include <string>

#include "ByteSpan.h"

namespace TTMLHost {

// A text of ETSI EN 300 468 annex A as UTF-8, without control codes; line breaks become spaces, and what
// cannot be read becomes U+FFFD.
std::string DecodeDvbText(ByteSpan text);

} // namespace TTMLHost

#endif
