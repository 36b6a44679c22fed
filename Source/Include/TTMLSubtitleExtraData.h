#ifndef TTML_SUBTITLE_EXTRA_DATA_H
#define TTML_SUBTITLE_EXTRA_DATA_H

#include <cstdint>
#include <string>

namespace TTML {

// The timing that comes with one in-band sample.
struct TTMLSubtitleExtraData
{
    // The sample's time as the player gives it; handed on unchanged.
    std::int64_t timestamp = 0;

    // The sample's index; handed on unchanged.
    std::int32_t index = 0;

    // Start and end of the segment as TTML time expressions (W3C TTML2); either may be empty.
    std::string segStartTime;
    std::string segEndTime;
};

} // namespace TTML

#endif
