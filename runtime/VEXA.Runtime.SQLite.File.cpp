#include "VEXA.Runtime.SQLite.File.h"

#include "VEXA.Runtime.Reasons.h"

#include <QFile>

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <map>

namespace vexa {

namespace {

constexpr int kInstructionsBetweenChecks = 20'000;  // of SQLite's virtual machine: some milliseconds
constexpr int kPagesAtOnce = 64;
constexpr qint64 kMaxSequence = 1 << 30;          // a number beyond it is damaged, and would use up those that are left
constexpr qint64 kBytesBetweenFlushes = 2 << 20;  // a writer that flushes meanwhile may have to wait for so much

/// Has the disk take what was written so far, a little at a time, so that no other program's flush waits for a whole
/// file.
class Flusher {
public:
    explicit Flusher(const QString& fileName)
        : FDescriptor(open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC)) {}
    ~Flusher() {
        if (FDescriptor >= 0) close(FDescriptor);
    }
    Flusher(const Flusher&) = delete;
    Flusher& operator=(const Flusher&) = delete;

    void Wrote(qint64 bytes) {
        FBytes += bytes;
        if (FBytes < kBytesBetweenFlushes || FDescriptor < 0) return;
        // Only the data: unlike fdatasync it commits no journal of the file system.
        sync_file_range(FDescriptor, 0, 0, SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
        FBytes = 0;
    }

private:
    const int FDescriptor;
    qint64 FBytes = 0;
};

}  // namespace

SqliteFile::SqliteFile(const QString& fileName, Mode mode, CancelCheck isCancelled)
    : FIsCancelled(std::move(isCancelled)) {
    try {
        // Reading needs write access, too: the first one to open a database may have to create the shared memory.
        OpenConnection(fileName, SQLITE_OPEN_READWRITE | (mode == Mode::New ? SQLITE_OPEN_CREATE : 0));
        if (mode == Mode::Read) {
            sqlite3_db_config(FHandle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
            ExecuteSQL("PRAGMA query_only=1");
        }
        if (FIsCancelled)
            sqlite3_progress_handler(
                FHandle, kInstructionsBetweenChecks,
                [](void* self) { return static_cast<SqliteFile*>(self)->FIsCancelled() ? 1 : 0; }, this);
    } catch (...) {
        Close();
        throw;
    }
}

SqliteFile::~SqliteFile() = default;

void SqliteFile::ExecuteSQL(std::string_view sql) {
    char* message = nullptr;
    const int code = sqlite3_exec(FHandle, std::string(sql).c_str(), nullptr, nullptr, &message);
    sqlite3_free(message);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabaseUse"), code);
}

void SqliteFile::ExecuteWithBlob(std::string_view sql, const QByteArray& bytes) {
    sqlite3_stmt* statement = nullptr;
    int code = sqlite3_prepare_v2(FHandle, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_bind_blob64(statement, 1, bytes.isNull() ? "" : bytes.constData(),
                                   static_cast<sqlite3_uint64>(bytes.size()), SQLITE_STATIC);
    if (code == SQLITE_OK) code = sqlite3_step(statement);
    if (code == SQLITE_DONE) code = SQLITE_OK;
    sqlite3_finalize(statement);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabaseWrite"), code);
}

void SqliteFile::CopyFrom(SqliteFile& source) {
    // A snapshot of the source: without one the copy would begin again whenever somebody writes. In WAL mode it keeps
    // no writer waiting; in any other mode it would.
    bool hasSnapshot = false;
    if (const auto mode = source.Query("PRAGMA journal_mode")) hasSnapshot = mode->Utf8(0) == "wal";
    if (hasSnapshot) source.ExecuteSQL("BEGIN; SELECT Count(*) FROM sqlite_master");
    // Nobody knows this file yet, so it needs no journal, and is flushed as a whole by the caller.
    ExecuteSQL("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF");
    qint64 stepSize = kPagesAtOnce;
    if (const auto page = source.Query("PRAGMA page_size")) stepSize *= page->Integer64(0);
    Flusher flusher(FileName());
    sqlite3_backup* const backup = sqlite3_backup_init(FHandle, "main", source.FHandle, "main");
    if (!backup) Raise(RuntimeReason("DatabaseWrite"), sqlite3_errcode(FHandle));
    int code = SQLITE_OK;
    do {
        code = FIsCancelled && FIsCancelled() ? SQLITE_INTERRUPT : sqlite3_backup_step(backup, kPagesAtOnce);
        if (code == SQLITE_BUSY || code == SQLITE_LOCKED) sqlite3_sleep(5);
        flusher.Wrote(stepSize);
    } while (code == SQLITE_OK || code == SQLITE_BUSY || code == SQLITE_LOCKED);
    const int end = sqlite3_backup_finish(backup);
    if (code == SQLITE_DONE) code = end;
    if (code != SQLITE_OK) {
        if (SqliteError::IsDamage(code)) source.Raise(RuntimeReason("DatabaseRead"), code);
        Raise(RuntimeReason("DatabaseWrite"), code);
    }
    if (hasSnapshot) source.ExecuteSQL("COMMIT");
    ExecuteSQL("PRAGMA journal_mode=DELETE");
}

QStringList SqliteFile::FindDamage(int most) {
    QStringList found;
    if (const auto line = Query("PRAGMA quick_check(" + std::to_string(most) + ")")) do
            found += line->Text(0).split(u'\n', Qt::SkipEmptyParts);
        while (line->Next());
    found.removeIf([](const QString& line) { return line.startsWith(u"*** in database"); });
    if (found == QStringList(QStringLiteral("ok"))) found.clear();
    return found.mid(0, most);
}

void SqliteFile::RaiseSequences(SqliteFile& other) {
    const auto sequences = [](SqliteFile& file) {
        std::map<std::string, qint64, std::less<>> found;
        if (!file.Query("SELECT 1 FROM sqlite_master WHERE name = 'sqlite_sequence'")) return found;
        // By place: in a damaged file the columns may have other names.
        if (const auto row = file.Query("SELECT * FROM sqlite_sequence")) do
                found.emplace(row->Utf8(0), row->Integer64(1));
            while (row->Next());
        return found;
    };
    const auto present = sequences(*this);
    for (const auto& [table, last] : sequences(other)) {
        const SqlBuilder name = SqlBuilder().Text(QString::fromStdString(table));
        const auto own = present.find(table);
        if (last > kMaxSequence || (own != present.end() && own->second >= last)) continue;
        if (!Query("SELECT 1 FROM sqlite_master WHERE type = 'table' AND name = " + std::string(name.Sql()))) continue;
        if (own == present.end())
            ExecuteSQL("INSERT INTO sqlite_sequence (name, seq) VALUES (" + std::string(name.Sql()) + ", " +
                       std::to_string(last) + ")");
        else
            ExecuteSQL("UPDATE sqlite_sequence SET seq = " + std::to_string(last) +
                       " WHERE name = " + std::string(name.Sql()));
    }
}

bool IsDatabaseInUse(const QString& fileName) {
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) && IsDatabaseInUse(file);
}

bool IsDatabaseInUse(const QFile& file) {
    // The bytes that SQLite locks (its file format, "The Lock-Byte Page"): in WAL mode every connection locks some of
    // them for as long as it is open.
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0x40000000;
    lock.l_len = 512;
    return fcntl(file.handle(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace vexa
