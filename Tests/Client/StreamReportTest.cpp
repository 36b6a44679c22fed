#include "StreamReport.h"

#include <gtest/gtest.h>

using TTMLClient::PurposeText;
using TTMLClient::StreamJson;
using TTMLClient::StreamTable;
using TTMLHost::TvServiceInfo;
using TTMLHost::TvStreamInfo;

namespace {

TvStreamInfo TwoServices()
{
    TvServiceInfo harbour;
    harbour.id = 101;
    harbour.name = "Harbour TV";
    harbour.pmtPid = 256;
    harbour.pcrPid = 257;
    harbour.pcrs = 1;
    harbour.rating = 12;
    harbour.ttml = {{259, "deu", 0x10, {0x00, 0x02}, 7}, {258, "eng", 0, {0x01}, 24}};
    harbour.others = {{257, 2, "video (MPEG-2)", 750}};
    TvServiceInfo bare;
    bare.id = 7;
    bare.pmtPid = 512;
    bare.pcrPid = 8191;

    TvStreamInfo info;
    info.packetSize = 204;
    info.statistics.packets = 3000;
    info.statistics.continuityErrors = 1;
    info.statistics.transportErrors = 2;
    info.statistics.scrambledPackets = 3;
    info.statistics.resynchronisations = 4;
    info.statistics.pesDropped = 1;
    info.statistics.badSections = 5;
    info.services = {harbour, bare};
    return info;
}

TEST(StreamTable, ShowsServicesComponentsAndErrors)
{
    EXPECT_EQ(StreamTable("a.ts", TwoServices()),
              "'a.ts': 3000 transport packets of 204 bytes, 2 services\n"
              "\n"
              "service 101 'Harbour TV': PMT on PID 256, 1 PCR on PID 257, rated 12\n"
              "    PID  component                 PES packets  details\n"
              "    257  video (MPEG-2)                    750\n"
              "    258  TTML subtitles                     24  eng, same-language dialogue, IMSC1 Text\n"
              "    259  TTML subtitles                      7  deu, same-language dialogue for the hard of "
              "hearing, EBU-TT-D or IMSC1 Text, EBU-TT-D\n"
              "\n"
              "service 7: PMT on PID 512, 0 PCRs on PID 8191\n"
              "  no components\n"
              "\n"
              "errors: 1 continuity, 2 transport, 4 resynchronisation, 3 scrambled packets, 1 damaged PES "
              "packet, 5 bad tables\n");
}

TEST(StreamTable, ShowsTextsOfAStreamWithoutControlCharacters)
{
    TvServiceInfo service;
    service.name = "a\033[31m\n\xFF";
    service.ttml = {{1, "e\nn", 0, {}, 0}};
    TvStreamInfo info;
    info.services = {service};
    const std::string table = StreamTable("a.ts", info);
    EXPECT_NE(table.find("service 0 'a\uFFFD[31m\uFFFD\uFFFD': "), std::string::npos) << table;
    EXPECT_NE(table.find("e\uFFFDn, same-language dialogue, no profile\n"), std::string::npos) << table;
}

TEST(StreamJson, HoldsTheSameInOneLine)
{
    EXPECT_EQ(StreamJson("a.ts", TwoServices()),
              "{\"input\":\"a.ts\",\"packetSize\":204,\"packets\":3000,\"continuityErrors\":1,"
              "\"transportErrors\":2,\"resynchronisations\":4,\"scrambledPackets\":3,\"damagedPesPackets\":1,"
              "\"badTables\":5,\"services\":[{\"id\":101,\"name\":\"Harbour "
              "TV\",\"pmtPid\":256,\"pcrPid\":257,\"pcrs\":1,"
              "\"rating\":12,\"ttml\":[{\"pid\":259,\"language\":\"deu\",\"purpose\":16,"
              "\"purposeText\":\"same-language dialogue for the hard of hearing\",\"profiles\":[0,2],"
              "\"profileTexts\":[\"EBU-TT-D or IMSC1 Text\",\"EBU-TT-D\"],\"pesPackets\":7},"
              "{\"pid\":258,\"language\":\"eng\",\"purpose\":0,\"purposeText\":\"same-language dialogue\","
              "\"profiles\":[1],\"profileTexts\":[\"IMSC1 Text\"],\"pesPackets\":24}],"
              "\"others\":[{\"pid\":257,\"streamType\":2,\"kind\":\"video (MPEG-2)\",\"pesPackets\":750}]},"
              "{\"id\":7,\"name\":\"\",\"pmtPid\":512,\"pcrPid\":8191,\"pcrs\":0,\"rating\":null,\"ttml\":[],"
              "\"others\":[]}]}\n");
}

TEST(StreamReport, CountsOnlyTheErrorsThatThereWere)
{
    EXPECT_EQ(TTMLClient::ErrorCounts(TTMLHost::TvStatistics()), "");
    EXPECT_EQ(TTMLClient::ErrorCounts(TwoServices().statistics),
              "1 subtitle packet left out, 1 continuity error, 2 transport errors, 4 resynchronisations, "
              "3 scrambled packets, 5 bad tables");
    TTMLHost::TvStatistics statistics;
    statistics.packets = 100;
    statistics.pesDropped = 2;
    statistics.badSections = 1;
    EXPECT_EQ(TTMLClient::ErrorCounts(statistics), "2 subtitle packets left out, 1 bad table");
}

TEST(StreamReport, NamesAnInput)
{
    EXPECT_EQ(TTMLClient::InputName("a.ts"), "'a.ts'");
    EXPECT_EQ(TTMLClient::InputName("-"), "standard input");
}

TEST(StreamReport, NamesEveryPurposeAndProfileOfTheStandard)
{
    EXPECT_EQ(PurposeText(0x00), "same-language dialogue");
    EXPECT_EQ(PurposeText(0x01), "other-language dialogue");
    EXPECT_EQ(PurposeText(0x02), "all dialogue");
    EXPECT_EQ(PurposeText(0x10), "same-language dialogue for the hard of hearing");
    EXPECT_EQ(PurposeText(0x11), "other-language dialogue for the hard of hearing");
    EXPECT_EQ(PurposeText(0x12), "all dialogue for the hard of hearing");
    EXPECT_EQ(PurposeText(0x30), "audio description");
    EXPECT_EQ(PurposeText(0x31), "content-related commentary");
    EXPECT_EQ(PurposeText(0x03), "reserved purpose 0x03");
    EXPECT_EQ(TTMLClient::ProfileText(0x00), "EBU-TT-D or IMSC1 Text");
    EXPECT_EQ(TTMLClient::ProfileText(0x01), "IMSC1 Text");
    EXPECT_EQ(TTMLClient::ProfileText(0x02), "EBU-TT-D");
    EXPECT_EQ(TTMLClient::ProfileText(0xFF), "reserved profile 0xFF");
}

} // namespace
