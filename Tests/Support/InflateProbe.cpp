#include "InflateProbe.h"

#include <cstring>

#include <gtest/gtest.h>

#include "FaultInjection.h"

// Both names of each call belong to the linker, which routes calls of the one here.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
int __real_inflateInit2_(z_stream* stream, int windowBits, const char* version, int streamSize);
int __real_inflate(z_stream* stream, int flush);
int __real_inflateEnd(z_stream* stream);

int __wrap_inflateInit2_(z_stream* stream, int windowBits, const char* version, int streamSize);
int __wrap_inflate(z_stream* stream, int flush);
int __wrap_inflateEnd(z_stream* stream);
}

namespace TTMLTest {

namespace {

thread_local InflateProbe* t_probe = nullptr;

} // namespace

InflateProbe::InflateProbe()
{
    EXPECT_EQ(t_probe, nullptr) << "this thread has a probe already";
    t_probe = this;
}

InflateProbe::~InflateProbe()
{
    t_probe = nullptr;
}

InflateProbe* InflateProbe::OfThisThread()
{
    return t_probe;
}

void InflateProbe::FailInit(int result)
{
    m_initResult = result;
}

void InflateProbe::FailStep(unsigned int step, int result)
{
    m_failingStep = step;
    m_stepResult = result;
}

void InflateProbe::LimitSteps(uInt bytes)
{
    m_limit = bytes;
}

int InflateProbe::MeetInit(z_stream* stream, int windowBits, const char* version, int streamSize)
{
    {
        const FaultPause pause;
        Init init;
        init.windowBits = windowBits;
        init.version = version;
        init.streamSize = streamSize;
        init.defaultAllocator =
            stream->zalloc == nullptr && stream->zfree == nullptr && stream->opaque == nullptr;
        if (stream->avail_in != 0) {
            init.input.assign(reinterpret_cast<const char*>(stream->next_in), stream->avail_in);
        }
        init.totalOut = stream->total_out;
        m_inits.push_back(init);
    }
    return m_initResult != Z_OK ? m_initResult
                                : __real_inflateInit2_(stream, windowBits, version, streamSize);
}

int InflateProbe::MeetStep(z_stream* stream, int flush)
{
    const FaultPause pause;
    std::memset(stream->next_out, 0xA5, stream->avail_out);
    const std::string input(reinterpret_cast<const char*>(stream->next_in), stream->avail_in);
    Step step;
    step.flush = flush;
    step.room = stream->avail_out;
    step.before = stream->total_out;
    const uInt withheld = m_limit != 0 && step.room > m_limit ? step.room - m_limit : 0;
    stream->avail_out -= withheld;
    step.result = m_steps.size() + 1 == m_failingStep ? m_stepResult : __real_inflate(stream, flush);
    stream->avail_out += withheld;
    m_steps.push_back(step);
    return step.result;
}

int InflateProbe::MeetEnd(z_stream* stream)
{
    ++m_ends;
    return __real_inflateEnd(stream);
}

} // namespace TTMLTest

int __wrap_inflateInit2_(z_stream* stream, int windowBits, const char* version, int streamSize)
{
    TTMLTest::InflateProbe* const probe = TTMLTest::InflateProbe::OfThisThread();
    return probe != nullptr ? probe->MeetInit(stream, windowBits, version, streamSize)
                            : __real_inflateInit2_(stream, windowBits, version, streamSize);
}

int __wrap_inflate(z_stream* stream, int flush)
{
    TTMLTest::InflateProbe* const probe = TTMLTest::InflateProbe::OfThisThread();
    return probe != nullptr ? probe->MeetStep(stream, flush) : __real_inflate(stream, flush);
}

int __wrap_inflateEnd(z_stream* stream)
{
    TTMLTest::InflateProbe* const probe = TTMLTest::InflateProbe::OfThisThread();
    return probe != nullptr ? probe->MeetEnd(stream) : __real_inflateEnd(stream);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
