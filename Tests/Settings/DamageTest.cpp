// Files that are no store, cannot be used, or fail on the way: one line, and the run goes on in memory.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "CaptureStderr.h"
#include "Probe.h"
#include "StoreFixture.h"
#include "TestThread.h"

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

const std::string kEnd = "; until then settings last no longer than the program";

struct Closer
{
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};

// Another program's connection to a file.
class Connection
{
public:
    explicit Connection(const std::string& file)
    {
        sqlite3* database = nullptr;
        EXPECT_EQ(sqlite3_open(file.c_str(), &database), SQLITE_OK);
        m_database.reset(database);
    }

    void Run(const char* sql) const
    {
        EXPECT_EQ(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(m_database.get());
    }

private:
    std::unique_ptr<sqlite3, Closer> m_database;
};

void Call(_keynode_t* /*node*/, void* userData)
{
    ++*static_cast<int*>(userData);
}

class Damage : public StoreTest
{
protected:
    // A store of several pages.
    void MakeStore() const
    {
        const auto store = Open();
        for (int i = 0; i < 400; ++i) {
            EXPECT_TRUE(SetInt(*store, "db/some/rather/long/key/for/a/setting/" + std::to_string(i), i));
        }
    }

    // The whole life of a store on such a file: it says `line` once, begins with `before`, and takes values.
    void ExpectMemoryOnly(const std::string& file, const std::string& line, const Lines& before = {}) const
    {
        int notices = 0;
        const CaptureStderr log;
        {
            const auto store = OpenAt(file);
            EXPECT_EQ(Listed(*store), before);
            EXPECT_TRUE(store->Register("db/zz", &Call, &notices));
            EXPECT_TRUE(SetInt(*store, "db/zz", 5));
            EXPECT_EQ(IntOf(*store, "db/zz"), 5);
            EXPECT_TRUE(SetInt(*store, "db/zz", 6));
            EXPECT_EQ(IntOf(*store, "db/zz"), 6);
            EXPECT_EQ(Listed(*store).size(), before.size() + 1);
            EXPECT_EQ(store->Problem(), line);
            EXPECT_TRUE(store->Unregister("db/zz", &Call));
        }
        EXPECT_EQ(notices, 2);
        EXPECT_EQ(log.LogLines(), (Lines{"W TTMLHOST: " + line}));
    }

    std::string Line(const std::string& step, const std::string& file, const std::string& why) const
    {
        return "Could not " + step + " the settings store '" + file + "': " + why + kEnd;
    }
};

TEST_F(Damage, RandomBytesAreReportedAndLeftAlone)
{
    std::string bytes;
    unsigned int state = 1;
    for (int i = 0; i < 20000; ++i) {
        state = state * 1103515245U + 12345U;
        bytes += static_cast<char>(state >> 16U);
    }
    m_folder.Write("settings.db", bytes);
    ExpectMemoryOnly(File(),
                     Line("open", File(), "the file is damaged; move it away, and a new one is made"));
    EXPECT_EQ(m_folder.Content("settings.db"), bytes);
}

TEST_F(Damage, ATruncatedFileIsReported)
{
    MakeStore();
    const auto whole = std::filesystem::file_size(File());
    ASSERT_GT(whole, 8192U);
    std::filesystem::resize_file(File(), whole / 2);
    ExpectMemoryOnly(File(),
                     Line("open", File(), "the file is damaged; move it away, and a new one is made"));
}

TEST_F(Damage, AFileWithRandomBytesInTheMiddleIsReported)
{
    MakeStore();
    {
        std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(4096, '\xa5');
    }
    ExpectMemoryOnly(File(),
                     Line("open", File(), "the file is damaged; move it away, and a new one is made"));
}

TEST_F(Damage, AnEmptyFileIsANewStore)
{
    m_folder.Write("settings.db", "");
    EXPECT_TRUE(SetInt(*Open(), "db/a", 5));
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
}

TEST_F(Damage, AnotherProgramsDatabaseIsLeftAlone)
{
    Connection(File()).Run("CREATE TABLE setting (theirs TEXT); INSERT INTO setting VALUES ('x');");
    ExpectMemoryOnly(
        File(), Line("open", File(), "it is another program's database; name another file in TTML_SETTINGS"));
    Connection(File()).Run("SELECT theirs FROM setting");
}

TEST_F(Damage, AStoreOfANewerVersionIsLeftAlone)
{
    EXPECT_TRUE(SetInt(*Open(), "db/a", 5));
    Connection(File()).Run("PRAGMA user_version = 2");
    ExpectMemoryOnly(File(),
                     Line("open", File(),
                          "a newer version of this program made it; update this one, or move the file away"));
}

TEST_F(Damage, ValuesThatAreNoneOfOursCountAsAbsent)
{
    EXPECT_TRUE(SetInt(*Open(), "db/a", 5));
    Connection(File()).Run(
        "INSERT INTO setting VALUES ('db/big', 'int', 3000000000, 1), ('else/b', 'int', 1, 1)");
    const CaptureStderr log;
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
    EXPECT_EQ(log.Text(), "");
}

TEST_F(Damage, WhatAnotherToolDeletesOrEditsIsAChange)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/a", 5));
    EXPECT_TRUE(SetInt(*store, "db/b", 5));
    Connection(File()).Run("DELETE FROM setting WHERE key = 'db/a'; UPDATE setting SET value = 6");
    EXPECT_EQ(Listed(*store), (Lines{"db/b int 6"}));
}

