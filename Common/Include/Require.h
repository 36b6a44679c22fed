#ifndef REQUIRE_H
#define REQUIRE_H

extern "C" {
// The C library's own way to stop on a failed assertion. <cassert> hides it in builds with NDEBUG, in
// which the process has to stop just the same.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
__attribute__((noreturn)) void __assert_fail(const char* expression, const char* file, unsigned int line,
                                             const char* function) noexcept;
}

namespace TTML {

// Stops the process with the system's assertion message when `condition` is false, in every build type.
// The texts are given literally so that the message is the same whatever the compiler calls the function
// and wherever the tree was built; `file` is relative to the repository's root.
inline void Require(bool condition, const char* expression, const char* file, unsigned int line,
                    const char* function)
{
    if (!condition) {
        __assert_fail(expression, file, line, function);
    }
}

} // namespace TTML

#endif
