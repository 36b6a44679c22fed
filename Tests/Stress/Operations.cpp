#include "Operations.h"

#include <array>
#include <memory>
#include <string>

#include "CSourceHolder.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

struct Entry
{
    const char* name;
    unsigned int weight;
    bool forCallbacks;
};

// In the order of the operations.
constexpr std::array<Entry, kOperations> kEntries = {{
    {"RegisterCallBack", 4, true},
    {"UnRegisterCallBack", 1, true},
    {"GetVideoCurrentTime", 6, true},
    {"GetSubtitleMode", 1, true},
    {"t_Initialize", 2, true},
    {"PlayTrack in band", 6, true},
    {"PlayTrack of a URL", 3, true},
    {"StopTrack", 5, true},
    {"PauseTrack", 4, true},
    {"ResumeTrack", 4, true},
    {"Invalidate", 2, false},
    {"SeekStart", 3, true},
    {"SeekCompleted", 3, true},
    {"OnSubtitleData with a sample", 8, true},
    {"OnSubtitleData with a record", 3, true},
    {"SetDNTOption", 2, true},
    // Not against itself, which inside callbacks nobody could see to.
    {"OnErrorDownloadableFonts", 3, false},
    {"OnStart", 5, false},
    {"OnStop", 3, false},
    {"OnShow", 5, true},
    {"OnHide", 3, true},
    {"SendEventToSourceThread", 3, true},
    {"CSourceHolder", 2, true},
    {"Destroy", 1, false},
}};

const Entry& EntryOf(Operation operation)
{
    return kEntries.at(static_cast<std::size_t>(operation));
}

void PushSample(TTML::CTTMLSource& source, unsigned int argument)
{
    TTML::TTMLSubtitleExtraData extra;
    extra.index = static_cast<int>(argument);
    extra.timestamp = argument;
    if (argument % 2 == 0) {
        extra.segStartTime = kTimeExpressions[0];
        extra.segEndTime = kTimeExpressions[1];
    }
    std::string sample = "<tt>a sample whose text is kept on the heap</tt>";
    source.OnSubtitleData(argument % 100 == 0 ? nullptr : sample.data(), extra);
}

void HandOverRecord(TTML::CTTMLSource& source, unsigned int argument)
{
    auto record = std::make_unique<TTML::TTMLRawDataInfo>();
    record->data = "<tt/>";
    void* const raw = argument % 100 == 0 ? nullptr : record.release();
    source.OnSubtitleData(raw);
}

} // namespace

const char* NameOf(Operation operation)
{
    return EntryOf(operation).name;
}

bool IsForCallbacks(Operation operation)
{
    return EntryOf(operation).forCallbacks;
}

Operation Draw(Dice& dice)
{
    unsigned int all = 0;
    for (const Entry& entry : kEntries) {
        all += entry.weight;
    }
    unsigned int left = dice.Below(all);
    std::size_t drawn = 0;
    while (left >= kEntries.at(drawn).weight) {
        left -= kEntries.at(drawn).weight;
        ++drawn;
    }
    return static_cast<Operation>(drawn);
}

void Perform(Operation operation, Viewer& viewer, TTML::CTTMLSource& source, unsigned int argument)
{
    const char* const descriptor = argument % 3 == 0 ? nullptr : kDescriptors[argument % 2];
    switch (operation) {
    case Operation::REGISTER:
        viewer.Register(source, argument % 2 == 0);
        break;
    case Operation::UNREGISTER:
        source.UnRegisterCallBack();
        break;
    case Operation::TIME: {
        long long time = 0;
        source.GetVideoCurrentTime(argument % 100 == 0 ? nullptr : &time);
        break;
    }
    case Operation::MODE:
        source.GetSubtitleMode();
        break;
    case Operation::INITIALIZE:
        source.t_Initialize(kAgents[argument % 2]);
        break;
    case Operation::PLAY_INBAND:
        source.PlayTrack(argument, argument % 2 == 0 ? "" : nullptr, descriptor);
        break;
    case Operation::PLAY_URL:
        source.PlayTrack(argument, argument % 4 == 0 ? kBadUrl : kGoodUrl, descriptor);
        break;
    case Operation::STOP_TRACK:
        source.StopTrack();
        break;
    case Operation::PAUSE_TRACK:
        source.PauseTrack(argument % 2 == 0);
        break;
    case Operation::RESUME_TRACK:
        source.ResumeTrack();
        break;
    case Operation::INVALIDATE:
        source.Invalidate();
        break;
    case Operation::SEEK_START:
        source.SeekStart(argument);
        break;
    case Operation::SEEK_COMPLETED:
        source.SeekCompleted();
        break;
    case Operation::SAMPLE:
        PushSample(source, argument);
        break;
    case Operation::RECORD:
        HandOverRecord(source, argument);
        break;
    case Operation::DNT_OPTION:
        source.SetDNTOption(static_cast<int>(argument % 4));
        break;
    case Operation::FONTS_ERROR:
        source.OnErrorDownloadableFonts({"a font", "another font"});
        break;
    case Operation::START:
        source.OnStart();
        break;
    case Operation::STOP:
        source.OnStop();
        break;
    case Operation::SHOW:
        source.OnShow();
        break;
    case Operation::HIDE:
        source.OnHide();
        break;
    case Operation::SEND_EVENT:
        viewer.Post(source);
        break;
    case Operation::HOLDER:
        // Only held: whoever fetches it here does not know whether it lives.
        TTML::CSourceHolder::SetSource(argument % 2 == 0 ? &source : nullptr);
        TTML::CSourceHolder::GetSource();
        break;
    case Operation::RENEW:
    case Operation::COUNT:
        break;
    }
}

} // namespace TTMLTest
