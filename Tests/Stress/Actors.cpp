#include "Actors.h"

#include <array>
#include <chrono>

#include "Operations.h"
#include "Options.h"
#include "PesBuilder.h"
#include "ScriptedPlatform.h"
#include "TvTexts.h"

namespace TTMLTest {

namespace {

// Actors' numbers, behind those of the clients.
constexpr std::uint64_t kFirstActor = 100;

void Signal(Dice& dice, bool isAtsc)
{
    constexpr int kUnknown = 61;
    constexpr std::array<int, 12> kSignals = {
        SIGNAL_TUNE_START,     SIGNAL_TUNE_SUCCESS,    SIGNAL_TUNE_SUCCESS,    SIGNAL_TUNE_SUCCESS,
        SIGNAL_SERVICE_LOCKED, SIGNAL_TVS_ACTIVATE,    SIGNAL_TVS_ACTIVATE,    SIGNAL_TVS_DEACTIVATE,
        SIGNAL_PES_CHANGED,    SIGNAL_ATSC3_SIGNALING, SIGNAL_ATSC3_SIGNALING, kUnknown};
    const int signal = kSignals.at(dice.Below(kSignals.size()));
    TSSignalData data = {};
    data.data.l[0] = dice.OneIn(4) ? 7 : 8;
    const bool isLate = dice.OneIn(10);
    void* const address = Viewer::AnAddress(dice.Below(64));
    if (isLate && address != nullptr && !ScriptedTvService::SubscribedTo(SIGNAL_TUNE_START).empty()) {
        // As if it had been on its way when the subscription ended.
        ScriptedTvService::LateSignal(signal, address, data);
    } else if (isAtsc || signal != SIGNAL_ATSC3_SIGNALING) {
        ScriptedTvService::Signal(signal, data);
    }
}

void Packet(Dice& dice)
{
    const std::string text = "<tt>" + std::to_string(dice.Below(5)) + "</tt>";
    Pes packet;
    packet.Pts(dice.Below(1000000)).MediaTime(dice.Below(1000000));
    switch (dice.Below(4)) {
    case 0:
        packet.Gzip(text);
        break;
    case 1:
        packet.Segment(kPlain, text).Segment(kPlain, text + " ");
        break;
    case 2:
        packet.Segment(kPlain, text).Cut(dice.Below(40));
        break;
    default:
        packet.Segment(kPlain, text);
        break;
    }
    ScriptedTvService::Packet(packet.Bytes());
}

void Caption(Dice& dice)
{
    TSCaption caption;
    caption.type = dice.OneIn(20) ? CLOSED_CAPTION_TYPE_ATSC3 + 1 : CLOSED_CAPTION_TYPE_ATSC3;
    std::string text = "<tt>" + std::to_string(dice.Below(5)) + "</tt>";
    if (dice.OneIn(3)) {
        text += "\x89PNG\r\n\x1A\n and the rest of an image";
    }
    if (!dice.OneIn(20)) {
        caption.data.assign(text.begin(), text.end());
    }
    caption.referenceTime = 1000000LL * dice.Below(1000000);
    caption.offset = dice.OneIn(5) ? 1000000LL * dice.Below(1000) : 0;
    ScriptedTvService::Caption(caption);
}

void Record(Dice& dice)
{
    switch (dice.Below(4)) {
    case 0:
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_STOPPED);
        break;
    case 1:
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_TRICK_MODE_START);
        break;
    case 2:
        ScriptedRecorder::Signal(99);
        break;
    default:
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        break;
    }
}

// Mostly as it should be, so that there is something to be disturbed.
void ChangeScene(Dice& dice)
{
    const bool odd = dice.OneIn(4);
    switch (dice.Below(9)) {
    case 0:
        ScriptedTvService::Change([=](TvScene& scene) { scene.terminated = odd; });
        break;
    case 1:
        ScriptedTvService::Change([=](TvScene& scene) { scene.parentalLock = odd; });
        break;
    case 2:
        ScriptedTvService::Change([=](TvScene& scene) { scene.ratingPermitted = !odd; });
        break;
    case 3:
        ScriptedTvService::Change([=](TvScene& scene) { scene.sourceType = odd ? 1 : 29; });
        break;
    case 4:
        ScriptedTvService::Change([=](TvScene& scene) {
            scene.attributes[SERVICE_ATTRIBUTE_LOCK] = {odd, 0};
        });
        break;
    case 5:
        ScriptedTvService::Change([=](TvScene& scene) {
            scene.stream.sbtType = odd ? 0 : HYBRID_SBT_TYPE_TTML;
            scene.stream.profile = odd ? HYBRID_SBT_PROFILE_EBU_TT_D : HYBRID_SBT_PROFILE_IMSC1;
        });
        break;
    case 6: {
        const unsigned int stc = dice.Below(1000000);
        ScriptedTvService::Change([=](TvScene& scene) { scene.stc = stc; });
        break;
    }
    case 7:
        ScriptedTvService::Change([=](TvScene& scene) {
            scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {odd ? 0 : 1, 0};
            scene.mpd = odd ? "<MPD/>" : kMpd;
        });
        break;
    default: {
        const unsigned int profile = dice.Below(3);
        ScriptedTvService::Change(
            [=](TvScene& scene) { scene.caption->profile = static_cast<unsigned char>(profile); });
        break;
    }
    }
}

