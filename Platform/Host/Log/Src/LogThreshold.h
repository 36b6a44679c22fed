#ifndef TTML_HOST_LOG_THRESHOLD_H
#define TTML_HOST_LOG_THRESHOLD_H

#include <climits>

namespace TTMLHost {

// Name of the environment variable that sets the threshold.
constexpr const char* kLogVariable = "TTML_LOG";

// Threshold above every level: nothing is logged.
constexpr int kLogOff = INT_MAX;

struct LogThreshold
{
    int level;  // lowest level that is logged
    bool known; // false when the text named no threshold and the default stands in
};

// The threshold that `text` names: "info", "warning", "error" or "off". Null and an empty text stand for
// the default, "warning"; any other text does too, and is marked as not known.
LogThreshold ParseLogThreshold(const char* text) noexcept;

} // namespace TTMLHost

#endif
