#include "ScriptedLog.h"

#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include <pthread.h>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Gate.h"
#include "Journal.h"
#include "PlatformLog.h"

namespace TTMLTest {

namespace {

constexpr char kPrefix[] = "%s: %s(%d) > Thread:[%s %lu] [";
constexpr std::size_t kPrefixLength = sizeof(kPrefix) - 1;

// Shared, so that an action keeps what it remembers from one line to the next.
using Action = std::shared_ptr<std::function<void()>>;

struct LogState
{
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<LogLine> lines;
    std::vector<std::pair<LogMatch, Action>> actions;
};

LogState& State()
{
    // Never destroyed: the library may log until the process is gone.
    static LogState* const state = new LogState;
    return *state;
}

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

const char* ColourOf(int level)
{
    return level == PLATFORM_LOG_WARNING ? "\033[01;33m" : level == PLATFORM_LOG_ERROR ? "\033[01;31m" : "";
}

char LetterOf(int level)
{
    return level == PLATFORM_LOG_WARNING ? 'W' : level == PLATFORM_LOG_ERROR ? 'E' : 'I';
}

std::string Format(const char* format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

// Takes the colour of the level off the text between the brackets.
std::string WithoutColour(const std::string& text, int level)
{
    std::string message = text;
    const std::string colour = ColourOf(level);
    if (!colour.empty()) {
        const std::string off = "\033[0m";
        if (text.size() < colour.size() + off.size() || !StartsWith(text, colour) || !EndsWith(text, off)) {
            ADD_FAILURE() << "log line of level " << level << " without its colour: '" << text << "'";
            return text;
        }
        message = text.substr(colour.size(), text.size() - colour.size() - off.size());
    }
    if (message.find('\033') != std::string::npos) {
        ADD_FAILURE() << "log line of level " << level << " with a stray colour: '" << text << "'";
    }
    return message;
}

// Reads the arguments that every line begins with, which `arguments` are, and checks the line against them.
LogLine Parse(int level, const std::string& raw, va_list arguments)
{
    LogLine line;
    line.level = level;
    line.raw = raw;
    line.file = va_arg(arguments, const char*);
    line.function = va_arg(arguments, const char*);
    line.line = va_arg(arguments, int);
    line.thread = va_arg(arguments, const char*);
    line.handle = va_arg(arguments, unsigned long);

    const std::string prefix = line.file + ": " + line.function + "(" + std::to_string(line.line) +
                               ") > Thread:[" + line.thread + " " + std::to_string(line.handle) + "] [";
    EXPECT_TRUE(StartsWith(raw, prefix) && EndsWith(raw, "]")) << "log line of a wrong shape: " << raw;
    EXPECT_EQ(line.file.find('/'), std::string::npos) << "log line with a path: " << raw;
    EXPECT_GT(line.line, 0) << raw;
    EXPECT_EQ(line.thread, ThisThreadName()) << raw;
    EXPECT_EQ(line.handle, static_cast<unsigned long>(pthread_self())) << raw;
    line.message = WithoutColour(raw.substr(prefix.size(), raw.size() - prefix.size() - 1), level);
    return line;
}

// Keeps the line and returns what the test wants done at it.
std::vector<Action> Keep(LogLine line)
{
    Journal::Instance().Add("log", std::string(1, LetterOf(line.level)) + " " + line.message, line.file);
    std::vector<Action> actions;
    const std::lock_guard<std::mutex> guard(State().mutex);
    for (const auto& [match, action] : State().actions) {
        if (match.Matches(line)) {
            actions.push_back(action);
        }
    }
    State().lines.push_back(std::move(line));
    State().changed.notify_all();
    return actions;
}

// Parses one call; a line without the prefix is not kept.
std::vector<Action> Take(int bufferId, int level, const char* tag, const char* format, const std::string& raw,
                         va_list arguments)
{
    if (!Journal::Instance().IsKept()) {
        return {};
    }
    EXPECT_EQ(bufferId, PLATFORM_LOG_MAIN) << raw;
    EXPECT_STREQ(tag, "TTML") << raw;
    EXPECT_TRUE(level == PLATFORM_LOG_INFO || level == PLATFORM_LOG_WARNING || level == PLATFORM_LOG_ERROR)
        << "log line of level " << level << ": " << raw;
    if (std::strncmp(format, kPrefix, kPrefixLength) != 0) {
        Journal::Instance().Refuse("log", raw, "its format does not begin with the common prefix");
        return {};
    }
    return Keep(Parse(level, raw, arguments));
}

std::vector<std::string> TraceWhere(const std::function<bool(const LogLine&)>& wanted)
{
    std::vector<std::string> trace;
    for (const auto& line : ScriptedLog::Lines()) {
        if (wanted(line)) {
            trace.push_back(line.function + ": " + line.message);
        }
    }
    return trace;
}

unsigned int CountLocked(const LogMatch& match)
{
    unsigned int count = 0;
    for (const auto& line : State().lines) {
        count += match.Matches(line) ? 1U : 0U;
    }
    return count;
}

} // namespace

bool LogMatch::Matches(const LogLine& line) const
{
    return line.message == message && (function.empty() || line.function == function) &&
           (file.empty() || line.file == file);
}

std::vector<LogLine> ScriptedLog::Lines()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(State().mutex);
    return State().lines;
}

unsigned int ScriptedLog::CountOf(const LogMatch& match)
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(State().mutex);
    return CountLocked(match);
}

