// One file of settings, open in this process: the connection, its statements, and what to do when it is
// damaged.
#pragma once

#include "platform/store.h"

#include <functional>
#include <mutex>

struct sqlite3;
struct sqlite3_stmt;

namespace tarn {

/// Any thread; one at a time gets in.
class StoreFile {
public:
    StoreFile(std::filesystem::path path, bool mayWrite) : m_path(std::move(path)), m_mayWrite(mayWrite) {}
    ~StoreFile() { Close(); }
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    enum Statement { READ, WRITE, ERASE, ERASE_TREE, LIST, STATEMENTS };

    /// Opens the file where it isn't, and runs `work` with the prepared statement: it binds, steps and
    /// returns SQLite's last code, SQLITE_DONE or SQLITE_ROW when all went well. A file that turns out to be
    /// damaged is set aside, and the work runs again on an empty one. STORE_NOT_FOUND when there is no file
    /// to read.
    HRESULT Run(Statement which, const std::function<int(sqlite3_stmt*)>& work);

private:
    int Open(bool create);
    int OpenAs(const std::string& name, int flags);
    int Prepare(Statement which);
    int Attempt(Statement which, const std::function<int(sqlite3_stmt*)>& work);
    bool SetAside();
    void Close();

    const std::filesystem::path m_path;
    const bool m_mayWrite;
    std::mutex m_lock;
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statements[STATEMENTS] = {};
    bool m_readOnly = false;
};

}  // namespace tarn
