#include "BoxReader.h"

namespace TTMLHost {

namespace {

constexpr std::size_t kHeader = 8;       // size and type
constexpr std::size_t kLargeHeader = 16; // and a size of 64 bits
constexpr std::size_t kTypeOffset = 4;
constexpr std::uint64_t kSizeToTheEnd = 0;
constexpr std::uint64_t kSizeIsLarge = 1;

} // namespace

std::optional<Box> BoxReader::Next()
{
    const std::size_t left = m_bytes.size() - m_at;
    if (left < kHeader) {
        m_broken = left > 0;
        return std::nullopt;
    }
    FieldReader fields(m_bytes.substr(m_at));
    std::uint64_t size = fields.Take(4);
    Box box;
    box.type = m_bytes.substr(m_at + kTypeOffset, 4);
    box.offset = m_at;
    box.header = kHeader;
    if (size == kSizeIsLarge) {
        fields.Skip(4);
        size = fields.Take(8);
        box.header = kLargeHeader;
    } else if (size == kSizeToTheEnd) {
        size = left;
        box.open = true;
    }
    if (size < box.header || left < box.header) {
        m_broken = true;
        return std::nullopt;
    }
    box.cut = size > left;
    const std::size_t length = box.cut ? left : static_cast<std::size_t>(size);
    box.body = m_bytes.substr(m_at + box.header, length - box.header);
    m_at += length;
    return box;
}

std::optional<Box> FindBox(std::string_view bytes, std::string_view type)
{
    BoxReader reader(bytes);
    while (std::optional<Box> box = reader.Next()) {
        if (box->type == type) {
            return box;
        }
    }
    return std::nullopt;
}

std::optional<Box> FindBox(std::string_view bytes, std::initializer_list<std::string_view> path)
{
    std::optional<Box> box;
    for (const std::string_view type : path) {
        box = FindBox(bytes, type);
        if (!box) {
            return std::nullopt;
        }
        bytes = box->body;
    }
    return box;
}

std::uint64_t FieldReader::Take(std::size_t bytes)
{
    if (m_rest.size() < bytes) {
        Skip(bytes);
        return 0;
    }
    std::uint64_t value = 0;
    for (const char c : m_rest.substr(0, bytes)) {
        value = value << 8U | static_cast<unsigned char>(c);
    }
    m_rest.remove_prefix(bytes);
    return value;
}

void FieldReader::Skip(std::size_t bytes)
{
    m_short = m_short || m_rest.size() < bytes;
    m_rest.remove_prefix(m_short ? m_rest.size() : bytes);
}

} // namespace TTMLHost
