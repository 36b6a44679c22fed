#ifndef TTMLSRC_STREAM_REPORT_H
#define TTMLSRC_STREAM_REPORT_H

#include <cstdint>
#include <string>

#include "HostTvService.h"

namespace TTMLClient {

// What a transport stream holds, as a table for people and as one JSON object in a line. Both end with a
// line end.
std::string StreamTable(const std::string& input, const TTMLHost::TvStreamInfo& info);
std::string StreamJson(const std::string& input, const TTMLHost::TvStreamInfo& info);

// The kinds of errors that were found, with their numbers: "2 continuity errors, 1 bad table". Empty when
// there were none.
std::string ErrorCounts(const TTMLHost::TvStatistics& statistics);

// An input as messages name it.
std::string InputName(const std::string& input);

// "1 packet", "2 packets".
std::string CountText(std::uint64_t number, const std::string& what);

// Values of the TTML subtitling descriptor (ETSI EN 303 560) in words.
std::string PurposeText(int purpose);
std::string ProfileText(int profile);

} // namespace TTMLClient

#endif
