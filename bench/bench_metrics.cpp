// Reading and writing one numbered setting, beside plain SQLite with a prepared statement on the same schema
// and settings of the journal.
#include "kernel/metrics/metrics.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// A home of its own, on the disk that temporary files are on.
struct Home {
    const fs::path path = fs::temp_directory_path() / "tarn-bench-metrics";
    HQMMETRIC metrics = nullptr;

    Home() {
        fs::remove_all(path);
        fs::create_directories(path);
        ::setenv("XDG_CONFIG_HOME", path.c_str(), 1);
        QmMetric_Open(&metrics, u"Bench", 0, nullptr);
        for (int32_t id = 0; id < 100; id++) QmSetMetric(metrics, id, static_cast<uint32_t>(id));
    }
    ~Home() {
        QmMetric_Close(metrics);
        fs::remove_all(path);
    }
};

void Ours_Read(benchmark::State& state) {
    const Home home;
    int32_t id = 0;
    for (auto _ : state) benchmark::DoNotOptimize(QmGetMetric(home.metrics, id++ % 100));
}
BENCHMARK(Ours_Read);

void Ours_Write(benchmark::State& state) {
    const Home home;
    int32_t id = 0;
    for (auto _ : state) QmSetMetric(home.metrics, id % 100, static_cast<uint32_t>(id)), id++;
}
BENCHMARK(Ours_Write);

class Plain {
public:
    explicit Plain(const char* text) {
        sqlite3_open((m_home.path / "plain.db").c_str(), &m_db);
        sqlite3_exec(m_db,
                     "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;"
                     "CREATE TABLE settings(path TEXT COLLATE NOCASE, name TEXT COLLATE NOCASE, type INTEGER,"
                     " data BLOB, PRIMARY KEY(path, name)) WITHOUT ROWID;",
                     nullptr, nullptr, nullptr);
        for (int id = 0; id < 100; id++) {
            char insert[200];
            std::snprintf(insert, sizeof insert,
                          "INSERT INTO settings VALUES('Software\\Brena Creative Software\\Bench\\Metrics', "
                          "'%d', 4, x'01020304')",
                          id);
            sqlite3_exec(m_db, insert, nullptr, nullptr, nullptr);
        }
        sqlite3_prepare_v2(m_db, text, -1, &m_statement, nullptr);
        sqlite3_bind_text(m_statement, 1, "Software\\Brena Creative Software\\Bench\\Metrics", -1,
                          SQLITE_STATIC);
    }
    ~Plain() {
        sqlite3_finalize(m_statement);
        sqlite3_close(m_db);
    }
    int Step(int id) {
        char name[12];
        const int length = std::snprintf(name, sizeof name, "%d", id % 100);
        sqlite3_bind_text(m_statement, 2, name, length, SQLITE_STATIC);
        const int code = sqlite3_step(m_statement);
        if (code == SQLITE_ROW) benchmark::DoNotOptimize(sqlite3_column_blob(m_statement, 1));
        sqlite3_reset(m_statement);
        return code;
    }

private:
    Home m_home;
    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statement = nullptr;
};

void Sqlite_Read(benchmark::State& state) {
    Plain plain("SELECT type, data FROM settings WHERE path = ?1 AND name = ?2");
    int id = 0;
    for (auto _ : state) plain.Step(id++);
}
BENCHMARK(Sqlite_Read);

void Sqlite_Write(benchmark::State& state) {
    Plain plain("INSERT OR REPLACE INTO settings VALUES(?1, ?2, 4, x'01020304')");
    int id = 0;
    for (auto _ : state) plain.Step(id++);
}
BENCHMARK(Sqlite_Write);

}  // namespace
