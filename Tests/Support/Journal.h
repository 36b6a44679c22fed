#ifndef JOURNAL_H
#define JOURNAL_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace TTMLTest {

// One call that the library made of the platform.
struct JournalEntry
{
    std::string service; // "log", "player", "file manager", "tv service", ...
    std::string text;    // the call with its arguments and its answer
    std::string thread;  // name of the calling thread
    std::string file;    // of a log line: where it was written
};

// Every call that the library makes of the scripted platform, in one order over all threads and services.
// Any thread.
class Journal
{
public:
    static Journal& Instance();

    void Add(const std::string& service, const std::string& text, const std::string& file = {});
    // Notes a call that the test did not expect and fails the test.
    void Refuse(const std::string& service, const std::string& text, const std::string& why);

    std::vector<JournalEntry> Entries() const;
    // The texts of all calls but log lines, or those of one service.
    std::vector<std::string> Calls() const;
    std::vector<std::string> Calls(const std::string& service) const;

    // Waits until the call has been made `times` times since the last Clear(); a time-out fails the test.
    bool WaitFor(const std::string& text, unsigned int times = 1) const;

    void Clear();

    // For runs of any length: nothing is kept any more of what happens, until the next test. Then no lock of
    // the journal's orders the library's threads either, which would hide races from a sanitizer.
    void KeepNothing() { m_kept = false; }
    void KeepAll() { m_kept = true; }
    bool IsKept() const { return m_kept.load(std::memory_order_relaxed); }

private:
    Journal() = default;

    unsigned int CountOf(const std::string& text) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<JournalEntry> m_entries;
    std::atomic<bool> m_kept{true};
};

// `text` in double quotes, or null.
std::string Quoted(const char* text);
// The calling thread's name.
std::string ThisThreadName();

} // namespace TTMLTest

#endif
