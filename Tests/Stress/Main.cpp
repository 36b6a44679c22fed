// stress_tests [GoogleTest's options] [--seed N] [--seconds N] [--sources N]

#include <cstdio>

#include <gtest/gtest.h>

#include "Options.h"
#include "RunTests.h"
#include "Stacks.h"

// Read by ThreadSanitizer, where it is linked in: the first race ends the run, whoever started it.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
const char* __tsan_default_options()
{
    return "halt_on_error=1:second_deadlock_stack=1";
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    const std::string problem = TTMLTest::ReadOptions({argv + 1, argv + argc});
    if (!problem.empty()) {
        std::fprintf(stderr, "stress_tests: %s; it takes --seed N, --seconds N and --sources N\n",
                     problem.c_str());
        return 2;
    }
    TTMLTest::PrepareStacks();
    std::printf("seed %llu\n", static_cast<unsigned long long>(TTMLTest::TheOptions().seed));
    // A hung run shows its seed too.
    std::fflush(stdout);
    return TTMLTest::RunTests();
}
