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

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Death tests run in a process of their own, whatever threads this one has.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    ::testing::UnitTest::GetInstance()->listeners().Append(new PlatformKeeper);
    return RUN_ALL_TESTS();
}
