#include "ScriptedRecorder.h"

#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Journal.h"
#include "SharedSubscription.h"

namespace TTMLTest {

namespace {

using RecorderCallback = void (*)(ps_signal_s, void*);

struct RecorderState
{
    std::mutex mutex;
    bool allowed = false;
    std::deque<int> registrationFailures;
    std::deque<int> removalFailures;
    std::function<void()> atEndOfRegistration;
    std::function<void()> duringRemoval;
    RecorderCallback callback = nullptr;
    SharedSubscription subscription;
};

RecorderState& State()
{
    static RecorderState* const state = new RecorderState;
    return *state;
}

int NextFailure(std::deque<int>& failures)
{
    if (failures.empty()) {
        return 0;
    }
    const int result = failures.front();
    failures.pop_front();
    return result;
}

void Run(const std::function<void()>& action)
{
    std::function<void()> copy;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(State().mutex);
        copy = action;
    }
    if (copy) {
        copy();
    }
    const FaultPause pause; // the copy goes here
    copy = nullptr;
}

void Note(const std::string& call, int result, const std::string& refusal)
{
    const std::string text = call + " = " + std::to_string(result);
    if (refusal.empty()) {
        Journal::Instance().Add("recorder", text);
    } else {
        Journal::Instance().Refuse("recorder", text, refusal);
    }
}

int Register(RecorderCallback callback, void* userData)
{
    const int fault = FaultInjection::Strike(Call::PLATFORM, "svc_pvr_register_signal_cb_in_list");
    const FaultPause pause;
    std::string refusal;
    int result = 0;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        RecorderState& state = State();
        if (!state.allowed) {
            refusal = "the test did not allow it";
        } else if (state.subscription.count != 0 && state.callback != callback) {
            refusal = "another callback than the one registered";
        }
        result = !refusal.empty() ? -1 : fault != 0 ? fault : NextFailure(state.registrationFailures);
        if (result == 0) {
            state.callback = callback;
            state.subscription.Add("the recorder's signals", userData);
        }
    }
    Note("svc_pvr_register_signal_cb_in_list()", result, refusal);
    return result;
}

int Unregister(RecorderCallback callback)
{
    const int fault = FaultInjection::Strike(Call::PLATFORM, "svc_pvr_unregister_signal_cb_in_list");
    const FaultPause pause;
    std::string refusal;
    int result = 0;
    std::vector<SharedSubscription::User> ended;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        RecorderState& state = State();
        result = fault != 0 ? fault : NextFailure(state.removalFailures);
        if (result != 0) {
            state.subscription.givenUp = true;
        } else if (state.subscription.count == 0 || state.callback != callback) {
            // What was not registered cannot be removed: the library says so on the log.
            result = -1;
        } else {
            ended = state.subscription.Remove();
        }
    }
    EndCalls(ended);
    Note("svc_pvr_unregister_signal_cb_in_list()", result, refusal);
    return result;
}

} // namespace

void ScriptedRecorder::Allow()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().allowed = true;
}

void ScriptedRecorder::FailRegistration(int result)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().registrationFailures.push_back(result);
}

void ScriptedRecorder::FailRemoval(int result)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().removalFailures.push_back(result);
}

void ScriptedRecorder::AtEndOfRegistration(std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().atEndOfRegistration = std::move(action);
}

void ScriptedRecorder::DuringRemoval(std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().duringRemoval = std::move(action);
}

unsigned int ScriptedRecorder::Signal(int type, int playState)
{
    RecorderCallback callback = nullptr;
    std::vector<SharedSubscription::User> users;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(State().mutex);
        callback = State().callback;
        users = State().subscription.users;
    }
    unsigned int called = 0;
    for (const auto& user : users) {
        called += user.slot->Run([&, data = user.userData] { callback({type, playState}, data); }) ? 1U : 0U;
    }
    return called;
}

unsigned int ScriptedRecorder::Registrations()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    return State().subscription.count;
}

void ScriptedRecorder::LateSignal(void* userData, int type, int playState)
{
    RecorderCallback callback = nullptr;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        callback = State().callback;
    }
    ASSERT_NE(callback, nullptr) << "nobody registered yet";
    callback({type, playState}, userData);
}

void ScriptedRecorder::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().allowed = false;
    State().registrationFailures.clear();
    State().removalFailures.clear();
    State().atEndOfRegistration = nullptr;
    State().duringRemoval = nullptr;
    State().callback = nullptr;
    State().subscription = {};
}

void ScriptedRecorder::Verify()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    EXPECT_EQ(State().registrationFailures.size(), 0U) << "a registration that was to fail did not happen";
    EXPECT_EQ(State().removalFailures.size(), 0U) << "a removal that was to fail did not happen";
    EXPECT_TRUE(State().subscription.count == 0 || State().subscription.givenUp)
        << State().subscription.count << " registrations at the recorder are left";
}

} // namespace TTMLTest

int svc_pvr_register_signal_cb_in_list(void (*callback)(ps_signal_s signal, void* userData), void* userData)
{
    const int result = TTMLTest::Register(callback, userData);
    TTMLTest::Run(TTMLTest::State().atEndOfRegistration);
    return result;
}

int svc_pvr_unregister_signal_cb_in_list(void (*callback)(ps_signal_s signal, void* userData))
{
    TTMLTest::Run(TTMLTest::State().duringRemoval);
    return TTMLTest::Unregister(callback);
}
