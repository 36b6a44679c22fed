#include "IsoFile.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>

namespace TTMLHost {

namespace {

// Layout of a box's header.
constexpr std::size_t kSizeOffset = 0;
constexpr std::size_t kTypeOffset = 4;
constexpr std::size_t kShortHeader = 8;
constexpr std::size_t kLargeSizeOffset = 8;
constexpr std::size_t kLargeHeader = 16;
constexpr std::uint64_t kSizeToTheEnd = 0;
constexpr std::uint64_t kSizeIsLarge = 1;

// A recording of weeks; beyond, the walk would take longer than what it tells is worth.
constexpr int kMostBoxes = 200000;

using Header = std::array<char, kLargeHeader>;

std::uint64_t Number(const Header& header, std::size_t offset, std::size_t bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        value = value << 8 | static_cast<unsigned char>(header[offset + i]);
    }
    return value;
}

} // namespace

bool EndsInsideBox(const std::string& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) {
        return false;
    }
    const auto end = static_cast<std::uint64_t>(file.tellg());
    std::uint64_t at = 0;
    for (int count = 0; at < end && count < kMostBoxes; ++count) {
        const std::uint64_t left = end - at;
        const std::size_t have = left < kLargeHeader ? static_cast<std::size_t>(left) : kLargeHeader;
        Header header = {};
        if (!file.seekg(static_cast<std::streamoff>(at)) ||
            !file.read(header.data(), static_cast<std::streamsize>(have))) {
            return false;
        }
        if (count == 0 && std::memcmp(header.data() + kTypeOffset, "ftyp", 4) != 0) {
            return false;
        }
        std::uint64_t size = Number(header, kSizeOffset, 4);
        if (size == kSizeToTheEnd && have >= kShortHeader) {
            return false;
        }
        size = size == kSizeIsLarge ? Number(header, kLargeSizeOffset, 8) : size;
        if (have < kShortHeader || size > left) {
            return true;
        }
        if (size < kShortHeader) {
            return false;
        }
        at += size;
    }
    return false;
}

} // namespace TTMLHost
