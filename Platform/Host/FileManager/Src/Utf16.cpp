#include "Utf16.h"

#include <cstdlib>
#include <cstring>

#include <iconv.h>

namespace TTMLHost {

namespace {

constexpr std::size_t kMarkSize = 2;
constexpr char kLittleEndianMark[] = "\xff\xfe";
constexpr char kBigEndianMark[] = "\xfe\xff";

class Converter
{
public:
    explicit Converter(const char* from) noexcept
        : m_handle(iconv_open("UTF-8", from))
    {}
    ~Converter()
    {
        if (IsOpen()) {
            (void)iconv_close(m_handle);
        }
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // iconv_open's failure is (iconv_t)-1, whatever type that is.
    bool IsOpen() const noexcept { return m_handle != (iconv_t)-1; } // NOLINT

    bool Run(char* in, std::size_t inSize, char* out, std::size_t* outSize) noexcept
    {
        std::size_t room = *outSize;
        const bool converted = iconv(m_handle, &in, &inSize, &out, &room) != static_cast<std::size_t>(-1);
        *outSize -= room;
        return converted && inSize == 0;
    }

private:
    iconv_t m_handle;
};

} // namespace

TextConversion ConvertUtf16(DocumentBuffer* document) noexcept
{
    if (document->Size() < kMarkSize) {
        return TextConversion::NotNeeded;
    }
    const char* encoding = nullptr;
    if (std::memcmp(document->Data(), kLittleEndianMark, kMarkSize) == 0) {
        encoding = "UTF-16LE";
    } else if (std::memcmp(document->Data(), kBigEndianMark, kMarkSize) == 0) {
        encoding = "UTF-16BE";
    } else {
        return TextConversion::NotNeeded;
    }

    Converter converter(encoding);
    if (!converter.IsOpen()) {
        return TextConversion::Unavailable;
    }
    // Two bytes of UTF-16 are at most three of UTF-8; pairs of twos are four.
    const std::size_t size = document->Size() - kMarkSize;
    std::size_t written = size / 2 * 3 + 1;
    auto* text = static_cast<char*>(std::malloc(written));
    if (text == nullptr) {
        return TextConversion::NoMemory;
    }
    // iconv reads its input through a pointer to non-const.
    char* in = const_cast<char*>(document->Data()) + kMarkSize; // NOLINT
    if (!converter.Run(in, size, text, &written)) {
        std::free(text);
        return TextConversion::Invalid;
    }
    document->Adopt(text, written);
    return TextConversion::Done;
}

} // namespace TTMLHost
