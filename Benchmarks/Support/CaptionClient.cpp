#include "CaptionClient.h"

#include "TTMLCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTMLBench {

void CaptionClient::OnNotice(int code, void* data)
{
    if (code == TTML::CALLBACK_DATA) {
        const auto* const caption = static_cast<TTML::TTMLRawDataInfo*>(data);
        auto* const client = static_cast<CaptionClient*>(caption->userData);
        delete caption;
        client->captions.Done();
    } else if (code == TTML::CALLBACK_STARTED) {
        const auto* const notice = static_cast<const TTML::TTMLStartNotice*>(data);
        static_cast<CaptionClient*>(notice->userData)->starts.Done();
    }
}

} // namespace TTMLBench
