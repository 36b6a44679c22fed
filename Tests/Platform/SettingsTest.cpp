// PlatformSettings.h: the settings store.

#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "PlatformSettings.h"
#include "PortUnderTest.h"
#include "TestThread.h"

namespace {

using namespace PortTest;

constexpr int kUntouched = -4711;

int GetInt(const std::string& key)
{
    int value = kUntouched;
    EXPECT_EQ(vconf_get_int(key.c_str(), &value), 0) << key;
    return value;
}

int GetBool(const std::string& key)
{
    int value = kUntouched;
    EXPECT_EQ(vconf_get_bool(key.c_str(), &value), 0) << key;
    return value;
}

void SetInt(const std::string& key, int value)
{
    EXPECT_EQ(vconf_set_int(key.c_str(), value), 0) << key;
}

template <int Slot>
void OnChange(_keynode_t* /*node*/, void* userData)
{
    Receiver::Call(userData);
}

// Notices of one key to two callbacks.
class Notices : public Subscription
{
public:
    explicit Notices(std::string key)
        : m_key(std::move(key))
    {
        SetInt(m_key, 0);
    }
    bool Begin(int slot, Receiver* receiver) override
    {
        return vconf_notify_key_changed(m_key.c_str(), Callback(slot), receiver) == 0;
    }
    bool End(int slot) override { return vconf_ignore_key_changed(m_key.c_str(), Callback(slot)) == 0; }
    void Raise() override { SetInt(m_key, 1); }

private:
    static void (*Callback(int slot))(_keynode_t*, void*) { return slot == 0 ? &OnChange<0> : &OnChange<1>; }

