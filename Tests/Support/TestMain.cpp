#include <gtest/gtest.h>

#include "RunTests.h"

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    return TTMLTest::RunTests();
}
