#ifndef LINE_COUNT_H
#define LINE_COUNT_H

#include <optional>
#include <string>

namespace TTMLBench {

// The option with which this program runs a workload and nothing else: --count-lines WORKLOAD COUNT.
constexpr const char* kCountLinesOption = "--count-lines";

// How many lines the library logs for each item of a workload, counted in a process of its own that logs
// everything. None when that process could not be run.
std::optional<double> LinesPerItem(const std::string& workload);

// "4 log lines an event", or what prevented the count.
std::string LinesText(std::optional<double> lines, const char* item);

} // namespace TTMLBench

#endif