    const std::string m_key;
};

std::unique_ptr<Subscription> MakeStored()
{
    return std::make_unique<Notices>(Port().StoredKey(0));
}

std::unique_ptr<Subscription> MakePassing()
{
    return std::make_unique<Notices>(Port().PassingKey(0));
}

// Every thread that sets the key may give its own notice.
const SubscriptionKind kStored{"Stored", "settings", &MakeStored, true};
const SubscriptionKind kPassing{"Passing", "settings", &MakePassing, true};
PORT_INSTANTIATE(SettingsStored, CallbackContract, kStored);
PORT_INSTANTIATE(SettingsStored, CountedCallbackContract, kStored);
PORT_INSTANTIATE(SettingsPassing, CallbackContract, kPassing);
PORT_INSTANTIATE(SettingsPassing, CountedCallbackContract, kPassing);

TEST(Settings, GiveTheIntThatWasSet)
{
    for (const std::string& key : {Port().StoredKey(0), Port().PassingKey(0)}) {
        for (const int value :
             {0, 1, -1, 42, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
            SetInt(key, value);
            EXPECT_EQ(GetInt(key), value) << key;
        }
    }
}

TEST(Settings, GiveZeroOrOneForABool)
{
    for (const std::string& key : {Port().StoredKey(1), Port().PassingKey(1)}) {
        for (const int value : {0, 1, 5, -1, 256}) {
            EXPECT_EQ(vconf_set_bool(key.c_str(), value), 0) << key;
            EXPECT_EQ(GetBool(key), value == 0 ? 0 : 1) << key << " " << value;
        }
    }
}

TEST(Settings, FailWithoutAValueAndLeaveTheOutput)
{
    for (const std::string key : {"db/port-test/never-set", "memory/port-test/never-set"}) {
        int value = kUntouched;
        EXPECT_LT(vconf_get_int(key.c_str(), &value), 0) << key;
        EXPECT_EQ(value, kUntouched);
        EXPECT_LT(vconf_get_bool(key.c_str(), &value), 0) << key;
        EXPECT_EQ(value, kUntouched);
    }
}

TEST(Settings, FailForAnotherTypeAndLeaveTheOutput)
{
    const std::string number = Port().StoredKey(0);
    const std::string flag = Port().StoredKey(1);
    SetInt(number, 1);
    EXPECT_EQ(vconf_set_bool(flag.c_str(), 1), 0);
    int value = kUntouched;
    EXPECT_LT(vconf_get_bool(number.c_str(), &value), 0);
    EXPECT_EQ(value, kUntouched);
    EXPECT_LT(vconf_get_int(flag.c_str(), &value), 0);
    EXPECT_EQ(value, kUntouched);
}

TEST(Settings, KeepKeysApart)
{
    SetInt(Port().StoredKey(0), 10);
    SetInt(Port().StoredKey(2), 20);
    SetInt(Port().PassingKey(0), 30);
    EXPECT_EQ(GetInt(Port().StoredKey(0)), 10);
    EXPECT_EQ(GetInt(Port().StoredKey(2)), 20);
    EXPECT_EQ(GetInt(Port().PassingKey(0)), 30);
}

TEST(Settings, LeaveTheKeyToTheCaller)
{
    std::string key = Port().StoredKey(0);
    Receiver receiver("notice", true);
    ASSERT_EQ(vconf_notify_key_changed(key.c_str(), &OnChange<0>, &receiver), 0);
    SetInt(key, 7);
    key.assign(key.size(), '#');
    EXPECT_EQ(GetInt(Port().StoredKey(0)), 7);
    SetInt(Port().StoredKey(0), 8);
    EXPECT_TRUE(receiver.WaitForCalls(2));
    EXPECT_EQ(vconf_ignore_key_changed(Port().StoredKey(0).c_str(), &OnChange<0>), 0);
}

TEST(Settings, AreReadWithTheKeysOfTheSourceLayer)
{
    // Whether they have a value depends on the system; their type does not.
    int value = kUntouched;
    for (const char* const key : {"db/menu/broadcasting/channel_lock", "db/menu/broadcasting/atsc3_enable"}) {
        value = kUntouched;
        if (vconf_get_bool(key, &value) == 0) {
            EXPECT_TRUE(value == 0 || value == 1) << key << " " << value;
        } else {
            EXPECT_EQ(value, kUntouched) << key;
            EXPECT_LT(vconf_get_int(key, &value), 0) << key << " must be a bool";
        }
    }
    for (const char* const key : {"db/menu/caption/caption", "db/menu/caption/captionlanguage"}) {
        value = kUntouched;
        if (vconf_get_int(key, &value) != 0) {
            EXPECT_EQ(value, kUntouched) << key;
            EXPECT_LT(vconf_get_bool(key, &value), 0) << key << " must be an int";
        }
    }
}

TEST(Settings, TellOfTheInformationBannersKey)
{
    const char* const key = "memory/tv-viewer/infobanner/ttml";
    Receiver receiver("banner", true);
    ASSERT_EQ(vconf_set_bool(key, 0), 0);
    ASSERT_EQ(vconf_notify_key_changed(key, &OnChange<0>, &receiver), 0);
    EXPECT_EQ(vconf_set_bool(key, 1), 0);
    EXPECT_TRUE(receiver.WaitForCalls(1));
    EXPECT_EQ(GetBool(key), 1);
    EXPECT_EQ(vconf_ignore_key_changed(key, &OnChange<0>), 0);
    EXPECT_EQ(vconf_set_bool(key, 0), 0);
}

TEST(Settings, AreReadAndWrittenByManyThreads)
{
    std::vector<std::function<void()>> bodies;
    for (const int index : {0, 2, 3}) {
        bodies.emplace_back([index] {
            const std::string key = Port().PassingKey(index);
            for (int i = 0; i < 50; ++i) {
                SetInt(key, i);
                EXPECT_EQ(GetInt(key), i);
            }
        });
    }
    TTMLTest::RunTogether(bodies);
}

class SettingsNotice : public testing::TestWithParam<bool>
{
protected:
    std::string Key(int index) const
    {
        return GetParam() ? Port().StoredKey(index) : Port().PassingKey(index);
    }

    void Begin(int index)
    {
        ASSERT_EQ(vconf_notify_key_changed(Key(index).c_str(), &OnChange<0>, &m_receiver), 0);
    }
    void End(int index) { EXPECT_EQ(vconf_ignore_key_changed(Key(index).c_str(), &OnChange<0>), 0); }

    Receiver m_receiver{"notice", true};
};

INSTANTIATE_TEST_SUITE_P(Settings, SettingsNotice, testing::Bool(),
                         [](const auto& value) { return value.param ? "Stored" : "Passing"; });

TEST_P(SettingsNotice, ComesForTheSameValueToo)
{
    SetInt(Key(0), 5);
    Begin(0);
    SetInt(Key(0), 5);
    EXPECT_TRUE(m_receiver.WaitForCalls(1));
    End(0);
}

TEST_P(SettingsNotice, ComesForItsKeyOnly)
{
    SetInt(Key(0), 0);
    SetInt(Key(2), 0);
    Begin(0);
    Receiver other("the other key's notice", true);
    ASSERT_EQ(vconf_notify_key_changed(Key(2).c_str(), &OnChange<1>, &other), 0);
    SetInt(Key(2), 1);
    SetInt(Key(2), 2);
    EXPECT_TRUE(other.WaitForCalls(1));
    EXPECT_EQ(vconf_ignore_key_changed(Key(2).c_str(), &OnChange<1>), 0);
    EXPECT_EQ(m_receiver.Calls(), 0U);
    End(0);
}

TEST_P(SettingsNotice, FindsTheNewValue)
{
    SetInt(Key(0), 1);
    std::atomic<int> found{kUntouched};
    m_receiver.During([&] { found = GetInt(Key(0)); });
    Begin(0);
    SetInt(Key(0), 2);
    EXPECT_TRUE(m_receiver.WaitForCalls(1));
    End(0); // waits for the call
    EXPECT_EQ(found, 2);
}

TEST_P(SettingsNotice, MayMakeEveryCall)
{
    SetInt(Key(0), 0);
    SetInt(Key(2), 0);
    Receiver inner("notice within", true);
    TTMLTest::Gate done("all calls made inside");
    m_receiver.During([&] {
        ASSERT_EQ(vconf_notify_key_changed(Key(2).c_str(), &OnChange<1>, &inner), 0);
        SetInt(Key(2), 9);
        EXPECT_EQ(GetInt(Key(2)), 9);
        EXPECT_EQ(vconf_ignore_key_changed(Key(2).c_str(), &OnChange<1>), 0);
        inner.ExpectNoMore();
        done.Open();
    });
    Begin(0);
    SetInt(Key(0), 1);
    EXPECT_TRUE(done.Wait());
    End(0);
}

TEST_P(SettingsNotice, IsTakenBackForItsKeyOnly)
{
    SetInt(Key(0), 0);
    SetInt(Key(2), 0);
    Begin(0);
    Begin(2);
    End(0);
    SetInt(Key(2), 1);
    EXPECT_TRUE(m_receiver.WaitForCalls(1));
    End(2);
    EXPECT_LT(vconf_ignore_key_changed(Key(0).c_str(), &OnChange<0>), 0) << "nothing is left";
}

TEST(SettingsOfOthers, AreSeenAndTold)
{
    PORT_NEEDS(Port().Settings(), "another process that sets a setting");
    const std::string key = Port().StoredKey(0);
    SetInt(key, 1);
    Receiver receiver("notice", true);
    ASSERT_EQ(vconf_notify_key_changed(key.c_str(), &OnChange<0>, &receiver), 0);
    EXPECT_EQ(Port().Settings()->SetInt(key, 77), 0);
    EXPECT_TRUE(receiver.WaitForCalls(1));
    EXPECT_EQ(GetInt(key), 77);
    EXPECT_EQ(vconf_ignore_key_changed(key.c_str(), &OnChange<0>), 0);
    receiver.ExpectNoMore();
    EXPECT_EQ(Port().Settings()->SetInt(key, 78), 0);
    EXPECT_EQ(GetInt(key), 78);
}

TEST(SettingsOfOthers, SeeWhatIsSetHere)
{
    PORT_NEEDS(Port().Settings(), "another process that reads a setting");
    const std::string key = Port().StoredKey(0);
    SetInt(key, 123);
    int value = kUntouched;
    EXPECT_EQ(Port().Settings()->GetInt(key, &value), 0);
    EXPECT_EQ(value, 123);
}

} // namespace
