// The keyed store: a table of named, typed values in an SQLite file below the user's configuration folder.
//
// SQLite's journal makes each write, or all between begin and commit, whole or absent even when the process is killed.
// A file that is no sound store is moved aside, with whatever logs SQLite has left beside it. Checking and moving are
// done under a lock, so that of two processes that start at once only one moves.
#include "src/platform/linux/BPLinux.h"

#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kBusyWaitMs = 2000;
constexpr int kValueLimit = 1 << 20; // bytes of a value; the largest of ours has 33,556
constexpr int kDamagedLimit = 99;    // files put aside; the last one is then replaced

enum Kind : int { kindNumber = 1, kindString = 2, kindBlock = 3 };

struct Store {
    sqlite3* database;
    sqlite3_stmt* select; // ?1 name, ?2 kind
    sqlite3_stmt* upsert; // ?1 name, ?2 kind, ?3 value
    bool inTransaction;
    BPStatus firstError; // of the writes since begin
    timespec busySince;  // when the wait for another process began
};

Store* StoreOf(const BPKeyedStore* store)
{
    return reinterpret_cast<Store*>(store->handle);
}

BPStatus StatusFromSqlite(int result)
{
    switch (result & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE: return bpNoErr;
    case SQLITE_NOMEM: return bpMemFullErr;
    case SQLITE_FULL: return bpDiskFullErr;
    case SQLITE_BUSY:
    case SQLITE_LOCKED: return bpFileBusyErr;
    case SQLITE_TOOBIG:
    case SQLITE_MISUSE: return bpParamErr;
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN: return bpPermissionErr;
    case SQLITE_IOERR: return bpIOErr;
    default: return bpInvalidSettingsErr;
    }
}

void CloseStore(Store* store)
{
    sqlite3_finalize(store->select);
    sqlite3_finalize(store->upsert);
    sqlite3_close(store->database); // an open transaction is undone
    delete store;
}

/// Decides whether to try once more while another process holds the store. Short even steps: with SQLite's own, which
/// grow to a tenth of a second, a process that writes without pause keeps all others out.
int OnBusy(void* context, int earlierCalls)
{
    Store* store = static_cast<Store*>(context);
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (earlierCalls == 0) store->busySince = now;
    const int64_t waitedMs = static_cast<int64_t>(now.tv_sec - store->busySince.tv_sec) * 1000 +
                             (now.tv_nsec - store->busySince.tv_nsec) / 1000000;
    if (waitedMs >= kBusyWaitMs) return 0;
    const timespec pause = {.tv_sec = 0, .tv_nsec = 1000000};
    nanosleep(&pause, nullptr);
    return 1;
}

int RunQuickCheck(sqlite3* database)
{
    sqlite3_stmt* check = nullptr;
    int result = sqlite3_prepare_v2(database, "PRAGMA quick_check(1)", -1, &check, nullptr);
    if (result != SQLITE_OK) return result;
    result = sqlite3_step(check);
    if (result == SQLITE_ROW) {
        const char* verdict = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
        result = verdict != nullptr && strcmp(verdict, "ok") == 0 ? SQLITE_OK : SQLITE_CORRUPT;
    }
    sqlite3_finalize(check);
    return result == SQLITE_TOOBIG ? SQLITE_CORRUPT : result;
}

/// Whether the table has our columns and no others. The statements alone do not tell: they name only ours.
int CheckColumns(sqlite3* database)
{
    sqlite3_stmt* count = nullptr;
    int result = sqlite3_prepare_v2(database, "SELECT count(*) FROM pragma_table_info('value')", -1, &count, nullptr);
    if (result != SQLITE_OK) return result;
    result = sqlite3_step(count);
    if (result == SQLITE_ROW) result = sqlite3_column_int(count, 0) == 3 ? SQLITE_OK : SQLITE_CORRUPT;
    sqlite3_finalize(count);
    return result;
}

