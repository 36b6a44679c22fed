#ifndef BOX_READER_H
#define BOX_READER_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace TTMLHost {

// One box of an ISO base media file (ISO/IEC 14496-12), within what is there of it.
struct Box
{
    std::string_view type; // four characters
    std::string_view body;
    std::size_t offset = 0; // of the box in what it is read from
    std::size_t header = 0; // bytes before the body
    bool cut = false;       // it says that it is longer than what it is in
    bool open = false;      // it says that it goes on to the end of the file
};

// Reads the boxes of a text of bytes one after another. A size that cannot be ends the walk.
class BoxReader
{
public:
    explicit BoxReader(std::string_view bytes)
        : m_bytes(bytes)
    {}

    // Nothing at the end and where no box can be.
    std::optional<Box> Next();
    // What is behind the last box is none: too short, or with a size that is smaller than a box.
    bool Broken() const { return m_broken; }

private:
    std::string_view m_bytes;
    std::size_t m_at = 0;
    bool m_broken = false;
};

// The first box of the type.
std::optional<Box> FindBox(std::string_view bytes, std::string_view type);
// The first one of the last type in the first one of the type before it, and so on.
std::optional<Box> FindBox(std::string_view bytes, std::initializer_list<std::string_view> path);

// Takes numbers, most significant byte first, from the front of a box's body. Once there is too little left
// all further ones are 0.
class FieldReader
{
public:
    explicit FieldReader(std::string_view bytes)
        : m_rest(bytes)
    {}

    std::uint64_t Take(std::size_t bytes);
    void Skip(std::size_t bytes);
    std::size_t Left() const { return m_rest.size(); }
    bool Short() const { return m_short; }

private:
    std::string_view m_rest;
    bool m_short = false;
};

} // namespace TTMLHost

#endif
