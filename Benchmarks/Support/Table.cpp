#include "Table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ostream>

namespace TTMLBench {

namespace {

// Three digits that count.
std::string Scaled(double value, const char* unit)
{
    char text[64];
    const int decimals = std::fabs(value) >= 100.0 ? 0 : (std::fabs(value) >= 10.0 ? 1 : 2);
    (void)std::snprintf(text, sizeof text, "%.*f %s", decimals, value, unit);
    return text;
}

std::string RatioText(double ratio)
{
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.2f", ratio);
    return text;
}

} // namespace

std::string TimeText(double seconds)
{
    if (std::fabs(seconds) < 1e-6) {
        return Scaled(seconds * 1e9, "ns");
    }
    if (std::fabs(seconds) < 1e-3) {
        return Scaled(seconds * 1e6, "us");
    }
    return seconds < 1.0 ? Scaled(seconds * 1e3, "ms") : Scaled(seconds, "s");
}

std::string BytesText(double bytes)
{
    if (std::fabs(bytes) < 1024.0) {
        char text[32];
        (void)std::snprintf(text, sizeof text, "%.0f B", bytes);
        return text;
    }
    if (std::fabs(bytes) < 1024.0 * 1024.0) {
        return Scaled(bytes / 1024.0, "KiB");
    }
    return Scaled(bytes / (1024.0 * 1024.0), "MiB");
}

void Table::CompareTimes(const std::string& what, std::optional<double> ours, std::optional<double> reference,
                         const std::string& referenceName, const std::string& note,
                         std::optional<double> limit)
{
    if (ours && reference) {
        const double ratio = *ours / *reference;
        m_lines.push_back({what, TimeText(*ours), TimeText(*reference) + " " + referenceName,
                           RatioText(ratio), m_Judged(limit && ratio > *limit, note)});
    }
}

void Table::CompareBytes(const std::string& what, std::optional<double> ours, double limit,
                         const std::string& note)
{
    if (ours) {
        m_lines.push_back({what, BytesText(*ours), BytesText(limit) + " allowed",
                           limit > 0.0 ? RatioText(*ours / limit) : "-", m_Judged(*ours > limit, note)});
    }
}

std::string Table::m_Judged(bool broken, const std::string& note)
{
    m_limitBroken = m_limitBroken || broken;
    return broken ? "LIMIT BROKEN; " + note : note;
}

void Table::Print(std::ostream& out) const
{
    std::vector<std::array<std::string, 5>> lines = {{"what", "ours", "reference", "ratio", "note"}};
    lines.insert(lines.end(), m_lines.begin(), m_lines.end());
    std::array<std::size_t, 5> widths{};
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    const auto rule = [&] {
        std::size_t total = 0;
        for (const std::size_t width : widths) {
            total += width + 2;
        }
        return std::string(total - 2, '-');
    };
    for (std::size_t row = 0; row < lines.size(); ++row) {
        const auto& line = lines[row];
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string padding(widths[i] - line[i].size(), ' ');
            // Figures end at the same column, texts begin at the same one.
            const bool figure = i == 1 || i == 3;
            if (i + 1 == line.size()) {
                out << line[i];
            } else {
                out << (figure ? padding + line[i] : line[i] + padding) << "  ";
            }
        }
        out << '\n';
        if (row == 0) {
            out << rule() << '\n';
        }
    }
}

} // namespace TTMLBench
