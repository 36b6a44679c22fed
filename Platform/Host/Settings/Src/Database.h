#ifndef TTML_HOST_SETTINGS_DATABASE_H
#define TTML_HOST_SETTINGS_DATABASE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "HostSettings.h"
#include "StoreFailure.h"

namespace TTMLHost {

// One setting as the database keeps it.
struct StoredSetting
{
    Setting setting;
    std::int64_t writes = 0; // how often it was set, by anyone
};

// A settings file: an SQLite database with write-ahead log, which several programs may use at once. Used by
// one thread at a time. An operation that fails returns false, leaves its output unspecified and says why in
// Failure().
class Database
{
public:
    Database() = default;
    ~Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    // Opens the file, making it where it is missing. One that can only be read is open too: ReadAll() works,
    // and Failure() says why Write() would not.
    bool Open(const std::string& file);

    bool ReadAll(std::vector<StoredSetting>* settings);

    // Sets a value, all or nothing; `writes` is the key's new count.
    bool Write(const Setting& setting, std::int64_t* writes);

    // Whether others may have written since MarkSeen(), which takes what was found here as seen.
    bool HasChanged(bool* changed);
    void MarkSeen() { m_seenVersion = m_foundVersion; }

    const StoreFailure& Failure() const { return m_failure; }

private:
    struct Closer
    {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

    static constexpr std::int64_t kNoVersion = -1;

    bool m_OpenToWrite(const std::string& file);
    bool m_OpenToRead(const std::string& file);
    bool m_Connect(const std::string& name, int flags);
    bool m_UseWriteAheadLog();
    bool m_MakeTable();
    bool m_CheckOwner(bool* fresh);
    bool m_CheckContent();
    bool m_CompileAll();

    bool m_Run(const char* sql);
    bool m_ReadNumber(const char* sql, std::int64_t* number);
    bool m_Compile(const char* sql, Statement* statement);
    // Both keep why and return false.
    bool m_Fail();
    bool m_Refuse(StoreFailure::Kind kind);

    std::unique_ptr<sqlite3, Closer> m_database;
    // After what they belong to, so that they go first.
    Statement m_readAll;
    Statement m_write;
    Statement m_version;
    std::int64_t m_foundVersion = kNoVersion;
    std::int64_t m_seenVersion = kNoVersion;
    StoreStep m_step = StoreStep::Open;
    StoreFailure m_failure;
};

} // namespace TTMLHost

#endif
