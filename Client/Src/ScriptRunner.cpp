#include "ScriptRunner.h"

#include <utility>

#include "RunControl.h"

namespace TTMLClient {

void ScriptRunner::On(const std::string& word, Handler handler)
{
    m_handlers[word] = std::move(handler);
}

void ScriptRunner::Run(const Script& script, const RunControl& control) const
{
    for (const Step& step : script) {
        if (control.Stopped()) {
            return;
        }
        m_handlers.at(step.word)(step);
    }
}

} // namespace TTMLClient
