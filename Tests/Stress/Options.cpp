#include "Options.h"

#include <charconv>
#include <random>

namespace TTMLTest {

namespace {

Options s_options;

template <class Number>
bool Read(const std::string& text, Number& value)
{
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && rest == end;
}

} // namespace

const Options& TheOptions()
{
    return s_options;
}

std::string ReadOptions(const std::vector<std::string>& arguments)
{
    std::random_device device;
    // Short enough to be typed again.
    s_options.seed = device() % 1000000;
    for (std::size_t i = 0; i < arguments.size(); i += 2) {
        const std::string& name = arguments[i];
        if (i + 1 == arguments.size()) {
            return name + " needs a number";
        }
        const std::string& value = arguments[i + 1];
        const bool good = name == "--seed"      ? Read(value, s_options.seed)
                          : name == "--seconds" ? Read(value, s_options.seconds)
                                                : name == "--sources" && Read(value, s_options.sources);
        if (!good) {
            return "not understood: " + name + " " + value;
        }
    }
    return {};
}

} // namespace TTMLTest
