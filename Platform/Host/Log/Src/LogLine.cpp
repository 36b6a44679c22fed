#include "LogLine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "PlatformLog.h"

namespace TTMLHost {

namespace {

constexpr unsigned char kEscape = 0x1b;
constexpr unsigned char kDelete = 0x7f;

// U+0080 to U+009F, the second set of control characters, are two bytes of UTF-8 that begin with this one.
constexpr unsigned char kC1Lead = 0xc2;
constexpr unsigned char kC1First = 0x80;
constexpr unsigned char kC1Last = 0x9f;

char LevelLetter(int level)
{
    if (level <= PLATFORM_LOG_INFO) {
        return 'I';
    }
    return level == PLATFORM_LOG_WARNING ? 'W' : 'E';
}

// Length of the colour sequence at `text`, 0 when there is none.
std::size_t ColourSequence(const char* text, std::size_t size)
{
    if (size < 3 || static_cast<unsigned char>(text[0]) != kEscape || text[1] != '[') {
        return 0;
    }
    std::size_t i = 2;
    while (i < size && ((text[i] >= '0' && text[i] <= '9') || text[i] == ';')) {
        ++i;
    }
    return i < size && text[i] == 'm' ? i + 1 : 0;
}

// Number of bytes of the control character at `text`, 0 when the text goes on with something printable.
std::size_t ControlCharacter(const char* text, std::size_t size)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == kDelete) {
        return 1;
    }
    if (first == kC1Lead && size > 1) {
        const auto second = static_cast<unsigned char>(text[1]);
        return second >= kC1First && second <= kC1Last ? 2 : 0;
    }
    return 0;
}

} // namespace

LogLine::~LogLine()
{
    if (m_data != m_inline) {
        std::free(m_data);
    }
}

void LogLine::Begin(const timespec& when, int level, const char* tag) noexcept
{
    tm local{};
    // Only fails for years beyond an int, and then leaves the zeros.
    (void)localtime_r(&when.tv_sec, &local);
    char head[128];
    const int length =
        std::snprintf(head, sizeof head, "%04d-%02d-%02d %02d:%02d:%02d.%03ld %c ", local.tm_year + 1900,
                      local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                      static_cast<long>(when.tv_nsec / 1000000), LevelLetter(level));
    if (length > 0) {
        m_Append(head, static_cast<std::size_t>(length));
    }
    Message(tag, std::strlen(tag), Colours::Strip);
    m_Append(": ", 2);
}

void LogLine::Message(const char* text, std::size_t size, Colours colours) noexcept
{
    std::size_t plain = 0; // start of the text that has not been added yet
    std::size_t i = 0;
    while (i < size) {
        const std::size_t control = ControlCharacter(text + i, size - i);
        if (control == 0) {
            ++i;
            continue;
        }
        m_Append(text + plain, i - plain);
        const std::size_t colour = ColourSequence(text + i, size - i);
        if (colour != 0) {
            if (colours == Colours::Keep) {
                m_Append(text + i, colour);
            }
            i += colour;
        } else {
            char visible[8];
            const auto code = static_cast<unsigned char>(text[i + control - 1]);
            if (code == '\n' || code == '\r' || code == '\t') {
                visible[0] = '\\';
                visible[1] = code == '\n' ? 'n' : (code == '\r' ? 'r' : 't');
                visible[2] = '\0';
            } else {
                (void)std::snprintf(visible, sizeof visible, control == 1 ? "\\x%02x" : "\\u%04x",
                                    static_cast<unsigned>(code));
            }
            m_Append(visible, std::strlen(visible));
            i += control;
        }
        plain = i;
    }
    m_Append(text + plain, size - plain);
}

void LogLine::End() noexcept
{
    // m_Append always leaves room for this byte.
    m_data[m_size] = '\n';
    ++m_size;
}

void LogLine::m_Append(const char* text, std::size_t size) noexcept
{
    const std::size_t room = m_capacity - m_size - 1;
    if (size > room && !m_Grow(m_size + size + 1)) {
        // A cut line says more than none.
        size = room;
    }
    std::memcpy(m_data + m_size, text, size);
    m_size += size;
}

bool LogLine::m_Grow(std::size_t needed) noexcept
{
    const std::size_t capacity = needed > 2 * m_capacity ? needed : 2 * m_capacity;
    const bool isInline = m_data == m_inline;
    auto* data = static_cast<char*>(std::realloc(isInline ? nullptr : m_data, capacity));
    if (data == nullptr) {
        return false;
    }
    if (isInline) {
        std::memcpy(data, m_inline, m_size);
    }
    m_data = data;
    m_capacity = capacity;
    return true;
}

} // namespace TTMLHost
