#ifndef DASH_MANIFEST_H
#define DASH_MANIFEST_H

#include <cstdint>
#include <optional>
#include <string>

namespace TTMLHost {

// What the player takes from an MPD (ISO/IEC 23009-1) itself; libavformat's DASH demuxer does the rest.
struct DashManifest
{
    bool live = false;                    // type="dynamic"
    std::int64_t availabilityStartMs = 0; // since 1970-01-01T00:00:00Z; 0 when the manifest has none
    std::int64_t periodStartMs = 0;       // of the period that is played
    // There is an stpp adaptation set that libavformat does not take for subtitles, because neither
    // contentType nor mimeType says that it holds text.
    bool hasUnmarkedSubtitles = false;
};

// Nothing when the text is no well-formed MPD.
std::optional<DashManifest> ParseDashManifest(const std::string& text);

} // namespace TTMLHost

#endif
