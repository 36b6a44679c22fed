#ifndef FAULT_WALK_H
#define FAULT_WALK_H

#include <string>

#include <gtest/gtest.h>

#include "FaultInjection.h"

namespace TTMLTest {

// Calls `attempt` with 1, 2, ... until it answers that nothing failed: each call of a kind fails once, in
// turn. Ends at the first failure of the test too. Returns how many failed.
template <class Attempt>
unsigned int WalkFaults(const Attempt& attempt)
{
    unsigned int number = 1;
    for (; !::testing::Test::HasFailure(); ++number) {
        SCOPED_TRACE("fault number " + std::to_string(number));
        if (!attempt(number)) {
            break;
        }
    }
    return number - 1;
}

} // namespace TTMLTest

#endif
