#include "DocumentBuffer.h"

#include <cstdlib>
#include <cstring>

namespace TTMLHost {

namespace {

// Most subtitle documents are a few kilobytes.
constexpr std::size_t kFirstCapacity = 16UL * 1024UL;

} // namespace

DocumentBuffer::~DocumentBuffer()
{
    std::free(m_data);
}

bool DocumentBuffer::Append(const char* data, std::size_t size) noexcept
{
    if (size > m_capacity - m_size) {
        std::size_t capacity = m_capacity == 0 ? kFirstCapacity : 2 * m_capacity;
        if (capacity < m_size + size) {
            capacity = m_size + size;
        }
        if (!m_Reserve(capacity)) {
            return false;
        }
    }
    if (size > 0) {
        std::memcpy(m_data + m_size, data, size);
        m_size += size;
    }
    return true;
}

char* DocumentBuffer::Release() noexcept
{
    // The exact size: the text may live long, and the last doubling may have been generous.
    if (!m_Reserve(m_size + 1)) {
        return nullptr;
    }
    m_data[m_size] = '\0';
    char* text = m_data;
    m_data = nullptr;
    m_size = 0;
    m_capacity = 0;
    return text;
}

void DocumentBuffer::Adopt(char* data, std::size_t size) noexcept
{
    std::free(m_data);
    m_data = data;
    m_size = size;
    m_capacity = size;
}

bool DocumentBuffer::m_Reserve(std::size_t capacity) noexcept
{
    auto* data = static_cast<char*>(std::realloc(m_data, capacity));
    if (data == nullptr) {
        return false;
    }
    m_data = data;
    m_capacity = capacity;
    return true;
}

} // namespace TTMLHost
