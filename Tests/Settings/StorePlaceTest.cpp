// Where a program finds its store.

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Probe.h"
#include "TemporaryFolder.h"

using namespace TTMLTest;
using Lines = std::vector<std::string>;

namespace {

const std::string kEnd = "; until then settings last no longer than the program";

class Place : public testing::Test
{
protected:
    bool Has(const std::string& name) const
    {
        struct stat status = {};
        return stat(m_folder.Path(name).c_str(), &status) == 0;
    }

    // The permissions of a file or folder, 0 when there is none.
    unsigned int ModeOf(const std::string& name) const
    {
        struct stat status = {};
        return stat(m_folder.Path(name).c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
    }

    // Sets and reads back where the environment is this.
    void ExpectStored(const std::vector<std::string>& environment, const std::string& file) const
    {
        EXPECT_EQ(RunProbeAt(environment, {"set-int", "db/a", "5"}).error, "");
        EXPECT_TRUE(Has(file));
        EXPECT_EQ(RunProbeAt(environment, {"get-int", "db/a"}).out, "5\n");
    }

    // Works in memory there, after one line.
    static void ExpectMemoryOnly(const std::vector<std::string>& environment, const std::string& line)
    {
        const ChildResult probe =
            RunProbeAt(environment, {"set-int", "db/a", "5", "get-int", "db/a", "problem"});
        EXPECT_EQ(probe.out, "5\n5\n" + line + "\n");
        EXPECT_EQ(LogLines(probe), (Lines{"W TTMLHOST: " + line}));
    }

    const TemporaryFolder m_folder;
};

TEST_F(Place, IsTheUsersFolderForState)
{
    ExpectStored(
        {"TTML_SETTINGS=", "HOME=" + m_folder.Path("home"), "XDG_STATE_HOME=" + m_folder.Path("a/state")},
        "a/state/ttmlsrc/settings.db");
    EXPECT_EQ(ModeOf("a"), 0700U);
    EXPECT_EQ(ModeOf("a/state"), 0700U);
    EXPECT_EQ(ModeOf("a/state/ttmlsrc"), 0700U);
    EXPECT_FALSE(Has("home"));
}

TEST_F(Place, IsBelowTheHomeFolderElse)
{
    for (const char* state : {"XDG_STATE_HOME=", "XDG_STATE_HOME=relative/state"}) {
        ExpectStored({"TTML_SETTINGS=", "HOME=" + m_folder.Path(), state},
                     ".local/state/ttmlsrc/settings.db");
    }
    EXPECT_EQ(ModeOf(".local/state/ttmlsrc"), 0700U);
}

TEST_F(Place, LeavesFoldersThatAreThereAsTheyAre)
{
    ASSERT_EQ(mkdir(m_folder.Path("state").c_str(), 0755), 0);
    ASSERT_EQ(chmod(m_folder.Path("state").c_str(), 0755), 0);
    ExpectStored({"TTML_SETTINGS=", "XDG_STATE_HOME=" + m_folder.Path("state")}, "state/ttmlsrc/settings.db");
    EXPECT_EQ(ModeOf("state"), 0755U);
}

TEST_F(Place, IsTheFileThatTheEnvironmentNames)
{
    ExpectStored({"TTML_SETTINGS=" + m_folder.Path("mine.db"), "XDG_STATE_HOME=" + m_folder.Path("state")},
                 "mine.db");
    EXPECT_FALSE(Has("state"));
}

TEST_F(Place, MayHaveAnyName)
{
    for (const char* name : {"a b?c#d%41.db", "file:x", "\xc3\xa4'\""}) {
        ExpectStored({"TTML_SETTINGS=" + m_folder.Path(name)}, name);
    }
}

TEST_F(Place, IsReportedWhenTheEnvironmentNamesNone)
{
    for (const char* home : {"HOME=", "HOME=relative"}) {
        ExpectMemoryOnly(
            {"TTML_SETTINGS=", "XDG_STATE_HOME=", home},
            "Could not open the settings store: the environment names no folder for it; set HOME to "
            "the user's folder" +
                kEnd);
    }
}

TEST_F(Place, IsReportedWhenItsFolderCannotBeMade)
{
    m_folder.Write("file", "");
    const std::string state = m_folder.Path("file/state");
    ExpectMemoryOnly(
        {"TTML_SETTINGS=", "XDG_STATE_HOME=" + state},
        "Could not make the folder '" + state +
            "/ttmlsrc' for the settings store: Not a directory; check the path and the permissions "
            "above it" +
            kEnd);
    ExpectMemoryOnly({"TTML_SETTINGS=", "XDG_STATE_HOME=/proc"},
                     "Could not make the folder '/proc/ttmlsrc' for the settings store: No such file or "
                     "directory; check the path and the permissions above it" +
                         kEnd);
}

} // namespace
