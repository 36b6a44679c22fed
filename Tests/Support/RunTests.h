#ifndef RUN_TESTS_H
#define RUN_TESTS_H

namespace TTMLTest {

// Runs the tests of an executable on the scripted platform, once GoogleTest has its arguments. Returns
// main()'s result.
int RunTests();

} // namespace TTMLTest

#endif
