#ifndef TTMLSRC_HOST_TELEVISION_H
#define TTMLSRC_HOST_TELEVISION_H

#include "Television.h"

namespace TTMLClient {

// The television of this process: its TV service, which somebody else opens and closes, its recorder and its
// settings.
class HostTelevision : public Television
{
public:
    HostTelevision() = default;
    // Ends the recorder's thread.
    ~HostTelevision() override;
    HostTelevision(const HostTelevision&) = delete;
    HostTelevision& operator=(const HostTelevision&) = delete;

    bool Tune(const std::string& service, std::string* error) override;
    void Activate() override;
    void Deactivate() override;
    void Terminate() override;
    void LockService(bool locked) override;
    void SetRatingLimit(std::optional<int> age) override;
    bool IsOn(Setting setting) override;
    bool Set(Setting setting, bool on) override;
    void SignalMpd() override;
    void SignalRecorder(Recorder signal) override;
    void Settle() override;
};

} // namespace TTMLClient

#endif
