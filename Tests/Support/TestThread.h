#ifndef TEST_THREAD_H
#define TEST_THREAD_H

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "Gate.h"

namespace TTMLTest {

// A second actor in a test. It starts at once and is joined when the object goes.
class TestThread
{
public:
    explicit TestThread(std::function<void()> body)
        : m_done("the test's thread is done")
        , m_thread([this, run = std::move(body)] {
            run();
            m_done.Open();
        })
    {}
    ~TestThread()
    {
        if (!m_done.Wait()) {
            // Joining it would hang the test without a word, and it uses what the test is about to destroy.
            std::fputs("the test's thread does not end\n", stderr);
            std::abort();
        }
        m_thread.join();
    }
    TestThread(const TestThread&) = delete;
    TestThread& operator=(const TestThread&) = delete;

    // Waits until the body has returned; a time-out is a failure.
    bool WaitUntilDone() const { return m_done.Wait(); }
    bool IsDone() const { return m_done.IsOpen(); }

private:
    Gate m_done;
    std::thread m_thread;
};

// The body several times, each with its number from 0, as one.
inline std::function<void()> Repeat(int rounds, std::function<void(int)> body)
{
    return [rounds, run = std::move(body)] {
        for (int round = 0; round < rounds; ++round) {
            run(round);
        }
    };
}

// Runs the bodies at the same time and returns when all are done.
inline void RunTogether(const std::vector<std::function<void()>>& bodies)
{
    CountingGate ready("all threads are ready");
    Gate go("the threads may go");
    std::vector<std::unique_ptr<TestThread>> threads;
    threads.reserve(bodies.size());
    for (const auto& body : bodies) {
        threads.push_back(std::make_unique<TestThread>([&ready, &go, &body] {
            ready.Add();
            go.Wait();
            body();
        }));
    }
    ready.WaitFor(static_cast<unsigned int>(bodies.size()));
    go.Open();
    for (const auto& thread : threads) {
        thread->WaitUntilDone();
    }
}

} // namespace TTMLTest

#endif
