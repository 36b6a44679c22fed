#ifndef TTML_HOST_CALLBACK_LIST_H
#define TTML_HOST_CALLBACK_LIST_H

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace TTMLHost {

// Registrations that are counted by what they are taken back with (`Target`: a callback, a key and a
// callback, a name), each with what tells it from its like (`Data`: the user data). Both are compared with ==
// under the list's lock, so that must be a plain comparison.
//
// Any thread may make any call, also inside the calls that Call() makes; no lock is held then. The list must
// outlive those.
template <typename Target, typename Data>
class CallbackList
{
public:
    CallbackList() = default;
    ~CallbackList() = default;
    CallbackList(const CallbackList&) = delete;
    CallbackList& operator=(const CallbackList&) = delete;

    // Counts one registration of `target`; a pair is entered once, however often it is registered. Does not
    // wait for calls. Without memory it throws std::bad_alloc and leaves the list as it is.
    void Register(const Target& target, const Data& data)
    {
        const auto entry = std::make_shared<Entry>(Entry{target, data, 0});
        const std::lock_guard<std::mutex> lock(m_mutex);
        // From here on nothing fails.
        m_groups.reserve(m_groups.size() + 1);
        m_entries.reserve(m_entries.size() + 1);
        if (!m_Has(*entry)) {
            entry->number = ++m_newest;
            m_entries.push_back(entry);
        }
        const auto group = m_FindGroup(target);
        if (group == m_groups.end()) {
            m_groups.push_back({entry, 1});
        } else {
            ++group->registrations;
        }
    }

    // Takes back one registration of `target`. While others remain, all its entries stay. With the last one
    // they go, and the calls to them that other threads have under way are waited for; not so inside a call
    // to `target`, nor where waiting would never end because one of those calls waits for this thread in the
    // same way. Returns whether there was a registration to take back.
    bool Unregister(const Target& target)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const auto group = m_FindGroup(target);
        if (group == m_groups.end()) {
            return false;
        }
        if (--group->registrations == 0) {
            m_groups.erase(group);
            const auto gone =
                std::remove_if(m_entries.begin(), m_entries.end(),
                               [&target](const auto& entry) { return entry->target == target; });
            m_entries.erase(gone, m_entries.end());
            m_AwaitCalls(lock, target);
        }
        return true;
    }

    // Calls `call(target, data)` for each entry whose target `wanted(target)` accepts, in the order of their
    // registration. Entries that come during the calls are left out, and so are those that go before their
    // turn. `wanted` is a plain comparison, made under the lock; `call` is called without it.
    template <typename Wanted, typename Function>
    void Call(const Wanted& wanted, const Function& call)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const std::uint64_t last = m_newest;
        std::uint64_t number = 0;
        for (;;) {
            // Looked for anew each time: the list may have changed during the call.
            const auto next =
                std::find_if(m_entries.begin(), m_entries.end(), [&wanted, number, last](const auto& entry) {
                    return entry->number > number && entry->number <= last && wanted(entry->target);
                });
            if (next == m_entries.end()) {
                return;
            }
            const std::shared_ptr<const Entry> entry = *next;
            number = entry->number;
            const Running running(*this, lock, *entry);
            call(entry->target, entry->data);
        }
    }

    // The same for every entry.
    template <typename Function>
    void Call(const Function& call)
    {
        Call([](const Target&) { return true; }, call);
    }

    // Whether a target that `wanted(target)` accepts, a plain comparison again, is registered.
    template <typename Wanted>
    bool Has(const Wanted& wanted) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::any_of(m_groups.begin(), m_groups.end(),
                           [&wanted](const Group& group) { return wanted(group.first->target); });
    }

    bool Empty() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_groups.empty();
    }

