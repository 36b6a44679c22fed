#ifndef RESULTS_H
#define RESULTS_H

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace TTMLBench {

// Collects what the benchmarks measured. A figure is the median of a benchmark's repetitions; there is none
// for a benchmark that was not run.
class Results : public benchmark::BenchmarkReporter
{
public:
    // Time of one iteration in seconds, divided by the `items` that an iteration handles: the time that
    // passed for a benchmark with UseRealTime() or UseManualTime(), else the thread's processor time.
    std::optional<double> Time(const std::string& benchmark, double items = 1.0) const;
    std::optional<double> Counter(const std::string& benchmark, const std::string& counter) const;

    // One line for each benchmark that failed.
    const std::vector<std::string>& Errors() const { return m_errors; }

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

private:
    // Benchmark and counter; the time's counter name is empty.
    using Key = std::pair<std::string, std::string>;

    std::optional<double> m_Median(const Key& key) const;

    std::map<Key, std::vector<double>> m_values;
    std::vector<std::string> m_errors;
};

} // namespace TTMLBench

#endif
