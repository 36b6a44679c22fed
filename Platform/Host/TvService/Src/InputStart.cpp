#include "InputStart.h"

#include <system_error>
#include <utility>

#include "InputError.h"

namespace TTMLHost {

bool IsCancelled(const std::atomic<bool>* cancel, const std::string& doing, const std::string& input,
                 std::string* error)
{
    if (cancel == nullptr || !*cancel) {
        return false;
    }
    *error = DescribeInputFailure(doing, input, "it was cancelled", "start it again when it is wanted");
    return true;
}

bool StartInputThread(const std::string& input, std::thread* thread, std::string* error,
                      std::function<void()> run)
{
    try {
        *thread = std::thread(std::move(run));
    } catch (const std::system_error& failure) {
        *error = DescribeInputFailure("play", input,
                                      std::string("no thread could be started (") + failure.what() + ")",
                                      "end programs that are not needed");
        return false;
    }
    return true;
}

} // namespace TTMLHost