private:
    struct Entry
    {
        Target target;
        Data data;
        std::uint64_t number; // in the order of registration, from 1
    };

    struct Group
    {
        std::shared_ptr<const Entry> first; // for its target
        std::size_t registrations;
    };

    // A call under way: the lock is open and the call is in the list of those as long as this lives.
    class Running
    {
    public:
        Running(CallbackList& list, std::unique_lock<std::mutex>& lock, const Entry& entry)
            : m_list(list)
            , m_lock(lock)
            , m_entry(entry)
            , m_thread(std::this_thread::get_id())
            , m_next(list.m_running)
        {
            m_list.m_running = this;
            m_lock.unlock();
        }

        ~Running()
        {
            m_lock.lock();
            Running** link = &m_list.m_running;
            while (*link != this) {
                link = &(*link)->m_next;
            }
            *link = m_next;
            m_list.m_ended.notify_all();
        }

        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;

        // Whether this is a call to the target's entries up to a number.
        bool IsTo(const Target& target, std::uint64_t upTo) const
        {
            return m_entry.number <= upTo && m_entry.target == target;
        }

        std::thread::id Thread() const { return m_thread; }
        const Running* Next() const { return m_next; }

    private:
        CallbackList& m_list;
        std::unique_lock<std::mutex>& m_lock;
        const Entry& m_entry;
        const std::thread::id m_thread;
        Running* m_next; // guarded by the list's m_mutex
    };

    // A thread that waits for the end of the calls to a target's entries up to a number.
    struct Waiting
    {
        const Target& target;
        std::uint64_t upTo;
        std::thread::id thread;
        Waiting* next;
    };

    bool m_Has(const Entry& other) const
    {
        return std::any_of(m_entries.begin(), m_entries.end(), [&other](const auto& entry) {
            return entry->target == other.target && entry->data == other.data;
        });
    }

    typename std::vector<Group>::iterator m_FindGroup(const Target& target)
    {
        return std::find_if(m_groups.begin(), m_groups.end(),
                            [&target](const Group& group) { return group.first->target == target; });
    }

    void m_AwaitCalls(std::unique_lock<std::mutex>& lock, const Target& target)
    {
        // Later registrations of the target may be called on and on; only the calls of until now matter.
        const std::uint64_t upTo = m_newest;
        // Nothing that waiting depends on is added while one waits, so a circle shows now or never.
        if (m_DependsOn(std::this_thread::get_id(), target, upTo)) {
            return;
        }
        Waiting waiting{target, upTo, std::this_thread::get_id(), m_waiting};
        m_waiting = &waiting;
        m_ended.wait(lock, [this, &waiting] { return !m_IsUnderWay(waiting.target, waiting.upTo); });
        Waiting** link = &m_waiting;
        while (*link != &waiting) {
            link = &(*link)->next;
        }
        *link = waiting.next;
    }

    bool m_IsUnderWay(const Target& target, std::uint64_t upTo) const
    {
        for (const Running* call = m_running; call != nullptr; call = call->Next()) {
            if (call->IsTo(target, upTo)) {
                return true;
            }
        }
        return false;
    }

    // Whether the end of a call to the target needs `thread` to go on: it runs on it, or it waits for a call
    // that does.
    bool m_DependsOn(std::thread::id thread, const Target& target, std::uint64_t upTo) const
    {
        for (const Running* call = m_running; call != nullptr; call = call->Next()) {
            if (!call->IsTo(target, upTo)) {
                continue;
            }
            if (call->Thread() == thread) {
                return true;
            }
            for (const Waiting* other = m_waiting; other != nullptr; other = other->next) {
                if (other->thread == call->Thread() && m_DependsOn(thread, other->target, other->upTo)) {
                    return true;
                }
            }
        }
        return false;
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;                     // a call has ended
    std::vector<Group> m_groups;                         // guarded by m_mutex
    std::vector<std::shared_ptr<const Entry>> m_entries; // guarded by m_mutex; by number
    std::uint64_t m_newest = 0;                          // guarded by m_mutex; number of the newest entry
    Running* m_running = nullptr;                        // guarded by m_mutex; the newest of a list
    Waiting* m_waiting = nullptr;                        // guarded by m_mutex; the newest of a list
};

} // namespace TTMLHost

#endif
