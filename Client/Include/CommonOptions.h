#ifndef TTMLSRC_COMMON_OPTIONS_H
#define TTMLSRC_COMMON_OPTIONS_H

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "Script.h"

namespace CLI {
class App;
}

namespace TTMLClient {

// Options that cannot be followed; the text says which and why.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The options that every playing subcommand has.
struct CommonOptions
{
    bool json = false;
    std::string outFolder;        // empty when documents are not kept
    std::optional<Script> script; // nothing: start, play, until the input is over
    std::optional<std::chrono::milliseconds> duration;
    std::string userAgent; // of the requests that the source and the player make

    // Adds them to a subcommand; its parsed texts stay here until Complete().
    void AddTo(CLI::App& subcommand);

    // Reads the texts of the script and of the duration. Throws UsageError.
    void Complete(const Vocabulary& vocabulary);

private:
    std::string m_scriptText;
    std::string m_durationText;
    bool m_hasScript = false;
    bool m_hasDuration = false;
};

} // namespace TTMLClient

#endif
