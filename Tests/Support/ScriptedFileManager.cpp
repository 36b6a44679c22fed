#include "ScriptedFileManager.h"

#include <atomic>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Journal.h"
#include "PlatformFileManager.h"

namespace TTMLTest {

namespace {

class ScriptedFetcher;

struct FileManagerState
{
    std::mutex mutex;
    std::deque<std::pair<std::string, FetchAnswer>> fetches;
    std::map<std::string, FetchAnswer> served;
    unsigned int createFailures = 0;
    unsigned int allowedFetchers = 0;
    unsigned int created = 0;
    std::set<const ScriptedFetcher*> fetchers;
    std::map<std::string, long long> timeExpressions;
    std::optional<std::uint32_t> timeOfDay;
};

FileManagerState& State()
{
    static FileManagerState* const state = new FileManagerState;
    return *state;
}

void Note(const std::string& text)
{
    Journal::Instance().Add("file manager", text);
}

void Refuse(const std::string& text, const std::string& why)
{
    Journal::Instance().Refuse("file manager", text, why);
}

// A fetcher stays in memory, marked as released, until the next test: so a use after the release is seen
// and reported instead of being undefined.
class ScriptedFetcher : public TTML::IFileUtil
{
public:
    explicit ScriptedFetcher(unsigned int number)
        : m_name("#" + std::to_string(number))
    {}
    virtual ~ScriptedFetcher() = default;

    void Destroy() override
    {
        const FaultPause pause;
        if (!Use("Destroy()")) {
            return;
        }
        EXPECT_TRUE(m_texts.empty()) << m_name << " is released before its text";
        m_released = true;
    }

    char* Fetch(const char* url, const char* userAgent, unsigned long* length) override
    {
        const bool fails = FaultInjection::Strike(Call::PLATFORM, "Fetch") != 0;
        const FaultPause pause;
        std::ostringstream call;
        call << "Fetch(" << Quoted(url) << ", " << Quoted(userAgent) << ", "
             << (length != nullptr ? std::to_string(*length) : "null") << ")";
        const std::optional<FetchAnswer> answer = fails ? FetchAnswer::Failure() : NextAnswer(url);
        if (m_released || !answer || length == nullptr) {
            Refuse(m_name + "." + call.str(), m_released          ? "the fetcher is released"
                                              : length == nullptr ? "no place for the length"
                                                                  : "not the URL that is expected now");
            return nullptr;
        }
        EXPECT_EQ(*length, 0U) << "the length is not 0 on entry: " << call.str();
        if (answer->action) {
            answer->action();
        }
        Note(m_name + "." + call.str() + " = " +
             Quoted(answer->text.has_value() ? answer->text->c_str() : nullptr));
        if (!answer->text) {
            return nullptr;
        }
        *length = answer->length;
        auto text = std::make_unique<char[]>(answer->text->size() + 1);
        std::memcpy(text.get(), answer->text->c_str(), answer->text->size() + 1);
        return m_texts.emplace(text.get(), std::move(text)).first->first;
    }

    void ReleaseText(char* text) override
    {
        const FaultPause pause;
        const bool known = m_texts.count(text) != 0;
        if (!Use("ReleaseText(" + (known ? Quoted(text) : std::string("?")) + ")")) {
            return;
        }
        EXPECT_TRUE(known) << m_name << " is given back a text that is not its own";
        m_texts.erase(text);
    }

    void SetRequestHeader(const char* header) override
    {
        const FaultPause pause;
        Use("SetRequestHeader(" + Quoted(header) + ")");
    }

    bool IsReleased() const { return m_released; }

    void Verify() const
    {
        EXPECT_TRUE(m_released) << "fetcher " << m_name << " is not released";
        EXPECT_TRUE(m_texts.empty()) << "the text of fetcher " << m_name << " is not released";
    }

private:
    bool Use(const std::string& call) const
    {
        if (m_released) {
            Refuse(m_name + "." + call, "the fetcher is released");
            return false;
        }
        Note(m_name + "." + call);
        return true;
    }

    static std::optional<FetchAnswer> NextAnswer(const char* url)
    {
        const std::lock_guard<std::mutex> guard(State().mutex);
        auto& fetches = State().fetches;
        if (url == nullptr || fetches.empty() || fetches.front().first != url) {
            const auto served = State().served.find(url != nullptr ? url : "");
            return served != State().served.end() ? std::optional<FetchAnswer>(served->second) : std::nullopt;
        }
        const FetchAnswer answer = fetches.front().second;
        fetches.pop_front();
        return answer;
    }

