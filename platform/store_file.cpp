#include "platform/store_file.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace tarn {

namespace {

namespace fs = std::filesystem;

constexpr int BUSY_MILLISECONDS = 1000;
constexpr int SETUP_RETRY_MILLISECONDS = 5;
constexpr int MOST_DAMAGED = 100;  ///< files set aside, before the oldest is replaced

// Readers don't wait for writers in this journal mode, and a write costs no wait for the disk; where a file
// system can't do it SQLite stays with its usual one.
constexpr const char* SETUP = "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;";
constexpr const char* SCHEMA =
    "CREATE TABLE IF NOT EXISTS settings(path TEXT COLLATE NOCASE NOT NULL, name TEXT COLLATE NOCASE NOT "
    "NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(path, name)) WITHOUT ROWID;";

// Below a path lie those that continue it with a backslash; ']' is the character behind that one.
constexpr const char* TEXTS[StoreFile::STATEMENTS] = {
    "SELECT type, data FROM settings WHERE path = ?1 AND name = ?2",
    "INSERT OR REPLACE INTO settings(path, name, type, data) VALUES(?1, ?2, ?3, ?4)",
    "DELETE FROM settings WHERE path = ?1 AND name = ?2",
    "DELETE FROM settings WHERE path = ?1 OR (path >= ?1 || '\\' AND path < ?1 || ']')",
    ("SELECT path, name, type, data FROM settings WHERE ?1 = '' OR path = ?1 OR"
     " (path >= ?1 || '\\' AND path < ?1 || ']') ORDER BY path, name"),
};

bool Writes(StoreFile::Statement which) { return which == StoreFile::WRITE; }
bool IsDamage(int code) { return (code & 0xFF) == SQLITE_CORRUPT || (code & 0xFF) == SQLITE_NOTADB; }

struct StatusRow {
    int code;
    HRESULT status;
};
constexpr StatusRow STATUSES[] = {
    {SQLITE_OK, S_OK},
    {SQLITE_DONE, S_OK},
    {SQLITE_ROW, S_OK},
    {SQLITE_NOMEM, E_OUTOFMEMORY},
    {SQLITE_TOOBIG, E_INVALIDARG},
    {SQLITE_BUSY, STORE_BUSY},
    {SQLITE_LOCKED, STORE_BUSY},
    {SQLITE_FULL, STORE_FULL},
    {SQLITE_READONLY, STORE_NO_ACCESS},
    {SQLITE_PERM, STORE_NO_ACCESS},
    {SQLITE_AUTH, STORE_NO_ACCESS},
    {SQLITE_CANTOPEN, STORE_NO_ACCESS},
    {SQLITE_CORRUPT, STORE_DAMAGED},
    {SQLITE_NOTADB, STORE_DAMAGED},
};

HRESULT StatusOf(int code) {
    for (const StatusRow& row : STATUSES)
        if (row.code == (code & 0xFF)) return row.status;
    return STORE_IO_ERROR;
}

/// A failed allocation of the library's own containers is the same to the caller as one of SQLite's.
std::string UriOf(const fs::path& path) {
    std::string uri = "file:";
    for (const char c : path.string()) {
        if (c == '%' || c == '?' || c == '#') {
            char escaped[4];
            std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(c));
            uri += escaped;
        } else {
            uri += c;
        }
    }
    return uri;
}