void ChangeSetting(Dice& dice)
{
    const bool odd = dice.OneIn(4);
    switch (dice.Below(6)) {
    case 0:
        ScriptedSettings::SetBool(kChannelLockKey, odd);
        break;
    case 1:
        ScriptedSettings::SetInt(kCaptionKey, odd ? 0 : 1);
        break;
    case 2:
        ScriptedSettings::SetBool(kEnableKey, !odd);
        break;
    case 3:
        ScriptedSettings::SetBool(kBannerKey, odd);
        ScriptedSettings::Notice(kBannerKey);
        break;
    case 4:
        ScriptedAppInfo::SetPackage(odd ? kPvrPackage : kTvPackage);
        ScriptedAppInfo::SetFeature(kKoreaKey, odd);
        break;
    default:
        ScriptedFileManager::SetTimeOfDay(dice.Below(1000000));
        break;
    }
}

void ChangePlayer(Dice& dice)
{
    const PlayerAnswer position =
        dice.OneIn(4) ? PlayerAnswer::Error(-1) : PlayerAnswer::Value(dice.Below(1000000));
    ScriptedPlayer::AnswerAlways(position, PlayerAnswer::Value(dice.Below(2)), PlayerAnswer::Value(5));
    ScriptedFileManager::Serve(kGoodUrl, dice.OneIn(10)
                                             ? FetchAnswer::Failure()
                                             : FetchAnswer::Document("<tt>a document on the heap</tt>"));
}

} // namespace

void SetTheStage()
{
    Journal::Instance().KeepNothing();
    ScriptedPlayer::AnswerAlways(PlayerAnswer::Value(1000), PlayerAnswer::Value(0), PlayerAnswer::Value(0));
    ScriptedFileManager::Serve(kGoodUrl, FetchAnswer::Document("<tt>a document on the heap</tt>"));
    ScriptedFileManager::Serve(kBadUrl, FetchAnswer::Failure());
    ScriptedFileManager::SetTimeExpression(kTimeExpressions[0], 1000);
    ScriptedFileManager::SetTimeExpression(kTimeExpressions[1], 2500);
    ScriptedFileManager::SetTimeOfDay(1000);
    TvScene scene;
    scene.attributes[SERVICE_ATTRIBUTE_ATSC3] = {1, 0};
    scene.mpd = kMpd;
    scene.caption.emplace();
    ScriptedTvService::Show(scene);
    ScriptedRecorder::Allow();
    ScriptedSettings::SetBool(kChannelLockKey, false);
    ScriptedSettings::SetBool(kEnableKey, true);
    ScriptedSettings::SetInt(kCaptionKey, 1);
    ScriptedAppInfo::SetPackage(kTvPackage);
    ScriptedAppInfo::SetFeature(kKoreaKey, false);
}

Actors::Actors(Kind kind, Watchdog& watchdog, const std::vector<std::unique_ptr<Viewer>>& viewers)
    : m_watchdog(watchdog)
    , m_viewers(viewers)
{
    if (kind == Kind::BROADBAND) {
        Add("Player", [this](Dice& dice) {
            const unsigned int viewer = dice.Below(static_cast<unsigned int>(m_viewers.size()));
            const Operation operation = dice.OneIn(4) ? Operation::RECORD : Operation::SAMPLE;
            const unsigned int argument = dice.Below(1000);
            m_viewers.at(viewer)->Use([&](TTML::CTTMLSource& source) {
                Perform(operation, *m_viewers.at(viewer), source, argument);
            });
        });
        Add("Changes", ChangePlayer);
    } else {
        AddBroadcast(kind == Kind::ATSC);
    }
}

void Actors::AddBroadcast(bool isAtsc)
{
    Add("TvSignals", [this, isAtsc](Dice& dice) {
        Signal(dice, isAtsc);
        if (dice.OneIn(8)) {
            // Signals come faster than they are handled: not more at once than a source can bear.
            for (const auto& viewer : m_viewers) {
                viewer->Use([](TTML::CTTMLSource& source) { source.TTML::CTTMLSource::OnStop(); });
            }
        }
    });
    Add("TvData", isAtsc ? Caption : Packet);
    Add("Recorder", Record);
    Add("Changes", [](Dice& dice) {
        if (dice.OneIn(2)) {
            ChangeScene(dice);
        } else {
            ChangeSetting(dice);
        }
    });
}

void Actors::Add(const std::string& name, std::function<void(Dice&)> act)
{
    const std::uint64_t number = kFirstActor + m_threads.size();
    m_threads.emplace_back([this, number, name, run = std::move(act)] {
        Watchdog::Watched watched(m_watchdog, name);
        Dice dice(TheOptions().seed, number);
        while (!m_ends.load(std::memory_order_relaxed)) {
            watched.Does("bring something");
            run(dice);
            m_events.fetch_add(1, std::memory_order_relaxed);
            // A platform that never rests takes the clients' processors away and little else happens.
            std::this_thread::sleep_for(std::chrono::microseconds(dice.Below(1000)));
        }
    });
}

Actors::~Actors()
{
    m_ends = true;
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

} // namespace TTMLTest
