#include "PesFixture.h"

#include <random>

#include <gtest/gtest.h>

#include "PrivateAccess.h"

TTML_EXPOSE_FUNCTION(PesHeaderFunction,
                     bool (TTML::CPESParser::*)(std::vector<unsigned char>&, unsigned int&,
                                                TTML::DvbTTMLData&),
                     TTML::CPESParser::m_ParsePESHeader)
TTML_EXPOSE_FUNCTION(PesDataFieldsFunction,
                     bool (TTML::CPESParser::*)(std::vector<unsigned char>&, unsigned int&,
                                                TTML::DvbTTMLData&),
                     TTML::CPESParser::m_ParsePESDataFields)
TTML_EXPOSE_FUNCTION(PesSegmentFunction,
                     bool (TTML::CPESParser::*)(const unsigned char*, unsigned int, std::uint8_t,
                                                TTML::DvbTTMLData&),
                     TTML::CPESParser::m_HandleSegmentData)
TTML_EXPOSE_FUNCTION(PesUnzipFunction,
                     bool (TTML::CPESParser::*)(const unsigned char*, unsigned int, std::string&),
                     TTML::CPESParser::m_UnzipContent)

namespace TTMLTest {

using TTML::CPESParser;
using TTML::DvbTTMLData;

Parsed ParseBytes(const PesBytes& bytes)
{
    return ParseBytes(bytes, DvbTTMLData());
}

Parsed ParseBytes(const PesBytes& bytes, const DvbTTMLData& before)
{
    ScriptedLog::Clear();
    Journal::Instance().Clear();
    // A vector made from a range has no room behind its last byte, where the address sanitizer watches.
    PesBytes packet(bytes.begin(), bytes.end());
    EXPECT_EQ(packet.capacity(), packet.size());
    Parsed parsed;
    parsed.data = before;
    CPESParser parser;
    parsed.result = parser.ParsePES(packet, parsed.data);
    parsed.said = ScriptedLog::Substance();
    EXPECT_EQ(packet, bytes) << "the packet is the caller's";
    return parsed;
}

Texts SaidOf(std::uint64_t pts, std::uint64_t mediaTime, const Texts& rest)
{
    return Joined(
        {"I Got PTS value = " + std::to_string(pts), "I Got mediaSegmentTime = " + std::to_string(mediaTime)},
        rest);
}

std::string SegmentLine(unsigned int type)
{
    return "I Segment type=[" + std::to_string(type) + "]; 1: un-compressed; 2: compressed";
}

Texts InflatedLines(std::size_t compressed, std::size_t inflated)
{
    return {SegmentLine(kCompressed), "I Decompression finished success",
            "I Compressed len=" + std::to_string(compressed) +
                ", un-compressed len=" + std::to_string(inflated)};
}

Texts TraceOfSubstance()
{
    Texts trace;
    for (const LogLine& line : ScriptedLog::Lines()) {
        if (!line.message.empty() && line.message != "Enter" && line.message != "Exit") {
            EXPECT_EQ(line.file, "CPESParser.cpp");
            trace.push_back(line.function + ": " + line.message);
        }
    }
    return trace;
}

Texts Joined(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string DocumentOf(std::size_t size, unsigned int seed)
{
    static const Texts words = {"<p begin=\"", "00:00:0", "\" end=\"", "\">",
                                "</p>",        " of ",    "the ",      "<br/>"};
    std::mt19937 random(seed);
    std::string text = "<tt xmlns=\"http://www.w3.org/ns/ttml\"><body><div>";
    while (text.size() < size) {
        text += words[random() % words.size()] + static_cast<char>('0' + random() % 75);
    }
    text.resize(size);
    return text;
}

bool CallParseHeader(PesBytes& packet, unsigned int& position, DvbTTMLData& out)
{
    CPESParser parser;
    return CallPrivate<PesHeaderFunction>(parser, packet, position, out);
}

bool CallParseDataFields(PesBytes& packet, unsigned int& position, DvbTTMLData& out)
{
    CPESParser parser;
    return CallPrivate<PesDataFieldsFunction>(parser, packet, position, out);
}

bool CallHandleSegment(const unsigned char* bytes, unsigned int length, std::uint8_t type, DvbTTMLData& out)
{
    CPESParser parser;
    return CallPrivate<PesSegmentFunction>(parser, bytes, length, type, out);
}

bool CallUnzip(const std::string& compressed, std::string& out)
{
    CPESParser parser;
    const PesBytes bytes(compressed.begin(), compressed.end());
    return CallPrivate<PesUnzipFunction>(parser, bytes.data(), static_cast<unsigned int>(bytes.size()), out);
}

} // namespace TTMLTest
