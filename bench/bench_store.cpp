// Records of 128 to 512 bytes in one file: stored one by one, restored in random order, restored
// after reopening, half of them deleted; beside SQLite, LMDB, Berkeley DB and LevelDB where they
// are found.
//
// Each record is handed to the operating system before its call returns; no store waits for the
// disk. The peers that have transactions use one per record. Rows give the time of an operation,
// that of the processor for it (in all threads; the figure that counts on a busy machine), the size
// of the file relative to the records, and for this library the system calls of an operation.
#include "velm/frame/stored_form.h"
#include "velm/frame/vec.h"
#include "velm/platform/detail/system_files.h"
#include "velm/store/database.h"
#include "velm/store/object_database.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#if defined(VELM_BENCH_HAS_SQLITE3)
#include <sqlite3.h>
#endif
#if defined(VELM_BENCH_HAS_LMDB)
#include <lmdb.h>
#endif
#if defined(VELM_BENCH_HAS_DB)
#include <db.h>
#endif
#if defined(VELM_BENCH_HAS_LEVELDB)
#include <leveldb/db.h>
#endif

namespace {

class Record : public ERObject {
    VELM_DECLARE_CLASS(Record)
    ERObject* getCopy() const override { return new Record(*this); }
    void printOn(std::ostream&) const override {}
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

    ERVec<char> content;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.content);
    }
};
VELM_DEFINE_CLASS(Record, ERObject)
VELM_DEFINE_STORED_FORM(Record, ERObject)

ERVec<char> array_of(std::string_view content) {
    return ERVec<char>(ERVecRep::getRep(content.data(), content.size()));
}

// The contents of the records, slices of one random text.
class Contents {
public:
    explicit Contents(int count) : sizes_(static_cast<std::size_t>(count)) {
        std::mt19937 random(7);
        for (int& size : sizes_)
            size = 128 + static_cast<int>(random() % 385);
        for (char& c : text_)
            c = static_cast<char>(random());
    }
    std::string_view operator[](int i) const {
        const std::size_t start = static_cast<std::size_t>(i) * 40503u % (sizeof text_ - 512);
        return {text_ + start, static_cast<std::size_t>(sizes_[static_cast<std::size_t>(i)])};
    }
    double bytes() const { return std::accumulate(sizes_.begin(), sizes_.end(), 0.0); }

private:
    std::vector<int> sizes_;
    char text_[1 << 20];
};

// Counts the system calls.
class CountedCalls : public velm::detail::SystemFiles {
public:
    CountedCalls() : previous_(velm::detail::set_system_files(this)) {}
    ~CountedCalls() override { velm::detail::set_system_files(previous_); }
    ssize_t read(int file, void* buffer, std::size_t count, off_t offset) override {
        ++reads;
        return SystemFiles::read(file, buffer, count, offset);
    }
    ssize_t write(int file, const void* buffer, std::size_t count, off_t offset) override {
        ++writes;
        return SystemFiles::write(file, buffer, count, offset);
    }
    int status(int file, struct stat* found) override {
        ++others;
        return SystemFiles::status(file, found);
    }

    long reads = 0;
    long writes = 0;
    long others = 0;

private:
    velm::detail::SystemFiles* previous_;
};

// The operations of every store of the comparison. Identifiers are 1 to the number of records.
struct Objects {
    static constexpr const char* name = "velm ERObjectDataBase, 64 MB of nodes";
    explicit Objects(const std::string& path_) : path(path_ + ".velm") { open(); }
    void open() { store.Open(path.c_str(), 0); }
    void put(int, std::string_view content) {
        Record record;
        record.content = array_of(content);
        store.Store(record);
    }
    std::size_t get(int id) {
        const t_SmartPtr<ERObject> object = store.RetrieveAndCreate(id);
        return object ? static_cast<std::size_t>(Record::castdown(*object).content.size()) : 0;
    }
    void remove(int id) { store.Delete(id); }
    void reopen() {
        store.Close();
        open();
    }
    std::string path;
    ERObjectDataBase store;
};

