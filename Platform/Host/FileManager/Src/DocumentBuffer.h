#ifndef TTML_HOST_DOCUMENT_BUFFER_H
#define TTML_HOST_DOCUMENT_BUFFER_H

#include <cstddef>

namespace TTMLHost {

// Bytes of a document while they arrive, in memory that is handed on without a copy. Nothing throws.
class DocumentBuffer
{
public:
    DocumentBuffer() = default;
    ~DocumentBuffer();
    DocumentBuffer(const DocumentBuffer&) = delete;
    DocumentBuffer& operator=(const DocumentBuffer&) = delete;

    // Adds bytes. False when there is no memory; the buffer then keeps what it had.
    bool Append(const char* data, std::size_t size) noexcept;

    const char* Data() const noexcept { return m_data; }
    std::size_t Size() const noexcept { return m_size; }

    // The bytes with a zero behind them, which is not counted. The caller releases them with std::free();
    // the buffer is empty afterwards. Null when there is no memory.
    char* Release() noexcept;

    // Replaces the content by memory of std::malloc(), which becomes the buffer's, and its first `size`
    // bytes.
    void Adopt(char* data, std::size_t size) noexcept;

private:
    bool m_Reserve(std::size_t capacity) noexcept;

    char* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace TTMLHost

#endif
