#ifndef FAILING_ALLOCATION_H
#define FAILING_ALLOCATION_H

namespace TTMLTest {

// Makes one allocation of this thread with operator new fail, the libraries' included: number `number`, from
// 1, of those while the object lives. One at a time in a thread.
class FailingAllocation
{
public:
    explicit FailingAllocation(unsigned int number);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // Whether that many allocations came.
    bool Failed() const;
};

} // namespace TTMLTest

#endif
