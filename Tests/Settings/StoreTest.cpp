// Values of one store.

#include "StoreFixture.h"

#include <climits>
#include <set>

#include <sys/stat.h>

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

using Store = StoreTest;

TEST_F(Store, AKeyHasNoValueUntilItIsSet)
{
    const auto store = Open();
    TTMLHost::Setting setting{"untouched", TTMLHost::SettingType::Bool, 7};
    EXPECT_FALSE(store->Find("db/a", &setting));
    EXPECT_FALSE(store->Find("memory/a", &setting));
    EXPECT_EQ(setting.key, "untouched");
    EXPECT_EQ(setting.value, 7);
    EXPECT_EQ(Listed(*store), Lines{});
    EXPECT_EQ(store->Problem(), "");
}

TEST_F(Store, ListsAllSettingsByKey)
{
    const auto store = Open();
    EXPECT_TRUE(SetBool(*store, "memory/a", true));
    EXPECT_TRUE(SetInt(*store, "db/b", 5));
    EXPECT_TRUE(SetBool(*store, "db/a/c", false));
    EXPECT_TRUE(SetBool(*store, "db/a/b", true));
    EXPECT_EQ(Listed(*store), (Lines{"db/a/b bool 1", "db/a/c bool 0", "db/b int 5", "memory/a bool 1"}));
}

TEST_F(Store, StoredKeysOutliveTheStoreAndOthersDoNot)
{
    {
        const auto store = Open();
        EXPECT_TRUE(SetInt(*store, "db/a", 5));
        EXPECT_TRUE(SetInt(*store, "db/a", 6));
        EXPECT_TRUE(SetInt(*store, "memory/a", 7));
    }
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 6"}));
}

TEST_F(Store, ValuesAreThereRightAfterTheCallWhateverBecomesOfTheProgram)
{
    const auto one = Open();
    EXPECT_TRUE(SetInt(*one, "db/a", 5));
    // The first store stays open, as if it were killed here.
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
}

TEST_F(Store, RefusesWhatCannotBeAKey)
{
    const auto store = Open();
    for (const char* key : {"", "db", "db/", "memory", "memory/", "a", "x/a", "/db/a", "DB/a", "file/a"}) {
        EXPECT_FALSE(SetInt(*store, key, 1)) << key;
        EXPECT_EQ(IntOf(*store, key), kNoValue) << key;
    }
    EXPECT_EQ(Listed(*store), Lines{});
}

TEST_F(Store, KeepsEveryNumber)
{
    {
        const auto store = Open();
        EXPECT_TRUE(SetInt(*store, "db/least", INT_MIN + 1));
        EXPECT_TRUE(SetInt(*store, "db/most", INT_MAX));
        EXPECT_TRUE(SetInt(*store, "db/none", 0));
    }
    EXPECT_EQ(Listed(*Open()),
              (Lines{"db/least int -2147483647", "db/most int 2147483647", "db/none int 0"}));
}

TEST_F(Store, KeepsEveryKey)
{
    const std::set<std::string> keys = {"db/'quoted\"",
                                        "db/a b",
                                        "db/\xc3\xa4",
                                        "db/%s",
                                        "db/a;DROP TABLE setting",
                                        "db/" + std::string(10000, 'x')};
    {
        const auto store = Open();
        for (const std::string& key : keys) {
            EXPECT_TRUE(SetInt(*store, key, 1));
        }
    }
    std::set<std::string> found;
    for (const TTMLHost::Setting& setting : Open()->List()) {
        found.insert(setting.key);
    }
    EXPECT_EQ(found, keys);
}

TEST_F(Store, AValueOfTheOtherTypeReplacesTheOld)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/a", 5));
    EXPECT_TRUE(SetBool(*store, "db/a", true));
    EXPECT_TRUE(SetBool(*store, "memory/a", true));
    EXPECT_TRUE(SetInt(*store, "memory/a", 5));
    EXPECT_EQ(Listed(*store), (Lines{"db/a bool 1", "memory/a int 5"}));
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a bool 1"}));
}

TEST_F(Store, KeysForThisProgramAloneNeedNoFile)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "memory/a", 5));
    EXPECT_EQ(IntOf(*store, "memory/a"), 5);
    struct stat status = {};
    EXPECT_NE(stat(File().c_str(), &status), 0);
}

TEST_F(Store, GoesOnAfterItIsClosed)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/a", 5));
    EXPECT_TRUE(SetInt(*store, "memory/a", 6));
    store->Close();
    struct stat status = {};
    EXPECT_NE(stat((File() + "-wal").c_str(), &status), 0) << "a closed store is one file";
    EXPECT_TRUE(SetInt(*store, "db/b", 7));
    EXPECT_EQ(Listed(*store), (Lines{"db/a int 5", "db/b int 7", "memory/a int 6"}));
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5", "db/b int 7"}));
}

} // namespace
