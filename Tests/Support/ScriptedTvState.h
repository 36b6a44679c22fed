#ifndef SCRIPTED_TV_STATE_H
#define SCRIPTED_TV_STATE_H

// What the files of the scripted TV service share; tests use ScriptedTvService.h.

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "CallbackSlot.h"
#include "FaultInjection.h"
#include "ScriptedTvService.h"
#include "SharedSubscription.h"

namespace TTMLTest {

// An object that the library was given. It stays in memory, marked as released, until the next test: so a use
// after the release is seen and reported instead of being undefined.
class TvObject
{
public:
    explicit TvObject(unsigned int number);
    virtual ~TvObject() = default;
    TvObject(const TvObject&) = delete;
    TvObject& operator=(const TvObject&) = delete;

    const std::string& Name() const { return m_name; }
    bool IsReleased() const { return m_released.load(); }
    void MarkReleased() { m_released.store(true); }
    // The test has the platform keep it.
    void GiveUp() { m_givenUp.store(true); }
    bool IsMissed() const { return !m_released.load() && !m_givenUp.load(); }

private:
    const std::string m_name;
    std::atomic<bool> m_released{false};
    std::atomic<bool> m_givenUp{false};
};

struct TvCaptionSubscription
{
    TSCaptionCallback callback;
    void* userData;
    std::shared_ptr<CallbackSlot> slot;
    bool givenUp = false; // the test made the removal fail
};

class TvSubscriber;

struct TvState
{
    std::mutex mutex;
    std::optional<TvScene> scene;
    std::map<TvCall, std::deque<TvAnswer>> answers;
    std::map<TvCall, std::shared_ptr<std::function<void()>>> during;
    std::map<TvCall, std::shared_ptr<std::function<void()>>> atEnd;
    std::vector<std::unique_ptr<TvObject>> objects;
    unsigned int objectCount = 0;
    std::vector<TvSubscriber*> subscribers; // not destroyed yet, the oldest first
    std::map<std::string, SharedSubscription> packets;
    TSPESCallback packetCallback = nullptr;
    TSSignalCallback signalCallback = nullptr;
    std::map<int, TvCaptionSubscription> captions; // by id
    TSCaptionCallback captionCallback = nullptr;
    int captionCount = 0;
};
TvState& TheTvState();

// One call of the library's: runs the test's actions at its two ends and picks its answer. The call is noted
// when the object goes, once it has been told what it answers.
class TvCallScope
{
public:
    // `text` makes the call's text, where the faults of the library's allocations do not reach. A usual
    // result is 1 for success, or 0 for calls that create.
    template <class Text>
    TvCallScope(TvCall call, const Text& text, int usualResult)
        : m_call(call)
        , m_result(usualResult)
    {
        Begin();
        const TvAnswer* const struck = Strike(m_call);
        m_pause.emplace();
        m_text = text();
        PickAnswer(struck);
    }
    ~TvCallScope();
    TvCallScope(const TvCallScope&) = delete;
    TvCallScope& operator=(const TvCallScope&) = delete;

    int Result() const { return m_result; }
    // Whether the call is to do what it is there for.
    bool HasEffect() const { return m_effect; }
    const TvScene& Scene() const { return *m_scene; }
    void SetResult(int result) { m_result = result; }
    // A value that the call wrote.
    void Add(const std::string& value) { m_values += ", " + value; }
    void Add(unsigned long long value) { Add(std::to_string(value)); }
    // The call is wrong; it answers `result`.
    void Refuse(const std::string& why, int result = -1);

private:
    void Begin() const;
    static const TvAnswer* Strike(TvCall call);
    void PickAnswer(const TvAnswer* struck);

    const TvCall m_call;
    std::optional<FaultPause> m_pause; // from the first action to the last
    std::string m_text;
    int m_result;
    bool m_effect = true;
    std::string m_values;
    std::string m_refusal;
    std::optional<TvScene> m_scene;
};

// In a run of any length the released ones go before they are too many. The state is locked.
void ForgetReleasedTvObjects(TvState& state);

// Makes an object that the library gets.
template <class Object, class... Arguments>
Object* NewTvObject(Arguments&&... arguments)
{
    TvState& state = TheTvState();
    const std::lock_guard<std::mutex> guard(state.mutex);
    ForgetReleasedTvObjects(state);
    auto object = std::make_unique<Object>(++state.objectCount, std::forward<Arguments>(arguments)...);
    Object* const created = object.get();
    state.objects.push_back(std::move(object));
    return created;
}

// Of ScriptedTvSubscriptions.cpp.
void VerifyTvSubscriptions(TvState& state);
int AddTvCaptionSubscription(TSCaptionCallback callback, void* userData);
// False when there is none with the id.
bool RemoveTvCaptionSubscription(int subscriptionId);
// Its removal failed, and it is not missed.
void GiveUpTvCaptionSubscription(int subscriptionId);

} // namespace TTMLTest

#endif
