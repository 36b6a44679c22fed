#ifndef SCRIPTED_PLATFORM_H
#define SCRIPTED_PLATFORM_H

// The whole scripted platform. It is reset before each test, and after each test it fails the test for what
// was left: answers that nobody asked for, platform objects that were not released, threads that were not
// joined and semaphores that were not destroyed.

#include "FaultInjection.h"
#include "Gate.h"
#include "Journal.h"
#include "ScriptedAppInfo.h"
#include "ScriptedFileManager.h"
#include "ScriptedLog.h"
#include "ScriptedPlayer.h"
#include "ScriptedRecorder.h"
#include "ScriptedSettings.h"
#include "ScriptedTvService.h"
#include "TestThread.h"

namespace TTMLTest {

class ScriptedPlatform
{
public:
    static void Reset();
    static void Verify();
};

} // namespace TTMLTest

#endif
