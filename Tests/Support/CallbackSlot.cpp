#include "CallbackSlot.h"

#include <utility>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Gate.h"

namespace TTMLTest {

CallbackSlot::CallbackSlot(std::string name)
    : m_name(std::move(name))
{}

bool CallbackSlot::Enter()
{
    const FaultPause pause;
    const std::thread::id self = std::this_thread::get_id();
    std::unique_lock<std::mutex> guard(m_mutex);
    const auto isFree = [&] { return m_depth == 0 || m_inside == self; };
    if (!m_changed.wait_for(guard, kPatience, isFree)) {
        ADD_FAILURE() << "a call of " << m_name << " does not end within " << kPatience.count() << " s";
        return false;
    }
    if (m_ended) {
        return false;
    }
    m_inside = self;
    ++m_depth;
    return true;
}

void CallbackSlot::Leave()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(m_mutex);
    --m_depth;
    m_changed.notify_all();
}

void CallbackSlot::Report(const std::exception& problem) const
{
    const FaultPause pause;
    ADD_FAILURE() << "the exception '" << problem.what() << "' leaves the callback of " << m_name;
}

void CallbackSlot::End()
{
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(m_mutex);
    m_ended = true;
    const auto isOver = [&] { return m_depth == 0 || m_inside == std::this_thread::get_id(); };
    if (!m_changed.wait_for(guard, kPatience, isOver)) {
        ADD_FAILURE() << "the end of " << m_name << " waits for a call that does not end within "
                      << kPatience.count() << " s";
    }
}

} // namespace TTMLTest
