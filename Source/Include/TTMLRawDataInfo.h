#ifndef TTML_RAW_DATA_INFO_H
#define TTML_RAW_DATA_INFO_H

#include <cstdint>
#include <string>

namespace TTML {

// One piece of subtitle data with its timing, delivered with callback code 0. The client owns a record
// from that call on and disposes of it with `delete`, on any thread.
struct TTMLRawDataInfo
{
    // Index of an in-band sample as the player counts it; 0 for other data.
    std::int32_t index = 0;

    // Kind of payload; -1 when unspecified. DVB: 0 IMSC1, 2 EBU-TT-D. ATSC 3.0: 0 text, 1 text with image.
    std::int32_t dataType = -1;

    // Time of an in-band sample as the player supplies it; 0 for other data.
    std::int64_t timestamp = 0;

    // Start and end of the segment in milliseconds; both 0 unless the sample came with both.
    std::int64_t segStartTimeMs = 0;
    std::int64_t segEndTimeMs = 0;

    // The last track descriptor that was not null among the PlayTrack() calls made before delivery.
    std::string trackDescriptor;

    // The TTML document or segment, in the bytes in which it came (UTF-8 for samples and documents, which
    // end at their first zero byte); may be empty.
    std::string data;

    // A second payload: the image that came with an ATSC 3.0 caption.
    std::string secondaryData;

    // The user data given to RegisterCallBack().
    void* userData = nullptr;
};

} // namespace TTML

#endif