struct Indexed {
    static constexpr const char* name = "velm ERDataBase, 64 MB of nodes";
    explicit Indexed(const std::string& path_) : path(path_ + ".velm") {
        store.Open(path.c_str(), 0);
    }
    void put(int, std::string_view content) {
        t_SmartPtr<Record> record(new Record);
        record->content = array_of(content);
        store.save(t_SmartPtr<ERObject>(record.get()));
    }
    std::size_t get(int id) {
        gmErrorCode code;
        const t_SmartPtr<ERObject> object = store.restore(id - 1, code);
        return object ? static_cast<std::size_t>(Record::castdown(*object).content.size()) : 0;
    }
    void remove(int id) { store.objects()->Delete(id + 1); }
    void reopen() {
        store.Close();
        store.Open(path.c_str(), 0);
    }
    std::string path;
    ERDataBase store;
};

#if defined(VELM_BENCH_HAS_SQLITE3)
struct Sqlite {
    static constexpr const char* name =
        "SQLite " SQLITE_VERSION ", WAL, synchronous off, 2 MB cache";
    explicit Sqlite(const std::string& path_) : path(path_ + ".sqlite") { open(); }
    ~Sqlite() { close(); }
    void open() {
        sqlite3_open(path.c_str(), &db);
        run("PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF;"
            "CREATE TABLE IF NOT EXISTS r(id INTEGER PRIMARY KEY, c BLOB)");
        sqlite3_prepare_v2(db, "INSERT INTO r VALUES(?,?)", -1, &insert, nullptr);
        sqlite3_prepare_v2(db, "SELECT c FROM r WHERE id=?", -1, &select, nullptr);
        sqlite3_prepare_v2(db, "DELETE FROM r WHERE id=?", -1, &erase, nullptr);
    }
    void close() {
        for (sqlite3_stmt* statement : {insert, select, erase})
            sqlite3_finalize(statement);
        sqlite3_close(db);
    }
    void run(const char* sql) { sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
    void put(int id, std::string_view content) {
        sqlite3_bind_int(insert, 1, id);
        sqlite3_bind_blob(insert, 2, content.data(), static_cast<int>(content.size()),
                          SQLITE_STATIC);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    std::size_t get(int id) {
        sqlite3_bind_int(select, 1, id);
        copy.clear();
        if (sqlite3_step(select) == SQLITE_ROW)
            copy.assign(static_cast<const char*>(sqlite3_column_blob(select, 0)),
                        static_cast<std::size_t>(sqlite3_column_bytes(select, 0)));
        sqlite3_reset(select);
        return copy.size();
    }
    void remove(int id) {
        sqlite3_bind_int(erase, 1, id);
        sqlite3_step(erase);
        sqlite3_reset(erase);
    }
    void reopen() {
        close();
        open();
    }
    std::string path;
    std::string copy;
    sqlite3* db = nullptr;
    sqlite3_stmt* insert = nullptr;
    sqlite3_stmt* select = nullptr;
    sqlite3_stmt* erase = nullptr;
};
#endif

#if defined(VELM_BENCH_HAS_LMDB)
struct Lmdb {
    static constexpr const char* name = "LMDB, no sync, mapped";
    explicit Lmdb(const std::string& path_) : path(path_ + ".mdb") { open(); }
    ~Lmdb() { close(); }
    void open() {
        mdb_env_create(&env);
        mdb_env_set_mapsize(env, std::size_t{4} << 30);
        mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | MDB_NOSYNC, 0600);
        MDB_txn* txn = nullptr;
        mdb_txn_begin(env, nullptr, 0, &txn);
        mdb_dbi_open(txn, nullptr, MDB_INTEGERKEY | MDB_CREATE, &dbi);
        mdb_txn_commit(txn);
    }
    void close() {
        if (reader) mdb_txn_abort(reader);
        reader = nullptr;
        mdb_env_close(env);
    }
    template <class Change>
    void write(Change change) {
        if (reader) mdb_txn_abort(reader);
        reader = nullptr;
        MDB_txn* txn = nullptr;
        mdb_txn_begin(env, nullptr, 0, &txn);
        change(txn);
        mdb_txn_commit(txn);
    }
    void put(int id, std::string_view content) {
        write([&](MDB_txn* txn) {
            MDB_val key{sizeof id, &id};
            MDB_val value{content.size(), const_cast<char*>(content.data())};
            mdb_put(txn, dbi, &key, &value, 0);
        });
    }
    std::size_t get(int id) {
        if (!reader) mdb_txn_begin(env, nullptr, MDB_RDONLY, &reader);
        MDB_val key{sizeof id, &id};
        MDB_val value{0, nullptr};
        copy.clear();
        if (mdb_get(reader, dbi, &key, &value) == 0)
            copy.assign(static_cast<const char*>(value.mv_data), value.mv_size);
        return copy.size();
    }
    void remove(int id) {
        write([&](MDB_txn* txn) {
            MDB_val key{sizeof id, &id};
            mdb_del(txn, dbi, &key, nullptr);
        });
    }
    void reopen() {
        close();
        open();
    }
    std::string path;
    std::string copy;
    MDB_env* env = nullptr;
    MDB_dbi dbi = 0;
    MDB_txn* reader = nullptr;
};
#endif

#if defined(VELM_BENCH_HAS_DB)
struct BerkeleyDb {
    static constexpr const char* name = "Berkeley DB, 64 MB cache, write-nosync";
    explicit BerkeleyDb(const std::string& path_) : path(path_ + ".bdb") {
        std::filesystem::create_directory(path);
        open();
    }
    ~BerkeleyDb() { close(); }
    void open() {
        db_env_create(&env, 0);
        env->set_cachesize(env, 0, 64u << 20, 1);
        env->set_flags(env, DB_TXN_WRITE_NOSYNC, 1);
        env->log_set_config(env, DB_LOG_AUTO_REMOVE, 1);
        env->open(env, path.c_str(),
                  DB_CREATE | DB_INIT_MPOOL | DB_INIT_TXN | DB_INIT_LOG | DB_INIT_LOCK, 0600);
        db_create(&db, env, 0);
        db->open(db, nullptr, "r.db", nullptr, DB_BTREE, DB_CREATE | DB_AUTO_COMMIT, 0600);
    }
    void close() {
        db->close(db, 0);
        env->close(env, 0);
    }
    static DBT thing(const void* data, std::size_t size) {
        DBT t;
        std::memset(&t, 0, sizeof t);
        t.data = const_cast<void*>(data);
        t.size = static_cast<u_int32_t>(size);
        return t;
    }
    static unsigned int key_of(int id) { return __builtin_bswap32(static_cast<unsigned int>(id)); }
    void put(int id, std::string_view content) {
        const unsigned int k = key_of(id);
        DBT key = thing(&k, sizeof k);
        DBT value = thing(content.data(), content.size());
        db->put(db, nullptr, &key, &value, DB_AUTO_COMMIT);
    }
    std::size_t get(int id) {
        const unsigned int k = key_of(id);
        DBT key = thing(&k, sizeof k);
        DBT value = thing(nullptr, 0);
        copy.clear();
        if (db->get(db, nullptr, &key, &value, 0) == 0)
            copy.assign(static_cast<const char*>(value.data), value.size);
        return copy.size();
    }
    void remove(int id) {
        const unsigned int k = key_of(id);
        DBT key = thing(&k, sizeof k);
        db->del(db, nullptr, &key, DB_AUTO_COMMIT);
    }
    void reopen() {
        close();
        open();
    }
    std::string path;
    std::string copy;
    DB_ENV* env = nullptr;
    DB* db = nullptr;
};
#endif

#if defined(VELM_BENCH_HAS_LEVELDB)
struct LevelDb {
    static constexpr const char* name = "LevelDB, unsynced, 8 MB block cache";
    explicit LevelDb(const std::string& path_) : path(path_ + ".leveldb") { open(); }
    void open() {
        leveldb::Options options;
        options.create_if_missing = true;
        leveldb::DB* opened = nullptr;
        leveldb::DB::Open(options, path, &opened);
        db.reset(opened);
    }
    static leveldb::Slice slice(std::string_view bytes) { return {bytes.data(), bytes.size()}; }
    static std::string key(int id) {
        const unsigned int k = __builtin_bswap32(static_cast<unsigned int>(id));
        return std::string(reinterpret_cast<const char*>(&k), sizeof k);
    }
    void put(int id, std::string_view content) {
        db->Put(leveldb::WriteOptions(), key(id), slice(content));
    }
    std::size_t get(int id) {
        copy.clear();
        db->Get(leveldb::ReadOptions(), key(id), &copy);
        return copy.size();
    }
    void remove(int id) { db->Delete(leveldb::WriteOptions(), key(id)); }
    void reopen() {
        db.reset();
        open();
    }
    std::string path;
    std::string copy;
    std::unique_ptr<leveldb::DB> db;
};
#endif

struct Folder {
    Folder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "velm-bench-XXXXXX").string();
        path = ::mkdtemp(pattern.data());
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    double bytes() const {
        double sum = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
            if (entry.is_regular_file()) {
                // The allocated size: mapped files are sparse.
                struct stat found;
                if (::stat(entry.path().c_str(), &found) == 0)
                    sum += std::min<double>(static_cast<double>(found.st_size),
                                            512.0 * static_cast<double>(found.st_blocks));
            }
        return sum;
    }
    std::filesystem::path path;
};

