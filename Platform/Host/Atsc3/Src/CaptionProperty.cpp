#include "CaptionProperty.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace TTMLHost {

namespace {

constexpr char kTtmlCodec[] = "stpp";
constexpr int kHighestByte = 255;

// Without blanks and in lower case.
std::string Plain(const std::string& text)
{
    std::string plain;
    for (const char c : text) {
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
            plain += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return plain;
}

std::vector<std::string> Split(const std::string& text, const char* separators)
{
    std::vector<std::string> parts;
    std::size_t at = 0;
    while (at <= text.size()) {
        const std::size_t end = std::min(text.find_first_of(separators, at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

bool IsTtml(const std::string& codec)
{
    const std::size_t length = sizeof(kTtmlCodec) - 1;
    return codec.compare(0, length, kTtmlCodec) == 0 && (codec.size() == length || codec[length] == '.');
}

// "im1i", and "im2i" of the second edition.
bool IsImageProfile(const std::string& profile)
{
    return profile.size() == 4 && profile.compare(0, 2, "im") == 0 && profile[3] == 'i';
}

bool WantsImages(const std::string& alternative)
{
    const std::vector<std::string> profiles = Split(alternative, "+");
    return std::any_of(profiles.begin(), profiles.end(), IsImageProfile);
}

// 0 to 255.
std::optional<unsigned char> ByteOf(const std::string& text)
{
    if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    const int value = std::stoi(text);
    return value <= kHighestByte ? std::optional<unsigned char>(static_cast<unsigned char>(value))
                                 : std::nullopt;
}

std::optional<unsigned char> FlagOf(const std::string& text)
{
    if (text == "true" || text == "false") {
        return text == "true" ? 1 : 0;
    }
    return ByteOf(text);
}

unsigned char AspectOf(std::string text)
{
    std::replace(text.begin(), text.end(), ':', '-');
    constexpr const char* kAspects[] = {"4-3", "16-9", "21-9"};
    const auto* const found = std::find(std::begin(kAspects), std::end(kAspects), text);
    return found == std::end(kAspects) ? static_cast<unsigned char>(0)
                                       : static_cast<unsigned char>(found - std::begin(kAspects) + 1);
}

} // namespace

bool HasTtmlCodec(const std::string& codecs)
{
    const std::vector<std::string> list = Split(Plain(codecs), ",");
    return std::any_of(list.begin(), list.end(), IsTtml);
}

unsigned char ProfileOfCodecs(const std::string& codecs)
{
    for (const std::string& codec : Split(Plain(codecs), ",")) {
        const std::size_t profiles = codec.rfind('.');
        if (!IsTtml(codec) || profiles == std::string::npos) {
            continue;
        }
        const std::vector<std::string> alternatives = Split(codec.substr(profiles + 1), "|");
        if (std::all_of(alternatives.begin(), alternatives.end(), WantsImages)) {
            return 1;
        }
    }
    return 0;
}

std::optional<unsigned char> RoleOf(const std::string& value)
{
    constexpr const char* kRoles[] = {"main",    "alternate", "supplementary", "commentary", "dub",
                                      "caption", "subtitle",  "description",   "easyreader", "sign"};
    const auto* const found = std::find(std::begin(kRoles), std::end(kRoles), Plain(value));
    if (found == std::end(kRoles)) {
        return std::nullopt;
    }
    return static_cast<unsigned char>(found - std::begin(kRoles));
}

bool ReadCaptionProperty(const std::string& value, TCCaption* caption)
{
    bool hasProfile = false;
    for (const std::string& entry : Split(Plain(value), ",;")) {
        const std::size_t colon = std::min(entry.find(':'), entry.size());
        const std::string key = entry.substr(0, colon);
        const std::string text = colon < entry.size() ? entry.substr(colon + 1) : std::string();
        if (key == "ar") {
            caption->aspect = AspectOf(text);
        } else if (key == "er") {
            caption->easyReader = FlagOf(text).value_or(caption->easyReader);
        } else if (key == "3d") {
            caption->is3D = FlagOf(text).value_or(caption->is3D);
        } else if (key == "profile") {
            const std::optional<unsigned char> profile = ByteOf(text);
            caption->profile = profile.value_or(caption->profile);
            hasProfile = hasProfile || profile.has_value();
        }
    }
    return hasProfile;
}

} // namespace TTMLHost
