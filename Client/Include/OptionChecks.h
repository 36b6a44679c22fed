#ifndef TTMLSRC_OPTION_CHECKS_H
#define TTMLSRC_OPTION_CHECKS_H

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace TTMLClient {

// Accepts speeds from a thousandth to ten thousand times.
CLI::Validator SpeedCheck();

// Accepts whole numbers of a range.
CLI::Validator NumberCheck(int first, int last);

// Accepts any text but an empty one; `what` says what is missing otherwise ("the name of a folder").
CLI::Validator TextCheck(const std::string& what);

// Accepts codes of ISO 639 by their form.
CLI::Validator LanguageCheck();

// Accepts language tags of RFC 5646 by their form.
CLI::Validator LanguageTagCheck();

// Accepts one of some words.
CLI::Validator ChoiceCheck(const std::vector<std::string>& choices);

} // namespace TTMLClient

#endif
