#ifndef TTMLSRC_SCRIPT_RUNNER_H
#define TTMLSRC_SCRIPT_RUNNER_H

#include <functional>
#include <map>
#include <string>

#include "Script.h"

namespace TTMLClient {

class RunControl;

// Runs a script's steps one after another with the handlers it was given for their words.
class ScriptRunner
{
public:
    using Handler = std::function<void(const Step&)>;

    // Sets the handler of a word, which replaces an earlier one.
    void On(const std::string& word, Handler handler);

    // Runs until the script is over or the run is stopped. Every word needs its handler.
    void Run(const Script& script, const RunControl& control) const;

private:
    std::map<std::string, Handler> m_handlers;
};

} // namespace TTMLClient

#endif