/// Opens the file, checks it and prepares the statements. An SQLite result; the caller closes in each case.
int OpenDatabase(const char* path, bool forWriting, Store* store)
{
    const int flags =
        SQLITE_OPEN_FULLMUTEX | (forWriting ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
    int result = sqlite3_open_v2(path, &store->database, flags, nullptr);
    if (result != SQLITE_OK) return result;
    sqlite3_busy_handler(store->database, OnBusy, store);
    sqlite3_limit(store->database, SQLITE_LIMIT_LENGTH, kValueLimit); // whatever a foreign file claims to hold
    // What a foreign file defines must not run, and its cells are not trusted.
    sqlite3_db_config(store->database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(store->database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(store->database, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_db_config(store->database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    if (result = RunQuickCheck(store->database); result != SQLITE_OK) return result;
    const char* schema = "CREATE TABLE IF NOT EXISTS value ("
                         "name TEXT NOT NULL PRIMARY KEY, kind INTEGER NOT NULL, content NOT NULL)";
    if (forWriting) result = sqlite3_exec(store->database, schema, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) return result;
    const char* select = "SELECT content FROM value WHERE name = ?1 AND kind = ?2";
    result = sqlite3_prepare_v3(store->database, select, -1, SQLITE_PREPARE_PERSISTENT, &store->select, nullptr);
    if (result != SQLITE_OK) return result;
    const char* upsert = "INSERT INTO value (name, kind, content) VALUES (?1, ?2, ?3) "
                         "ON CONFLICT (name) DO UPDATE SET kind = excluded.kind, content = excluded.content";
    result = sqlite3_prepare_v3(store->database, upsert, -1, SQLITE_PREPARE_PERSISTENT, &store->upsert, nullptr);
    return result == SQLITE_OK ? CheckColumns(store->database) : result;
}

/// True for the results of a file that is no store of ours. SQLITE_ERROR comes from a table of another shape.
bool IsDamage(int result)
{
    const int primary = result & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == SQLITE_ERROR;
}

/// Moves the file and what belongs to it aside. The file itself goes last: cut off in the middle, it is still damaged.
BPStatus PutAside(const std::string& path)
{
    std::string aside;
    for (int number = 1; number <= kDamagedLimit; ++number) {
        aside = path + ".damaged-" + std::to_string(number);
        if (access(aside.c_str(), F_OK) != 0) break;
    }
    for (const char* part : {"-journal", "-wal", "-shm", ""}) {
        if (rename((path + part).c_str(), (aside + part).c_str()) != 0 && errno != ENOENT) {
            return BPStatusFromErrno(errno);
        }
    }
    BPDebugLog("The settings store %s was damaged and is kept as %s\n", path.c_str(), aside.c_str());
    return bpNoErr;
}

/// Takes the lock that serialises opening; -1 when another process holds it too long.
int LockOpening(const std::string& path)
{
    const int lock = open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock < 0) return -1;
    const timespec pause = {.tv_sec = 0, .tv_nsec = 10000000};
    for (int waitedMs = 0; waitedMs <= kBusyWaitMs; waitedMs += 10) {
        if (flock(lock, LOCK_EX | LOCK_NB) == 0) return lock;
        if (errno != EWOULDBLOCK && errno != EINTR) break;
        nanosleep(&pause, nullptr);
    }
    close(lock);
    return -1;
}

/// Makes the file private. It is never opened and closed beside SQLite: that would drop SQLite's locks on it.
void MakePrivate(const std::string& path)
{
    const int made = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (made >= 0) {
        close(made);
        return;
    }
    struct stat info = {};
    if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && (info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        (void)chmod(path.c_str(), info.st_mode & S_IRWXU);
    }
}

BPStatus OpenLocked(const std::string& path, BPKeyedStore* store)
{
    for (int attempt = 0;; ++attempt) {
        MakePrivate(path);
        Store* made = new (std::nothrow) Store{};
        if (made == nullptr) return bpMemFullErr;
        const int result = OpenDatabase(path.c_str(), true, made);
        if (result == SQLITE_OK) {
            store->handle = reinterpret_cast<uintptr_t>(made);
            return bpNoErr;
        }
        CloseStore(made);
        if (!IsDamage(result) || attempt > 0) return StatusFromSqlite(result);
        if (BPStatus err = PutAside(path); err != bpNoErr) return err;
    }
}

/// In a folder that cannot be written, such as that of a full or read-only disk, a sound store can still be read.
BPStatus OpenForReading(const std::string& path, BPKeyedStore* store)
{
    Store* made = new (std::nothrow) Store{};
    if (made == nullptr) return bpMemFullErr;
    const int result = OpenDatabase(path.c_str(), false, made);
    if (result == SQLITE_OK) {
        store->handle = reinterpret_cast<uintptr_t>(made);
        BPDebugLog("The settings store %s can only be read\n", path.c_str());
        return bpNoErr;
    }
    CloseStore(made);
    return StatusFromSqlite(result);
}

BPStatus Open(const char* name, BPKeyedStore* store)
{
    store->handle = 0;
    if (!BPIsPlainName(name)) return bpParamErr;
    const std::string folder = BPConfigFolder();
    if (folder.empty()) return bpFileNotFoundErr;
    const std::string path = folder + "/" + name + ".db";
    const int lock = LockOpening(path);
    if (lock < 0) {
        if (errno == EWOULDBLOCK) return bpFileBusyErr;
        const BPStatus refused = BPStatusFromErrno(errno);
        return OpenForReading(path, store) == bpNoErr ? bpNoErr : refused;
    }
    BPStatus status = OpenLocked(path, store);
    if (status == bpDiskFullErr || status == bpPermissionErr) {
        if (OpenForReading(path, store) == bpNoErr) status = bpNoErr;
    }
    close(lock);
    return status;
}

void Close(BPKeyedStore* store)
{
    if (store->handle != 0) CloseStore(StoreOf(store));
    store->handle = 0;
}

/// Finds a value. bpNoErr leaves the statement on its row; the caller resets it.
BPStatus Find(Store* store, const char* name, Kind kind, int wantedType)
{
    sqlite3_bind_text(store->select, 1, name, -1, SQLITE_STATIC);
    sqlite3_bind_int(store->select, 2, kind);
    const int result = sqlite3_step(store->select);
    if (result == SQLITE_ROW && sqlite3_column_type(store->select, 0) == wantedType) return bpNoErr;
    sqlite3_reset(store->select);
    if (result == SQLITE_TOOBIG) return bpNotFoundErr; // no value of ours; the next write replaces it
    return result == SQLITE_ROW || result == SQLITE_DONE ? bpNotFoundErr : StatusFromSqlite(result);
}

BPStatus ReadNumber(BPKeyedStore* store, const char* name, uint32_t* value)
{
    if (store->handle == 0 || name == nullptr) return bpParamErr;
    Store* open = StoreOf(store);
    if (BPStatus err = Find(open, name, kindNumber, SQLITE_INTEGER); err != bpNoErr) return err;
    const sqlite3_int64 found = sqlite3_column_int64(open->select, 0);
    sqlite3_reset(open->select);
    if (found < 0 || found > static_cast<sqlite3_int64>(UINT32_MAX)) return bpNotFoundErr;
    *value = static_cast<uint32_t>(found);
    return bpNoErr;
}

BPStatus ReadString(BPKeyedStore* store, const char* name, char* text, uint32_t capacity)
{
    if (store->handle == 0 || name == nullptr || capacity == 0) return bpParamErr;
    Store* open = StoreOf(store);
    if (BPStatus err = Find(open, name, kindString, SQLITE_TEXT); err != bpNoErr) return err;
    const char* found = reinterpret_cast<const char*>(sqlite3_column_text(open->select, 0));
    if (found != nullptr) {
        const size_t length = strnlen(found, capacity - 1);
        memcpy(text, found, length);
        text[length] = 0;
    }
    sqlite3_reset(open->select);
    return found != nullptr ? bpNoErr : bpMemFullErr;
}

BPStatus ReadBlock(BPKeyedStore* store, const char* name, void* bytes, uint32_t capacity, uint32_t* byteCount)
{
    if (store->handle == 0 || name == nullptr || (bytes == nullptr && capacity > 0)) return bpParamErr;
    Store* open = StoreOf(store);
    if (BPStatus err = Find(open, name, kindBlock, SQLITE_BLOB); err != bpNoErr) return err;
    const void* found = sqlite3_column_blob(open->select, 0);
    const uint32_t size = static_cast<uint32_t>(sqlite3_column_bytes(open->select, 0));
    const bool lost = found == nullptr && size > 0;
    if (!lost) {
        const uint32_t copied = size < capacity ? size : capacity;
        if (copied > 0) memcpy(bytes, found, copied);
        *byteCount = size;
    }
    sqlite3_reset(open->select);
    return lost ? bpMemFullErr : bpNoErr;
}

/// Stores the value that is bound as ?3.
BPStatus Upsert(Store* store, const char* name, Kind kind, int bound)
{
    int result = bound;
    if (result == SQLITE_OK) {
        sqlite3_bind_text(store->upsert, 1, name, -1, SQLITE_STATIC);
        sqlite3_bind_int(store->upsert, 2, kind);
        sqlite3_step(store->upsert);
        result = sqlite3_reset(store->upsert);
    }
    sqlite3_clear_bindings(store->upsert);
    const BPStatus status = StatusFromSqlite(result);
    if (store->inTransaction && store->firstError == bpNoErr) store->firstError = status;
    return status;
}

BPStatus WriteNumber(BPKeyedStore* store, const char* name, uint32_t value)
{
    if (store->handle == 0 || name == nullptr) return bpParamErr;
    Store* open = StoreOf(store);
    return Upsert(open, name, kindNumber, sqlite3_bind_int64(open->upsert, 3, value));
}

BPStatus WriteString(BPKeyedStore* store, const char* name, const char* text)
{
    if (store->handle == 0 || name == nullptr || text == nullptr) return bpParamErr;
    Store* open = StoreOf(store);
    return Upsert(open, name, kindString, sqlite3_bind_text(open->upsert, 3, text, -1, SQLITE_STATIC));
}

BPStatus WriteBlock(BPKeyedStore* store, const char* name, const void* bytes, uint32_t byteCount)
{
    if (store->handle == 0 || name == nullptr || (bytes == nullptr && byteCount > 0)) return bpParamErr;
    Store* open = StoreOf(store);
    // A null pointer would bind as "no value", which is not an empty block.
    const int bound = byteCount == 0 ? sqlite3_bind_zeroblob(open->upsert, 3, 0)
                                     : sqlite3_bind_blob64(open->upsert, 3, bytes, byteCount, SQLITE_STATIC);
    return Upsert(open, name, kindBlock, bound);
}

BPStatus Begin(BPKeyedStore* store)
{
    if (store->handle == 0) return bpParamErr;
    Store* open = StoreOf(store);
    if (open->inTransaction) return bpParamErr;
    // Immediate: the write lock is taken now, so that no later write can find the store changed and fail.
    const int result = sqlite3_exec(open->database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) return StatusFromSqlite(result);
    open->inTransaction = true;
    open->firstError = bpNoErr;
    return bpNoErr;
}

BPStatus Commit(BPKeyedStore* store)
{
    if (store->handle == 0) return bpParamErr;
    Store* open = StoreOf(store);
    if (!open->inTransaction) return bpParamErr;
    open->inTransaction = false;
    BPStatus status = open->firstError;
    if (status == bpNoErr) {
        status = StatusFromSqlite(sqlite3_exec(open->database, "COMMIT", nullptr, nullptr, nullptr));
    }
    if (sqlite3_get_autocommit(open->database) == 0) {
        sqlite3_exec(open->database, "ROLLBACK", nullptr, nullptr, nullptr);
    }
    return status;
}

} // namespace

void BPFillLinuxKeyedStore(BPKeyedStoreOps* ops)
{
    *ops = {.open = Open,
            .close = Close,
            .readNumber = ReadNumber,
            .readString = ReadString,
            .readBlock = ReadBlock,
            .writeNumber = WriteNumber,
            .writeString = WriteString,
            .writeBlock = WriteBlock,
            .begin = Begin,
            .commit = Commit};
}
