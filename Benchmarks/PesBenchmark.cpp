// DVB: a PES packet parsed, and delivered to the client's callback.

#include <cstdint>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include "CPESParser.h"
#include "Document.h"
#include "DvbPlay.h"
#include "LogLines.h"
#include "PesPacket.h"
#include "PlatformTvServiceData.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kDocumentSize = 3072;
constexpr std::size_t kDifference = 512; // more than a paragraph
constexpr std::size_t kBatch = 64;
constexpr int kGzipWindowBits = MAX_WBITS + 16;

// What the packets say does not matter here.
constexpr std::uint64_t kPts = 90000;
constexpr std::uint64_t kMediaTime = 10000;

void Parse(benchmark::State& state, unsigned char type)
{
    const std::string document = MakeDocument(kDocumentSize);
    std::vector<unsigned char> packet =
        MakePesPacket(kPts, kMediaTime, type, type == kGzipSegment ? Gzip(document) : document);
    TTML::CPESParser parser;
    for (auto _ : state) {
        TTML::DvbTTMLData data;
        if (!parser.ParsePES(packet, data) || data.segments.front().size() != document.size()) {
            state.SkipWithError("the document did not come whole");
            return;
        }
    }
}

void Inflate(benchmark::State& state)
{
    const std::string document = MakeDocument(kDocumentSize);
    const std::string compressed = Gzip(document);
    std::string text(document.size(), '\0');
    for (auto _ : state) {
        z_stream stream{};
        inflateInit2(&stream, kGzipWindowBits);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
        stream.avail_in = static_cast<uInt>(compressed.size());
        stream.next_out = reinterpret_cast<Bytef*>(text.data());
        stream.avail_out = static_cast<uInt>(text.size());
        const int result = inflate(&stream, Z_FINISH);
        inflateEnd(&stream);
        if (result != Z_STREAM_END) {
            state.SkipWithError("zlib did not inflate the document");
            return;
        }
        benchmark::DoNotOptimize(text.data());
    }
}

void Copy(benchmark::State& state)
{
    const std::string document = MakeDocument(kDocumentSize);
    for (auto _ : state) {
        std::string copy(document);
        benchmark::DoNotOptimize(copy);
    }
}

// Their documents alternate, so that none is dropped as a repeat.
std::vector<TSPESData> MakePackets()
{
    std::vector<TSPESData> packets(2);
    std::size_t size = kDocumentSize;
    for (TSPESData& packet : packets) {
        packet.dataType = PES_DATA_TYPE_TTML;
        packet.data = MakePesPacket(kPts, kMediaTime, kGzipSegment, Gzip(MakeDocument(size)));
        size += kDifference;
    }
    return packets;
}

void Delivery(benchmark::State& state)
{
    std::vector<TSPESData> packets = MakePackets();
    DvbPlay play;
    for (auto _ : state) {
        play.Deliver(packets, kBatch);
    }
}

void ParseMany(std::size_t count)
{
    TSPESData packet = MakePackets().front();
    TTML::CPESParser parser;
    for (std::size_t i = 0; i < count; ++i) {
        TTML::DvbTTMLData data;
        parser.ParsePES(packet.data, data);
    }
}

void DeliverMany(std::size_t count)
{
    std::vector<TSPESData> packets = MakePackets();
    DvbPlay().Deliver(packets, count);
}

void RegisterParser()
{
    benchmark::RegisterBenchmark("pes/parse_gzip", Parse, kGzipSegment);
    benchmark::RegisterBenchmark("pes/inflate", Inflate);
    benchmark::RegisterBenchmark("pes/parse_plain", Parse, kPlainSegment);
    benchmark::RegisterBenchmark("pes/copy", Copy);
    benchmark::RegisterBenchmark("pes/lines", MeasureLogLines);
}

void RegisterDelivery()
{
    benchmark::RegisterBenchmark("pes/deliver", Delivery);
}

std::string LinesNote(const Results& results, const char* workload)
{
    return LogLinesNote(results, "pes/lines", workload, "a packet");
}

void ReportParser(const Results& results, Table& table)
{
    const std::optional<double> gzip = results.Time("pes/parse_gzip");
    const std::optional<double> plain = results.Time("pes/parse_plain");
    if (gzip) {
        table.CompareTimes("ParsePES, 3 KB gzip segment", gzip, results.Time("pes/inflate"),
                           "bare zlib inflate",
                           LinesNote(results, kPesParserSubject.workload) +
                               "; else an output that grows by half the input at a time");
    }
    table.CompareTimes("ParsePES, 3 KB plain segment", plain, results.Time("pes/copy"), "bare copy",
                       "log lines, 4 fewer than with gzip");
}

void ReportDelivery(const Results& results, Table& table)
{
    if (const std::optional<double> deliver = results.Time("pes/deliver", kBatch)) {
        table.CompareTimes("3 KB gzip packet, PES callback to the client's", deliver,
                           results.Time("pes/inflate"), "bare zlib inflate",
                           LinesNote(results, kPesDeliverySubject.workload));
    }
}

} // namespace

const Subject kPesParserSubject = {RegisterParser, ReportParser, "parsed packet", ParseMany};
const Subject kPesDeliverySubject = {RegisterDelivery, ReportDelivery, "delivered packet", DeliverMany};

} // namespace TTMLBench
