#include <iostream>

#include <gtest/gtest.h>

#include "PortUnderTest.h"

namespace {

std::unique_ptr<PortTest::PortUnderTest> g_port;

class PortKeeper : public ::testing::EmptyTestEventListener
{
    void OnTestStart(const ::testing::TestInfo& /*test*/) override { g_port->Reset(); }
    void OnTestEnd(const ::testing::TestInfo& /*test*/) override { g_port->Reset(); }
};

} // namespace

PortTest::PortUnderTest& PortTest::Port()
{
    return *g_port;
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    // Death tests run in a process of their own, whatever threads this one has.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    g_port = PortTest::CreatePortUnderTest();
    if (g_port == nullptr) {
        std::cerr << "CreatePortUnderTest() gave no port\n";
        return 2;
    }
    ::testing::UnitTest::GetInstance()->listeners().Append(new PortKeeper);
    const int result = RUN_ALL_TESTS();
    g_port.reset();
    return result;
}
