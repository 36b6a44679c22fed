#include "RunTests.h"

#include <gtest/gtest.h>

#include "ScriptedPlatform.h"

namespace {

// Gives every test a fresh platform and looks after it at the end.
class PlatformKeeper : public ::testing::EmptyTestEventListener
{
    void OnTestStart(const ::testing::TestInfo& /*test*/) override { TTMLTest::ScriptedPlatform::Reset(); }
    void OnTestEnd(const ::testing::TestInfo& /*test*/) override { TTMLTest::ScriptedPlatform::Verify(); }
};

} // namespace

// Read by LeakSanitizer, where it is linked in. The DVB source leaves its packet parser behind by design; the
// programs under test.sh are told the same by Tests/leaks.supp.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions()
{
    return "leak:TTML::CDVBSource::CDVBSource\n";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_options();
const char* __lsan_default_options()
{
    return "print_suppressions=0";
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

namespace TTMLTest {

int RunTests()
{
    // Death tests run in a process of their own, whatever threads this one has.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::testing::UnitTest::GetInstance()->listeners().Append(new PlatformKeeper);
    return RUN_ALL_TESTS();
}

} // namespace TTMLTest
