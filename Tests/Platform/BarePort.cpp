// A port without abilities: the suite asks the platform what can be asked without them. Copy it, and give the
// abilities of PortUnderTest.h one by one.

#include "PortUnderTest.h"

namespace {

class BarePort : public PortTest::PortUnderTest
{
public:
    std::string Name() const override { return "bare"; }
};

} // namespace

std::unique_ptr<PortTest::PortUnderTest> PortTest::CreatePortUnderTest()
{
    return std::make_unique<BarePort>();
}
