#include "ScriptedSettings.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Journal.h"
#include "SharedSubscription.h"

namespace TTMLTest {

namespace {

using NoticeCallback = void (*)(_keynode_t*, void*);

struct Value
{
    bool isBool = false;
    std::optional<int> value; // none: the key has no value
};

struct Registration
{
    NoticeCallback callback = nullptr;
    SharedSubscription subscription;
};

struct SettingsState
{
    std::mutex mutex;
    std::map<std::string, Value> values;
    std::map<SettingsCall, std::deque<int>> failures;
    std::map<SettingsCall, std::shared_ptr<std::function<void()>>> during;
    std::map<std::string, Registration> registrations;
    NoticeCallback lastCallback = nullptr;
};

SettingsState& State()
{
    static SettingsState* const state = new SettingsState;
    return *state;
}

void RunAction(SettingsCall call)
{
    std::shared_ptr<std::function<void()>> action;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(State().mutex);
        const auto found = State().during.find(call);
        if (found != State().during.end()) {
            action = found->second;
        }
    }
    if (action) {
        (*action)();
    }
}

// The result that the test wants of this call, 0 for none. The state is locked.
int NextFailure(SettingsCall call)
{
    auto& failures = State().failures[call];
    if (failures.empty()) {
        return 0;
    }
    const int result = failures.front();
    failures.pop_front();
    return result;
}

void Note(const std::string& text)
{
    Journal::Instance().Add("settings", text);
}

int Get(const char* name, const char* key, int* value, bool isBool)
{
    RunAction(SettingsCall::GET);
    const int fault = FaultInjection::Strike(Call::PLATFORM, name);
    const FaultPause pause;
    const std::string call = std::string(name) + "(" + Quoted(key) + ")";
    std::optional<Value> known;
    int result = 0;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        const auto found = State().values.find(key != nullptr ? key : "");
        if (found != State().values.end()) {
            known = found->second;
        }
        result = fault != 0 ? fault : NextFailure(SettingsCall::GET);
    }
    if (!known || value == nullptr) {
        Journal::Instance().Refuse("settings", call + " = -1", "the test said nothing of this key");
        return -1;
    }
    if (result == 0 && (!known->value || known->isBool != isBool)) {
        result = -1;
    }
    if (result == 0) {
        *value = *known->value;
    }
    Note(call + " = " + std::to_string(result) + (result == 0 ? ", " + std::to_string(*value) : ""));
    RunAction(SettingsCall::GET_END);
    return result;
}

int Set(const char* name, const char* key, int value, bool isBool)
{
    RunAction(SettingsCall::SET);
    const int fault = FaultInjection::Strike(Call::PLATFORM, name);
    int result = 0;
    std::string text;
    {
        const FaultPause pause;
        text = key;
        const std::lock_guard<std::mutex> guard(State().mutex);
        result = fault != 0 ? fault : NextFailure(SettingsCall::SET);
        if (result == 0) {
            State().values[text] = {isBool, isBool ? static_cast<int>(value != 0) : value};
        }
        Note(std::string(name) + "(" + Quoted(key) + ", " + std::to_string(value) +
             ") = " + std::to_string(result));
    }
    if (result == 0) {
        ScriptedSettings::Notice(text);
    }
    return result;
}

} // namespace

void ScriptedSettings::SetBool(const std::string& key, bool value)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().values[key] = {true, static_cast<int>(value)};
}

void ScriptedSettings::SetInt(const std::string& key, int value)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().values[key] = {false, value};
}

void ScriptedSettings::SetMissing(const std::string& key)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().values[key] = {};
}

int ScriptedSettings::ValueOf(const std::string& key)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    const auto found = State().values.find(key);
    if (found == State().values.end() || !found->second.value) {
        ADD_FAILURE() << "the key '" << key << "' has no value";
        return -1;
    }
    return *found->second.value;
}

void ScriptedSettings::Fail(SettingsCall call, int result)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().failures[call].push_back(result);
}

void ScriptedSettings::During(SettingsCall call, std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    if (action) {
        State().during[call] = std::make_shared<std::function<void()>>(std::move(action));
    } else {
        State().during.erase(call);
    }
}

