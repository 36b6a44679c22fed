#ifndef FUZZ_TARGET_H
#define FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <string>

// What one executable of this folder has: takes any bytes, and ends the process where something that has to
// hold does not. Called by libFuzzer, and by the plain driver of Replay.cpp with inputs that were kept.
// NOLINTNEXTLINE(readability-identifier-naming): libFuzzer's name
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size);

namespace TTMLTest {

// Ends the process with the text unless it holds, in all builds.
void Hold(bool holds, const char* what);

// Takes an input apart from its front. Numbers are big-endian; what lies beyond the end reads as 0.
class FuzzInput
{
public:
    FuzzInput(const unsigned char* data, std::size_t size)
        : m_data(data)
        , m_left(size)
    {}

    std::size_t Left() const { return m_left; }
    std::uint64_t Number(std::size_t bytes);
    // So many bytes, or those that are left if there are fewer.
    std::string Text(std::size_t size);
    std::string Rest() { return Text(m_left); }

private:
    const unsigned char* m_data;
    std::size_t m_left;
};

} // namespace TTMLTest

#endif
