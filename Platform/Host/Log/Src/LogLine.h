#ifndef TTML_HOST_LOG_LINE_H
#define TTML_HOST_LOG_LINE_H

#include <cstddef>
#include <ctime>

namespace TTMLHost {

// One line of the log while it is put together:
//
//   2026-11-20 15:11:02.123 W TTML: message
//
// Lines of usual length need no heap. When there is no memory for a long one it is cut, and still ends in
// a line end. Nothing throws. Used by one thread.
class LogLine
{
public:
    // What becomes of the terminal's colour sequences ("\033[", digits and semicolons, "m").
    enum class Colours
    {
        Keep,
        Strip
    };

    LogLine() = default;
    ~LogLine();
    LogLine(const LogLine&) = delete;
    LogLine& operator=(const LogLine&) = delete;

    // Local time, level letter and tag. `when` is a time of the real-time clock.
    void Begin(const timespec& when, int level, const char* tag) noexcept;

    // Adds text. Control characters are made visible ("\n", "\x07"), so that the line stays one line and
    // foreign text cannot steer a terminal.
    void Message(const char* text, std::size_t size, Colours colours) noexcept;

    // Adds the line end, after which the line is complete.
    void End() noexcept;

    const char* Data() const noexcept { return m_data; }
    std::size_t Size() const noexcept { return m_size; }

private:
    void m_Append(const char* text, std::size_t size) noexcept;
    bool m_Grow(std::size_t needed) noexcept;

    char m_inline[1024];
    char* m_data = m_inline;
    std::size_t m_size = 0;
    std::size_t m_capacity = sizeof m_inline;
};

} // namespace TTMLHost

#endif
