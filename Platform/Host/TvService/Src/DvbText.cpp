#include "DvbText.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <iconv.h>

namespace TTMLHost {

namespace {

// What the first bytes of a text choose: annex A.2, tables A.3 and A.4.
constexpr unsigned char kFirstPlain = 0x20;
constexpr unsigned char kIso8859WithNumber = 0x10;
constexpr unsigned char kEncodingTypeId = 0x1f;

constexpr unsigned char kEuro = 0xa4; // in the default table, where ISO/IEC 6937 has none

const char* const kReplacement = "\xef\xbf\xbd"; // U+FFFD

struct Encoding
{
    std::string name;
    std::size_t selectorSize = 0;
    bool isDefault = false;
    // Two bytes a character, or UTF-8: control codes are in the private use area, not from 0x80 to 0x9f.
    bool isWide = false;
};

std::string Iso8859(int part)
{
    return "ISO-8859-" + std::to_string(part);
}

Encoding EncodingOf(ByteSpan text)
{
    if (text.size == 0 || text.data[0] >= kFirstPlain) {
        return {"ISO6937", 0, true, false};
    }
    const unsigned char selector = text.data[0];
    if (selector >= 0x01 && selector <= 0x0b && selector != 0x08) {
        return {Iso8859(selector + 4), 1, false, false};
    }
    if (selector == kIso8859WithNumber && text.size >= 3 && text.data[1] == 0) {
        return {Iso8859(text.data[2]), 3, false, false};
    }
    switch (selector) {
    case 0x11: // ISO/IEC 10646, 16 bits
        return {"UTF-16BE", 1, false, true};
    case 0x12: // KS X 1001
        return {"EUC-KR", 1, false, true};
    case 0x13:
        return {"GB2312", 1, false, true};
    case 0x14: // Big5 of ISO/IEC 10646
        return {"UTF-16BE", 1, false, true};
    case 0x15:
        return {"UTF-8", 1, false, true};
    case kEncodingTypeId: // with a byte for a private encoding
        return {"", 2, false, false};
    default:
        return {"", 1, false, false};
    }
}

class Converter
{
public:
    explicit Converter(const std::string& from)
        : m_handle(Open(from))
    {}
    ~Converter()
    {
        if (IsOpen()) {
            iconv_close(m_handle);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const { return m_handle != nullptr; }

    // Appends what the bytes say.
    void Convert(ByteSpan text, std::string* out) const
    {
        // iconv() does not change what it reads, whatever its type says.
        char* from = reinterpret_cast<char*>(const_cast<unsigned char*>(text.data));
        std::size_t left = text.size;
        while (left != 0) {
            char room[64];
            char* to = room;
            std::size_t space = sizeof(room);
            const bool failed = iconv(m_handle, &from, &left, &to, &space) == static_cast<std::size_t>(-1);
            const int error = errno;
            out->append(room, to);
            if (failed && error != E2BIG) {
                out->append(kReplacement);
                // A cut-off character at the end, or a byte that begins none.
                const std::size_t lost = error == EINVAL ? left : 1;
                from += lost;
                left -= lost;
            }
        }
        // A character may wait for its accent.
        char room[16];
        char* to = room;
        std::size_t space = sizeof(room);
        iconv(m_handle, nullptr, nullptr, &to, &space);
        out->append(room, to);
    }

private:
    static void* Open(const std::string& from)
    {
        void* const handle = from.empty() ? nullptr : iconv_open("UTF-8", from.c_str());
        return reinterpret_cast<std::intptr_t>(handle) == -1 ? nullptr : handle;
    }

    void* const m_handle; // an iconv_t; null when this machine does not know the encoding
};

// Leaves out the control codes of a text with one byte a character, and puts the euro sign in its place.
std::string DecodeBytes(ByteSpan text, const Converter& converter, bool isDefault)
{
    std::string out;
    std::string run;
    const auto flush = [&] {
        converter.Convert({reinterpret_cast<const unsigned char*>(run.data()), run.size()}, &out);
        run.clear();
    };
    for (std::size_t i = 0; i < text.size; ++i) {
        const unsigned char c = text.data[i];
        if (c == 0x8a) {
            run += ' ';
        } else if (isDefault && c == kEuro) {
            flush();
            out += "\xe2\x82\xac";
        } else if (c >= 0x20 && (c < 0x7f || c > 0x9f)) {
            run += static_cast<char>(c);
        }
    }
    flush();
    return out;
}

// The length of the control code in UTF-8 at `at`: those of ASCII, U+0080 to U+009F, U+E080 to U+E09F.
std::size_t ControlCodeAt(const std::string& text, std::size_t at, bool* isLineBreak)
{
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
    };
    const bool c1 = byte(0) == 0xc2 && byte(1) >= 0x80 && byte(1) <= 0x9f;
    const bool wide = byte(0) == 0xee && byte(1) == 0x82 && byte(2) >= 0x80 && byte(2) <= 0x9f;
    *isLineBreak = (c1 && byte(1) == 0x8a) || (wide && byte(2) == 0x8a);
    if (wide) {
        return 3;
    }
    if (c1) {
        return 2;
    }
    return byte(0) < 0x20 || byte(0) == 0x7f ? 1 : 0;
}

std::string WithoutControlCodes(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        bool isLineBreak = false;
        const std::size_t length = ControlCodeAt(text, i, &isLineBreak);
        if (length == 0) {
            out += text[i++];
            continue;
        }
        if (isLineBreak) {
            out += ' ';
        }
        i += length;
    }
    return out;
}

// What can be said of a text that this machine has no table for.
std::string OnlyAscii(ByteSpan text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size; ++i) {
        const unsigned char c = text.data[i];
        if (c >= 0x20 && c < 0x7f) {
            out += static_cast<char>(c);
        } else if (c > 0x9f) {
            out += kReplacement;
        }
    }
    return out;
}

} // namespace

std::string DecodeDvbText(ByteSpan text)
{
    const Encoding encoding = EncodingOf(text);
    const std::size_t skipped = encoding.selectorSize < text.size ? encoding.selectorSize : text.size;
    const ByteSpan rest = {text.data + skipped, text.size - skipped};
    const Converter converter(encoding.name);
    if (!converter.IsOpen()) {
        return OnlyAscii(rest);
    }
    if (!encoding.isWide) {
        return WithoutControlCodes(DecodeBytes(rest, converter, encoding.isDefault));
    }
    std::string out;
    converter.Convert(rest, &out);
    return WithoutControlCodes(out);
}

} // namespace TTMLHost
