#ifndef RESOLVER_GATE_H
#define RESOLVER_GATE_H

namespace TTMLTest {

// Name resolution of this process, as the tests want it: names that end in ".invalid" have no address, at
// once and without a name server; "stalled.test" is looked up until the gate goes. Other names are resolved
// as usual.
class ResolverGate
{
public:
    // Looking up "stalled.test" waits while a gate lives. One at a time.
    ResolverGate();
    // Lets the look-ups end, and waits until they have.
    ~ResolverGate();
    ResolverGate(const ResolverGate&) = delete;
    ResolverGate& operator=(const ResolverGate&) = delete;

    // Waits until a look-up waits; a time-out is a failure.
    bool WaitForLookUp() const;
};

} // namespace TTMLTest

#endif
