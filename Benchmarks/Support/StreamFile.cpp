#include "StreamFile.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "StreamMaker.h"
#include "TemporaryFolder.h"

namespace TTMLBench {

namespace {

// Written at once.
constexpr std::size_t kPicturesAtOnce = 64;

[[noreturn]] void Fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(),
                            what + " a stream in " + TemporaryPlace() + " (TMPDIR names another place)");
}

int CreateNameless()
{
    std::string path = TemporaryPlace() + "/ttml-bench-XXXXXX";
    const int descriptor = mkostemp(path.data(), 0);
    if (descriptor < 0 || unlink(path.c_str()) != 0) {
        Fail("making");
    }
    return descriptor;
}

void WriteAll(int descriptor, const std::vector<unsigned char>& bytes)
{
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR) {
            Fail("writing");
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

} // namespace

StreamFile::StreamFile(std::size_t bytes)
    : m_descriptor(CreateNameless())
{
    StreamMaker maker;
    std::vector<unsigned char> block;
    block.reserve(kPicturesAtOnce * StreamMaker::kPictureBytes);
    std::size_t made = 0;
    while (made < bytes) {
        const std::vector<unsigned char>& picture = maker.Next();
        block.insert(block.end(), picture.begin(), picture.end());
        made += picture.size();
        if (made >= bytes || block.size() + picture.size() > block.capacity()) {
            WriteAll(m_descriptor, block);
            block.clear();
        }
    }
    // What the system would write out later must not fall into what is measured.
    if (fdatasync(m_descriptor) != 0) {
        Fail("writing out");
    }
    m_packets = made / StreamMaker::kPacketBytes;
    m_documents = maker.Documents();
    m_dataFieldBytes = maker.DataFieldBytes();
}

StreamFile::~StreamFile()
{
    close(m_descriptor);
}

std::string StreamFile::Path() const
{
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_descriptor);
}

} // namespace TTMLBench
