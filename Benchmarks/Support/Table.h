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
    // Times in seconds.
    void CompareTimes(const std::string& what, std::optional<double> ours, std::optional<double> reference,
                      const std::string& referenceName, const std::string& note);

    // Bytes beside their limit; more than that makes the run fail.
    void CompareBytes(const std::string& what, std::optional<double> ours, double limit,
                      const std::string& note);

    bool AnyLimitBroken() const { return m_limitBroken; }
    void Print(std::ostream& out) const;

private:
    std::vector<std::array<std::string, 5>> m_lines;
    bool m_limitBroken = false;
};

} // namespace TTMLBench

#endif
