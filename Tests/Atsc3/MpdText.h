#ifndef MPD_TEXT_H
#define MPD_TEXT_H

#include <memory>
#include <string>
#include <vector>

#include "Mpd.h"

namespace TTMLTest {

// Texts of MPDs, from the inside out.

std::string MpdText(const std::string& attributes, const std::string& content);
std::string PeriodText(const std::string& attributes, const std::string& content);
// An adaptation set with one representation, whose segments are "seg-$Number$.m4s" of 2 s from number 1 on
// unless `segments` says otherwise.
std::string CaptionText(const std::string& attributes, const std::string& segments = "",
                        const std::string& representation = "id=\"c\" codecs=\"stpp.ttml.im1t\"");

// An MPD that must be one; `warnings` are the lines that come of it.
TTMLHost::Mpd ParsedMpd(const std::string& text, const std::vector<std::string>& warnings = {});
std::shared_ptr<const TTMLHost::Mpd> SharedMpd(const std::string& text);

} // namespace TTMLTest

#endif
