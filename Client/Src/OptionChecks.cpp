#include "OptionChecks.h"

#include <algorithm>
#include <cctype>
#include <string>

namespace TTMLClient {

namespace {

// Beyond these, times no longer fit what counts them.
constexpr double kSlowest = 0.001;
constexpr double kFastest = 10000;

// Two to eight letters, then subtags of one to eight letters and digits behind hyphens.
bool IsLanguageTag(const std::string& text)
{
    std::size_t length = 0;
    bool first = true;
    for (const char letter : text + "-") {
        const auto c = static_cast<unsigned char>(letter);
        if (c == '-') {
            if (length < (first ? 2U : 1U) || length > 8) {
                return false;
            }
            first = false;
            length = 0;
        } else if (std::isalpha(c) != 0 || (!first && std::isdigit(c) != 0)) {
            ++length;
        } else {
            return false;
        }
    }
    return true;
}

} // namespace

CLI::Validator SpeedCheck()
{
    const auto check = [](const std::string& text) {
        double speed = 0;
        const bool number = CLI::detail::lexical_cast(text, speed);
        // No comparison holds for what is not a number.
        return number && speed >= kSlowest && speed <= kFastest
                   ? std::string()
                   : "takes a number from 0.001 to 10000, such as 2 or 0.5, not '" + text + "'";
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

CLI::Validator LanguageCheck()
{
    const auto check = [](const std::string& text) {
        const bool letters =
            std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalpha(c) != 0; });
        return letters && text.size() == 3
                   ? std::string()
                   : "takes a language of three letters, such as eng, not '" + text + "'";
    };
    return {check, "", "language"};
}

CLI::Validator LanguageTagCheck()
{
    const auto check = [](const std::string& text) {
        return IsLanguageTag(text) ? std::string()
                                   : "takes a language tag, such as en, eng or pt-BR, not '" + text + "'";
    };
    return {check, "", "language tag"};
}

CLI::Validator ChoiceCheck(const std::vector<std::string>& choices)
{
    const auto check = [choices](const std::string& text) {
        if (std::find(choices.begin(), choices.end(), text) != choices.end()) {
            return std::string();
        }
        std::string list;
        for (const std::string& choice : choices) {
            list += (list.empty() ? "" : " or ") + choice;
        }
        return "takes " + list + ", not '" + text + "'";
    };
    return {check, "", "choice"};
}

} // namespace TTMLClient
