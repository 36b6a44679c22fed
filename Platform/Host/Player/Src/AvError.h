#ifndef AV_ERROR_H
#define AV_ERROR_H

#include <string>

namespace TTMLHost {

class AvLogCapture;

// One line about a failed libav call: "Cannot <doing> '<input>': <why>; <what to do>". `capture` may add
// what libav itself said.
std::string DescribeAvError(const std::string& doing, const std::string& input, int code,
                            const AvLogCapture& capture);

// The same shape for failures that libav has no code for.
std::string DescribeError(const std::string& doing, const std::string& input, const std::string& why,
                          const std::string& advice);

} // namespace TTMLHost

#endif
