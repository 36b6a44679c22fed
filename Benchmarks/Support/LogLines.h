#ifndef LOG_LINES_H
#define LOG_LINES_H

#include <string>

#include <benchmark/benchmark.h>

#include "Results.h"

namespace TTMLBench {

// Writes log lines as the library's operations do, which begin and end with one each, and nothing else.
void MeasureLogLines(benchmark::State& state);

// How many lines a workload logs for each item, and about what they take where `benchmark`, a run of
// MeasureLogLines(), has told that.
std::string LogLinesNote(const Results& results, const std::string& benchmark, const char* workload,
                         const char* item);

} // namespace TTMLBench

#endif
