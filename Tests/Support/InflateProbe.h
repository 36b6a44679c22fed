#ifndef INFLATE_PROBE_H
#define INFLATE_PROBE_H

#include <atomic>
#include <string>
#include <vector>

#include <pthread.h>
#include <zlib.h>

namespace TTMLTest {

// Watches what the current thread asks zlib to inflate, from its construction until it goes. One at a time.
// Each call is checked for memory that is not the caller's: all the input is read and all the room for output
// is overwritten, where the address sanitizer sees it.
class InflateProbe
{
public:
    struct Init
    {
        int windowBits = 0;
        std::string version;
        int streamSize = 0;
        bool defaultAllocator = false;
        std::string input;
        uLong totalOut = 0;
    };
    struct Step
    {
        int flush = 0;
        uInt room = 0;    // for output
        uLong before = 0; // output so far
        int result = 0;
    };

    InflateProbe();
    ~InflateProbe();
    InflateProbe(const InflateProbe&) = delete;
    InflateProbe& operator=(const InflateProbe&) = delete;

    // The next initialisation, or call number `step` (from 1) of inflate, answers so and does nothing.
    void FailInit(int result);
    void FailStep(unsigned int step, int result);
    // No call of inflate puts out more bytes than that, whatever room it has.
    void LimitSteps(uInt bytes);

    const std::vector<Init>& Inits() const { return m_inits; }
    const std::vector<Step>& Steps() const { return m_steps; }
    unsigned int Ends() const { return m_ends; }

    // For the replaced calls.
    static InflateProbe* OfThisThread();
    int MeetInit(z_stream* stream, int windowBits, const char* version, int streamSize);
    int MeetStep(z_stream* stream, int flush);
    int MeetEnd(z_stream* stream);

private:
    std::vector<Init> m_inits;
    std::vector<Step> m_steps;
    unsigned int m_ends = 0;
    int m_initResult = Z_OK;
    unsigned int m_failingStep = 0;
    int m_stepResult = Z_OK;
    uInt m_limit = 0; // none
};

} // namespace TTMLTest

#endif