    const std::string m_name;
    std::atomic<bool> m_released{false};
    std::map<char*, std::unique_ptr<char[]>> m_texts;
};

// In a run of any length the released ones go before they are too many. The state is locked.
void ForgetReleased()
{
    constexpr std::size_t kMany = 1000;
    auto& fetchers = State().fetchers;
    if (Journal::Instance().IsKept() || fetchers.size() < kMany) {
        return;
    }
    for (auto one = fetchers.begin(); one != fetchers.end();) {
        if ((*one)->IsReleased()) {
            delete *one;
            one = fetchers.erase(one);
        } else {
            ++one;
        }
    }
}

} // namespace

FetchAnswer FetchAnswer::Document(std::string text)
{
    FetchAnswer answer;
    answer.length = text.size();
    answer.text = std::move(text);
    return answer;
}

FetchAnswer FetchAnswer::WithLength(unsigned long newLength) const
{
    FetchAnswer answer = *this;
    answer.length = newLength;
    return answer;
}

FetchAnswer FetchAnswer::During(std::function<void()> newAction) const
{
    FetchAnswer answer = *this;
    answer.action = std::move(newAction);
    return answer;
}

void ScriptedFileManager::ExpectFetch(const std::string& url, const FetchAnswer& answer)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().fetches.emplace_back(url, answer);
    ++State().allowedFetchers;
}

void ScriptedFileManager::Serve(const std::string& url, const FetchAnswer& answer)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().served[url] = answer;
}

void ScriptedFileManager::ExpectCreateFailure()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    ++State().createFailures;
}

void ScriptedFileManager::SetTimeExpression(const std::string& expression, long long milliseconds)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().timeExpressions[expression] = milliseconds;
}

void ScriptedFileManager::SetTimeOfDay(std::uint32_t milliseconds)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().timeOfDay = milliseconds;
}

void ScriptedFileManager::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().fetches.clear();
    State().served.clear();
    State().createFailures = 0;
    State().allowedFetchers = 0;
    State().created = 0;
    for (const ScriptedFetcher* fetcher : State().fetchers) {
        delete fetcher;
    }
    State().fetchers.clear();
    State().timeExpressions.clear();
    State().timeOfDay.reset();
}

void ScriptedFileManager::Verify()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    EXPECT_EQ(State().fetches.size(), 0U) << "documents that nobody fetched";
    EXPECT_EQ(State().createFailures, 0U) << "a creation that was to fail did not happen";
    for (const ScriptedFetcher* fetcher : State().fetchers) {
        fetcher->Verify();
    }
}

} // namespace TTMLTest

namespace TTML {

using TTMLTest::FaultPause;

IFileUtil* IFileUtil::Create()
{
    const bool fails = TTMLTest::FaultInjection::Strike(TTMLTest::Call::PLATFORM, "IFileUtil::Create") != 0;
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(TTMLTest::State().mutex);
    if (fails || TTMLTest::State().createFailures != 0) {
        TTMLTest::State().createFailures -= fails ? 0U : 1U;
        guard.unlock();
        TTMLTest::Note("IFileUtil::Create() = null");
        return nullptr;
    }
    const bool allowed =
        TTMLTest::State().created < TTMLTest::State().allowedFetchers || !TTMLTest::State().served.empty();
    const unsigned int number = ++TTMLTest::State().created;
    TTMLTest::ForgetReleased();
    auto* const fetcher = new TTMLTest::ScriptedFetcher(number);
    TTMLTest::State().fetchers.insert(fetcher);
    guard.unlock();
    const std::string call = "IFileUtil::Create() = #" + std::to_string(number);
    if (allowed) {
        TTMLTest::Note(call);
    } else {
        TTMLTest::Refuse(call, "no fetch is expected");
    }
    return fetcher;
}

long long ConvertTimeExpressionToMS(const std::string& expression, double frameRate, int tickRate)
{
    const FaultPause pause;
    std::optional<long long> value;
    {
        const std::lock_guard<std::mutex> guard(TTMLTest::State().mutex);
        const auto known = TTMLTest::State().timeExpressions.find(expression);
        if (known != TTMLTest::State().timeExpressions.end()) {
            value = known->second;
        }
    }
    std::ostringstream call;
    call << "ConvertTimeExpressionToMS(\"" << expression << "\", " << frameRate << ", " << tickRate
         << ") = " << value.value_or(0);
    if (value) {
        TTMLTest::Note(call.str());
    } else {
        TTMLTest::Refuse(call.str(), "the test gave this expression no value");
    }
    return value.value_or(0);
}

std::uint32_t TTMLGetTimeofDay()
{
    const FaultPause pause;
    std::optional<std::uint32_t> value;
    {
        const std::lock_guard<std::mutex> guard(TTMLTest::State().mutex);
        value = TTMLTest::State().timeOfDay;
    }
    const std::string call = "TTMLGetTimeofDay() = " + std::to_string(value.value_or(0));
    if (value) {
        TTMLTest::Note(call);
    } else {
        TTMLTest::Refuse(call, "the test set no time");
    }
    return value.value_or(0);
}

} // namespace TTML
