#include "Results.h"

#include <algorithm>
#include <cstddef>

namespace TTMLBench {

std::optional<double> Results::Time(const std::string& benchmark, double items) const
{
    std::optional<double> time = m_Median({benchmark, ""});
    if (time) {
        *time /= items;
    }
    return time;
}

std::optional<double> Results::Counter(const std::string& benchmark, const std::string& counter) const
{
    return m_Median({benchmark, counter});
}

bool Results::ReportContext(const Context& /*context*/)
{
    return true;
}

void Results::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        if (run.error_occurred) {
            m_errors.push_back(name + ": " + run.error_message);
            continue;
        }
        if (run.run_type != Run::RT_Iteration || run.iterations == 0) {
            continue;
        }
        // What one thread does alone is told by its processor time, which other programs disturb less.
        const bool alone = run.run_name.time_type.empty();
        const double time = alone ? run.cpu_accumulated_time : run.real_accumulated_time;
        m_values[{name, ""}].push_back(time / static_cast<double>(run.iterations));
        for (const auto& [counter, value] : run.counters) {
            m_values[{name, counter}].push_back(value.value);
        }
    }
}

std::optional<double> Results::m_Median(const Key& key) const
{
    const auto found = m_values.find(key);
    if (found == m_values.end()) {
        return std::nullopt;
    }
    std::vector<double> values = found->second;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

} // namespace TTMLBench
