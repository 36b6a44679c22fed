#include "Database.h"

#include <chrono>
#include <climits>

namespace TTMLHost {

namespace {

// How long another program may keep the store locked.
constexpr int kPatienceMs = 2000;
constexpr int kRetryMs = 10;

// Marks the file as ours, for this program and for file(1): "TTML".
constexpr std::int64_t kOwner = 0x54544D4C;
constexpr std::int64_t kFormat = 1;

constexpr const char* kMakeTable =
    "CREATE TABLE setting ("
    " key TEXT NOT NULL PRIMARY KEY,"
    " type TEXT NOT NULL CHECK (type IN ('int', 'bool')),"
    " value INTEGER NOT NULL,"
    " writes INTEGER NOT NULL" // counts, so that setting the same value again shows
    ") STRICT, WITHOUT ROWID;"
    "PRAGMA application_id = 1414810956;"
    "PRAGMA user_version = 1;";
static_assert(kOwner == 1414810956 && kFormat == 1, "a pragma takes no parameter");

constexpr const char* kReadAll = "SELECT key, type, value, writes FROM setting";
constexpr const char* kWrite =
    "INSERT INTO setting (key, type, value, writes) VALUES (?1, ?2, ?3, 1)"
    " ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value, writes = writes + 1"
    " RETURNING writes";

constexpr const char* kIntType = "int";
constexpr const char* kBoolType = "bool";

std::string TextColumn(sqlite3_stmt* statement, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text == nullptr
               ? std::string()
               : std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
}

// Has a statement begin anew next time, however its use ends.
class Use
{
public:
    explicit Use(sqlite3_stmt* statement)
        : m_statement(statement)
    {}
    ~Use() { (void)sqlite3_reset(m_statement); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

private:
    sqlite3_stmt* m_statement;
};

// Whether reading may still be tried after opening the file for writing failed.
bool MayBeReadable(const StoreFailure& failure)
{
    const int primary = failure.code & 0xff;
    return failure.kind == StoreFailure::Kind::Database && primary != SQLITE_NOTADB &&
           primary != SQLITE_CORRUPT && primary != SQLITE_NOMEM;
}

// The URI of a file that nobody can write: SQLite then needs no shared memory beside it.
std::string ImmutableUri(const std::string& file)
{
    const std::string digits = "0123456789ABCDEF";
    std::string uri = "file:";
    for (const char c : file) {
        if (c == '%' || c == '?' || c == '#') {
            const auto byte = static_cast<unsigned char>(c);
            uri += '%';
            uri += digits[byte >> 4U];
            uri += digits[byte & 0xFU];
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

} // namespace

bool Database::Open(const std::string& file)
{
    m_step = StoreStep::Open;
    if (m_OpenToWrite(file)) {
        return true;
    }
    if (m_failure.kind == StoreFailure::Kind::ReadOnly) {
        return true;
    }
    const StoreFailure whyNotWritten = m_failure;
    if (!MayBeReadable(whyNotWritten) || !m_OpenToRead(file)) {
        m_failure = whyNotWritten;
        return false;
    }
    m_failure = whyNotWritten;
    return true;
}

bool Database::m_OpenToWrite(const std::string& file)
{
    if (!m_Connect(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) || !m_UseWriteAheadLog()) {
        return false;
    }
    bool fresh = false;
    if (!m_CheckOwner(&fresh) || (fresh && !m_MakeTable()) || !m_CheckContent() || !m_CompileAll()) {
        return false;
    }
    // SQLite opens for reading what it may not write.
    return sqlite3_db_readonly(m_database.get(), "main") == 0 || m_Refuse(StoreFailure::Kind::ReadOnly);
}

bool Database::m_OpenToRead(const std::string& file)
{
    bool fresh = false;
    if (m_Connect(file, SQLITE_OPEN_READONLY) && m_CheckOwner(&fresh) && m_CheckContent() && m_CompileAll()) {
        return true;
    }
    if (!MayBeReadable(m_failure) || (m_failure.code & 0xff) == SQLITE_BUSY) {
        return false;
    }
    return m_Connect(ImmutableUri(file), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI) && m_CheckOwner(&fresh) &&
           m_CheckContent() && m_CompileAll();
}

bool Database::m_Connect(const std::string& name, int flags)
{
    m_readAll.reset();
    m_write.reset();
    m_version.reset();
    sqlite3* database = nullptr;
    const int result = sqlite3_open_v2(name.c_str(), &database, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    m_database.reset(database); // there is one even after a failure, to say why
    if (result != SQLITE_OK) {
        return m_Fail();
    }
    return sqlite3_busy_timeout(database, kPatienceMs) == SQLITE_OK || m_Fail();
}

bool Database::m_UseWriteAheadLog()
{
    // The change of the mode does not wait for locks by itself: others may be making the same file.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!m_Run("PRAGMA journal_mode = WAL")) {
        if ((m_failure.code & 0xff) != SQLITE_BUSY || std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        (void)sqlite3_sleep(kRetryMs);
    }
    return true;
}

bool Database::m_MakeTable()
{
    if (!m_Run("BEGIN IMMEDIATE")) {
        return false;
    }
    // Another program may have come first.
    bool fresh = false;
    const bool made = m_CheckOwner(&fresh) && (!fresh || m_Run(kMakeTable)) && m_Run("COMMIT");
    if (!made) {
        (void)sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
    return made;
}

bool Database::m_CheckOwner(bool* fresh)
{
    std::int64_t owner = 0;
    std::int64_t format = 0;
    std::int64_t objects = 0;
    if (!m_ReadNumber("PRAGMA application_id", &owner) || !m_ReadNumber("PRAGMA user_version", &format) ||
        !m_ReadNumber("SELECT count(*) FROM sqlite_schema", &objects)) {
        return false;
    }
    *fresh = owner == 0 && objects == 0;
    if (!*fresh && owner != kOwner) {
        return m_Refuse(StoreFailure::Kind::OtherProgram);
    }
    return format <= kFormat || m_Refuse(StoreFailure::Kind::NewerVersion);
}

bool Database::m_CheckContent()
{
    Statement check;
    if (!m_Compile("PRAGMA quick_check(1)", &check)) {
        return false;
    }
    if (sqlite3_step(check.get()) != SQLITE_ROW) {
        return m_Fail();
    }
    if (TextColumn(check.get(), 0) != "ok") {
        m_failure = {StoreFailure::Kind::Database, m_step, SQLITE_CORRUPT, 0};
        return false;
    }
    return true;
}

bool Database::m_CompileAll()
{
    return m_Compile(kReadAll, &m_readAll) && m_Compile(kWrite, &m_write) &&
           m_Compile("PRAGMA data_version", &m_version);
}

bool Database::ReadAll(std::vector<StoredSetting>* settings)
{
    m_step = StoreStep::Read;
    settings->clear();
    const Use use(m_readAll.get());
    int result = SQLITE_OK;
    while ((result = sqlite3_step(m_readAll.get())) == SQLITE_ROW) {
        StoredSetting row;
        row.setting.key = TextColumn(m_readAll.get(), 0);
        row.setting.type = TextColumn(m_readAll.get(), 1) == kBoolType ? SettingType::Bool : SettingType::Int;
        const sqlite3_int64 value = sqlite3_column_int64(m_readAll.get(), 2);
        row.writes = sqlite3_column_int64(m_readAll.get(), 3);
        // Only other tools write what does not fit; it counts as no value.
        if (value >= INT_MIN && value <= INT_MAX) {
            row.setting.value = static_cast<int>(value);
            settings->push_back(std::move(row));
        }
    }
    return result == SQLITE_DONE || m_Fail();
}

bool Database::Write(const Setting& setting, std::int64_t* writes)
{
    m_step = StoreStep::Write;
    const char* type = setting.type == SettingType::Bool ? kBoolType : kIntType;
    const Use use(m_write.get());
    // The texts outlive the statement's use of them.
    (void)sqlite3_bind_text(m_write.get(), 1, setting.key.c_str(), -1, SQLITE_STATIC);
    (void)sqlite3_bind_text(m_write.get(), 2, type, -1, SQLITE_STATIC);
    (void)sqlite3_bind_int(m_write.get(), 3, setting.value);
    int result = sqlite3_step(m_write.get());
    if (result == SQLITE_ROW) {
        *writes = sqlite3_column_int64(m_write.get(), 0);
        result = sqlite3_step(m_write.get()); // commits
    }
    return result == SQLITE_DONE || m_Fail();
}

bool Database::HasChanged(bool* changed)
{
    m_step = StoreStep::Read;
    const Use use(m_version.get());
    if (sqlite3_step(m_version.get()) != SQLITE_ROW) {
        return m_Fail();
    }
    m_foundVersion = sqlite3_column_int64(m_version.get(), 0);
    *changed = m_foundVersion != m_seenVersion;
    return true;
}

bool Database::m_Run(const char* sql)
{
    return sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK || m_Fail();
}

bool Database::m_ReadNumber(const char* sql, std::int64_t* number)
{
    Statement statement;
    if (!m_Compile(sql, &statement)) {
        return false;
    }
    if (sqlite3_step(statement.get()) != SQLITE_ROW) {
        return m_Fail();
    }
    *number = sqlite3_column_int64(statement.get(), 0);
    return true;
}

bool Database::m_Compile(const char* sql, Statement* statement)
{
    sqlite3_stmt* compiled = nullptr;
    if (sqlite3_prepare_v3(m_database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &compiled, nullptr) !=
        SQLITE_OK) {
        return m_Fail();
    }
    statement->reset(compiled);
    return true;
}

bool Database::m_Fail()
{
    m_failure = {StoreFailure::Kind::Database, m_step, SQLITE_NOMEM, 0};
    if (m_database != nullptr) {
        m_failure.code = sqlite3_extended_errcode(m_database.get());
        const int primary = m_failure.code & 0xff;
        if (primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR) {
            m_failure.systemError = sqlite3_system_errno(m_database.get());
        }
    }
    return false;
}

bool Database::m_Refuse(StoreFailure::Kind kind)
{
    m_failure = {kind, m_step, SQLITE_ERROR, 0};
    return false;
}

} // namespace TTMLHost
