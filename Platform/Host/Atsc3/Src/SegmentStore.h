#ifndef SEGMENT_STORE_H
#define SEGMENT_STORE_H

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FetchControl.h"
#include "Mpd.h"

namespace TTMLHost {

// What came of a file that was asked for.
struct StoredFile
{
    enum class Kind
    {
        Fetched,
        NotThere, // it may still come
        Interrupted,
        Failed
    };

    Kind kind = Kind::Failed;
    std::string bytes;
    std::string error; // one line unless it was fetched
};

// The files of a service: an MPD, and what its references name, in folders or on HTTP(S) servers. One thread
// uses it; Interrupt() may be called by any other.
class SegmentStore
{
public:
    // `input`: a path, or a URL of http, https or file.
    explicit SegmentStore(const std::string& input);

    // Whether the MPD is a file. One that is not leads to no files of this machine.
    bool IsLocal() const { return m_isLocal; }

    StoredFile FetchMpd();
    // What a reference of a caption set names: relative to the MPD and the set's base URLs.
    StoredFile Fetch(const CaptionSet& set, const std::string& reference);
    // Where that is.
    std::string PlaceOf(const CaptionSet& set, const std::string& reference) const;

    // The numbers, in order, of the media segments that are there; nothing when nobody can tell: on a server,
    // or when the names hold no number.
    std::optional<std::vector<std::int64_t>> Numbers(const CaptionSet& set) const;

    // Ends a fetch under way and each later one.
    void Interrupt() noexcept;

private:
    StoredFile FetchPlace(const std::string& place);
    StoredFile ReadFile(const std::string& path) const;
    StoredFile Download(const std::string& url);

    const std::string m_mpd; // path or URL
    std::string m_base;      // what references are relative to
    const bool m_isLocal;
    std::atomic<bool> m_interrupted{false};
    FetchControl m_fetches;
};

} // namespace TTMLHost

#endif
