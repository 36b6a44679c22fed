#ifndef CAPTION_PROPERTY_H
#define CAPTION_PROPERTY_H

#include <optional>
#include <string>

#include "PlatformTvServiceData.h"

namespace TTMLHost {

// What the descriptors of an adaptation set say of its captions, in the numbers of TCCaption.

// Whether one of the codecs of a codecs attribute (RFC 6381) is TTML in ISO base media files.
bool HasTtmlCodec(const std::string& codecs);

// 1 when the TTML profiles of a codecs attribute ("stpp.ttml.im1i") ask for images: when a processor of text
// profiles alone can do none of the alternatives ("im1t|im1i" can be done, "im1t+im1i" cannot). Else 0.
unsigned char ProfileOfCodecs(const std::string& codecs);

// By the value of a role descriptor (urn:mpeg:dash:role:2011): 0 main, 1 alternate, 2 supplementary,
// 3 commentary, 4 dub, 5 caption, 6 subtitle, 7 description, 8 easy reader ("easyreader"), 9 sign; nothing
// for others.
std::optional<unsigned char> RoleOf(const std::string& value);

constexpr char kCaptionPropertyScheme[] = "http://dashif.org/guidelines/dash-atsc-closedcaption";

// Takes the caption property of ATSC 3.0 apart: "ar:16-9,er:0,profile:0,3d:0" in any order, with blanks or
// without, ';' for ',' too. Sets what it finds: aspect (1 for 4-3, 2 for 16-9, 3 for 21-9, 0 for others),
// easyReader, profile and is3D. Whether there was a profile.
bool ReadCaptionProperty(const std::string& value, TCCaption* caption);

} // namespace TTMLHost

#endif
