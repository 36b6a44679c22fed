#ifndef MPD_FIXTURE_H
#define MPD_FIXTURE_H

// What the tests of the MPD's times share.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CMpdParser.h"
#include "ScriptedPlatform.h"
#include "ZoneGuard.h"

namespace TTMLTest {

using Texts = std::vector<std::string>;

// An MPD with the two attributes.
inline std::string Mpd(const std::string& start, const std::string& delay)
{
    return "<MPD availabilityStartTime=\"" + start + "\" suggestedPresentationDelay=\"" + delay + "\"/>";
}

// A parser in a process whose time zone is UTC.
class MpdTest : public ::testing::Test
{
protected:
    // What the parser makes of an attribute alone.
    long long Start(const std::string& value)
    {
        m_parser.Reset();
        ScriptedLog::Clear();
        m_parser.Parse("availabilityStartTime=\"" + value + "\"");
        return m_parser.GetAST();
    }
    long long Delay(const std::string& value)
    {
        m_parser.Reset();
        ScriptedLog::Clear();
        m_parser.Parse("suggestedPresentationDelay=\"" + value + "\"");
        return m_parser.GetSPD();
    }
    // What that logged of the value's reading.
    static Texts Lines(const std::string& function)
    {
        Texts lines;
        for (const auto& line : ScriptedLog::Lines()) {
            if (line.function == function && line.message != "Enter" && line.message != "Exit") {
                lines.push_back(std::string(1, "IWE"[line.level - PLATFORM_LOG_INFO]) + " " + line.message);
            }
        }
        return lines;
    }
    static Texts DelayLines() { return Lines("m_ISO8601TimeToSecond"); }

    const ZoneGuard m_zone{"UTC0"};
    TTML::CMpdParser m_parser;
};

} // namespace TTMLTest

#endif
