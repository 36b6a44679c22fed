#include "LogLines.h"

#include <optional>

#include "LineCount.h"
#include "Log.h"
#include "Table.h"

namespace TTMLBench {

namespace {

constexpr int kOperations = 5;
constexpr int kLines = 3 * kOperations;

} // namespace

void MeasureLogLines(benchmark::State& state)
{
    for (auto _ : state) {
        for (int i = 0; i < kOperations; ++i) {
            TTML_LOG_SCOPE();
            TTML_LOGI("index[%d]", i);
        }
    }
}

std::string LogLinesNote(const Results& results, const std::string& benchmark, const char* workload,
                         const char* item)
{
    const std::optional<double> lines = LinesPerItem(workload);
    const std::optional<double> line = results.Time(benchmark, kLines);
    return LinesText(lines, item) + (lines && line ? ", about " + TimeText(*lines * *line) : std::string());
}

} // namespace TTMLBench
