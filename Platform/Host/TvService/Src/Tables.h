#ifndef TABLES_H
#define TABLES_H

// The tables of a transport stream, as far as the TV service needs them.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TTMLHost {

// Program association table of ISO/IEC 13818-1.
struct Pat
{
    struct Service
    {
        int id = 0;
        int pmtPid = 0;
    };

    int transportStreamId = 0;
    int version = 0;
    std::vector<Service> services; // without the network's entry
};

// TTML subtitling descriptor of ETSI EN 303 560.
struct TtmlDescriptor
{
    std::string language; // three letters of ISO 639; empty when there are none
    int purpose = 0;
    int ttsSuitability = 0;
    std::vector<int> profiles;
    std::optional<std::uint32_t> qualifier;
    bool essentialFonts = false;
    std::vector<int> fontIds;
    std::string text; // UTF-8
};

// Program map table of ISO/IEC 13818-1.
struct Pmt
{
    struct Component
    {
        int pid = 0;
        int streamType = 0;
        std::string kind; // for people: "video (H.264)", "DVB subtitles", "private data"
        std::optional<TtmlDescriptor> ttml;
    };

    int serviceId = 0;
    int version = 0;
    int pcrPid = 0x1fff; // that value: none
    std::vector<Component> components;
};

// Service description table (of this stream) of ETSI EN 300 468.
struct Sdt
{
    struct Service
    {
        int id = 0;
        std::string name; // UTF-8
    };

    int transportStreamId = 0;
    int version = 0;
    std::vector<Service> services;
};

constexpr int kNoPid = 0x1fff; // also that of null packets

} // namespace TTMLHost

#endif
