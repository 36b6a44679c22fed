#include "Journal.h"

#include <pthread.h>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Gate.h"

namespace TTMLTest {

Journal& Journal::Instance()
{
    // Never destroyed: the library may log until the process is gone.
    static Journal* const journal = new Journal;
    return *journal;
}

void Journal::Add(const std::string& service, const std::string& text, const std::string& file)
{
    if (!IsKept()) {
        return;
    }
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_entries.push_back({service, text, ThisThreadName(), file});
    m_changed.notify_all();
}

void Journal::Refuse(const std::string& service, const std::string& text, const std::string& why)
{
    const FaultPause pause;
    Add(service, text);
    ADD_FAILURE() << "unexpected call of the " << service << ": " << text << " on thread '"
                  << ThisThreadName() << "': " << why;
}

std::vector<JournalEntry> Journal::Entries() const
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_entries;
}

std::vector<std::string> Journal::Calls() const
{
    const FaultPause pause;
    std::vector<std::string> calls;
    for (const auto& entry : Entries()) {
        if (entry.service != "log") {
            calls.push_back(entry.text);
        }
    }
    return calls;
}

std::vector<std::string> Journal::Calls(const std::string& service) const
{
    const FaultPause pause;
    std::vector<std::string> calls;
    for (const auto& entry : Entries()) {
        if (entry.service == service) {
            calls.push_back(entry.text);
        }
    }
    return calls;
}

unsigned int Journal::CountOf(const std::string& text) const
{
    unsigned int count = 0;
    for (const auto& entry : m_entries) {
        count += entry.text == text ? 1U : 0U;
    }
    return count;
}

bool Journal::WaitFor(const std::string& text, unsigned int times) const
{
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(m_mutex);
    if (m_changed.wait_for(guard, kPatience, [&] { return CountOf(text) >= times; })) {
        return true;
    }
    ADD_FAILURE() << "the library made the call '" << text << "' " << CountOf(text) << " of " << times
                  << " times within " << kPatience.count() << " s";
    return false;
}

void Journal::Clear()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_entries.clear();
}

std::string Quoted(const char* text)
{
    return text != nullptr ? '"' + std::string(text) + '"' : std::string("null");
}

std::string ThisThreadName()
{
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

} // namespace TTMLTest
