#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace TTMLBench {

// A program that runs beside this one, without input or messages.
class ChildProcess
{
public:
    // Looks the program up in PATH unless its name has a slash. Its output goes to `output`, a descriptor, or
    // nowhere. Throws std::runtime_error when it cannot be run.
    explicit ChildProcess(std::vector<std::string> command, int output = -1);
    // Waits for its end.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const { return m_id; }
    // Without waiting.
    bool HasEnded();
    // Waits for the end. Throws std::runtime_error when the program failed.
    void Wait();

    // After the end: from the beginning to there, and the time that processors spent on it.
    double Seconds() const { return m_seconds; }
    double ProcessorSeconds() const { return m_processorSeconds; }

private:
    void m_Collect(int options);

    const std::vector<std::string> m_command;
    const std::chrono::steady_clock::time_point m_begin;
    pid_t m_id = 0;
    bool m_ended = false;
    int m_status = 0;
    double m_seconds = 0.0;
    double m_processorSeconds = 0.0;
};

} // namespace TTMLBench

#endif