TEST_F(Damage, AFolderThatIsMissingOrNoneIsReported)
{
    const std::string hint = "; check its folder and the permissions of both";
    const std::string missing = m_folder.Path("none/settings.db");
    ExpectMemoryOnly(missing,
                     Line("open", missing, "the file cannot be opened (No such file or directory)" + hint));
    m_folder.Write("file", "");
    const std::string below = m_folder.Path("file/settings.db");
    ExpectMemoryOnly(below, Line("open", below, "the file cannot be opened (Not a directory)" + hint));
    const std::string folder = m_folder.Path();
    ExpectMemoryOnly(folder, Line("open", folder, "the file cannot be opened (Is a directory)" + hint));
}

TEST_F(Damage, NoPlaceForAFileIsReported)
{
    const CaptureStderr log;
    TTMLHost::SettingsStore store({"", "no place"});
    EXPECT_TRUE(SetInt(store, "db/a", 5));
    EXPECT_EQ(Listed(store), (Lines{"db/a int 5"}));
    EXPECT_EQ(store.Problem(), "no place");
    EXPECT_EQ(log.LogLines(), (Lines{"W TTMLHOST: no place"}));
}

TEST_F(Damage, IsReportedOnceByManyThreads)
{
    m_folder.Write("settings.db", std::string(5000, 'x'));
    const CaptureStderr log;
    const auto store = Open();
    const auto use = [&store] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_TRUE(SetInt(*store, "db/a", i));
        }
    };
    RunTogether({use, use, use, use});
    EXPECT_EQ(log.LogLines().size(), 1U);
}

TEST_F(Damage, AReadOnlyStoreIsReadAndTheRunGoesOnInMemory)
{
    EXPECT_TRUE(SetInt(*Open(), "db/a", 5));
    // The probe gives up root's rights, which would pass over these; it must be able to come here.
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0555), 0);
    ASSERT_EQ(chmod(File().c_str(), 0444), 0);
    const ChildResult probe =
        RunProbe(File(), {"become-nobody", "get-int", "db/a", "set-int", "db/a", "6", "get-int", "db/a",
                          "set-int", "db/b", "7", "get-int", "db/b"});
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(probe.out, "5\n6\n6\n7\n7\n");
    ASSERT_EQ(LogLines(probe).size(), 1U) << probe.error;
    const std::string line = LogLines(probe)[0];
    const std::string head =
        "W TTMLHOST: Could not open the settings store '" + File() + "': the file cannot be ";
    EXPECT_EQ(line.substr(0, head.size()), head);
    EXPECT_EQ(line.substr(line.size() - kEnd.size()), kEnd);
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
}

TEST_F(Damage, AReadOnlyFileInAWritableFolderIsTheSame)
{
    EXPECT_TRUE(SetInt(*Open(), "db/a", 5));
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0777), 0);
    ASSERT_EQ(chmod(File().c_str(), 0444), 0);
    const ChildResult probe = RunProbe(
        File(), {"become-nobody", "get-int", "db/a", "set-int", "db/a", "6", "get-int", "db/a", "problem"});
    const std::string line =
        Line("open", File(),
             "the file cannot be written; give yourself the permission to write it and its folder");
    EXPECT_EQ(probe.out, "5\n6\n6\n" + line + "\n");
    EXPECT_EQ(LogLines(probe), (Lines{"W TTMLHOST: " + line}));
}

TEST_F(Damage, ADiskThatIsFullIsReportedAndNothingIsLost)
{
    const ChildResult probe =
        RunProbe(File(), {"set-int", "db/a", "5", "limit-files", "set-int", "db/a", "6", "set-bool", "db/b",
                          "1", "get-int", "db/a", "get-bool", "db/b", "list"});
    EXPECT_EQ(probe.out, "5\n6\n1\n6\n1\ndb/a int 6\ndb/b bool 1\n");
    EXPECT_EQ(LogLines(probe),
              (Lines{"W TTMLHOST: " +
                     Line("write", File(), "the disk failed; check the disk and the space on it")}));
    // The file holds the last state that was whole.
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
}

TEST_F(Damage, AStoreThatStaysLockedIsReported)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/a", 5));
    const std::string line = Line("write", File(), "another program keeps it locked; end that program");
    const CaptureStderr log;
    {
        const Connection other(File());
        other.Run("BEGIN IMMEDIATE");
        EXPECT_TRUE(SetInt(*store, "db/a", 6));
        EXPECT_EQ(IntOf(*store, "db/a"), 6);
        EXPECT_EQ(store->Problem(), line);
    }
    EXPECT_EQ(log.LogLines(), (Lines{"W TTMLHOST: " + line}));
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 5"}));
}

TEST_F(Damage, AShortLockIsWaitedFor)
{
    const auto store = Open();
    EXPECT_TRUE(SetInt(*store, "db/a", 5));
    const Connection other(File());
    other.Run("BEGIN IMMEDIATE");
    {
        Gate begun("the set begins");
        const TestThread setter([&] {
            begun.Open();
            EXPECT_TRUE(SetInt(*store, "db/a", 6));
        });
        begun.Wait();
        other.Run("COMMIT");
    }
    EXPECT_EQ(store->Problem(), "");
    EXPECT_EQ(Listed(*Open()), (Lines{"db/a int 6"}));
}

} // namespace
