#ifndef TTMLSRC_BROADBAND_COMMAND_H
#define TTMLSRC_BROADBAND_COMMAND_H

#include <optional>
#include <string>

#include "Command.h"
#include "CommonOptions.h"

namespace TTMLClient {

class Output;
class PlayerContent;
class RunControl;
class Session;

// "ttmlsrc broadband": a document at a URL, or the samples of media, through the broadband source.
class BroadbandCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override;
    void Complete() override;
    int Run() override;

private:
    bool OpenContent(PlayerContent& content, std::string* error) const;
    void Perform(Session& session, PlayerContent& content, RunControl& control) const;
    // What went wrong in a run that is over, in one line; empty when nothing did.
    std::string Complaint(const Session& session, const PlayerContent& content,
                          const RunControl& control) const;
    int Play(PlayerContent& content, Output& output, RunControl& control) const;

    CommonOptions m_common;
    std::string m_url;         // as given
    std::string m_documentUrl; // as fetched
    std::string m_media;
    std::optional<int> m_track;
    std::optional<double> m_speed;
    bool m_fast = false;
    std::optional<int> m_dnt;
    std::optional<std::string> m_descriptor;
};

// What a user gives for a document: a URL as it stands, a path to an existing file as its file URL.
// Nothing for what is neither.
std::optional<std::string> DocumentUrl(const std::string& text);

} // namespace TTMLClient

#endif
