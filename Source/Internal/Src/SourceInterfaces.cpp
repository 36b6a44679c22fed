// The interfaces' destructors: defined here so that each interface has one vtable, in this library.

#include "ITTMLSource.h"
#include "ITTMLSourceControl.h"

namespace TTML {

ITTMLSource::~ITTMLSource() = default;
ITTMLSourceControl::~ITTMLSourceControl() = default;

} // namespace TTML
