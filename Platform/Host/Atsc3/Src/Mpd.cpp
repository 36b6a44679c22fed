#include "Mpd.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>
#include <utility>

#include <pugixml.hpp>

#include "CaptionProperty.h"
#include "InputError.h"
#include "Language.h"
#include "MpdNode.h"
#include "MpdSegments.h"
#include "XmlTime.h"

namespace TTMLHost {

namespace {

constexpr char kRoleScheme[] = "urn:mpeg:dash:role:2011";
constexpr char kReading[] = "read";

// The attribute of the innermost of the nodes that has it.
std::string AttributeOf(std::initializer_list<pugi::xml_node> nodes, const char* name)
{
    for (const pugi::xml_node& node : nodes) {
        if (auto value = TextAttribute(node, name)) {
            return *std::move(value);
        }
    }
    return std::string();
}

// What an element has itself, and not in its children of this name: there may be very many, and what is
// looked for beside each of them must not be looked for among all the others.
class OwnPart
{
public:
    OwnPart(const pugi::xml_node& node, const char* withoutName)
        : m_node(m_document.append_child(node.name()))
    {
        for (const pugi::xml_node& child : node.children()) {
            if (!IsElement(child, withoutName) && !m_node.append_copy(child)) {
                throw std::bad_alloc();
            }
        }
    }

    const pugi::xml_node& Node() const { return m_node; }

private:
    pugi::xml_document m_document;
    pugi::xml_node m_node;
};

// Reads the periods of one MPD.
class PeriodReader
{
public:
    PeriodReader(std::string input, Mpd* mpd)
        : m_input(std::move(input))
        , m_mpd(mpd)
    {}

    void Read(const pugi::xml_node& root)
    {
        const std::vector<pugi::xml_node> nodes = ChildElements(root, "Period");
        const OwnPart own(root, "Period");
        std::optional<std::int64_t> previousEndMs = 0;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const auto startMs = DurationAttribute(nodes[i], "start");
            if (!startMs && !previousEndMs) {
                // An early announcement: nobody knows yet when it begins.
                break;
            }
            MpdPeriod period;
            period.startMs = startMs.value_or(previousEndMs.value_or(0));
            period.endMs = EndOf(nodes, i, period.startMs);
            previousEndMs = period.endMs;
            ReadSets(own.Node(), nodes[i], &period);
            m_mpd->periods.push_back(std::move(period));
        }
        std::stable_sort(m_mpd->periods.begin(), m_mpd->periods.end(),
                         [](const MpdPeriod& a, const MpdPeriod& b) { return a.startMs < b.startMs; });
    }

private:
    std::optional<std::int64_t> EndOf(const std::vector<pugi::xml_node>& nodes, std::size_t index,
                                      std::int64_t startMs) const
    {
        std::optional<std::int64_t> endMs;
        if (index + 1 < nodes.size()) {
            endMs = DurationAttribute(nodes[index + 1], "start");
        }
        if (!endMs) {
            if (const auto durationMs = DurationAttribute(nodes[index], "duration")) {
                std::int64_t sum = 0;
                endMs = __builtin_add_overflow(startMs, *durationMs, &sum) ? std::nullopt
                                                                           : std::optional<std::int64_t>(sum);
            }
        }
        if (!endMs && index + 1 == nodes.size()) {
            endMs = m_mpd->mediaPresentationDurationMs;
        }
        return endMs;
    }

    void ReadSets(const pugi::xml_node& root, const pugi::xml_node& periodNode, MpdPeriod* period)
    {
        const OwnPart own(periodNode, "AdaptationSet");
        for (const pugi::xml_node& set : ChildElements(periodNode, "AdaptationSet")) {
            for (const pugi::xml_node& representation : ChildElements(set, "Representation")) {
                CaptionSet captions;
                if (!MayHoldTtml(set, representation, &captions.certain)) {
                    continue;
                }
                std::string why;
                if (!ReadSegmentAddressing(own.Node(), set, representation, &captions.segments, &why)) {
                    Warn(set, representation, why);
                    continue;
                }
                Describe(set, representation, &captions);
                AddBases({root, own.Node(), set, representation}, &captions);
                period->captions.push_back(std::move(captions));
                break;
            }
        }
    }

    static bool MayHoldTtml(const pugi::xml_node& set, const pugi::xml_node& representation, bool* certain)
    {
        const std::string codecs = AttributeOf({representation, set}, "codecs");
        *certain = HasTtmlCodec(codecs);
        if (*certain || !codecs.empty()) {
            return *certain;
        }
        const std::string content =
            AttributeOf({representation, set, ChildElement(set, "ContentComponent")}, "contentType");
        const std::string mime = AttributeOf({representation, set}, "mimeType");
        return mime == "application/mp4" ? content.empty() || content == "text" || content == "application"
                                         : mime.empty() && content == "text";
    }

