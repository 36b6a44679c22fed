#ifndef SCRIPTED_LOG_H
#define SCRIPTED_LOG_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "PlatformLog.h"

namespace TTMLTest {

// One line of the log, taken apart. Its shape, its colours and the name and handle of its thread have been
// checked when it came.
struct LogLine
{
    int level = 0;
    std::string file;
    std::string function;
    int line = 0;
    std::string thread;
    unsigned long handle = 0;
    std::string message; // without colours and brackets
    std::string raw;     // the whole line
};

// Picks log lines by their message and, where they are not empty, by function and file.
struct LogMatch
{
    LogMatch(const char* wantedMessage) // NOLINT(google-explicit-constructor): a message says it all
        : message(wantedMessage)
    {}
    LogMatch(std::string wantedFunction, std::string wantedMessage, std::string wantedFile = {})
        : function(std::move(wantedFunction))
        , message(std::move(wantedMessage))
        , file(std::move(wantedFile))
    {}
    bool Matches(const LogLine& line) const;

    std::string function;
    std::string message;
    std::string file;
};

// The scripted log: keeps the lines that the library writes, in one order over all threads. A line of a
// wrong shape fails the test. Any thread.
class ScriptedLog
{
public:
    static std::vector<LogLine> Lines();
    static unsigned int CountOf(const LogMatch& match);

    // The messages, all or of one level.
    static std::vector<std::string> Messages();
    static std::vector<std::string> Messages(int level);
    // What is not just "Enter", "Exit", "ENTER", "EXIT" or empty, each behind the letter of its level:
    // "I Initialize end", "W Buffer is NULL", "E new failed.".
    static std::vector<std::string> Substance();
    // "function: message" of every line, of the calling thread's lines, or of the lines of threads with
    // a name.
    static std::vector<std::string> Trace();
    static std::vector<std::string> TraceOfThisThread();
    static std::vector<std::string> TraceOf(const std::string& thread);

    // Waits until the line has come `times` times since the last Clear(); a time-out fails the test.
    static bool WaitFor(const LogMatch& match, unsigned int times = 1);

    // Runs `action` on the thread that logs the line, after the line has been kept and before the log call
    // returns to the library. It may block, which holds the library's thread at that line.
    static void On(const LogMatch& match, std::function<void()> action);

    // Forgets the lines; Reset() the actions as well.
    static void Clear();
    static void Reset();
};

} // namespace TTMLTest

#endif
