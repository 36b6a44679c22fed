#ifndef DICE_H
#define DICE_H

#include <cstdint>

namespace TTMLTest {

// Random numbers of one thread: the seed of the run and the thread's number fix all of them, whatever the
// other threads do.
class Dice
{
public:
    Dice(std::uint64_t seed, std::uint64_t thread)
        : m_state(seed)
    {
        // One turn of the wheel in between, so that neighbouring threads and seeds have nothing in common.
        m_state = Next() + thread;
        Next();
    }

    // From 0 to `limit` - 1.
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>((Next() >> 32U) % limit); }
    bool OneIn(unsigned int chances) { return Below(chances) == 0; }

private:
    // SplitMix64.
    std::uint64_t Next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    std::uint64_t m_state;
};

} // namespace TTMLTest

#endif
