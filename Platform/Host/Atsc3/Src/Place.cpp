#include "Place.h"

#include <cstring>
#include <memory>

#include <curl/curl.h>
#include <strings.h>

namespace TTMLHost {

namespace {

constexpr char kFileScheme[] = "file:";

struct UrlCloser
{
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct TextCloser
{
    void operator()(char* text) const { curl_free(text); }
};
using Url = std::unique_ptr<CURLU, UrlCloser>;
using UrlText = std::unique_ptr<char, TextCloser>;

bool HasPrefix(const std::string& text, const char* prefix)
{
    return strncasecmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

// "scheme:" at the front (RFC 3986), where a path has a slash first or none.
bool HasScheme(const std::string& reference)
{
    const std::size_t end = reference.find_first_of(":/?#");
    return end != std::string::npos && end > 0 && reference[end] == ':';
}

std::string PartOf(CURLU* url, CURLUPart part, unsigned flags)
{
    char* text = nullptr;
    const CURLUcode result = curl_url_get(url, part, &text, flags);
    const UrlText owned(text);
    return result == CURLUE_OK && text != nullptr ? std::string(text) : std::string();
}

int DigitOf(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

bool IsWebPlace(const std::string& place)
{
    return HasPrefix(place, "http://") || HasPrefix(place, "https://");
}

std::string PlaceOfInput(const std::string& input)
{
    if (!HasPrefix(input, kFileScheme)) {
        return input;
    }
    const Url url(curl_url());
    if (url != nullptr && curl_url_set(url.get(), CURLUPART_URL, input.c_str(), 0) == CURLUE_OK) {
        std::string path = PartOf(url.get(), CURLUPART_PATH, CURLU_URLDECODE);
        if (!path.empty()) {
            return path;
        }
    }
    // "file:name", as people write it.
    return input.substr(sizeof(kFileScheme) - 1);
}

std::string JoinPlaces(const std::string& base, const std::string& reference)
{
    if (reference.empty() || base.empty()) {
        return base;
    }
    if (!IsWebPlace(base)) {
        if (IsWebPlace(reference)) {
            return reference;
        }
        if (HasPrefix(reference, kFileScheme)) {
            return PlaceOfInput(reference);
        }
        if (HasScheme(reference)) {
            return std::string();
        }
        const std::size_t slash = base.rfind('/');
        return reference.front() == '/' || slash == std::string::npos ? reference
                                                                      : base.substr(0, slash + 1) + reference;
    }
    if (HasScheme(reference)) {
        return IsWebPlace(reference) ? reference : std::string();
    }
    const Url url(curl_url());
    if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK ||
        curl_url_set(url.get(), CURLUPART_URL, reference.c_str(), CURLU_URLENCODE) != CURLUE_OK) {
        return std::string();
    }
    return PartOf(url.get(), CURLUPART_URL, 0);
}

std::string Decoded(const std::string& path)
{
    std::string decoded;
    for (std::size_t at = 0; at < path.size(); ++at) {
        const bool isCode = path[at] == '%' && at + 2 < path.size() && DigitOf(path[at + 1]) >= 0 &&
                            DigitOf(path[at + 2]) >= 0;
        if (isCode) {
            decoded += static_cast<char>(DigitOf(path[at + 1]) * 16 + DigitOf(path[at + 2]));
            at += 2;
        } else {
            decoded += path[at];
        }
    }
    return decoded;
}

} // namespace TTMLHost
