#include "TextPrinter.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "DocumentText.h"
#include "Duration.h"
#include "TTMLCallback.h"
#include "Utf8.h"

namespace TTMLClient {

namespace {

constexpr std::size_t kThreadColumns = 8;
constexpr std::size_t kNoticeColumns = 15;
constexpr std::size_t kMediaColumns = 12;
constexpr std::size_t kTimingColumns = 32;

// Columns of the text where no terminal limits the line, and the fewest it gets on a narrow one.
constexpr std::size_t kTextColumns = 72;
constexpr std::size_t kNarrowestText = 20;

// Values of TTML::TTMLRawDataInfo::dataType.
constexpr int kImsc1 = 0;
constexpr int kImsc1Image = 1;
constexpr int kEbuTtD = 2;

const char* const kPlain = "\033[0m";
const char* const kDim = "\033[2m";

std::string Padded(const std::string& text, std::size_t columns)
{
    return text.size() < columns ? text + std::string(columns - text.size(), ' ') : text;
}

std::string WallTime(long long ms)
{
    std::array<char, 40> text{};
    (void)std::snprintf(text.data(), text.size(), "%6lld.%03lld", ms / 1000, ms % 1000);
    return text.data();
}

std::string Size(std::size_t bytes)
{
    std::array<char, 40> text{};
    if (bytes < 1024) {
        (void)std::snprintf(text.data(), text.size(), "%zu B", bytes);
    } else if (bytes < 1024UL * 1024UL) {
        (void)std::snprintf(text.data(), text.size(), "%.1f KB", static_cast<double>(bytes) / 1024);
    } else {
        (void)std::snprintf(text.data(), text.size(), "%.1f MB", static_cast<double>(bytes) / 1024 / 1024);
    }
    return text.data();
}

// What a document without a time of its own is, as far as the source says so.
std::string Document(const TTML::TTMLRawDataInfo& data)
{
    const char* kind = "document";
    if (data.dataType == kImsc1) {
        kind = "IMSC1 document";
    } else if (data.dataType == kImsc1Image) {
        kind = "IMSC1 image document";
    } else if (data.dataType == kEbuTtD) {
        kind = "EBU-TT-D document";
    }
    return kind + (", " + Size(data.data.size()));
}

std::string Timing(const Event& event)
{
    if (event.code == TTML::CALLBACK_STARTED) {
        return event.inBand ? "in band" : "out of band";
    }
    if (event.code == TTML::CALLBACK_SEEK_STARTED) {
        return "to " + ClockTime(event.positionMs);
    }
    if (event.code != TTML::CALLBACK_DATA || event.data == nullptr) {
        return {};
    }
    const TTML::TTMLRawDataInfo& data = *event.data;
    if (data.segStartTimeMs != 0 || data.segEndTimeMs != 0) {
        return "#" + std::to_string(data.index) + " " + ClockTime(data.segStartTimeMs) + " - " +
               ClockTime(data.segEndTimeMs);
    }
    // What was fetched or broadcast comes on other threads than samples do, without a time of its own.
    if (event.thread != "Inband") {
        return Document(data);
    }
    return "#" + std::to_string(data.index) + " at " + ClockTime(data.timestamp);
}

std::string Text(const Event& event)
{
    if (event.code == TTML::CALLBACK_FONTS_ERROR) {
        std::string names;
        for (const std::string& name : event.fonts) {
            names += names.empty() ? name : ", " + name;
        }
        return names;
    }
    if (event.code != TTML::CALLBACK_DATA || event.data == nullptr) {
        return {};
    }
    std::string text = FirstText(event.data->data);
    if (text.empty()) {
        text = event.data->data.empty() ? "(empty)" : "(no text)";
    }
    if (!event.data->secondaryData.empty()) {
        text = "[image " + Size(event.data->secondaryData.size()) + "] " + text;
    }
    if (event.hidden) {
        text = "[hidden] " + text;
    }
    return text;
}

const char* Colour(const Event& event)
{
    switch (event.code) {
    case TTML::CALLBACK_DATA:
        return event.hidden ? kDim : "\033[32m";
    case TTML::CALLBACK_STARTED:
    case TTML::CALLBACK_RESUMED:
    case TTML::CALLBACK_SHOW:
        return "\033[36m";
    case TTML::CALLBACK_FONTS_ERROR:
        return "\033[31m";
    default:
        return "\033[33m";
    }
}

} // namespace

TextPrinter::TextPrinter(std::ostream& out, const TextLayout& layout)
    : m_out(out)
    , m_layout(layout)
{}

bool TextPrinter::Print(const Event& event)
{
    const char* const dim = m_layout.colours ? kDim : "";
    const char* const colour = m_layout.colours ? Colour(event) : "";
    const char* const plain = m_layout.colours ? kPlain : "";
    const std::string media = event.mediaTimeMs ? ClockTime(*event.mediaTimeMs) : "-";

    const std::string when = WallTime(event.wallMs) + "  " + Padded(event.thread, kThreadColumns) + "  ";
    const std::string notice = Padded(EventName(event.code), kNoticeColumns);
    const std::string timing =
        "  " + Padded(media, kMediaColumns) + "  " + Padded(Timing(event), kTimingColumns);

    std::size_t columns = kTextColumns;
    if (m_layout.columns != 0) {
        const std::size_t used = when.size() + notice.size() + timing.size() + 2;
        columns = m_layout.columns > used + kNarrowestText ? m_layout.columns - used : kNarrowestText;
    }
    const std::string text = FitColumns(Text(event), columns);

    std::string tail = timing + "  " + text;
    tail.resize(tail.find_last_not_of(' ') + 1);
    m_out << dim + when + plain + colour + notice + plain + tail + "\n";
    m_out.flush();
    return m_out.good();
}

} // namespace TTMLClient
