// The two times that the ATSC 3.0 source takes from an MPD, against readings with the C library's scanf: an
// input is the text of an MPD.

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include "CMpdParser.h"
#include "DurationReading.h"
#include "FuzzTarget.h"
#include "ScanNumber.h"
#include "ZoneGuard.h"

using TTMLTest::Hold;

namespace {

std::optional<std::string> ValueOf(const std::string& mpd, const std::string& name)
{
    const std::string start = name + "=\"";
    const std::size_t at = mpd.find(start);
    const std::size_t end = at == std::string::npos ? at : mpd.find('"', at + start.size());
    return end == std::string::npos
               ? std::nullopt
               : std::optional<std::string>(mpd.substr(at + start.size(), end - at - start.size()));
}

bool IsSame(float left, float right)
{
    return (std::isnan(left) && std::isnan(right)) || left == right;
}

// The numbers at the start of the text.
void CheckNumbers(const char* text)
{
    int wanted = 0;
    int length = 0;
    const bool found = std::sscanf(text, "%d%n", &wanted, &length) == 1;
    const char* rest = text;
    std::int32_t number = 0;
    Hold(TTML::ScanInt(rest, number) == found, "whole numbers are found where scanf finds them");
    Hold(number == wanted && rest == text + length, "whole numbers are scanf's");

    float wantedFloat = 0.0F;
    const bool foundFloat = std::sscanf(text, "%f", &wantedFloat) == 1;
    float numberFloat = 0.0F;
    Hold(TTML::ScanFloat(text, numberFloat) == foundFloat, "numbers are found where scanf finds them");
    Hold(IsSame(numberFloat, wantedFloat), "numbers are scanf's");
}

std::int32_t Wrapped(std::int64_t number)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(number)));
}

// What the start of availability is in a process whose zone is UTC.
std::int64_t StartOf(const char* text)
{
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    float seconds = 0.0F;
    static_cast<void>(std::sscanf(text, "%d-%d-%dT%d:%d:%f", &year, &month, &day, &hour, &minute, &seconds));
    std::tm time = {};
    time.tm_year = Wrapped(std::int64_t{year} - 1900);
    time.tm_mon = Wrapped(std::int64_t{month} - 1);
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = TTML::ToInt32(seconds);
    const float fraction = (seconds - static_cast<float>(time.tm_sec)) * 1000.0F;
    const std::uint64_t whole = static_cast<std::uint64_t>(std::int64_t{1000} * Wrapped(timegm(&time)));
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(TTML::ToInt64(fraction)) + whole);
}

// The second reading is for numbers that fit, and for texts without numbers of other kinds: a P in a
// hexadecimal number is its exponent.
bool CanBeReadTwice(const std::string& duration)
{
    const std::size_t hexadecimal = duration.find('x');
    return (hexadecimal == std::string::npos || duration.find('P', hexadecimal) == std::string::npos) &&
           duration.find_first_not_of("PTHMS0123456789. x") == std::string::npos &&
           duration.find_first_of("0123456789") != std::string::npos && duration.size() <= 11;
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static const TTMLTest::ZoneGuard zone("UTC0");
    const std::string mpd(data, data + size);
    TTML::CMpdParser parser;
    Hold(parser.Parse(mpd), "every text is read");

    const std::optional<std::string> start = ValueOf(mpd, "availabilityStartTime");
    Hold(parser.GetAST() == (start ? StartOf(start->c_str()) : 0), "the start is scanf's");
    const std::optional<std::string> delay = ValueOf(mpd, "suggestedPresentationDelay");
    if (!delay) {
        Hold(parser.GetSPD() == 0, "there is no delay without the attribute");
    } else if (CanBeReadTwice(*delay)) {
        Hold(parser.GetSPD() == TTMLTest::ReadDuration(*delay).milliseconds,
             "the delay is the other reading's");
    }
    for (const std::optional<std::string>& value : {start, delay}) {
        if (value) {
            CheckNumbers(value->c_str());
        }
    }

    TTML::CMpdParser again = parser;
    again.Parse("<MPD/>");
    Hold(again.GetAST() == parser.GetAST() && again.GetSPD() == parser.GetSPD(),
         "what an MPD lacks stays as it is");
    again.Reset();
    Hold(again.GetAST() == 0 && again.GetSPD() == 0, "nothing is known after a reset");
    again.Parse(mpd);
    Hold(again.GetAST() == parser.GetAST() && again.GetSPD() == parser.GetSPD(), "a text has one meaning");
    return 0;
}
