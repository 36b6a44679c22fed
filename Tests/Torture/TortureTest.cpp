// Each step of a source's life that can fail does so once: nothing crashes, hangs or leaks, the log says what
// it says of that step, and afterwards everything works as if nothing had been.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "AllocationCensus.h"
#include "FaultChildren.h"
#include "Scenario.h"
#include "ZoneGuard.h"

namespace TTMLTest {

namespace {

struct Kind
{
    Call call;
    const char* name;
};

// What can fail, each with the name that it has in the lists of what is expected.
constexpr Kind kKinds[] = {
    {Call::NEW, "container"},
    {Call::NEW_NOTHROW, "object"},
    {Call::C_ALLOCATION, "buffer"},
    {Call::THREAD_CREATE, "pthread_create"},
    {Call::THREAD_JOIN, "pthread_join"},
    {Call::MUTEX_INIT, "pthread_mutex_init"},
    {Call::SEM_INIT, "sem_init"},
    {Call::SEM_POST, "sem_post"},
    {Call::SEM_WAIT, "sem_wait"},
    {Call::PLATFORM, "platform"},
    {Call::PLATFORM_NULL, "null"},
};

// The threads that play a part: the client's, which is also the platform's, and the source's two.
constexpr char kCaller[] = "caller";
constexpr const char* kThreads[] = {kCaller, "Source", "Inband"};

// One kind of source.
struct Subject
{
    const char* name;
    std::unique_ptr<Scenario> (*make)();
    // So many steps there are at least, of all kinds together.
    unsigned int leastSteps;
};

void PrintTo(const Subject& subject, std::ostream* stream)
{
    *stream << subject.name;
}

// What one run left behind.
struct Traces
{
    ThreadStories stories;
    Texts complaints; // warnings and errors, with their levels' letters
    std::size_t leaks = 0;
    bool withoutProcessor = false;
    std::vector<unsigned int> calls; // that each of the armed faults has seen
};

using Faults = std::vector<std::unique_ptr<FaultInjection>>;

Texts Complaints()
{
    Texts complaints;
    for (const std::string& line : ScriptedLog::Substance()) {
        if (line.front() != 'I') {
            complaints.push_back(WithoutProcessId(line));
        }
    }
    return complaints;
}

// What the log of the last run tells, at the level of reports, from a place on until a thread leaves an
// operation: of many failing steps that is all that is said.
Texts Reports(std::size_t from, unsigned long thread, const std::string& operation)
{
    Texts reports;
    const std::vector<LogLine> lines = ScriptedLog::Lines();
    for (std::size_t i = from; i < lines.size(); ++i) {
        const LogLine& line = lines[i];
        if (line.handle != thread || line.function != operation) {
            continue;
        }
        if (line.message == "Exit") {
            break;
        }
        if (line.level == PLATFORM_LOG_INFO && !line.message.empty() && line.message != "Enter") {
            reports.push_back("I " + WithoutProcessId(line.message));
        }
    }
    return reports;
}

// The complaints beyond those that there are without a fault, each once.
Texts Beyond(const Texts& usual, const Texts& complaints)
{
    std::multiset<std::string> rest(usual.begin(), usual.end());
    std::set<std::string> more;
    for (const std::string& complaint : complaints) {
        const auto known = rest.find(complaint);
        if (known != rest.end()) {
            rest.erase(known);
        } else {
            more.insert(complaint);
        }
    }
    return {more.begin(), more.end()};
}

// Where two threads' stories part for the first time, or nothing.
std::string Difference(const ThreadStories& stories, const ThreadStories& usual)
{
    if (stories.size() != usual.size()) {
        return "on other threads";
    }
    for (const auto& [thread, lines] : usual) {
        const auto found = stories.find(thread);
        if (found == stories.end()) {
            return "nothing of " + thread;
        }
        const Texts& other = found->second;
        std::size_t line = 0;
        while (line < lines.size() && line < other.size() && lines[line] == other[line]) {
            ++line;
        }
        if (line < lines.size() || line < other.size()) {
            return "line " + std::to_string(line) + " of " + thread + " is '" +
                   (line < other.size() ? other[line] : "missing") + "' instead of '" +
                   (line < lines.size() ? lines[line] : "missing") + "'";
        }
    }
    return {};
}

class Torture : public ::testing::TestWithParam<Subject>
{
protected:
    Torture() { pthread_setname_np(pthread_self(), kCaller); }

    // Plays the scenario once, with what `arm` arms in force.
    Traces Play(const std::function<void(Faults&)>& arm) const
    {
        ScriptedPlatform::Reset();
        m_scenario->SetUp();
        Traces traces;
        {
            Stage stage;
            {
                const AllocationCensus census;
                try {
                    Faults armed;
                    Aside([&] { arm(armed); });
                    m_scenario->Play(stage);
                    Aside([&] {
                        for (const auto& fault : armed) {
                            traces.calls.push_back(fault->Calls());
                        }
                    });
                } catch (const std::exception& problem) {
                    ADD_FAILURE() << "the exception '" << problem.what() << "' leaves the library";
                }
                traces.leaks = AllocationCensus::Live();
            }
            traces.withoutProcessor = stage.WasWithoutProcessor();
            traces.stories = stage.Stories();
        }
        traces.complaints = Complaints();
        ScriptedPlatform::Verify();
        return traces;
    }

