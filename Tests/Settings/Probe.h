#ifndef SETTINGS_TEST_PROBE_H
#define SETTINGS_TEST_PROBE_H

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace TTMLTest {

// Runs settings_probe with these words on the store in `file`; the test fails unless it ends well.
ChildResult RunProbe(const std::string& file, const std::vector<std::string>& words);

// The same where the environment says where the store is.
ChildResult RunProbeAt(const std::vector<std::string>& environment, const std::vector<std::string>& words);

// The lines that it logged, without their time.
std::vector<std::string> LogLines(const ChildResult& result);

} // namespace TTMLTest

#endif
