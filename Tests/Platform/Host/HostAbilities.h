#ifndef HOST_ABILITIES_H
#define HOST_ABILITIES_H

// What the Linux platform gives the suite for ports beyond a few lines.

#include <memory>

#include "PortUnderTest.h"

namespace PortTest {

std::unique_ptr<MediaControl> MakeHostMedia();

class HostTelevision : public TelevisionControl
{
public:
    // Nothing is tuned, and the TV service lives, after the return.
    virtual void Reset() = 0;
};

std::unique_ptr<HostTelevision> MakeHostTelevision();

} // namespace PortTest

#endif
