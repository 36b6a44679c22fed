#include "CommonOptions.h"

#include <CLI/CLI.hpp>

#include "Duration.h"
#include "OptionChecks.h"

namespace TTMLClient {

void CommonOptions::AddTo(CLI::App& subcommand)
{
    userAgent = "ttmlsrc/" TTMLSRC_VERSION;

    const std::string group = "Common options";
    subcommand.add_flag("--json", json, "One JSON object a line on standard output, and nothing else there")
        ->group(group);
    subcommand
        .add_option("--out", outFolder,
                    "Keep each document as NNNN.ttml and each image as NNNN.png in this folder")
        ->option_text("DIR")
        ->check(TextCheck("the name of a folder"))
        ->group(group);
    subcommand
        .add_option_function<std::string>(
            "--script",
            [this](const std::string& text) {
                m_scriptText = text;
                m_hasScript = true;
            },
            "Script words to run, separated by semicolons, once the source has started")
        ->option_text("WORDS")
        ->group(group);
    subcommand
        .add_option_function<std::string>(
            "--duration",
            [this](const std::string& text) {
                m_durationText = text;
                m_hasDuration = true;
            },
            "End the run after this time (1500ms, 30s, 5m); a document from a URL stays until then")
        ->option_text("TIME")
        ->group(group);
    subcommand.add_option("--user-agent", userAgent, "User agent of HTTP requests")
        ->option_text("UA")
        ->capture_default_str()
        ->group(group);
}

void CommonOptions::Complete(const Vocabulary& vocabulary)
{
    if (m_hasScript) {
        try {
            script = ParseScript(m_scriptText, vocabulary);
        } catch (const ScriptError& error) {
            throw UsageError(std::string("--script: ") + error.what());
        }
    }
    if (m_hasDuration) {
        duration = ParseDuration(m_durationText);
        if (!duration || duration->count() == 0) {
            throw UsageError("--duration takes a time like 1500ms or 30s, not '" + m_durationText + "'");
        }
    }
}

} // namespace TTMLClient
