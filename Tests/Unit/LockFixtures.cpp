#include "LockFixtures.h"

namespace TTMLTest {

const Texts kLockSettingOff = {"vconf_get_bool(\"db/menu/broadcasting/channel_lock\") = 0, 0",
                               "I Get channel lock value success, nChannelLock = 0", "I Child Lock is off!!"};
const Texts kLockSettingOn = {"vconf_get_bool(\"db/menu/broadcasting/channel_lock\") = 0, 1",
                              "I Get channel lock value success, nChannelLock = 1"};

Texts ChannelInfo(int session, bool locked)
{
    return {kIsTerminated,
            "Fetch(22)",
            "GetNavigationCriteria(0, -1, -1, -1, [22])",
            "CreateServiceNavigation(7, 3) = 0, " + Number(session),
            Number(session) + ".GetTvMode() = 1, 5",
            Number(session) + ".GetCurrentServiceInfo(5, 0, -1, -1, -1, [22]) = 1",
            "Destroy(" + Number(session) + ")",
            "I GetChannelInfo isLocked value: " + std::to_string(locked)};
}

Texts SupportOfRating(int session, int lockType, const std::string& line)
{
    return {kIsTerminated,
            "CreateSOSpecApp(1, 3) = 0, " + Number(session),
            Number(session) + ".GetValue(96) = 1, " + std::to_string(lockType),
            Number(session) + ".GetValue(0) = 1, 1",
            "Destroy(" + Number(session) + ")",
            line};
}

Texts Rating(int session, bool permitted)
{
    Texts texts = {kIsTerminated, "CreateRatingUtil() = 0, " + Number(session),
                   Number(session) + ".GetRating() = 1, 0, " + std::to_string(permitted)};
    if (!permitted) {
        texts.emplace_back("I Child Rating.");
    }
    texts.push_back("Destroy(" + Number(session) + ")");
    return texts;
}

Texts ParentalLock(int session, bool locked)
{
    return {kIsTerminated, "CreateAVControl(7, 3) = 0, " + Number(session),
            Number(session) + ".GetParentalLock() = 1, " + std::to_string(locked),
            "Destroy(" + Number(session) + ")", "I Channel lock status :: " + std::to_string(locked)};
}

Texts Joined(std::initializer_list<Texts> parts)
{
    Texts all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::string Number(int session)
{
    return "#" + std::to_string(session);
}

void LockTest::LockService(bool locked)
{
    ScriptedTvService::Change(
        [&](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_LOCK].integer = locked ? 1 : 0; });
}

void LockTest::SetLockSetting(bool on)
{
    ScriptedSettings::SetBool(kChannelLockKey, on);
}

void LockTest::SetLockType(int type)
{
    ScriptedTvService::Change([&](TvScene& scene) { scene.specValues[SO_SPEC_VALUE_LOCK_TYPE] = type; });
}

void LockTest::SetPermitted(bool permitted)
{
    ScriptedTvService::Change([&](TvScene& scene) { scene.ratingPermitted = permitted; });
}

void LockTest::SetParentalLock(bool locked)
{
    ScriptedTvService::Change([&](TvScene& scene) { scene.parentalLock = locked; });
}

void LockTest::Terminate()
{
    ScriptedTvService::Change([](TvScene& scene) { scene.terminated = true; });
}

} // namespace TTMLTest
