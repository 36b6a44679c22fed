#ifndef LOCK_FIXTURES_H
#define LOCK_FIXTURES_H

// What the tests of the channel lock and the child rating share.

#include <initializer_list>
#include <string>

#include "BroadcastFixtures.h"

namespace TTMLTest {

constexpr char kIsTerminated[] = "IsTvsTerminated() = 0";
constexpr char kWasTerminated[] = "IsTvsTerminated() = 1";

// What reading the lock setting brings about, up to the answer to whether there is a child lock.
extern const Texts kLockSettingOff;
extern const Texts kLockSettingOn;

// What the questions bring about when all goes well, with a session object of the number.
Texts ChannelInfo(int session, bool locked);
Texts SupportOfRating(int session, int lockType, const std::string& line);
Texts Rating(int session, bool permitted);
Texts ParentalLock(int session, bool locked);

Texts Joined(std::initializer_list<Texts> parts);
// "#3"
std::string Number(int session);

// A source whose locks the test sets.
class LockTest : public BaseSourceTest
{
protected:
    LockTest() { Forget(); }

    // The viewer has locked the service, or not.
    static void LockService(bool locked = true);
    // The setting that makes such locks count.
    static void SetLockSetting(bool on);
    static void SetLockType(int type);
    static void SetPermitted(bool permitted);
    // Picture and sound are withheld just now.
    static void SetParentalLock(bool locked);
    static void Terminate();
};

} // namespace TTMLTest

#endif
