#ifndef PACER_H
#define PACER_H

#include <cstdint>

namespace TTMLHost {

// Says when the packets of a file are due, from the clock references (ISO/IEC 13818-1) among them. The caller
// says what time it is (monotonic), and waits.
class Pacer
{
public:
    // `speed`: seconds of the stream per second, above 0.
    explicit Pacer(double speed);

    // When the packet with this reference is due, and those up to the next one with it. The first reference
    // is due now; so is one after a discontinuity, announced or seen (it goes back, or ahead by more than
    // kFurthestStepS), unless the one before it is due later. When the caller is late by more than a second,
    // the reference is due now and later ones count from it.
    std::int64_t DueNs(std::uint64_t pcr27MHz, std::int64_t nowNs, bool discontinuity);

    // Forgets all, as when another service is tuned.
    void Reset();

    // More than any gap in a capture that is worth waiting for.
    static constexpr int kFurthestStepS = 10;

private:
    void Anchor(std::int64_t atNs);

    const double m_speed;
    bool m_anchored = false;
    std::int64_t m_anchorNs = 0;
    std::uint64_t m_lastPcr = 0;
    std::int64_t m_lastDueNs = 0;
    std::int64_t m_run27MHz = 0; // from the anchor to the last reference; longer than a turn of it
};

} // namespace TTMLHost

#endif
