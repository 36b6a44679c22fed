#include "OptionChecks.h"

#include <cmath>
#include <string>

namespace TTMLClient {

CLI::Validator SpeedCheck()
{
    const auto check = [](const std::string& text) {
        double speed = 0;
        const bool number = CLI::detail::lexical_cast(text, speed);
        return number && speed > 0 && std::isfinite(speed)
                   ? std::string()
                   : "takes a number above 0, such as 2 or 0.5, not '" + text + "'";
    };
    return {check, "", "speed"};
}

CLI::Validator NumberCheck(int first, int last)
{
    const auto check = [first, last](const std::string& text) {
        int number = 0;
        const bool good = CLI::detail::lexical_cast(text, number) && number >= first && number <= last;
        return good ? std::string()
                    : "takes a number from " + std::to_string(first) + " to " + std::to_string(last) +
                          ", not '" + text + "'";
    };
    return {check, "", "number"};
}

CLI::Validator TextCheck(const std::string& what)
{
    const auto check = [what](const std::string& text) {
        return text.empty() ? "takes " + what : std::string();
    };
    return {check, "", "text"};
}

} // namespace TTMLClient
