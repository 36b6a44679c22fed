#include "ScriptedAppInfo.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>

#include <gtest/gtest.h>
#include <unistd.h>

#include "FaultInjection.h"
#include "Journal.h"
#include "PlatformAppInfo.h"
#include "PlatformSystemInfo.h"

namespace TTMLTest {

namespace {

template <class Value>
struct Answer
{
    int result = 0;
    Value value{};
};

struct InfoState
{
    std::mutex mutex;
    std::optional<Answer<std::string>> package;
    std::map<std::string, Answer<bool>> features;
};

InfoState& State()
{
    static InfoState* const state = new InfoState;
    return *state;
}

} // namespace

void ScriptedAppInfo::SetPackage(const std::string& name)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().package = {0, name};
}

void ScriptedAppInfo::SetPackageFailure(int result)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().package = {result, {}};
}

void ScriptedAppInfo::SetFeature(const std::string& key, bool value)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().features[key] = {0, value};
}

void ScriptedAppInfo::SetFeatureFailure(const std::string& key, int result)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().features[key] = {result, false};
}

void ScriptedAppInfo::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().package.reset();
    State().features.clear();
}

} // namespace TTMLTest

int aul_app_get_pkgname_bypid(int pid, char* name, int length)
{
    using namespace TTMLTest;
    const int fault = FaultInjection::Strike(Call::PLATFORM, __func__);
    const FaultPause pause;
    const std::string call = "aul_app_get_pkgname_bypid(" +
                             (pid == getpid() ? std::string("own") : std::to_string(pid)) + ", " +
                             std::to_string(length) + ")";
    std::optional<Answer<std::string>> answer;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        answer = State().package;
    }
    if (fault != 0) {
        answer = {fault, {}};
    }
    if (!answer || name == nullptr || length <= 0) {
        Journal::Instance().Refuse("app info", call + " = -1",
                                   answer ? "no place for the name" : "the test gave the process no package");
        return -1;
    }
    EXPECT_TRUE(std::all_of(name, name + length, [](char one) { return one == '\0'; }))
        << "the buffer for the package name is not filled with zeros";
    if (answer->result != 0 || answer->value.size() >= static_cast<std::size_t>(length)) {
        const int result = answer->result != 0 ? answer->result : -1;
        Journal::Instance().Add("app info", call + " = " + std::to_string(result));
        return result;
    }
    std::memcpy(name, answer->value.c_str(), answer->value.size() + 1);
    Journal::Instance().Add("app info", call + " = 0, " + Quoted(name));
    return 0;
}

int system_info_get_custom_bool(const char* key, bool* value)
{
    using namespace TTMLTest;
    const int fault = FaultInjection::Strike(Call::PLATFORM, __func__);
    const FaultPause pause;
    const std::string call = "system_info_get_custom_bool(" + Quoted(key) + ")";
    std::optional<Answer<bool>> answer;
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        const auto found = State().features.find(key);
        if (found != State().features.end()) {
            answer = found->second;
        }
    }
    if (fault != 0) {
        answer = {fault, false};
    }
    if (!answer || value == nullptr) {
        Journal::Instance().Refuse("system info", call + " = -1",
                                   answer ? "no place for the value" : "the test said nothing of this key");
        return -1;
    }
    if (answer->result == 0) {
        *value = answer->value;
        Journal::Instance().Add("system info", call + " = 0, " + std::to_string(answer->value));
    } else {
        Journal::Instance().Add("system info", call + " = " + std::to_string(answer->result));
    }
    return answer->result;
}
