#ifndef INPUT_START_H
#define INPUT_START_H

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace TTMLHost {

// Whether what was to be done with an input ("open") is given up, with the line that says so.
bool IsCancelled(const std::atomic<bool>* cancel, const std::string& doing, const std::string& input,
                 std::string* error);

// Runs `run` on the thread. Returns false with the line that says why not.
bool StartInputThread(const std::string& input, std::thread* thread, std::string* error,
                      std::function<void()> run);

} // namespace TTMLHost

#endif
