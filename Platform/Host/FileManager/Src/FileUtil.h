#ifndef TTML_HOST_FILE_UTIL_H
#define TTML_HOST_FILE_UTIL_H

#include <string>

#include "FetchError.h"
#include "PlatformFileManager.h"

namespace TTMLHost {

class DocumentBuffer;

// The fetcher behind the boundary. Destroy() deletes it as what it is: a virtual destructor has no slot
// there.
//
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor)
class FileUtil final : public TTML::IFileUtil
{
public:
    FileUtil() = default;

    void Destroy() override;
    char* Fetch(const char* url, const char* userAgent, unsigned long* length) override;
    void ReleaseText(char* text) override;
    void SetRequestHeader(const char* header) override;

private:
    FetchOutcome m_Fetch(const char* url, const char* userAgent, const FetchLimits& limits,
                         DocumentBuffer* document) const;

    std::string m_header;
};

} // namespace TTMLHost

#endif
