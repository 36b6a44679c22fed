#ifndef VTABLE_SLOT_H
#define VTABLE_SLOT_H

#include <cstddef>
#include <cstring>

namespace TTMLTest {

constexpr std::size_t kNotVirtual = static_cast<std::size_t>(-1);

// The number of the virtual table slot that a pointer to a virtual member function stands for.
//
// In the Itanium C++ ABI such a pointer is two words. The first holds the function's offset in the virtual
// table and the second the adjustment of `this`; that it is an offset and not an address is marked in the
// lowest bit of the first word, on ARM in the lowest bit of the second.
template <class Function>
std::size_t VtableSlot(Function function)
{
    static_assert(sizeof(function) == 2 * sizeof(std::ptrdiff_t), "not a pointer to a member function");
    std::ptrdiff_t words[2] = {};
    std::memcpy(words, &function, sizeof(words));
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = (words[1] & 1) != 0;
    const std::ptrdiff_t offset = words[0];
#else
    const bool isVirtual = (words[0] & 1) != 0;
    const std::ptrdiff_t offset = words[0] - 1;
#endif
    return isVirtual ? static_cast<std::size_t>(offset) / sizeof(void*) : kNotVirtual;
}

// The number of slots of an interface, destructors included: the slot of the first function that a derived
// class adds. A pointer to a destructor cannot be taken, so this tells where the destructors are.
//
//     struct Probe : IMutex { virtual void Added(); };
//     EXPECT_EQ(VtableSlot(&Probe::Added), 6U);

} // namespace TTMLTest

#endif
