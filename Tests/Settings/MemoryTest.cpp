// Each allocation fails once: a call has then done nothing, and the next one does all.

#include <functional>
#include <new>

#include "FaultInjection.h"
#include "StoreFixture.h"

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

// Longer than what a string holds without memory.
const std::string kKey = "db/a/key/that/is/longer/than/a/short/string";

// Has each allocation of `call` fail in turn, with `unchanged` checked after each; returns how many there
// were.
unsigned int FailEach(const std::function<void()>& call, const std::function<void()>& unchanged)
{
    for (unsigned int n = 1;; ++n) {
        bool failed = false;
        {
            const FaultInjection fault(Call::NEW, n);
            try {
                call();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            if (!failed && fault.Failed() == 0) {
                return n - 1;
            }
        }
        if (failed) {
            unchanged();
        }
    }
}

void Notice(_keynode_t* /*node*/, void* userData)
{
    ++*static_cast<int*>(userData);
}

using Memory = StoreTest;

TEST_F(Memory, AFailedSetHasChangedNothing)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/first", 1));
    const auto other = Open();
    int value = 1;
    const unsigned int failures = FailEach(
        [&] {
            // Each round as far as setting a key that was not there.
            EXPECT_TRUE(SetInt(*store, kKey, 5));
        },
        [&] {
            value = IntOf(*other, kKey);
            EXPECT_EQ(value, kNoValue);
            EXPECT_EQ(IntOf(*store, kKey), kNoValue);
        });
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(store->Problem(), "");
    EXPECT_EQ(Listed(*other), (Lines{kKey + " int 5", "db/first int 1"}));
}

TEST_F(Memory, AFailedOpeningIsTriedAgain)
{
    EXPECT_TRUE(SetInt(*Open(), kKey, 5));
    const auto store = Open();
    TTMLHost::Setting setting;
    const unsigned int failures = FailEach([&] { EXPECT_TRUE(store->Find(kKey, &setting)); }, [] {});
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(setting.value, 5);
    EXPECT_EQ(store->Problem(), "");
    EXPECT_TRUE(SetInt(*store, kKey, 6));
    EXPECT_EQ(IntOf(*Open(), kKey), 6);
}

TEST_F(Memory, WhatOthersSetIsNotMissedAfterAFailure)
{
    const auto store = Open();
    const auto other = Open();
    EXPECT_EQ(IntOf(*store, kKey), kNoValue);
    EXPECT_TRUE(SetInt(*other, kKey, 5));
    TTMLHost::Setting setting;
    EXPECT_GE(FailEach([&] { EXPECT_TRUE(store->Find(kKey, &setting)); }, [] {}), 1U);
    EXPECT_EQ(setting.value, 5);
}

TEST_F(Memory, AFailedRegistrationIsNone)
{
    const auto store = Open();
    int notices = 0;
    EXPECT_GE(FailEach([&] { EXPECT_TRUE(store->Register(kKey, &Notice, &notices)); },
                       [&] { EXPECT_FALSE(store->Unregister(kKey, &Notice)); }),
              1U);
    EXPECT_TRUE(SetInt(*store, kKey, 5));
    EXPECT_EQ(notices, 1);
    EXPECT_TRUE(store->Unregister(kKey, &Notice));
}

} // namespace
