#include "FuzzTarget.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace TTMLTest {

void Hold(bool holds, const char* what)
{
    if (!holds) {
        static_cast<void>(std::fprintf(stderr, "does not hold: %s\n", what));
        std::abort();
    }
}

std::uint64_t FuzzInput::Number(std::size_t bytes)
{
    std::uint64_t number = 0;
    for (; bytes > 0; --bytes) {
        number <<= 8U;
        if (m_left > 0) {
            number |= *m_data;
            ++m_data;
            --m_left;
        }
    }
    return number;
}

std::string FuzzInput::Text(std::size_t size)
{
    const std::size_t taken = std::min(size, m_left);
    std::string text(m_data, m_data + taken);
    m_data += taken;
    m_left -= taken;
    return text;
}

} // namespace TTMLTest
