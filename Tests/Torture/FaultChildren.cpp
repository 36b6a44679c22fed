#include "FaultChildren.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include <poll.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ScriptedLog.h"

namespace TTMLTest {

namespace {

constexpr int kExitFine = 0;
constexpr int kExitFailed = 1;
constexpr int kExitAsserted = 2;

// A walk that fails everywhere need not do so a thousand times.
constexpr int kMostFailures = 5;

// In a child: where it tells its parent how far it is, and how often the test had failed when it began.
int s_report = -1;
int s_failuresBefore = 0;

int Failures()
{
    return ::testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

void Report(const std::string& what, const std::string& text = {})
{
    const std::string line = what + " " + text + "\n";
    if (write(s_report, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        _exit(kExitFailed);
    }
}

[[noreturn]] void RunAsChild(const FaultStep& first, unsigned int calls, unsigned int stride,
                             const FaultRun& run)
{
    FaultStep step = first;
    for (; step.number <= calls; step.number += stride) {
        Report("begin", std::to_string(step.number));
        const std::vector<std::string> complaints = run(step, [] {
            const std::string name = FaultInjection::StruckName();
            Report("struck", OpenOperation() + (name.empty() ? "" : ": " + name));
        });
        for (const std::string& complaint : complaints) {
            Report("complaint", complaint);
        }
        Report("end");
        if (Failures() != s_failuresBefore) {
            std::fflush(nullptr);
            _exit(kExitFailed);
        }
    }
    std::fflush(nullptr);
    _exit(kExitFine);
}

// A child process and what it has told so far.
class Child
{
public:
    Child(const FaultStep& first, unsigned int calls, unsigned int stride, const FaultRun& run)
    {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0) {
            ADD_FAILURE() << "no pipe for a child";
            return;
        }
        std::fflush(nullptr);
        m_id = fork();
        if (m_id == 0) {
            close(ends[0]);
            s_report = ends[1];
            s_failuresBefore = Failures();
            RunAsChild(first, calls, stride, run);
        }
        close(ends[1]);
        m_reports = ends[0];
    }
    ~Child() { close(m_reports); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Reads what it tells until it ends, and ends it where it hangs. Its exit status, or -1.
    int Follow(std::chrono::milliseconds watchdog)
    {
        if (m_id <= 0) {
            ADD_FAILURE() << "no child process";
            return -1;
        }
        m_hung = !ReadToTheEnd(watchdog);
        if (m_hung) {
            kill(m_id, SIGKILL);
        }
        int status = 0;
        waitpid(m_id, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    bool Hung() const { return m_hung; }
    // All steps that were begun, the last of which may have ended the child.
    const std::vector<FaultOutcome>& Outcomes() const { return m_outcomes; }

private:
    bool ReadToTheEnd(std::chrono::milliseconds watchdog)
    {
        pollfd reports = {m_reports, POLLIN, 0};
        while (poll(&reports, 1, static_cast<int>(watchdog.count())) > 0) {
            char bytes[4096];
            const ssize_t size = read(m_reports, bytes, sizeof(bytes));
            if (size <= 0) {
                return true;
            }
            m_text.append(bytes, static_cast<std::size_t>(size));
            for (std::size_t end = m_text.find('\n'); end != std::string::npos; end = m_text.find('\n')) {
                Take(m_text.substr(0, end));
                m_text.erase(0, end + 1);
            }
        }
        return false;
    }

    void Take(const std::string& line)
    {
        const std::size_t space = line.find(' ');
        const std::string what = line.substr(0, space);
        const std::string text = line.substr(space + 1);
        if (what == "begin") {
            m_outcomes.push_back({static_cast<unsigned int>(std::stoul(text)), {}, {}});
        } else if (what == "struck") {
            m_outcomes.back().place = text;
        } else if (what != "end") {
            m_outcomes.back().complaints.push_back(text);
        } else if (m_outcomes.back().place.empty()) {
            ADD_FAILURE() << "call number " << m_outcomes.back().number << " was not made";
        }
    }

    pid_t m_id = -1;
    int m_reports = -1;
    bool m_hung = false;
    std::string m_text;
    std::vector<FaultOutcome> m_outcomes;
};

} // namespace

std::string OpenOperation()
{
    std::vector<std::string> open = {"?"};
    const auto self = static_cast<unsigned long>(pthread_self());
    for (const LogLine& line : ScriptedLog::Lines()) {
        if (line.handle != self) {
            continue;
        }
        if (line.message == "Enter" || line.message == "ENTER") {
            open.push_back(line.function);
        } else if (line.message == "Exit" || line.message == "EXIT") {
            // Some operations log only one of the two.
            const auto found = std::find(open.rbegin(), open.rend(), line.function);
            if (found != open.rend()) {
                open.erase(std::next(found).base(), open.end());
            }
        } else if (open.size() == 1) {
            open.front() = line.function;
        }
    }
    return open.back();
}

std::vector<FaultOutcome> RunFaultsInChildren(const FaultStep& first, unsigned int calls, unsigned int stride,
                                              const FaultRun& run, std::chrono::milliseconds watchdog)
{
    std::vector<FaultOutcome> all;
    int failures = 0;
    for (FaultStep next = first; next.number <= calls && failures < kMostFailures;) {
        Child child(next, calls, stride, run);
        const int status = child.Follow(watchdog);
        const auto& outcomes = child.Outcomes();
        all.insert(all.end(), outcomes.begin(), outcomes.end());
        if (outcomes.empty()) {
            ADD_FAILURE() << "a child ends before its first run";
            break;
        }
        const FaultOutcome& last = outcomes.back();
        if (status != kExitFine && status != kExitAsserted) {
            ++failures;
            ADD_FAILURE() << "with call number " << last.number << " failing on thread '" << next.thread
                          << "' (in " << last.place << ") a run "
                          << (child.Hung()            ? "hangs"
                              : status == kExitFailed ? "fails, as written above"
                                                      : "dies");
        }
        next.number = last.number + stride;
    }
    return all;
}

} // namespace TTMLTest

// The library's assertions stop a run in the way that is told here; the message that they write otherwise is
// the matter of other tests. Both names of the call belong to the linker.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
[[noreturn]] void __real___assert_fail(const char* expression, const char* file, unsigned int line,
                                       const char* function);
[[noreturn]] void __wrap___assert_fail(const char* expression, const char* file, unsigned int line,
                                       const char* function);
}

void __wrap___assert_fail(const char* expression, const char* file, unsigned int line, const char* function)
{
    const TTMLTest::FaultPause pause;
    if (TTMLTest::s_report < 0) {
        __real___assert_fail(expression, file, line, function);
    }
    TTMLTest::Report("complaint", "assertion " + std::string(expression));
    std::fflush(nullptr);
    _exit(TTMLTest::Failures() != TTMLTest::s_failuresBefore ? TTMLTest::kExitFailed
                                                             : TTMLTest::kExitAsserted);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
