#ifndef FILE_SOURCE_H
#define FILE_SOURCE_H

#include <memory>

#include "PacketSource.h"
#include "WakeEvent.h"

namespace TTMLHost {

// A file, a pipe or standard input.
class FileSource : public PacketSource
{
public:
    // Takes `descriptor` over; standard input stays open.
    FileSource(std::string input, int descriptor);
    ~FileSource() override;

    static std::unique_ptr<FileSource> Open(const std::string& input, std::string* error);

    bool Read(ByteSpan* batch, std::string* error) override;
    void Interrupt() override { m_wake.Raise(); }
    bool IsLive() const override { return false; }

    // Fits into the second-level cache, from where the packets' headers are looked at right after the read.
    static constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

private:
    const std::string m_input;
    const int m_descriptor;
    bool m_waits = false; // a read of it may have to wait for another program
    const std::unique_ptr<unsigned char[]> m_buffer;
    WakeEvent m_wake;
};

} // namespace TTMLHost

#endif
