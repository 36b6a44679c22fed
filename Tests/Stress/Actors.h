#ifndef ACTORS_H
#define ACTORS_H

// The scripted platform at work while clients use their sources.

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Dice.h"
#include "Viewer.h"
#include "Watchdog.h"

namespace TTMLTest {

// Gives everything that a kind of source asks for an answer, and keeps no journal.
void SetTheStage();

// The platform's threads for one kind of source: those that bring signals, packets, captions, samples and
// recorder signals, and one that changes what the platform answers. They work until the object goes.
class Actors
{
public:
    // Samples are brought to the viewers, and nothing else to a viewer by name.
    Actors(Kind kind, Watchdog& watchdog, const std::vector<std::unique_ptr<Viewer>>& viewers);
    ~Actors();
    Actors(const Actors&) = delete;
    Actors& operator=(const Actors&) = delete;

    // What they did so far.
    unsigned long long Events() const { return m_events.load(std::memory_order_relaxed); }

private:
    void Add(const std::string& name, std::function<void(Dice&)> act);
    void AddBroadcast(bool isAtsc);

    Watchdog& m_watchdog;
    const std::vector<std::unique_ptr<Viewer>>& m_viewers;
    std::atomic<bool> m_ends{false};
    std::atomic<unsigned long long> m_events{0};
    std::vector<std::thread> m_threads;
};

} // namespace TTMLTest

#endif
