#include "StoreFailure.h"

#include <system_error>

#include <sqlite3.h>

#include "OneLine.h"

namespace TTMLHost {

namespace {

constexpr const char* kConsequence = "; until then settings last no longer than the program";

// SQLite's result codes have more in their higher bytes.
constexpr int kPrimaryCode = 0xff;

struct Words
{
    std::string cause;
    const char* hint;
};

const char* StepWord(StoreStep step)
{
    switch (step) {
    case StoreStep::Open:
        break;
    case StoreStep::Read:
        return "read";
    case StoreStep::Write:
        return "write";
    }
    return "open";
}

Words DatabaseWords(int code)
{
    switch (code & kPrimaryCode) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return {"the file is damaged", "move it away, and a new one is made"};
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return {"the file cannot be opened", "check its folder and the permissions of both"};
    case SQLITE_READONLY:
        return {"the file cannot be written", "give yourself the permission to write it and its folder"};
    case SQLITE_FULL:
        return {"the disk is full", "free some space"};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return {"another program keeps it locked", "end that program"};
    case SQLITE_NOMEM:
        return {"out of memory", "close other programs"};
    case SQLITE_IOERR:
        return {"the disk failed", "check the disk and the space on it"};
    default:
        return {sqlite3_errstr(code), "move the file away, and a new one is made"};
    }
}

Words FailureWords(const StoreFailure& failure)
{
    switch (failure.kind) {
    case StoreFailure::Kind::None:
    case StoreFailure::Kind::Database:
        break;
    case StoreFailure::Kind::ReadOnly:
        return DatabaseWords(SQLITE_READONLY);
    case StoreFailure::Kind::OtherProgram:
        return {"it is another program's database", "name another file in TTML_SETTINGS"};
    case StoreFailure::Kind::NewerVersion:
        return {"a newer version of this program made it", "update this one, or move the file away"};
    }
    return DatabaseWords(failure.code);
}

std::string ErrorText(int systemError)
{
    return systemError == 0 ? "" : " (" + std::generic_category().message(systemError) + ")";
}

} // namespace

std::string DescribeFailure(const std::string& file, const StoreFailure& failure)
{
    const Words words = FailureWords(failure);
    return OneLine(std::string("Could not ") + StepWord(failure.step) + " the settings store '" + file +
                   "': " + words.cause + ErrorText(failure.systemError) + "; " + words.hint + kConsequence);
}

std::string DescribeNoHome()
{
    return std::string("Could not open the settings store: the environment names no folder for it; set HOME "
                       "to the user's folder") +
           kConsequence;
}

std::string DescribeNoFolder(const std::string& folder, int systemError)
{
    return OneLine("Could not make the folder '" + folder +
                   "' for the settings store: " + std::generic_category().message(systemError) +
                   "; check the path and the permissions above it" + kConsequence);
}

} // namespace TTMLHost
