#include "CTask.h"

#include <gtest/gtest.h>

#include "PrivateAccess.h"
#include "VtableSlot.h"

// The described fields, in their order.
#if defined(__x86_64__)
TTML_CHECK_OFFSET(TTML::CTask, m_pProcessor, 8)
TTML_CHECK_OFFSET(TTML::CTask, m_pCleanup, 16)
TTML_CHECK_OFFSET(TTML::CTask, m_nRunningThreadId, 24)
TTML_CHECK_OFFSET(TTML::CTask, m_stateMutex, 32)
TTML_CHECK_OFFSET(TTML::CTask, m_thread, 72)
TTML_CHECK_OFFSET(TTML::CTask, m_queueCondition, 80)
TTML_CHECK_OFFSET(TTML::CTask, m_queueMutexAttribute, 128)
TTML_CHECK_OFFSET(TTML::CTask, m_queueMutex, 136)
TTML_CHECK_OFFSET(TTML::CTask, m_queue, 176)
TTML_CHECK_OFFSET(TTML::CTask, m_bResetPending, 256)
TTML_CHECK_OFFSET(TTML::CTask, m_resetSemaphore, 264)
TTML_CHECK_OFFSET(TTML::CTask, m_bTaskIgnored, 296)
TTML_CHECK_OFFSET(TTML::CTask, m_ignoreMutex, 304)
TTML_CHECK_OFFSET(TTML::CTask, m_bPreparing, 344)
TTML_CHECK_OFFSET(TTML::CTask, m_preparingMutex, 352)
#endif

using namespace TTMLTest;

namespace {

struct TaskProbe : TTML::CTask
{
    virtual void Added() {}
};

} // namespace

TEST(TaskLayout, TheDestructorsAreTheOnlySlots)
{
    EXPECT_EQ(VtableSlot(&TaskProbe::Added), 2U);
    EXPECT_EQ(VtableSlot(&TTML::CTask::Start), kNotVirtual);
    EXPECT_EQ(VtableSlot(&TTML::CTask::SendEvent), kNotVirtual);
}