    Traces PlayUndisturbed() const
    {
        return Play([](Faults&) {});
    }

    // How often each kind of call is made on the thread.
    std::vector<unsigned int> Count(const std::string& thread) const
    {
        const auto arm = [&](Faults& faults) {
            for (const Kind& kind : kKinds) {
                faults.push_back(std::make_unique<FaultInjection>(kind.call, FaultInjection::kAll, thread));
            }
        };
        return Play(arm).calls;
    }

    // In a child process: one run with the fault, and one as if nothing had been.
    Texts RunWithFault(const FaultStep& step, const std::function<void()>& struck, const Traces& usual) const
    {
        std::size_t line = 0;
        unsigned long thread = 0;
        std::string operation;
        const auto note = [&] {
            struck();
            line = ScriptedLog::Lines().size();
            thread = static_cast<unsigned long>(pthread_self());
            operation = OpenOperation();
        };
        const Traces traces = Play([&](Faults& faults) {
            faults.push_back(std::make_unique<FaultInjection>(step.kind, step.number, step.thread, note));
        });
        Texts said = Reports(line, thread, operation);
        const Texts complaints = Beyond(usual.complaints, traces.complaints);
        // Without its thread the source handles what has queued up beside the next start, and what it warns
        // of then is another thing from run to run.
        const bool isSettled = step.kind != Call::THREAD_CREATE;
        std::copy_if(complaints.begin(), complaints.end(), std::back_inserter(said),
                     [&](const std::string& one) { return isSettled || one.front() == 'E'; });
        if (!traces.withoutProcessor) {
            EXPECT_EQ(traces.leaks, usual.leaks) << "allocations that were not freed";
        }
        const Traces again = PlayUndisturbed();
        EXPECT_EQ(Difference(again.stories, usual.stories), "") << "the next run is not as usual";
        EXPECT_EQ(again.leaks, usual.leaks);
        return said;
    }

    // What is expected of each kind of failing step, a line each: "kind | place | line; line".
    std::set<std::string> Expected() const
    {
        const std::string path = std::string(TORTURE_EXPECTED) + "/" + GetParam().name + ".txt";
        std::ifstream file(path);
        EXPECT_TRUE(file.is_open()) << "cannot read " << path;
        std::set<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.insert(line);
        }
        return lines;
    }

    const ZoneGuard m_zone{"UTC0"};
    const std::unique_ptr<Scenario> m_scenario = GetParam().make();
};

std::string Line(const Kind& kind, const FaultOutcome& outcome)
{
    std::string line = std::string(kind.name) + " | " + outcome.place + " |";
    for (const std::string& complaint : outcome.complaints) {
        line += (line.back() == '|' ? " " : "; ") + complaint;
    }
    return line;
}

std::string Listed(const std::set<std::string>& lines, const std::set<std::string>& without)
{
    std::ostringstream text;
    std::copy_if(lines.begin(), lines.end(), std::ostream_iterator<std::string>(text, "\n"),
                 [&](const std::string& line) { return without.count(line) == 0; });
    return text.str();
}

TEST_P(Torture, EachStepFailsOnce)
{
    PlayUndisturbed(); // what is made once in a process
    const Traces usual = PlayUndisturbed();
    ASSERT_EQ(Difference(PlayUndisturbed().stories, usual.stories), "")
        << "two runs without a fault are not alike";
    std::set<std::string> lines;
    unsigned int steps = 0;
    for (const char* const thread : kThreads) {
        const std::vector<unsigned int> calls = Count(thread);
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const Kind& kind = kKinds[i];
            SCOPED_TRACE(std::string("kind ") + kind.name + " on thread " + thread);
            std::printf("%-10s %-7s %-19s %4u steps\n", GetParam().name, thread, kind.name, calls[i]);
            steps += calls[i];
            const auto run = [&](const FaultStep& step, const std::function<void()>& struck) {
                return RunWithFault(step, struck, usual);
            };
            for (const FaultOutcome& outcome :
                 RunFaultsInChildren({kind.call, thread, 1}, calls[i], TORTURE_STRIDE, run)) {
                lines.insert(Line(kind, outcome));
            }
        }
    }
    std::printf("%-10s %u steps, each %u.\n", GetParam().name, steps,
                static_cast<unsigned int>(TORTURE_STRIDE));
    EXPECT_GE(steps, GetParam().leastSteps);
    const std::set<std::string> expected = Expected();
    EXPECT_EQ(Listed(lines, expected), "") << "these came and are not expected";
    if (TORTURE_STRIDE == 1) {
        EXPECT_EQ(Listed(expected, lines), "") << "these are expected and did not come";
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Torture,
                         ::testing::Values(Subject{"broadband", &BroadbandScenario, 80},
                                           Subject{"dvb", &DvbScenario, 260},
                                           Subject{"atsc3", &AtscScenario, 315}),
                         [](const auto& instance) { return std::string(instance.param.name); });

} // namespace

} // namespace TTMLTest
