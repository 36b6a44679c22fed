#include "FileUtil.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <strings.h>
#include <sys/stat.h>

#include <curl/curl.h>

#include "DocumentBuffer.h"
#include "FetchControl.h"
#include "HostLog.h"
#include "Transfer.h"
#include "Utf16.h"

namespace TTMLHost {

namespace {

constexpr const char* kFileScheme = "file:";
constexpr const char* kSchemes[] = {"http://", "https://", kFileScheme};

bool HasScheme(const char* url, const char* scheme)
{
    return strncasecmp(url, scheme, std::strlen(scheme)) == 0;
}

// The library would take "example.org" for an HTTP URL, and a path for a host name.
bool IsFetchable(const char* url)
{
    for (const char* scheme : kSchemes) {
        if (HasScheme(url, scheme)) {
            return true;
        }
    }
    return false;
}

// One header and one user agent are asked for; a line end would smuggle in further headers.
bool HasControlCharacter(const char* text)
{
    for (const char* c = text; *c != '\0'; ++c) {
        const auto code = static_cast<unsigned char>(*c);
        if ((code < 0x20 && code != '\t') || code == 0x7f) {
            return true;
        }
    }
    return false;
}

void Warn(const char* text)
{
    (void)__dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_WARNING, kHostLogTag, "%s", text);
}

struct UrlCloser
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct CurlTextCloser
{
    void operator()(char* text) const { curl_free(text); }
};

// Looks at a file before it is opened: opening a pipe waits for a writer, and no abort would end that.
FetchOutcome CheckFile(const char* url)
{
    FetchOutcome outcome;
    const std::unique_ptr<CURLU, UrlCloser> parsed(curl_url());
    if (parsed == nullptr) {
        outcome.kind = FetchOutcome::Kind::NoMemory;
        return outcome;
    }
    char* path = nullptr;
    CURLUcode result = curl_url_set(parsed.get(), CURLUPART_URL, url, 0);
    if (result == CURLUE_OK) {
        result = curl_url_get(parsed.get(), CURLUPART_PATH, &path, CURLU_URLDECODE);
    }
    const std::unique_ptr<char, CurlTextCloser> owned(path);
    if (result == CURLUE_OUT_OF_MEMORY) {
        outcome.kind = FetchOutcome::Kind::NoMemory;
    } else if (result != CURLUE_OK) {
        outcome.kind = FetchOutcome::Kind::BadUrl;
        outcome.detail = curl_url_strerror(result);
    } else {
        struct stat file = {};
        if (stat(path, &file) != 0) {
            outcome.kind = FetchOutcome::Kind::BadFile;
            char text[256];
            outcome.detail = strerror_r(errno, text, sizeof text);
        } else if (!S_ISREG(file.st_mode)) {
            outcome.kind = FetchOutcome::Kind::BadFile;
            outcome.detail = "not a regular file";
        }
    }
    return outcome;
}

} // namespace

void FileUtil::Destroy()
{
    delete this;
}

char* FileUtil::Fetch(const char* url, const char* userAgent, unsigned long* length)
{
    if (length != nullptr) {
        *length = 0;
    }
    try {
        FetchControl& control = FetchControl::Instance();
        const FetchLimits limits = control.Limits();
        DocumentBuffer document;
        FetchOutcome outcome = m_Fetch(url, userAgent, limits, &document);
        if (outcome.kind == FetchOutcome::Kind::Fetched) {
            const std::size_t size = document.Size();
            char* text = document.Release();
            if (text != nullptr) {
                if (length != nullptr) {
                    *length = static_cast<unsigned long>(size);
                }
                return text;
            }
            outcome.kind = FetchOutcome::Kind::NoMemory;
        }
        const std::string line = DescribeFailure(url, outcome, limits);
        control.SetLastError(line);
        Warn(line.c_str());
    } catch (...) {
        // Only a failed allocation comes here, perhaps of the line itself.
        FetchControl::Instance().SetLastErrorToNoMemory();
        Warn("Could not fetch a document: out of memory; free memory or fetch a smaller document");
    }
    return nullptr;
}

FetchOutcome FileUtil::m_Fetch(const char* url, const char* userAgent, const FetchLimits& limits,
                               DocumentBuffer* document) const
{
    FetchOutcome outcome;
    if (url == nullptr || !IsFetchable(url)) {
        outcome.kind = FetchOutcome::Kind::BadUrl;
        return outcome;
    }
    if (HasScheme(url, kFileScheme)) {
        outcome = CheckFile(url);
        if (outcome.kind != FetchOutcome::Kind::Fetched) {
            return outcome;
        }
    }
    if (userAgent != nullptr && HasControlCharacter(userAgent)) {
        Warn("The user agent holds a control character and is not sent");
        userAgent = nullptr;
    }
    {
        Transfer transfer(url, userAgent, m_header.c_str(), limits);
        outcome = transfer.Run(document);
    }
    if (outcome.kind == FetchOutcome::Kind::Fetched) {
        switch (ConvertUtf16(document)) {
        case TextConversion::NotNeeded:
        case TextConversion::Done:
            break;
        case TextConversion::Invalid:
            outcome.kind = FetchOutcome::Kind::BadUtf16;
            break;
        case TextConversion::NoMemory:
            outcome.kind = FetchOutcome::Kind::NoMemory;
            break;
        case TextConversion::Unavailable:
            outcome.kind = FetchOutcome::Kind::NoConverter;
            break;
        }
    }
    return outcome;
}

void FileUtil::ReleaseText(char* text)
{
    std::free(text);
}

void FileUtil::SetRequestHeader(const char* header)
{
    m_header.clear();
    if (header == nullptr) {
        return;
    }
    if (HasControlCharacter(header)) {
        Warn("The request header holds a control character and is not sent");
        return;
    }
    try {
        m_header = header;
    } catch (...) {
        m_header.clear();
        Warn("No memory for the request header; it is not sent");
    }
}

} // namespace TTMLHost

namespace TTML {

IFileUtil* IFileUtil::Create()
{
    return new (std::nothrow) TTMLHost::FileUtil;
}

} // namespace TTML
