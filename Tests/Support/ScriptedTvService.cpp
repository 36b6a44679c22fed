#include "ScriptedTvService.h"

#include <algorithm>
#include <utility>

#include <gtest/gtest.h>

#include "Journal.h"
#include "ScriptedTvState.h"

namespace TTMLTest {

namespace {

using Actions = std::map<TvCall, std::shared_ptr<std::function<void()>>>;

void SetAction(Actions& actions, TvCall call, std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(TheTvState().mutex);
    if (action) {
        actions[call] = std::make_shared<std::function<void()>>(std::move(action));
    } else {
        actions.erase(call);
    }
}

void Run(const Actions& actions, TvCall call)
{
    std::shared_ptr<std::function<void()>> action;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(TheTvState().mutex);
        const auto found = actions.find(call);
        if (found != actions.end()) {
            action = found->second;
        }
    }
    // Outside the pause: an action may use the library, whose calls fail as the test has asked.
    if (action) {
        (*action)();
    }
}

struct TvCallName
{
    TvCall call;
    const char* name;
};

// The calls that can fail, by the functions of the boundary.
constexpr TvCallName kNames[] = {
    {TvCall::CREATE_SIGNAL_SUBSCRIBER, "CreateSignalSubscriber"},
    {TvCall::SUBSCRIBE, "Subscribe"},
    {TvCall::UNSUBSCRIBE, "Unsubscribe"},
    {TvCall::DESTROY_SIGNAL_SUBSCRIBER, "DestroySignalSubscriber"},
    {TvCall::CREATE_SERVICE_NAVIGATION, "CreateServiceNavigation"},
    {TvCall::GET_TV_MODE, "GetTvMode"},
    {TvCall::GET_CURRENT_SERVICE_INFO, "GetCurrentServiceInfo"},
    {TvCall::CREATE_SOURCE_CONTROL, "CreateSourceControl"},
    {TvCall::GET_CURRENT_SOURCE_INFO, "GetCurrentSourceInfo"},
    {TvCall::CREATE_AV_CONTROL, "CreateAVControl"},
    {TvCall::GET_PARENTAL_LOCK, "GetParentalLock"},
    {TvCall::CREATE_RATING_UTIL, "CreateRatingUtil"},
    {TvCall::GET_RATING, "GetRating"},
    {TvCall::CREATE_SO_SPEC_APP, "CreateSOSpecApp"},
    {TvCall::GET_VALUE, "GetValue"},
    {TvCall::CREATE_DATA_CONTROL, "CreateDataControl"},
    {TvCall::GET_CURRENT_HYBRID_SBT, "GetCurrentHybridSBT"},
    {TvCall::GET_STC_COUNT, "GetSTCCount"},
    {TvCall::GET_CURRENT_CAPTION, "GetCurrentCaption"},
    {TvCall::SERVICE_DATA_AUX, "ServiceDataAux"},
    {TvCall::GET_HYBRID_SBT, "GetHybridSBT"},
    {TvCall::CREATE_ATSC3_DATA_CONTROL, "CreateATSC3DataControl"},
    {TvCall::GET_MPD_DATA, "GetMpdData"},
    {TvCall::CREATE_DATA_SUBSCRIBER, "CreateDataSubscriber"},
    {TvCall::SUBSCRIBE_CAPTION, "SubscribeCaption"},
    {TvCall::UNSUBSCRIBE_CAPTION, "UnsubscribeCaption"},
    {TvCall::SUBSCRIBE_PES, "SubscribePES"},
    {TvCall::UNSUBSCRIBE_PES, "UnsubscribePES"},
    {TvCall::IS_TVS_TERMINATED, "IsTvsTerminated"},
};

bool Creates(TvCall call)
{
    switch (call) {
    case TvCall::CREATE_SIGNAL_SUBSCRIBER:
    case TvCall::CREATE_SERVICE_NAVIGATION:
    case TvCall::CREATE_SOURCE_CONTROL:
    case TvCall::CREATE_AV_CONTROL:
    case TvCall::CREATE_RATING_UTIL:
    case TvCall::CREATE_SO_SPEC_APP:
    case TvCall::CREATE_DATA_CONTROL:
    case TvCall::SERVICE_DATA_AUX:
    case TvCall::CREATE_ATSC3_DATA_CONTROL:
    case TvCall::CREATE_DATA_SUBSCRIBER:
        return true;
    default:
        return false;
    }
}

// What fails once the TV service has ended.
bool IsQuery(TvCall call)
{
    return call >= TvCall::CREATE_SERVICE_NAVIGATION && call <= TvCall::CREATE_DATA_SUBSCRIBER;
}

} // namespace

TvState& TheTvState()
{
    // Never destroyed: a thread of the library may be inside until the process is gone.
    static TvState* const state = new TvState;
    return *state;
}