std::vector<int> shuffled(int count) {
    std::vector<int> ids(static_cast<std::size_t>(count));
    std::iota(ids.begin(), ids.end(), 1);
    std::shuffle(ids.begin(), ids.end(), std::mt19937(11));
    return ids;
}

template <class Store>
void whole_life(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const auto kept = std::make_unique<Contents>(count);
    const Contents& contents = *kept;
    const std::vector<int> order = shuffled(count);
    for (auto _ : state) {
        Folder folder;
        Store store((folder.path / "store").string());
        const auto phase = [&](const char* label, int operations, auto work) {
            const CountedCalls calls;
            const std::clock_t busy = std::clock();
            const auto start = std::chrono::steady_clock::now();
            work();
            const std::chrono::duration<double, std::micro> took =
                std::chrono::steady_clock::now() - start;
            state.counters[std::string(label) + "_us"] = took.count() / operations;
            state.counters[std::string(label) + "_cpu_us"] =
                static_cast<double>(std::clock() - busy) * 1e6 / CLOCKS_PER_SEC / operations;
            if (calls.reads + calls.writes > 0) {
                state.counters[std::string(label) + "_calls"] =
                    static_cast<double>(calls.reads + calls.writes + calls.others) / operations;
            }
        };
        const auto read_all = [&] {
            std::size_t bytes = 0;
            for (const int id : order)
                bytes += store.get(id);
            if (static_cast<double>(bytes) != contents.bytes()) state.SkipWithError("lost records");
        };
        phase("store", count, [&] {
            for (int id = 1; id <= count; ++id)
                store.put(id, contents[id - 1]);
        });
        phase("restore", count, read_all);
        phase("reopen", 1, [&] { store.reopen(); });
        phase("restore2", count, read_all);
        state.counters["size"] = folder.bytes() / contents.bytes();
        phase("delete", count / 2, [&] {
            for (int i = 0; i < count / 2; ++i)
                store.remove(order[static_cast<std::size_t>(i)]);
        });
        state.SetLabel(Store::name);
    }
}

} // namespace

#define VELM_BENCH_STORE(Store)                                                                    \
    BENCHMARK(whole_life<Store>)                                                                   \
        ->Arg(100000)                                                                              \
        ->Arg(1000000)                                                                             \
        ->Iterations(1)                                                                            \
        ->Unit(benchmark::kMillisecond)

VELM_BENCH_STORE(Objects);
VELM_BENCH_STORE(Indexed);
#if defined(VELM_BENCH_HAS_LEVELDB)
VELM_BENCH_STORE(LevelDb);
#endif
#if defined(VELM_BENCH_HAS_LMDB)
VELM_BENCH_STORE(Lmdb);
#endif
#if defined(VELM_BENCH_HAS_SQLITE3)
VELM_BENCH_STORE(Sqlite);
#endif
#if defined(VELM_BENCH_HAS_DB)
VELM_BENCH_STORE(BerkeleyDb);
#endif
