#include "Probe.h"

#include <gtest/gtest.h>

#include "CaptureStderr.h"

namespace TTMLTest {

ChildResult RunProbe(const std::string& file, const std::vector<std::string>& words)
{
    return RunProbeAt({"TTML_SETTINGS=" + file}, words);
}

ChildResult RunProbeAt(const std::vector<std::string>& environment, const std::vector<std::string>& words)
{
    std::vector<std::string> arguments = {TTML_TEST_SETTINGS_PROBE};
    arguments.insert(arguments.end(), words.begin(), words.end());
    ChildResult result = RunChild(arguments, environment);
    EXPECT_EQ(result.status, 0) << result.out << result.error;
    return result;
}

std::vector<std::string> LogLines(const ChildResult& result)
{
    std::vector<std::string> lines;
    for (const std::string& line : SplitLines(result.error)) {
        lines.push_back(WithoutTime(line));
    }
    return lines;
}

} // namespace TTMLTest
