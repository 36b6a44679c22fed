#include "CMpdParser.h"

#include <ctime>

#include "GlobalKeys.h"
#include "Log.h"
#include "ScanNumber.h"

namespace TTML {

namespace {

constexpr int TM_FIRST_YEAR = 1900;
constexpr int TM_FIRST_MONTH = 1;

constexpr std::int64_t MS_PER_SECOND = 1000;
constexpr std::uint32_t SECONDS_PER_HOUR = 3600;
constexpr std::uint32_t SECONDS_PER_MINUTE = 60;

// The parts of an xs:dateTime. A text that is none is read as the epoch, which counts as not known.
struct SDateTime
{
    std::int32_t year = 1970;
    std::int32_t month = 1;
    std::int32_t day = 1;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    float seconds = 0.0F;
};

bool ScanCharacter(const char*& text, char character)
{
    if (*text != character) {
        return false;
    }
    ++text;
    return true;
}

// Reads year-month-dayThour:minute:seconds as far as the text goes that way.
SDateTime ScanDateTime(const char* text)
{
    SDateTime time;
    static_cast<void>(ScanInt(text, time.year) && ScanCharacter(text, '-') && ScanInt(text, time.month) &&
                      ScanCharacter(text, '-') && ScanInt(text, time.day) && ScanCharacter(text, 'T') &&
                      ScanInt(text, time.hour) && ScanCharacter(text, ':') && ScanInt(text, time.minute) &&
                      ScanCharacter(text, ':') && ScanFloat(text, time.seconds));
    return time;
}

// The sum of two 32-bit numbers, wrapping.
std::int32_t WrappingSum(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

// Whole seconds of hours and minutes, wrapping.
std::int32_t WholeSeconds(std::int32_t hours, std::int32_t minutes)
{
    return static_cast<std::int32_t>(SECONDS_PER_HOUR * static_cast<std::uint32_t>(hours) +
                                     SECONDS_PER_MINUTE * static_cast<std::uint32_t>(minutes));
}

// The lower 32 bits, which is what the sums count with.
std::int32_t Low32(std::time_t time)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(time));
}

} // namespace

void CMpdParser::Reset()
{
    TTML_LOG_SCOPE();
    m_AST = 0;
    m_SPD = 0;
}

bool CMpdParser::Parse(const std::string& mpd)
{
    TTML_LOG_SCOPE();
    return m_UpdateInfoFromMpd(mpd);
}

bool CMpdParser::m_UpdateInfoFromMpd(const std::string& mpd)
{
    TTML_LOG_SCOPE();
    std::string value;
    if (m_GetMpdPropertyString(mpd, g_strMpdAvailabilityStart, value)) {
        m_AST = m_EpochTimeToMilliSecond(value.c_str());
    }
    value.clear();
    if (m_GetMpdPropertyString(mpd, g_strMpdPresentationDelay, value)) {
        m_SPD = m_ISO8601TimeToSecond(value);
    }
    return true;
}

bool CMpdParser::m_GetMpdPropertyString(const std::string& mpd, const std::string& property,
                                        std::string& value)
{
    TTML_LOG_SCOPE();
    const std::size_t match = mpd.find(property);
    if (match == std::string::npos) {
        TTML_LOGW("mpd property (%s) not found in mpdContent", property.c_str());
        return false;
    }
    const std::size_t start = match + property.size();
    const std::size_t end = mpd.find('"', start);
    if (end == std::string::npos) {
        TTML_LOGW("It seems this mpd property (%s) isn't in desired format!!", property.c_str());
        return false;
    }
    value.assign(mpd, start, end - start);
    TTML_LOGI("Found the property (%s) with value (%s) in Mpd", property.c_str(), value.c_str());
    return true;
}

std::int64_t CMpdParser::m_EpochTimeToMilliSecond(const char* text)
{
    TTML_LOG_SCOPE();
    if (text == nullptr) {
        return 0;
    }
    const SDateTime time = ScanDateTime(text);
    const std::int32_t wholeSeconds = ToInt32(time.seconds);
    std::tm brokenDown{};
    brokenDown.tm_year = WrappingSum(time.year, -TM_FIRST_YEAR);
    brokenDown.tm_mon = WrappingSum(time.month, -TM_FIRST_MONTH);
    brokenDown.tm_mday = time.day;
    brokenDown.tm_hour = time.hour;
    brokenDown.tm_min = time.minute;
    brokenDown.tm_sec = wholeSeconds;
    brokenDown.tm_isdst = 0;
    // Single precision is part of the result. The volatile values keep a compiler from computing wider.
    const volatile float fraction = time.seconds - static_cast<float>(wholeSeconds);
    const volatile float fractionMs = fraction * 1000.0F;

    const std::time_t local = std::mktime(&brokenDown);
    if (local == static_cast<std::time_t>(-1)) {
        TTML_LOGW("mktime returns -1");
    }
    const std::int32_t offset = m_GmtOffset();
    // mktime() has read the time as local; the zone's offset undoes that.
    const std::int32_t instant = WrappingSum(Low32(local), offset);
    // Unsigned, as a fraction without end would overflow the sum.
    const auto result = static_cast<std::int64_t>(static_cast<std::uint64_t>(ToInt64(fractionMs)) +
                                                  static_cast<std::uint64_t>(MS_PER_SECOND * instant));
    TTML_LOGI("Found mpd@ast: %s => %0.9f, gmtOffset:%d", text,
              static_cast<double>(instant) + static_cast<double>(fraction), offset);
    return result;
}

std::int32_t CMpdParser::m_GmtOffset()
{
    TTML_LOG_SCOPE();
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    if (gmtime_r(&now, &utc) == nullptr) {
        TTML_LOGW("ptm is null!");
        return 0;
    }
    // Standard time, like the reading that this offset undoes.
    utc.tm_isdst = 0;
    const std::time_t asLocal = std::mktime(&utc);
    if (asLocal == static_cast<std::time_t>(-1)) {
        TTML_LOGW("mktime returns -1");
    }
    return ToInt32(std::difftime(now, asLocal));
}

std::int64_t CMpdParser::m_ISO8601TimeToSecond(const std::string& text)
{
    TTML_LOG_SCOPE();
    const char* p = text.c_str();
    if (p[0] != 'P' || p[1] != 'T') {
        return 0;
    }
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    float seconds = 0.0F;
    // Goes on to the next component where that has no number of its own.
    float number = 0.0F;
    p += 2;
    while (*p != '\0') {
        static_cast<void>(ScanFloat(p, number));
        // Steps over what is no designator.
        while (*p != 'H' && *p != 'M' && *p != 'S') {
            ++p;
            if (*p == '\0') {
                TTML_LOGW("Invalid time format!");
                return 0;
            }
        }
        if (*p == 'H') {
            hours = ToInt32(number);
        } else if (*p == 'M') {
            minutes = ToInt32(number);
        } else {
            seconds = number;
        }
        ++p;
    }
    // Single precision is part of the result (0.7 s are 699 ms), whatever the machine would compute in.
    const volatile float whole = static_cast<float>(WholeSeconds(hours, minutes));
    const volatile float sum = whole + seconds;
    const std::int64_t result = ToInt64(static_cast<double>(sum) * 1000.0);
    TTML_LOGI("mpd@spd: %s ==> hour[%d], minute[%d], second[%f] = %lld MS", text.c_str(), hours, minutes,
              static_cast<double>(seconds), static_cast<long long>(result));
    return result;
}

} // namespace TTML
