#include "SegmentStore.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "DocumentBuffer.h"
#include "FetchError.h"
#include "InputError.h"
#include "Place.h"
#include "Transfer.h"

namespace TTMLHost {

namespace {

constexpr char kReading[] = "read";
constexpr long kNotFound = 404;
constexpr long kGone = 410;

class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {}
    ~Descriptor()
    {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};

class Folder
{
public:
    explicit Folder(const std::string& path)
        : m_folder(opendir(path.c_str()))
    {}
    ~Folder()
    {
        if (m_folder != nullptr) {
            closedir(m_folder);
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Null at the end, and when it cannot be read.
    const char* Next()
    {
        const dirent* const entry = m_folder != nullptr ? readdir(m_folder) : nullptr;
        return entry != nullptr ? entry->d_name : nullptr;
    }

private:
    DIR* m_folder;
};

StoredFile Outcome(StoredFile::Kind kind, std::string error)
{
    StoredFile file;
    file.kind = kind;
    file.error = std::move(error);
    return file;
}

StoredFile Interrupted(const std::string& place)
{
    return Outcome(StoredFile::Kind::Interrupted,
                   DescribeInputFailure(kReading, place, "it was interrupted", "start it again"));
}

StoredFile FailedBy(int error, const std::string& path)
{
    const bool notThere = error == ENOENT || error == ENOTDIR;
    return Outcome(notThere ? StoredFile::Kind::NotThere : StoredFile::Kind::Failed,
                   DescribeInputErrno(kReading, path, error));
}

} // namespace

SegmentStore::SegmentStore(const std::string& input)
    : m_mpd(PlaceOfInput(input))
    , m_base(m_mpd)
    , m_isLocal(!IsWebPlace(m_mpd))
{}

StoredFile SegmentStore::FetchMpd()
{
    return FetchPlace(m_mpd);
}

StoredFile SegmentStore::Fetch(const CaptionSet& set, const std::string& reference)
{
    const std::string place = PlaceOf(set, reference);
    if (place.empty()) {
        return Outcome(StoredFile::Kind::Failed,
                       DescribeInputFailure(kReading, reference,
                                            "'" + m_mpd + "' gives it an address that cannot be used",
                                            "use relative references, http or https"));
    }
    StoredFile file = FetchPlace(place);
    if (file.kind == StoredFile::Kind::NotThere && !IsWebPlace(place) && Decoded(place) != place) {
        // References are URLs. A receiver may keep their names as they are, or decode them.
        StoredFile decoded = FetchPlace(Decoded(place));
        return decoded.kind == StoredFile::Kind::NotThere ? file : decoded;
    }
    return file;
}

std::string SegmentStore::PlaceOf(const CaptionSet& set, const std::string& reference) const
{
    std::string place = m_base;
    for (const std::string& base : set.bases) {
        place = JoinPlaces(place, base);
    }
    return JoinPlaces(place, reference);
}

std::optional<std::vector<std::int64_t>> SegmentStore::Numbers(const CaptionSet& set) const
{
    const SegmentTemplate& names = set.segments.media;
    if (set.segments.kind != SegmentAddressing::Kind::Template || !names.HasNumber() || names.HasTime()) {
        return std::nullopt;
    }
    const std::string prefix = names.Folder();
    const std::string example = PlaceOf(set, prefix + "x");
    if (example.empty() || IsWebPlace(example)) {
        return std::nullopt;
    }
    const std::size_t slash = example.rfind('/');
    const std::string path = slash == std::string::npos ? "." : example.substr(0, slash + 1);
    std::vector<std::int64_t> numbers;
    Folder folder(path);
    while (const char* const name = folder.Next()) {
        if (const auto number = names.NumberOf(prefix + name)) {
            numbers.push_back(*number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

void SegmentStore::Interrupt() noexcept
{
    m_interrupted.store(true, std::memory_order_release);
    m_fetches.Abort();
}

StoredFile SegmentStore::FetchPlace(const std::string& place)
{
    return IsWebPlace(place) ? Download(place) : ReadFile(place);
}

StoredFile SegmentStore::ReadFile(const std::string& path) const
{
    // Opening a pipe would wait for a writer.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0) {
        return FailedBy(errno, path);
    }
    if (!S_ISREG(status.st_mode)) {
        return Outcome(StoredFile::Kind::Failed,
                       DescribeInputFailure(kReading, path, "it is not a regular file", "check the path"));
    }
    const unsigned long long most = FetchLimits().maxBytes;
    StoredFile result;
    result.bytes.reserve(static_cast<std::size_t>(
        std::min(static_cast<unsigned long long>(std::max<off_t>(status.st_size, 0)), most)));
    std::array<char, 65536> buffer;
    for (;;) {
        if (m_interrupted.load(std::memory_order_acquire)) {
            return Interrupted(path);
        }
        const ssize_t got = read(file.Get(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return FailedBy(errno, path);
        }
        if (got == 0) {
            result.kind = StoredFile::Kind::Fetched;
            return result;
        }
        if (result.bytes.size() + static_cast<std::size_t>(got) > most) {
            return Outcome(StoredFile::Kind::Failed,
                           DescribeInputFailure(kReading, path,
                                                "it is larger than " + std::to_string(most) + " bytes",
                                                "check that it belongs to captions"));
        }
        result.bytes.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

StoredFile SegmentStore::Download(const std::string& url)
{
    const FetchLimits limits = FetchControl::Instance().Limits();
    DocumentBuffer document;
    FetchOutcome outcome;
    {
        Transfer transfer(url.c_str(), nullptr, nullptr, limits, m_fetches);
        outcome = transfer.Run(&document);
    }
    if (outcome.kind == FetchOutcome::Kind::Fetched) {
        StoredFile file;
        file.kind = StoredFile::Kind::Fetched;
        file.bytes.assign(document.Data() != nullptr ? document.Data() : "", document.Size());
        if (url == m_mpd && !outcome.effectiveUrl.empty()) {
            // What the MPD names is relative to where it really was (RFC 3986, 5.1.3).
            m_base = outcome.effectiveUrl;
        }
        return file;
    }
    if (outcome.kind == FetchOutcome::Kind::Aborted) {
        return Interrupted(url);
    }
    const bool notThere = outcome.status == kNotFound || outcome.status == kGone;
    return Outcome(notThere ? StoredFile::Kind::NotThere : StoredFile::Kind::Failed,
                   DescribeFailure(url.c_str(), outcome, limits));
}

} // namespace TTMLHost
