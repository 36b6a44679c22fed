#include "SettingsCommand.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <system_error>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "CommonOptions.h"
#include "Output.h"
#include "SettingKeys.h"

namespace TTMLClient {

namespace {

using TTMLHost::Setting;
using TTMLHost::SettingType;

const char* const kExamples = "Examples:\n"
                              "  ttmlsrc settings list\n"
                              "  ttmlsrc settings get db/menu/broadcasting/channel_lock\n"
                              "  ttmlsrc settings set db/menu/broadcasting/channel_lock on\n"
                              "  ttmlsrc settings set db/menu/caption/caption 1";

const std::string kStoredKeys = "db/";

// Settings that the sources read as one type: the first "1" must not make a number of what is to be a bool.
struct KnownSetting
{
    const char* key;
    SettingType type;
};
constexpr KnownSetting kKnown[] = {
    {kChannelLockKey, SettingType::Bool},  {kReceptionKey, SettingType::Bool},
    {kCaptionKey, SettingType::Int},       {"db/menu/caption/captionlanguage", SettingType::Int},
    {"db/tv/lock_type", SettingType::Int},
};

const char* TypeName(SettingType type)
{
    return type == SettingType::Bool ? "bool" : "int";
}

const char* Expectation(SettingType type)
{
    return type == SettingType::Bool ? "on or off" : "a whole number of 32 bits";
}

std::optional<int> ParseNumber(const std::string& text)
{
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional<int>(number) : std::nullopt;
}

std::optional<int> ParseBool(const std::string& text)
{
    if (text == "on" || text == "true" || text == "1") {
        return 1;
    }
    if (text == "off" || text == "false" || text == "0") {
        return 0;
    }
    return std::nullopt;
}

std::optional<int> ParseValue(const std::string& text, SettingType type)
{
    return type == SettingType::Bool ? ParseBool(text) : ParseNumber(text);
}

std::string ValueText(const Setting& setting)
{
    if (setting.type == SettingType::Bool) {
        return setting.value != 0 ? "on" : "off";
    }
    return std::to_string(setting.value);
}

std::string Json(const Setting& setting)
{
    nlohmann::ordered_json line;
    line["key"] = setting.key;
    line["type"] = TypeName(setting.type);
    if (setting.type == SettingType::Bool) {
        line["value"] = setting.value != 0;
    } else {
        line["value"] = setting.value;
    }
    return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

int Print(const std::string& text)
{
    errno = 0;
    std::cout << text << std::flush;
    if (!std::cout.good() && errno != EPIPE) {
        PrintMessage("writing to standard output failed: " + std::generic_category().message(errno) +
                     "; check where it goes to");
        return EXIT_FAILED;
    }
    return EXIT_DONE;
}

// What is wrong with the store is the client's to say here, and once is enough: without this the log would
// say it, too. Before anything is logged.
void HideWarnings()
{
    const char* const threshold = std::getenv("TTML_LOG");
    if (threshold == nullptr || *threshold == '\0' || std::string(threshold) == "warning") {
        (void)setenv("TTML_LOG", "error", 1);
    }
}

// What is wrong with a type; empty when nothing is.
std::string CheckType(const std::string& type)
{
    return type == "int" || type == "bool" ? "" : "takes int or bool, not '" + type + "'";
}

// What is wrong with a key; empty when nothing is.
std::string CheckKey(const std::string& key)
{
    if (key.compare(0, 7, "memory/") == 0) {
        return "takes a key that begins with db/; '" + key + "' lives within the program that sets it";
    }
    return key.size() > kStoredKeys.size() && key.compare(0, kStoredKeys.size(), kStoredKeys) == 0
               ? ""
               : "takes a key that begins with db/, not '" + key + "'";
}

} // namespace

CLI::App* SettingsCommand::Declare(CLI::App& program)
{
    CLI::App* command =
        program.add_subcommand("settings", "Settings that all programs on this machine share");
    command->require_subcommand(1);
    command->footer(kExamples);

    const auto addKey = [this](CLI::App& to) {
        to.add_option("KEY", m_key, "The setting, such as db/menu/broadcasting/channel_lock")
            ->option_text(" ")
            ->required()
            ->check(CLI::Validator(CheckKey, "", "key"));
    };
    const auto addJson = [this](CLI::App& to) {
        to.add_flag("--json", m_json, "One JSON object a line on standard output, and nothing else there");
    };
    m_list = command->add_subcommand("list", "Shows all settings that have a value");
    addJson(*m_list);
    m_get = command->add_subcommand("get", "Shows the value of one setting");
    addKey(*m_get);
    addJson(*m_get);
    m_set = command->add_subcommand("set", "Gives a setting a value, which programs that run notice");
    addKey(*m_set);
    m_set->add_option("VALUE", m_value, "on, off, true or false, or a whole number")
        ->option_text(" ")
        ->required();
    m_set->add_option("--type", m_type, "What VALUE is; without it what the setting is, or looks like")
        ->option_text("int|bool")
        ->check(CLI::Validator(CheckType, "", "type"));
    return command;
}

void SettingsCommand::Complete()
{
    if (!m_set->parsed()) {
        return;
    }
    if (!m_type.empty()) {
        const SettingType type = m_type == "bool" ? SettingType::Bool : SettingType::Int;
        if (!ParseValue(m_value, type)) {
            throw UsageError("--type " + m_type + " takes " + Expectation(type) + ", not '" + m_value + "'");
        }
    } else if (!ParseBool(m_value) && !ParseNumber(m_value)) {
        throw UsageError("VALUE takes on, off or a whole number of 32 bits, not '" + m_value + "'");
    }
}

int SettingsCommand::Run()
{
    HideWarnings();
    if (m_list->parsed()) {
        return List();
    }
    return m_get->parsed() ? Get() : Set();
}

int SettingsCommand::List() const
{
    std::string text;
    for (const Setting& setting : TTMLHost::ListSettings()) {
        text += m_json ? Json(setting) : setting.key + " = " + ValueText(setting) + "\n";
    }
    const std::string problem = TTMLHost::SettingsProblem();
    if (text.empty() && !problem.empty()) {
        PrintMessage(problem);
        return EXIT_FAILED;
    }
    return Print(text);
}

int SettingsCommand::Get() const
{
    Setting setting;
    if (TTMLHost::FindSetting(m_key, &setting)) {
        return Print(m_json ? Json(setting) : ValueText(setting) + "\n");
    }
    const std::string problem = TTMLHost::SettingsProblem();
    PrintMessage(problem.empty()
                     ? "'" + m_key + "' has no value; 'ttmlsrc settings list' shows those that have"
                     : problem);
    return EXIT_FAILED;
}

SettingType SettingsCommand::WantedType() const
{
    if (!m_type.empty()) {
        return m_type == "bool" ? SettingType::Bool : SettingType::Int;
    }
    Setting present;
    if (TTMLHost::FindSetting(m_key, &present)) {
        return present.type;
    }
    for (const KnownSetting& known : kKnown) {
        if (m_key == known.key) {
            return known.type;
        }
    }
    return ParseNumber(m_value) ? SettingType::Int : SettingType::Bool;
}

int SettingsCommand::Set() const
{
    const SettingType type = WantedType();
    const std::optional<int> value = ParseValue(m_value, type);
    if (!value) {
        // Who reads the setting would not find it any more.
        const char* other = TypeName(type == SettingType::Bool ? SettingType::Int : SettingType::Bool);
        PrintMessage("setting '" + m_key + "' to '" + m_value + "' failed: it takes " + Expectation(type) +
                     "; --type " + other + " changes that");
        return EXIT_FAILED;
    }
    const int result = type == SettingType::Bool ? vconf_set_bool(m_key.c_str(), *value)
                                                 : vconf_set_int(m_key.c_str(), *value);
    const std::string problem = TTMLHost::SettingsProblem();
    if (result != 0 || !problem.empty()) {
        PrintMessage(problem.empty() ? "setting '" + m_key + "' failed: out of memory; close other programs"
                                     : problem);
        return EXIT_FAILED;
    }
    return EXIT_DONE;
}

} // namespace TTMLClient
