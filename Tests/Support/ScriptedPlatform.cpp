#include "ScriptedPlatform.h"

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

// What the library held when the test began.
int s_threads = 0;
int s_semaphores = 0;

} // namespace

void ScriptedPlatform::Reset()
{
    Journal::Instance().Clear();
    Journal::Instance().KeepAll();
    ScriptedLog::Reset();
    ScriptedPlayer::Reset();
    ScriptedFileManager::Reset();
    ScriptedTvService::Reset();
    ScriptedRecorder::Reset();
    ScriptedSettings::Reset();
    ScriptedAppInfo::Reset();
    s_threads = LiveThreads();
    s_semaphores = LiveSemaphores();
}

void ScriptedPlatform::Verify()
{
    ScriptedPlayer::Verify();
    ScriptedFileManager::Verify();
    ScriptedTvService::Verify();
    ScriptedRecorder::Verify();
    ScriptedSettings::Verify();
    EXPECT_EQ(LiveThreads(), s_threads) << "threads were not joined, or joined twice";
    EXPECT_EQ(LiveSemaphores(), s_semaphores) << "semaphores were not destroyed";
}

} // namespace TTMLTest