/// Held while a damaged file is taken away, so that of two processes that find it only one does.
class DamageLock {
public:
    explicit DamageLock(const fs::path& file)
        : m_handle(::open((file.string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (m_handle >= 0) ::flock(m_handle, LOCK_EX);
    }
    ~DamageLock() {
        if (m_handle >= 0) ::close(m_handle);
    }
    DamageLock(const DamageLock&) = delete;
    DamageLock& operator=(const DamageLock&) = delete;
    bool IsHeld() const { return m_handle >= 0; }

private:
    int m_handle;
};

int Execute(sqlite3* db, const char* text) { return sqlite3_exec(db, text, nullptr, nullptr, nullptr); }

/// The change of the journal's mode does not wait for another process that is at the same, as all else does.
int SetUp(sqlite3* db) {
    int code = SQLITE_BUSY;
    for (int waited = 0; code == SQLITE_BUSY && waited <= BUSY_MILLISECONDS;
         waited += SETUP_RETRY_MILLISECONDS) {
        if (waited) sqlite3_sleep(SETUP_RETRY_MILLISECONDS);
        code = Execute(db, SETUP);
        if (code == SQLITE_OK) code = Execute(db, SCHEMA);
    }
    return code;
}

bool IsSound(sqlite3* db) {
    bool sound = false;
    const auto take = [](void* out, int, char** values, char**) {
        *static_cast<bool*>(out) = values[0] && std::strcmp(values[0], "ok") == 0;
        return 0;
    };
    return sqlite3_exec(db, "PRAGMA quick_check(1)", take, &sound, nullptr) == SQLITE_OK && sound;
}

}  // namespace

void StoreFile::Close() {
    for (sqlite3_stmt*& statement : m_statements) sqlite3_finalize(std::exchange(statement, nullptr));
    sqlite3_close(std::exchange(m_db, nullptr));
}

int StoreFile::OpenAs(const std::string& name, int flags) {
    Close();
    int code = sqlite3_open_v2(name.c_str(), &m_db, flags | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code == SQLITE_OK) {
        sqlite3_busy_timeout(m_db, BUSY_MILLISECONDS);
        // Opening looks at nothing; this does.
        code = flags & SQLITE_OPEN_READWRITE ? SetUp(m_db) : Execute(m_db, "PRAGMA schema_version");
    }
    if (code == SQLITE_OK && !IsSound(m_db)) code = SQLITE_CORRUPT;
    m_readOnly = !(flags & SQLITE_OPEN_READWRITE);
    if (code != SQLITE_OK) Close();
    return code;
}

int StoreFile::Open(bool create) {
    if (m_db && !(create && m_readOnly && m_mayWrite)) return SQLITE_OK;
    std::error_code none;
    const bool exists = fs::exists(m_path, none);
    if (!exists && !create) return SQLITE_EMPTY;
    const std::string uri = UriOf(m_path);
    int code = SQLITE_READONLY;
    if (m_mayWrite) {
        if (!exists) {
            fs::create_directories(m_path.parent_path(), none);
            if (none) return SQLITE_CANTOPEN;
        }
        code = OpenAs(uri, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        if (code == SQLITE_OK || IsDamage(code) || code == SQLITE_BUSY || create) return code;
    }
    // A folder that can't be written: first as it is, then, where even the journal's files can't be made, as
    // a file that nobody changes.
    code = OpenAs(uri, SQLITE_OPEN_READONLY);
    if (code == SQLITE_OK || IsDamage(code)) return code;
    return OpenAs(uri + "?immutable=1", SQLITE_OPEN_READONLY);
}

int StoreFile::Prepare(Statement which) {
    if (m_statements[which]) return SQLITE_OK;
    return sqlite3_prepare_v3(m_db, TEXTS[which], -1, SQLITE_PREPARE_PERSISTENT, &m_statements[which],
                              nullptr);
}

int StoreFile::Attempt(Statement which, const std::function<int(sqlite3_stmt*)>& work) {
    int code = Open(Writes(which));
    if (code == SQLITE_OK) code = Prepare(which);
    if (code != SQLITE_OK) return code;
    sqlite3_stmt* statement = m_statements[which];
    code = work(statement);
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return code;
}

bool StoreFile::SetAside() {
    Close();
    if (!m_mayWrite) return false;
    const DamageLock lock(m_path);
    if (!lock.IsHeld()) return false;
    // Another process may have done it in the meantime.
    if (!IsDamage(OpenAs(UriOf(m_path), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE))) return true;
    std::error_code error;
    fs::path aside;
    for (int n = 1; n <= MOST_DAMAGED; n++) {
        aside = m_path.string() + ".damaged-" + std::to_string(n);
        if (!fs::exists(aside, error)) break;
    }
    fs::rename(m_path, aside, error);
    if (error) return false;
    for (const char* part : {"-wal", "-shm"}) {
        std::error_code absent;
        fs::remove(m_path.string() + part, absent);
    }
    std::fprintf(stderr,
                 "tarn: the settings in %s are damaged; they are kept as %s and the defaults are used\n",
                 m_path.c_str(), aside.filename().c_str());
    return true;
}

HRESULT StoreFile::Run(Statement which, const std::function<int(sqlite3_stmt*)>& work) try {
    const std::lock_guard lock(m_lock);
    int code = Attempt(which, work);
    if (IsDamage(code) && SetAside()) code = Attempt(which, work);
    return code == SQLITE_EMPTY ? STORE_NOT_FOUND : StatusOf(code);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
} catch (const fs::filesystem_error&) {
    return STORE_IO_ERROR;
}

}  // namespace tarn
