// Each thread is sent a signal, in whose handler it unwinds its own stack. Names come from the executable's
// symbol table by addr2line, as hidden functions have none that could be looked up at run time.

#include "Stacks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include <cxxabi.h>
#include <dirent.h>
#include <dlfcn.h>
#include <link.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

// ThreadSanitizer holds a signal back from a thread that waits for a mutex, which is where a deadlocked one
// is. It replaces sigaction() alone, and this is the same function under its other name.
extern "C" int __sigaction( // NOLINT(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
    int signal, const struct sigaction* action, struct sigaction* old);

namespace TTMLTest {

namespace {

constexpr std::size_t kMostFrames = 64;
constexpr int kAnswerMs = 1000;

// Of the thread that is being asked. What the handler writes is read once it has said so.
std::array<std::uintptr_t, kMostFrames> s_frames;
std::size_t s_frameCount = 0;
int s_answered = 0;

int StackSignal()
{
    return SIGRTMIN + 6;
}

// The handler and what it calls are no business of the sanitizer's: it may have interrupted that.
__attribute__((no_sanitize("thread"))) _Unwind_Reason_Code TakeFrame(_Unwind_Context* context, void* /*none*/)
{
    const std::uintptr_t address = _Unwind_GetIP(context);
    if (address == 0 || s_frameCount == kMostFrames) {
        return _URC_END_OF_STACK;
    }
    s_frames.data()[s_frameCount] = address;
    ++s_frameCount;
    return _URC_NO_REASON;
}

__attribute__((no_sanitize("thread"))) void Answer(int /*signal*/)
{
    const int error = errno;
    s_frameCount = 0;
    _Unwind_Backtrace(TakeFrame, nullptr);
    errno = error;
    __atomic_store_n(&s_answered, 1, __ATOMIC_RELEASE);
}

std::vector<pid_t> Threads()
{
    std::vector<pid_t> threads;
    DIR* const folder = opendir("/proc/self/task");
    if (folder == nullptr) {
        return threads;
    }
    for (const dirent* entry = readdir(folder); entry != nullptr; entry = readdir(folder)) {
        const auto thread = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        if (thread != 0) {
            threads.push_back(thread);
        }
    }
    closedir(folder);
    return threads;
}

std::string NameOf(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

bool Ask(pid_t thread)
{
    __atomic_store_n(&s_answered, 0, __ATOMIC_RELEASE);
    if (syscall(SYS_tgkill, getpid(), thread, StackSignal()) != 0) {
        return false;
    }
    for (int waited = 0; waited < kAnswerMs; ++waited) {
        if (__atomic_load_n(&s_answered, __ATOMIC_ACQUIRE) != 0) {
            return true;
        }
        const timespec moment = {0, 1000000};
        nanosleep(&moment, nullptr);
    }
    return false;
}

struct Place
{
    std::uintptr_t offset = 0;
    bool isOurs = false; // in the executable
    std::string text;
};

Place PlaceOf(std::uintptr_t address)
{
    Dl_info info = {};
    link_map* map = nullptr;
    if (dladdr1(reinterpret_cast<void*>(address), &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) ==
            0 ||
        map == nullptr) {
        return {address, false, "?"};
    }
    Place place;
    // An address on a stack is that behind the call.
    place.offset = address - map->l_addr - 1;
    place.isOurs = map->l_name == nullptr || map->l_name[0] == '\0';
    if (info.dli_sname != nullptr) {
        int status = 0;
        char* const plain = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status);
        place.text = plain != nullptr ? plain : info.dli_sname;
        std::free(plain);
    } else {
        place.text = "?";
    }
    place.text += " in " + std::string(info.dli_fname != nullptr ? info.dli_fname : "?");
    return place;
}

// Gives the places in the executable their names. Where there is no addr2line they keep what they have.
void NameOurs(std::vector<Place>& places)
{
    std::string command = "addr2line -Cfps -e /proc/" + std::to_string(getpid()) + "/exe";
    bool any = false;
    for (const Place& place : places) {
        if (place.isOurs) {
            std::array<char, 32> offset = {};
            std::snprintf(offset.data(), offset.size(), " 0x%llx",
                          static_cast<unsigned long long>(place.offset));
            command += offset.data();
            any = true;
        }
    }
    FILE* const pipe = any ? popen((command + " 2>/dev/null").c_str(), "r") : nullptr;
    if (pipe == nullptr) {
        return;
    }
    std::array<char, 2048> line = {};
    for (Place& place : places) {
        if (place.isOurs && std::fgets(line.data(), static_cast<int>(line.size()), pipe) != nullptr) {
            place.text.assign(line.data(), std::strcspn(line.data(), "\n"));
        }
    }
    pclose(pipe);
}

} // namespace

void PrepareStacks()
{
    struct sigaction action = {};
    action.sa_handler = Answer;
    action.sa_flags = SA_RESTART;
    __sigaction(StackSignal(), &action, nullptr);
    // The first call may load a library, which a handler must not do.
    s_frameCount = 0;
    _Unwind_Backtrace(TakeFrame, nullptr);
}

void PrintAllStacks()
{
    for (const pid_t thread : Threads()) {
        std::fprintf(stderr, "Thread %d '%s'\n", static_cast<int>(thread), NameOf(thread).c_str());
        if (!Ask(thread)) {
            std::fputs("    does not answer\n", stderr);
            continue;
        }
        std::vector<Place> places;
        for (std::size_t i = 0; i < s_frameCount; ++i) {
            places.push_back(PlaceOf(s_frames.at(i)));
        }
        NameOurs(places);
        for (std::size_t i = 0; i < places.size(); ++i) {
            std::fprintf(stderr, "    #%zu %s\n", i, places[i].text.c_str());
        }
    }
    std::fflush(stderr);
}

} // namespace TTMLTest
