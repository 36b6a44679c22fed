#ifndef OPTIONS_H
#define OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

namespace TTMLTest {

// What the command line says.
struct Options
{
    std::uint64_t seed = 0;     // drawn where it is not given
    unsigned int seconds = 5;   // of each storm
    unsigned int sources = 200; // of each kind, that are created and destroyed
};

const Options& TheOptions();

// Reads what GoogleTest has left of the command line. Returns what is wrong with it, or nothing.
std::string ReadOptions(const std::vector<std::string>& arguments);

} // namespace TTMLTest

#endif
