#include "ScriptedTvService.h"

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

// Calls.

void TvCallScope::Begin() const
{
    Run(TheTvState().during, m_call);
}

void TvCallScope::PickAnswer()
{
    TvState& state = TheTvState();
    const std::lock_guard<std::mutex> guard(state.mutex);
    m_scene = state.scene.value_or(TvScene());
    if (!state.scene) {
        m_refusal = "the test shows no scene";
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