std::vector<std::string> ScriptedLog::Messages()
{
    const FaultPause pause;
    std::vector<std::string> messages;
    for (const auto& line : Lines()) {
        messages.push_back(line.message);
    }
    return messages;
}

std::vector<std::string> ScriptedLog::Messages(int level)
{
    const FaultPause pause;
    std::vector<std::string> messages;
    for (const auto& line : Lines()) {
        if (line.level == level) {
            messages.push_back(line.message);
        }
    }
    return messages;
}

std::vector<std::string> ScriptedLog::Substance()
{
    const FaultPause pause;
    std::vector<std::string> messages;
    for (const auto& line : Lines()) {
        const std::string& message = line.message;
        if (!message.empty() && message != "Enter" && message != "Exit" && message != "ENTER" &&
            message != "EXIT") {
            messages.push_back(std::string(1, LetterOf(line.level)) + " " + message);
        }
    }
    return messages;
}

std::vector<std::string> ScriptedLog::Trace()
{
    const FaultPause pause;
    return TraceWhere([](const LogLine&) { return true; });
}

std::vector<std::string> ScriptedLog::TraceOfThisThread()
{
    const FaultPause pause;
    const auto self = static_cast<unsigned long>(pthread_self());
    return TraceWhere([self](const LogLine& line) { return line.handle == self; });
}

std::vector<std::string> ScriptedLog::TraceOf(const std::string& thread)
{
    const FaultPause pause;
    return TraceWhere([&thread](const LogLine& line) { return line.thread == thread; });
}

bool ScriptedLog::WaitFor(const LogMatch& match, unsigned int times)
{
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(State().mutex);
    if (State().changed.wait_for(guard, kPatience, [&] { return CountLocked(match) >= times; })) {
        return true;
    }
    ADD_FAILURE() << "the line '" << match.function << ": " << match.message << "' was logged "
                  << CountLocked(match) << " of " << times << " times within " << kPatience.count() << " s";
    return false;
}

void ScriptedLog::On(const LogMatch& match, std::function<void()> action)
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().actions.emplace_back(match, std::make_shared<std::function<void()>>(std::move(action)));
}

void ScriptedLog::Clear()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().lines.clear();
}

void ScriptedLog::Reset()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().lines.clear();
    State().actions.clear();
}

} // namespace TTMLTest

int __dlog_print(int bufferId, int level, const char* tag, const char* format, ...)
{
    std::vector<TTMLTest::Action> actions;
    std::size_t length = 0;
    {
        const TTMLTest::FaultPause pause;
        va_list arguments;
        va_start(arguments, format);
        const std::string raw = TTMLTest::Format(format, arguments);
        va_end(arguments);
        va_start(arguments, format);
        actions = TTMLTest::Take(bufferId, level, tag, format, raw, arguments);
        va_end(arguments);
        length = raw.size();
    }
    // Outside the pause: an action may use the library, whose calls fail as the test has asked.
    for (const auto& action : actions) {
        (*action)();
    }
    const TTMLTest::FaultPause pause; // the list goes here
    actions.clear();
    return static_cast<int>(length);
}
