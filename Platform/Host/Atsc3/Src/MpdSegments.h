#ifndef MPD_SEGMENTS_H
#define MPD_SEGMENTS_H

#include <string>

#include <pugixml.hpp>

#include "Mpd.h"

namespace TTMLHost {

// Reads how the segments of a representation are addressed: SegmentTemplate, SegmentList or SegmentBase of
// the innermost level that has one, with what it inherits. False with one text in `why` when they cannot be.
bool ReadSegmentAddressing(const pugi::xml_node& period, const pugi::xml_node& set,
                           const pugi::xml_node& representation, SegmentAddressing* segments,
                           std::string* why);

} // namespace TTMLHost

#endif
