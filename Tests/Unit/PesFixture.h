#ifndef PES_FIXTURE_H
#define PES_FIXTURE_H

// What the tests of the PES parser share.

#include <cstdint>
#include <string>
#include <vector>

#include "CPESParser.h"
#include "PesBuilder.h"
#include "ScriptedPlatform.h"

namespace TTMLTest {

using Texts = std::vector<std::string>;

// The two warnings that end a refused packet, behind the reason's.
constexpr char kHeaderError[] = "W Error in PES Header parsing!";
constexpr char kDataError[] = "W Error in PES Data fields parsing!";
constexpr char kIgnored[] = "W Invalid PES packet; ignoring it";
constexpr char kSegmentError[] = "W Invalid PES!";
constexpr char kLengthError[] = "W Invalid PES! pesLen < counter + segLen";
constexpr char kTypeError[] = "W Unexpected segment type!";
constexpr char kInflateError[] = "W inflate Error";
constexpr std::size_t kHeaderSize = 14;
constexpr std::size_t kDataFieldSize = 7; // up to the first segment

// What became of a packet.
struct Parsed
{
    bool result = false;
    TTML::DvbTTMLData data;
    Texts said; // each line behind the letter of its level, without entries and exits
};

// Gives the bytes to a new parser, in memory of exactly their size.
Parsed ParseBytes(const PesBytes& bytes);
// The same with a record that has something in it.
Parsed ParseBytes(const PesBytes& bytes, const TTML::DvbTTMLData& before);

// The lines of a packet that is right up to its segments, then those of the segments.
Texts SaidOf(std::uint64_t pts, std::uint64_t mediaTime, const Texts& rest);
std::string SegmentLine(unsigned int type);
// The lines of a compressed segment that could be inflated.
Texts InflatedLines(std::size_t compressed, std::size_t inflated);
// "function: message" of every line but entries and exits.
Texts TraceOfSubstance();

// Texts one behind the other.
Texts Joined(Texts first, const Texts& second);

// A text of `size` bytes that looks like a document, different for each `seed`.
std::string DocumentOf(std::size_t size, unsigned int seed = 0);

// The private operations.
bool CallParseHeader(PesBytes& packet, unsigned int& position, TTML::DvbTTMLData& out);
bool CallParseDataFields(PesBytes& packet, unsigned int& position, TTML::DvbTTMLData& out);
bool CallHandleSegment(const unsigned char* bytes, unsigned int length, std::uint8_t type,
                       TTML::DvbTTMLData& out);
bool CallUnzip(const std::string& compressed, std::string& out);

} // namespace TTMLTest

#endif
