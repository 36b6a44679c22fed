#ifndef TABLE_H
#define TABLE_H

#include <array>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace TTMLBench {

// "12.3 ns", "4.56 us" and so on.
std::string TimeText(double seconds);
// "512 B", "12.3 KiB" and so on.
std::string BytesText(double bytes);

// The lines that are printed at the end: what, our figure, the reference with its name, ratio, note. A line
// with a figure that was not measured is left out.
class Table
{
public:
    // Times in seconds. A ratio above `limit`, where there is one, makes the run fail.
    void CompareTimes(const std::string& what, std::optional<double> ours, std::optional<double> reference,
                      const std::string& referenceName, const std::string& note,
                      std::optional<double> limit = std::nullopt);

    // Bytes beside their limit; more than that makes the run fail.
    void CompareBytes(const std::string& what, std::optional<double> ours, double limit,
                      const std::string& note);

    bool AnyLimitBroken() const { return m_limitBroken; }
    void Print(std::ostream& out) const;

private:
    // The note, led by the word of a broken limit, which is remembered.
    std::string m_Judged(bool broken, const std::string& note);

    std::vector<std::array<std::string, 5>> m_lines;
    bool m_limitBroken = false;
};

} // namespace TTMLBench

#endif
