#ifndef TTML_HOST_ONE_LINE_H
#define TTML_HOST_ONE_LINE_H

#include <string>

namespace TTMLHost {

// The text with a '?' for each control character. What a message quotes may hold anything: names, paths,
// URLs, the words of libraries.
inline std::string OneLine(std::string text)
{
    for (char& c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7f) {
            c = '?';
        }
    }
    return text;
}

} // namespace TTMLHost

#endif
