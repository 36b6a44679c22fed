#include "JsonPrinter.h"

#include <nlohmann/json.hpp>

#include "TTMLCallback.h"

namespace TTMLClient {

namespace {

void AddData(nlohmann::ordered_json& line, const TTML::TTMLRawDataInfo& data)
{
    line["index"] = data.index;
    line["dataType"] = data.dataType;
    line["timestamp"] = data.timestamp;
    line["segStartTimeMs"] = data.segStartTimeMs;
    line["segEndTimeMs"] = data.segEndTimeMs;
    line["trackDescriptor"] = data.trackDescriptor;
    line["bytes"] = data.data.size();
    line["secondaryBytes"] = data.secondaryData.size();
    line["data"] = data.data;
}

} // namespace

JsonPrinter::JsonPrinter(std::ostream& out)
    : m_out(out)
{}

bool JsonPrinter::Print(const Event& event)
{
    nlohmann::ordered_json line;
    line["code"] = event.code;
    line["event"] = EventName(event.code);
    line["thread"] = event.thread;
    line["wallMs"] = event.wallMs;
    line["mediaTimeMs"] = nullptr;
    if (event.mediaTimeMs) {
        line["mediaTimeMs"] = *event.mediaTimeMs;
    }
    if (event.code == TTML::CALLBACK_STARTED) {
        line["inBand"] = event.inBand;
    } else if (event.code == TTML::CALLBACK_SEEK_STARTED) {
        line["positionMs"] = event.positionMs;
    } else if (event.code == TTML::CALLBACK_DATA && event.data != nullptr) {
        AddData(line, *event.data);
    }

    std::string text = line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    text += '\n';
    m_out.write(text.data(), static_cast<std::streamsize>(text.size()));
    m_out.flush();
    return m_out.good();
}

} // namespace TTMLClient
