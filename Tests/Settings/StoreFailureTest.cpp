// What a failure of the store is called.

#include "StoreFailure.h"

#include <cerrno>

#include <gtest/gtest.h>
#include <sqlite3.h>

using TTMLHost::DescribeFailure;
using TTMLHost::StoreFailure;
using TTMLHost::StoreStep;

namespace {

const std::string kEnd = "; until then settings last no longer than the program";

std::string Described(StoreStep step, int code, int systemError = 0)
{
    return DescribeFailure("/s.db", {StoreFailure::Kind::Database, step, code, systemError});
}

TEST(StoreFailure, SaysWhatWhereWhyAndWhatToDo)
{
    EXPECT_EQ(
        Described(StoreStep::Open, SQLITE_NOTADB),
        "Could not open the settings store '/s.db': the file is damaged; move it away, and a new one is "
        "made" +
            kEnd);
    EXPECT_EQ(
        Described(StoreStep::Read, SQLITE_CORRUPT),
        "Could not read the settings store '/s.db': the file is damaged; move it away, and a new one is "
        "made" +
            kEnd);
    EXPECT_EQ(Described(StoreStep::Write, SQLITE_FULL),
              "Could not write the settings store '/s.db': the disk is full; free some space" + kEnd);
    EXPECT_EQ(
        Described(StoreStep::Write, SQLITE_BUSY),
        "Could not write the settings store '/s.db': another program keeps it locked; end that program" +
            kEnd);
    EXPECT_EQ(Described(StoreStep::Open, SQLITE_NOMEM),
              "Could not open the settings store '/s.db': out of memory; close other programs" + kEnd);
    EXPECT_EQ(
        Described(StoreStep::Read, SQLITE_ERROR),
        "Could not read the settings store '/s.db': SQL logic error; move the file away, and a new one is "
        "made" +
            kEnd);
}

TEST(StoreFailure, ReadsExtendedCodesAndNamesTheSystemsError)
{
    EXPECT_EQ(
        Described(StoreStep::Open, SQLITE_CANTOPEN_ISDIR, EISDIR),
        "Could not open the settings store '/s.db': the file cannot be opened (Is a directory); check its "
        "folder and the permissions of both" +
            kEnd);
    EXPECT_EQ(
        Described(StoreStep::Write, SQLITE_IOERR_WRITE, EIO),
        "Could not write the settings store '/s.db': the disk failed (Input/output error); check the disk "
        "and the space on it" +
            kEnd);
    EXPECT_EQ(Described(StoreStep::Write, SQLITE_READONLY_DBMOVED),
              "Could not write the settings store '/s.db': the file cannot be written; give yourself the "
              "permission to write it and its folder" +
                  kEnd);
}

TEST(StoreFailure, IsOneLineWhateverThePathHolds)
{
    EXPECT_EQ(DescribeFailure("/a\nb\x7f.db", {StoreFailure::Kind::ReadOnly, StoreStep::Open, 0, 0}),
              "Could not open the settings store '/a?b?.db': the file cannot be written; give yourself the "
              "permission to write it and its folder" +
                  kEnd);
    EXPECT_EQ(
        TTMLHost::DescribeNoFolder("/a\tb", EACCES),
        "Could not make the folder '/a?b' for the settings store: Permission denied; check the path and "
        "the permissions above it" +
            kEnd);
}

} // namespace
