#include "StreamReport.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <vector>

#include <nlohmann/json.hpp>

#include "Utf8.h"

namespace TTMLClient {

namespace {

constexpr std::size_t kNameColumns = 60;
constexpr std::size_t kPidColumns = 5;
constexpr std::size_t kKindColumns = 24;
constexpr std::size_t kPesColumns = 11;

std::string Right(const std::string& text, std::size_t columns)
{
    return text.size() < columns ? std::string(columns - text.size(), ' ') + text : text;
}

std::string Left(const std::string& text, std::size_t columns)
{
    return text.size() < columns ? text + std::string(columns - text.size(), ' ') : text;
}

std::string Hex(int number)
{
    std::array<char, 16> text{};
    (void)std::snprintf(text.data(), text.size(), "0x%02X", static_cast<unsigned int>(number));
    return text.data();
}

// Text of a stream as it can be shown: it may hold any bytes.
std::string Shown(const std::string& text)
{
    return FitColumns(text, kNameColumns);
}

std::string Profiles(const std::vector<int>& profiles)
{
    std::string text;
    for (const int profile : profiles) {
        text += (text.empty() ? "" : ", ") + ProfileText(profile);
    }
    return text.empty() ? "no profile" : text;
}

// One line of a service's table.
struct Row
{
    int pid;
    std::string kind;
    std::string pesPackets;
    std::string details;
};

std::vector<Row> Rows(const TTMLHost::TvServiceInfo& service)
{
    std::vector<Row> rows;
    for (const TTMLHost::TvTtmlComponent& component : service.ttml) {
        rows.push_back({component.pid, "TTML subtitles", std::to_string(component.pesPackets),
                        Shown(component.language) + ", " + PurposeText(component.purpose) + ", " +
                            Profiles(component.profiles)});
    }
    for (const TTMLHost::TvComponent& component : service.others) {
        rows.push_back({component.pid, Shown(component.kind), std::to_string(component.pesPackets), ""});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& one, const Row& other) { return one.pid < other.pid; });
    return rows;
}

std::string Line(const std::string& pid, const Row& row)
{
    std::string line = "  " + Right(pid, kPidColumns) + "  " + Left(row.kind, kKindColumns) + "  " +
                       Right(row.pesPackets, kPesColumns) + "  " + row.details;
    line.resize(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

std::string ServiceTable(const TTMLHost::TvServiceInfo& service)
{
    std::string text = "\nservice " + std::to_string(service.id);
    text += service.name.empty() ? std::string() : " '" + Shown(service.name) + "'";
    text += ": PMT on PID " + std::to_string(service.pmtPid) + ", " + CountText(service.pcrs, "PCR") +
            " on PID " + std::to_string(service.pcrPid);
    text += service.rating ? ", rated " + std::to_string(*service.rating) + "\n" : "\n";
    const std::vector<Row> rows = Rows(service);
    if (rows.empty()) {
        return text + "  no components\n";
    }
    text += Line("PID", {0, "component", "PES packets", "details"});
    for (const Row& row : rows) {
        text += Line(std::to_string(row.pid), row);
    }
    return text;
}

nlohmann::ordered_json TtmlObject(const TTMLHost::TvTtmlComponent& component)
{
    nlohmann::ordered_json object;
    object["pid"] = component.pid;
    object["language"] = component.language;
    object["purpose"] = component.purpose;
    object["purposeText"] = PurposeText(component.purpose);
    object["profiles"] = component.profiles;
    object["profileTexts"] = nlohmann::ordered_json::array();
    for (const int profile : component.profiles) {
        object["profileTexts"].push_back(ProfileText(profile));
    }
    object["pesPackets"] = component.pesPackets;
    return object;
}

nlohmann::ordered_json ServiceObject(const TTMLHost::TvServiceInfo& service)
{
    nlohmann::ordered_json object;
    object["id"] = service.id;
    object["name"] = service.name;
    object["pmtPid"] = service.pmtPid;
    object["pcrPid"] = service.pcrPid;
    object["pcrs"] = service.pcrs;
    object["rating"] = nullptr;
    if (service.rating) {
        object["rating"] = *service.rating;
    }
    object["ttml"] = nlohmann::ordered_json::array();
    for (const TTMLHost::TvTtmlComponent& component : service.ttml) {
        object["ttml"].push_back(TtmlObject(component));
    }
    object["others"] = nlohmann::ordered_json::array();
    for (const TTMLHost::TvComponent& component : service.others) {
        object["others"].push_back({{"pid", component.pid},
                                    {"streamType", component.streamType},
                                    {"kind", component.kind},
                                    {"pesPackets", component.pesPackets}});
    }
    return object;
}

} // namespace

std::string CountText(std::uint64_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string ErrorCounts(const TTMLHost::TvStatistics& statistics)
{
    struct Kind
    {
        std::uint64_t number;
        const char* what;
        const char* end;
    };
    const std::array<Kind, 6> kinds = {{
        {statistics.pesDropped, "subtitle packet", " left out"},
        {statistics.continuityErrors, "continuity error", ""},
        {statistics.transportErrors, "transport error", ""},
        {statistics.resynchronisations, "resynchronisation", ""},
        {statistics.scrambledPackets, "scrambled packet", ""},
        {statistics.badSections, "bad table", ""},
    }};
    std::string text;
    for (const Kind& kind : kinds) {
        if (kind.number != 0) {
            text += (text.empty() ? "" : ", ") + CountText(kind.number, kind.what) + kind.end;
        }
    }
    return text;
}

std::string InputName(const std::string& input)
{
    return input == "-" ? "standard input" : "'" + input + "'";
}

std::string PurposeText(int purpose)
{
    static const std::map<int, const char*> kPurposes = {
        {0x00, "same-language dialogue"},
        {0x01, "other-language dialogue"},
        {0x02, "all dialogue"},
        {0x10, "same-language dialogue for the hard of hearing"},
        {0x11, "other-language dialogue for the hard of hearing"},
        {0x12, "all dialogue for the hard of hearing"},
        {0x30, "audio description"},
        {0x31, "content-related commentary"},
    };
    const auto found = kPurposes.find(purpose);
    return found == kPurposes.end() ? "reserved purpose " + Hex(purpose) : found->second;
}

std::string ProfileText(int profile)
{
    switch (profile) {
    case 0x00:
        return "EBU-TT-D or IMSC1 Text";
    case 0x01:
        return "IMSC1 Text";
    case 0x02:
        return "EBU-TT-D";
    default:
        return "reserved profile " + Hex(profile);
    }
}

std::string StreamTable(const std::string& input, const TTMLHost::TvStreamInfo& info)
{
    const TTMLHost::TvStatistics& statistics = info.statistics;
    std::string text = InputName(input) + ": " + CountText(statistics.packets, "transport packet") + " of " +
                       std::to_string(info.packetSize) + " bytes, " +
                       CountText(info.services.size(), "service") + "\n";
    for (const TTMLHost::TvServiceInfo& service : info.services) {
        text += ServiceTable(service);
    }
    text += "\nerrors: " + std::to_string(statistics.continuityErrors) + " continuity, " +
            std::to_string(statistics.transportErrors) + " transport, " +
            std::to_string(statistics.resynchronisations) + " resynchronisation, " +
            CountText(statistics.scrambledPackets, "scrambled packet") + ", " +
            CountText(statistics.pesDropped, "damaged PES packet") + ", " +
            CountText(statistics.badSections, "bad table") + "\n";
    return text;
}

std::string StreamJson(const std::string& input, const TTMLHost::TvStreamInfo& info)
{
    const TTMLHost::TvStatistics& statistics = info.statistics;
    nlohmann::ordered_json object;
    object["input"] = input;
    object["packetSize"] = info.packetSize;
    object["packets"] = statistics.packets;
    object["continuityErrors"] = statistics.continuityErrors;
    object["transportErrors"] = statistics.transportErrors;
    object["resynchronisations"] = statistics.resynchronisations;
    object["scrambledPackets"] = statistics.scrambledPackets;
    object["damagedPesPackets"] = statistics.pesDropped;
    object["badTables"] = statistics.badSections;
    object["services"] = nlohmann::ordered_json::array();
    for (const TTMLHost::TvServiceInfo& service : info.services) {
        object["services"].push_back(ServiceObject(service));
    }
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace TTMLClient
