#ifndef INPUT_ERROR_H
#define INPUT_ERROR_H

#include <string>

namespace TTMLHost {

// One line about an input: what was being done ("open"), why it failed, and what to do.
std::string DescribeInputFailure(const std::string& doing, const std::string& input, const std::string& why,
                                 const std::string& advice);

// The same from a number of errno.
std::string DescribeInputErrno(const std::string& doing, const std::string& input, int error);

} // namespace TTMLHost

#endif