    static void Describe(const pugi::xml_node& set, const pugi::xml_node& representation,
                         CaptionSet* captions)
    {
        TCCaption& caption = captions->caption;
        captions->representation = AttributeOf({representation}, "id");
        caption.id = AttributeOf({set}, "id");
        if (caption.id.empty()) {
            caption.id = captions->representation;
        }
        captions->language = AttributeOf({set, ChildElement(set, "ContentComponent")}, "lang");
        caption.languageCode = LanguageCodeOf(LanguageOf(captions->language));
        caption.profile = ProfileOfCodecs(AttributeOf({representation, set}, "codecs"));
        // The innermost level comes last and has the last word.
        for (const pugi::xml_node& level : {set, representation}) {
            for (const pugi::xml_node& node : level.children()) {
                const bool isProperty =
                    IsElement(node, "SupplementalProperty") || IsElement(node, "EssentialProperty");
                const std::string scheme = AttributeOf({node}, "schemeIdUri");
                if (isProperty && scheme == kCaptionPropertyScheme) {
                    ReadCaptionProperty(AttributeOf({node}, "value"), &caption);
                } else if (IsElement(node, "Role") && scheme == kRoleScheme) {
                    caption.role = RoleOf(AttributeOf({node}, "value")).value_or(caption.role);
                }
            }
        }
    }

    static void AddBases(std::initializer_list<pugi::xml_node> levels, CaptionSet* captions)
    {
        for (const pugi::xml_node& level : levels) {
            const std::string base = ChildElement(level, "BaseURL").text().get();
            const std::size_t begin = base.find_first_not_of(" \t\r\n");
            if (begin != std::string::npos) {
                captions->bases.push_back(base.substr(begin, base.find_last_not_of(" \t\r\n") + 1 - begin));
            }
        }
    }

    void Warn(const pugi::xml_node& set, const pugi::xml_node& representation, const std::string& why)
    {
        m_mpd->warnings.push_back(
            DescribeInputFailure("use captions '" + AttributeOf({representation, set}, "id") + "' of",
                                 m_input, why, "mend the MPD; other captions can be used"));
    }

    std::string m_input;
    Mpd* m_mpd;
};

void ReadClock(const pugi::xml_node& root, const std::string& input, Mpd* mpd)
{
    mpd->dynamic = std::strcmp(root.attribute("type").value(), "dynamic") == 0;
    const pugi::xml_attribute start = root.attribute("availabilityStartTime");
    if (!ParseDateTime(start.value(), &mpd->availabilityStartMs) && !start.empty()) {
        mpd->warnings.push_back(
            DescribeInputFailure("use the availabilityStartTime of", input,
                                 "'" + std::string(start.value()).substr(0, 40) + "' is no date and time",
                                 "write it as 2024-05-17T10:30:15Z"));
    }
    for (const auto& [name, value] :
         {std::pair("minimumUpdatePeriod", &mpd->minimumUpdatePeriodMs),
          std::pair("mediaPresentationDuration", &mpd->mediaPresentationDurationMs)}) {
        *value = DurationAttribute(root, name);
    }
    for (const auto& [name, value] :
         {std::pair("suggestedPresentationDelay", &mpd->suggestedPresentationDelayMs),
          std::pair("timeShiftBufferDepth", &mpd->timeShiftBufferDepthMs)}) {
        *value = DurationAttribute(root, name).value_or(0);
    }
    for (const char* const name : {"suggestedPresentationDelay", "minimumUpdatePeriod",
                                   "mediaPresentationDuration", "timeShiftBufferDepth"}) {
        const pugi::xml_attribute attribute = root.attribute(name);
        if (!attribute.empty() && !DurationAttribute(root, name)) {
            mpd->warnings.push_back(
                DescribeInputFailure("use the " + std::string(name) + " of", input,
                                     "'" + std::string(attribute.value()).substr(0, 40) + "' is no duration",
                                     "write it as PT2.5S"));
        }
    }
}

} // namespace

std::optional<Mpd> ReadMpd(const std::string& text, const std::string& input, std::string* error)
{
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
    if (!result) {
        *error = DescribeInputFailure(kReading, input,
                                      std::string("it is no XML (") + result.description() + " at byte " +
                                          std::to_string(result.offset) + ")",
                                      "give the MPD of a service");
        return std::nullopt;
    }
    const pugi::xml_node root = document.document_element();
    if (!IsElement(root, "MPD")) {
        *error = DescribeInputFailure(
            kReading, input, "its document is '" + std::string(root.name()).substr(0, 40) + "' and no MPD",
            "give the MPD of a service");
        return std::nullopt;
    }
    Mpd mpd;
    ReadClock(root, input, &mpd);
    PeriodReader(input, &mpd).Read(root);
    return mpd;
}

} // namespace TTMLHost