TvObject::TvObject(unsigned int number)
    : m_name("#" + std::to_string(number))
{}

void ForgetReleasedTvObjects(TvState& state)
{
    constexpr std::size_t kMany = 1000;
    auto& objects = state.objects;
    if (!Journal::Instance().IsKept() && objects.size() >= kMany) {
        objects.erase(std::remove_if(objects.begin(), objects.end(),
                                     [](const auto& object) { return object->IsReleased(); }),
                      objects.end());
    }
}

// Calls.

void TvCallScope::Begin() const
{
    Run(TheTvState().during, m_call);
}

// What a call that is made to fail answers, or null.
const TvAnswer* TvCallScope::Strike(TvCall call)
{
    static const TvAnswer failure = {std::nullopt, false};
    static const TvAnswer null = TvAnswer::Null();
    for (const TvCallName& known : kNames) {
        if (known.call == call && FaultInjection::Strike(Call::PLATFORM, known.name) != 0) {
            return &failure;
        }
        if (known.call == call && Creates(call) &&
            FaultInjection::Strike(Call::PLATFORM_NULL, known.name) != 0) {
            return &null;
        }
    }
    return nullptr;
}

void TvCallScope::PickAnswer(const TvAnswer* struck)
{
    TvState& state = TheTvState();
    const std::lock_guard<std::mutex> guard(state.mutex);
    m_scene = state.scene.value_or(TvScene());
    if (!state.scene) {
        m_refusal = "the test shows no scene";
        m_effect = false;
        return;
    }
    if (struck != nullptr) {
        m_result = struck->result.value_or(m_result == 0 ? -1 : 0);
        m_effect = false;
        return;
    }
    auto& answers = state.answers[m_call];
    if (answers.empty()) {
        if (m_scene->terminated && IsQuery(m_call)) {
            m_result = m_result == 0 ? -1 : 0;
            m_effect = false;
        }
        return;
    }
    m_result = answers.front().result.value_or(m_result);
    m_effect = answers.front().effect;
    answers.pop_front();
}

void TvCallScope::Refuse(const std::string& why, int result)
{
    m_refusal = why;
    m_result = result;
    m_effect = false;
}

TvCallScope::~TvCallScope()
{
    if (m_call != TvCall::DESTROY) {
        m_text += " = " + std::to_string(m_result) + m_values;
    }
    if (m_refusal.empty()) {
        Journal::Instance().Add("tv service", m_text);
    } else {
        Journal::Instance().Refuse("tv service", m_text, m_refusal);
    }
    m_pause.reset();
    Run(TheTvState().atEnd, m_call);
}

// The test's side.

void ScriptedTvService::Show(const TvScene& scene)
{
    const std::lock_guard<std::mutex> guard(TheTvState().mutex);
    TheTvState().scene = scene;
}

void ScriptedTvService::Change(const std::function<void(TvScene&)>& change)
{
    const std::lock_guard<std::mutex> guard(TheTvState().mutex);
    if (!TheTvState().scene) {
        TheTvState().scene.emplace();
    }
    change(*TheTvState().scene);
}

void ScriptedTvService::Answer(TvCall call, TvAnswer answer, unsigned int times)
{
    const std::lock_guard<std::mutex> guard(TheTvState().mutex);
    auto& answers = TheTvState().answers[call];
    answers.insert(answers.end(), times, answer);
}

void ScriptedTvService::During(TvCall call, std::function<void()> action)
{
    SetAction(TheTvState().during, call, std::move(action));
}

void ScriptedTvService::AtEndOf(TvCall call, std::function<void()> action)
{
    SetAction(TheTvState().atEnd, call, std::move(action));
}

void ScriptedTvService::Reset()
{
    CTVServiceSubscriber::m_profile = static_cast<EProfile>(kProfile);
    CTVServiceSubscriber::m_group = kGroup;
    TvState& state = TheTvState();
    const std::lock_guard<std::mutex> guard(state.mutex);
    state.scene.reset();
    state.answers.clear();
    state.during.clear();
    state.atEnd.clear();
    state.subscribers.clear();
    state.objects.clear();
    state.objectCount = 0;
    state.packets.clear();
    state.packetCallback = nullptr;
    state.signalCallback = nullptr;
    state.captions.clear();
    state.captionCallback = nullptr;
    state.captionCount = 0;
}

void ScriptedTvService::Verify()
{
    TvState& state = TheTvState();
    const std::lock_guard<std::mutex> guard(state.mutex);
    for (const auto& [call, answers] : state.answers) {
        EXPECT_EQ(answers.size(), 0U)
            << "answers of the TV service that nobody asked for, of call number " << static_cast<int>(call);
    }
    for (const auto& object : state.objects) {
        EXPECT_FALSE(object->IsMissed())
            << "object " << object->Name() << " of the TV service is not released";
    }
    VerifyTvSubscriptions(state);
}

} // namespace TTMLTest
