#include "FileSource.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "InputError.h"

namespace TTMLHost {

FileSource::FileSource(std::string input, int descriptor)
    : m_input(std::move(input))
    , m_descriptor(descriptor)
    , m_buffer(new unsigned char[kBufferSize])
{
    struct stat status = {};
    m_waits = fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode);
    if (!m_waits) {
        // Only a hint.
        posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
}

FileSource::~FileSource()
{
    if (m_descriptor != STDIN_FILENO) {
        close(m_descriptor);
    }
}

std::unique_ptr<FileSource> FileSource::Open(const std::string& input, std::string* error)
{
    // Opening a pipe that nobody writes to yet must not wait: nobody could interrupt that.
    const int descriptor =
        input == "-" ? STDIN_FILENO : open(input.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0) {
        *error = DescribeInputErrno("open", input, errno);
        return nullptr;
    }
    auto source = std::make_unique<FileSource>(input, descriptor);
    if (S_ISDIR(status.st_mode)) {
        *error = DescribeInputErrno("open", input, EISDIR);
        return nullptr;
    }
    return source;
}

bool FileSource::Read(ByteSpan* batch, std::string* error)
{
    *batch = {};
    error->clear();
    if (m_wake.IsRaised()) {
        return false;
    }
    if (m_waits) {
        switch (m_wake.WaitForInput(m_descriptor, kPatienceMs)) {
        case WakeEvent::Outcome::Ready:
            break;
        case WakeEvent::Outcome::Nothing:
            return true;
        case WakeEvent::Outcome::Raised:
            return false;
        case WakeEvent::Outcome::Failed:
            *error = DescribeInputErrno("read", m_input, errno);
            return false;
        }
    }
    const ssize_t got = read(m_descriptor, m_buffer.get(), kBufferSize);
    if (got > 0) {
        *batch = {m_buffer.get(), static_cast<std::size_t>(got)};
        return true;
    }
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
        return true;
    }
    if (got < 0) {
        *error = DescribeInputErrno("read", m_input, errno);
    }
    return false;
}

} // namespace TTMLHost
