#ifndef STREAM_FILE_H
#define STREAM_FILE_H

#include <cstddef>
#include <string>

namespace TTMLBench {

// A transport stream of StreamMaker's in a file that has no name any more, so that it goes with this process
// whatever happens. Just written, it is in the page cache.
class StreamFile
{
public:
    // Makes `bytes` bytes or the rest of a picture more. Throws std::system_error when there is no room.
    explicit StreamFile(std::size_t bytes);
    ~StreamFile();
    StreamFile(const StreamFile&) = delete;
    StreamFile& operator=(const StreamFile&) = delete;

    // Under which this process and its children open the file.
    std::string Path() const;

    std::size_t Packets() const { return m_packets; }
    std::size_t Documents() const { return m_documents; }
    // Bytes of the PES packets with the documents, without their headers.
    std::size_t DataFieldBytes() const { return m_dataFieldBytes; }

private:
    int m_descriptor;
    std::size_t m_packets = 0;
    std::size_t m_documents = 0;
    std::size_t m_dataFieldBytes = 0;
};

} // namespace TTMLBench

#endif
