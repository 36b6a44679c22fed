#ifndef TTMLSRC_SETTINGS_COMMAND_H
#define TTMLSRC_SETTINGS_COMMAND_H

#include <string>

#include "Command.h"
#include "HostSettings.h"

namespace TTMLClient {

// "ttmlsrc settings": the values that all programs on this platform keep.
class SettingsCommand : public Command
{
public:
    CLI::App* Declare(CLI::App& program) override;
    void Complete() override;
    int Run() override;

private:
    int List() const;
    int Get() const;
    int Set() const;

    // The type that the value is to have: as told, as it is, as the sources read it, or as it looks.
    TTMLHost::SettingType WantedType() const;

    CLI::App* m_list = nullptr;
    CLI::App* m_get = nullptr;
    CLI::App* m_set = nullptr;
    std::string m_key;
    std::string m_value;
    std::string m_type; // "int", "bool" or empty
    bool m_json = false;
};

} // namespace TTMLClient

#endif
