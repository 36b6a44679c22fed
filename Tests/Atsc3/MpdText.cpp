#include "MpdText.h"

#include <gtest/gtest.h>

namespace TTMLTest {

std::string MpdText(const std::string& attributes, const std::string& content)
{
    return "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" " + attributes + ">" +
           content + "</MPD>";
}

std::string PeriodText(const std::string& attributes, const std::string& content)
{
    return "<Period " + attributes + ">" + content + "</Period>";
}

std::string CaptionText(const std::string& attributes, const std::string& segments,
                        const std::string& representation)
{
    const std::string usual =
        "<SegmentTemplate media=\"seg-$Number$.m4s\" initialization=\"init.mp4\" duration=\"2\"/>";
    return "<AdaptationSet " + attributes + ">" + (segments.empty() ? usual : segments) + "<Representation " +
           representation + "/></AdaptationSet>";
}

TTMLHost::Mpd ParsedMpd(const std::string& text, const std::vector<std::string>& warnings)
{
    std::string error;
    const std::optional<TTMLHost::Mpd> mpd = TTMLHost::ReadMpd(text, "s.mpd", &error);
    EXPECT_TRUE(mpd.has_value()) << error;
    EXPECT_EQ(mpd ? mpd->warnings : warnings, warnings);
    return mpd.value_or(TTMLHost::Mpd());
}

std::shared_ptr<const TTMLHost::Mpd> SharedMpd(const std::string& text)
{
    return std::make_shared<const TTMLHost::Mpd>(ParsedMpd(text));
}

} // namespace TTMLTest
