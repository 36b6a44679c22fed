#include "DashManifest.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string_view>

#include <pugixml.hpp>

#include "XmlTime.h"

namespace TTMLHost {

namespace {

// The name without a namespace prefix.
const char* LocalName(const pugi::xml_node& node)
{
    const char* const colon = std::strrchr(node.name(), ':');
    return colon != nullptr ? colon + 1 : node.name();
}

bool IsNamed(const pugi::xml_node& node, const char* name)
{
    return std::strcmp(LocalName(node), name) == 0;
}

char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool ContainsNoCase(std::string_view text, std::string_view part)
{
    const auto equal = [](char a, char b) { return ToLower(a) == ToLower(b); };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), equal) != text.end();
}

std::int64_t DurationOf(const pugi::xml_node& node, const char* attribute, std::int64_t otherwise)
{
    std::int64_t ms = 0;
    return ParseDuration(node.attribute(attribute).value(), &ms) ? ms : otherwise;
}

// libavformat plays one period: the longest, and the last one of several equally long ones. Periods
// without a duration count as empty.
std::int64_t StartOfPlayedPeriod(const pugi::xml_node& mpd, pugi::xml_node* played)
{
    std::int64_t longestMs = 0;
    std::int64_t startMs = 0;
    std::int64_t previousEndMs = 0;
    for (const pugi::xml_node& period : mpd.children()) {
        if (!IsNamed(period, "Period")) {
            continue;
        }
        // A period without a start begins where the one before it ends.
        const std::int64_t periodStartMs = DurationOf(period, "start", previousEndMs);
        const std::int64_t durationMs = DurationOf(period, "duration", 0);
        previousEndMs = periodStartMs + durationMs;
        if (durationMs >= longestMs) {
            longestMs = durationMs;
            startMs = periodStartMs;
            *played = period;
        }
    }
    return startMs;
}

// Whether any of the nodes says that it holds video, audio or text.
bool SaysContentType(const std::initializer_list<pugi::xml_node>& nodes)
{
    for (const pugi::xml_node& node : nodes) {
        for (const char* const attribute : {"contentType", "mimeType"}) {
            const char* const value = node.attribute(attribute).value();
            for (const char* const kind : {"video", "audio", "text"}) {
                if (ContainsNoCase(value, kind)) {
                    return true;
                }
            }
        }
    }
    return false;
}

bool HasUnmarkedSubtitles(const pugi::xml_node& period)
{
    for (const pugi::xml_node& set : period.children()) {
        if (!IsNamed(set, "AdaptationSet")) {
            continue;
        }
        pugi::xml_node component;
        for (const pugi::xml_node& child : set.children()) {
            if (IsNamed(child, "ContentComponent")) {
                component = child;
            }
        }
        for (const pugi::xml_node& child : set.children()) {
            const bool isStpp = ContainsNoCase(child.attribute("codecs").value(), "stpp") ||
                                ContainsNoCase(set.attribute("codecs").value(), "stpp");
            if (IsNamed(child, "Representation") && isStpp && !SaysContentType({set, component, child})) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

std::optional<DashManifest> ParseDashManifest(const std::string& text)
{
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) {
        return std::nullopt;
    }
    const pugi::xml_node mpd = document.document_element();
    if (!IsNamed(mpd, "MPD")) {
        return std::nullopt;
    }
    DashManifest manifest;
    manifest.live = std::strcmp(mpd.attribute("type").value(), "dynamic") == 0;
    ParseDateTime(mpd.attribute("availabilityStartTime").value(), &manifest.availabilityStartMs);
    pugi::xml_node period;
    manifest.periodStartMs = StartOfPlayedPeriod(mpd, &period);
    manifest.hasUnmarkedSubtitles = HasUnmarkedSubtitles(period);
    return manifest;
}

} // namespace TTMLHost