unsigned int ScriptedSettings::Notice(const std::string& key)
{
    Registration registration;
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(State().mutex);
        const auto found = State().registrations.find(key);
        if (found != State().registrations.end()) {
            registration = found->second;
        }
    }
    unsigned int called = 0;
    for (const auto& user : registration.subscription.users) {
        const auto call = [callback = registration.callback, data = user.userData] {
            callback(nullptr, data);
        };
        called += user.slot->Run(call) ? 1U : 0U;
    }
    return called;
}

unsigned int ScriptedSettings::Registrations(const std::string& key)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    const auto found = State().registrations.find(key);
    return found == State().registrations.end() ? 0 : found->second.subscription.count;
}

void ScriptedSettings::LateNotice(void* userData)
{
    NoticeCallback callback = nullptr;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        callback = State().lastCallback;
    }
    ASSERT_NE(callback, nullptr) << "nobody registered yet";
    callback(nullptr, userData);
}

void ScriptedSettings::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().values.clear();
    State().failures.clear();
    State().during.clear();
    State().registrations.clear();
    State().lastCallback = nullptr;
}

void ScriptedSettings::Verify()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    for (const auto& [call, failures] : State().failures) {
        EXPECT_EQ(failures.size(), 0U)
            << "failures of the settings store that nobody met, of call number " << static_cast<int>(call);
    }
    for (const auto& [key, registration] : State().registrations) {
        const SharedSubscription& subscription = registration.subscription;
        EXPECT_TRUE(subscription.count == 0 || subscription.givenUp)
            << subscription.count << " registrations for the key '" << key << "' are left";
    }
}

} // namespace TTMLTest

using TTMLTest::FaultPause;
using TTMLTest::SettingsCall;
using TTMLTest::State;

int vconf_get_int(const char* key, int* value)
{
    return TTMLTest::Get("vconf_get_int", key, value, false);
}

int vconf_get_bool(const char* key, int* value)
{
    return TTMLTest::Get("vconf_get_bool", key, value, true);
}

int vconf_set_int(const char* key, int value)
{
    return TTMLTest::Set("vconf_set_int", key, value, false);
}

int vconf_set_bool(const char* key, int value)
{
    return TTMLTest::Set("vconf_set_bool", key, value, true);
}

int vconf_notify_key_changed(const char* key, void (*callback)(_keynode_t* node, void* userData),
                             void* userData)
{
    TTMLTest::RunAction(SettingsCall::NOTIFY);
    const int fault = TTMLTest::FaultInjection::Strike(TTMLTest::Call::PLATFORM, __func__);
    const FaultPause pause;
    int result = 0;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        result = fault != 0 ? fault : TTMLTest::NextFailure(SettingsCall::NOTIFY);
        if (result == 0) {
            auto& registration = State().registrations[key];
            EXPECT_TRUE(registration.subscription.count == 0 || registration.callback == callback)
                << "another callback than the one registered for " << key;
            registration.callback = callback;
            registration.subscription.Add("the notices of " + std::string(key), userData);
            State().lastCallback = callback;
        }
    }
    TTMLTest::Note("vconf_notify_key_changed(" + TTMLTest::Quoted(key) + ") = " + std::to_string(result));
    return result;
}

int vconf_ignore_key_changed(const char* key, void (*callback)(_keynode_t* node, void* userData))
{
    TTMLTest::RunAction(SettingsCall::IGNORE);
    const int fault = TTMLTest::FaultInjection::Strike(TTMLTest::Call::PLATFORM, __func__);
    const FaultPause pause;
    int result = 0;
    std::vector<TTMLTest::SharedSubscription::User> ended;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        auto& registration = State().registrations[key];
        result = fault != 0 ? fault : TTMLTest::NextFailure(SettingsCall::IGNORE);
        if (result != 0) {
            registration.subscription.givenUp = true;
        } else if (registration.subscription.count == 0 || registration.callback != callback) {
            result = -1;
        } else {
            ended = registration.subscription.Remove();
        }
    }
    EndCalls(ended);
    TTMLTest::Note("vconf_ignore_key_changed(" + TTMLTest::Quoted(key) + ") = " + std::to_string(result));
    return result;
}
