#include "VEXA.Runtime.SQLite.h"

#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Text.h"

#include <QFile>

#include <sqlite3.h>
#include <unicode/ucol.h>
#include <unicode/uiter.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>

namespace vexa {

namespace {

constexpr int kBusyMilliseconds = 5000;
// Rows with show notes take 2 to 3 KB, so SQLite's default pages of 4 KiB stay a third empty. With 8 KiB the file is a
// tenth smaller, and a first import takes a tenth less processor time.
constexpr int kPageSize = 8192;
// In pages. Larger than SQLite's default of 1,000, so that pages which a refresh of many feeds writes repeatedly are
// copied back to the file only once.
constexpr int kCheckpointPages = 4000;
// The number of idle connections for reading that are kept for reuse.
constexpr std::size_t kMaxIdleReaders = 4;
// What names of databases in memory begin with. Their VFS shares a database between connections if its name is
// absolute; https://www.sqlite.org/uri.html describes such names.
const QString kInMemory = QStringLiteral("file:/vexa-in-memory-");

/// What SQLite says, if it is the usual message of a code.
Reason SqliteReason(const QString& words) {
    for (const ReasonText& text : kRuntimeReasons)
        if (std::string_view(text.Key).starts_with("Reasons\\DatabaseIs") && words == QLatin1String(text.English))
            return Reason(text);
    return words;
}

/// The reason with what the user can do about it, if anything is known to help.
Reason WithAdvice(const Reason& why, int code) {
    switch (code & 0xFF) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return Reason(RuntimeReason("DatabaseBusy"), {why});
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return Reason(RuntimeReason("DatabaseReadOnly"), {why});
        case SQLITE_CANTOPEN:
            return Reason(RuntimeReason("DatabaseFolder"), {why});
        case SQLITE_FULL:
            return Reason(RuntimeReason("DatabaseFull"), {why});
        case SQLITE_IOERR:
            return Reason(RuntimeReason("DatabaseDisk"), {why});
        case SQLITE_NOTADB:
            return Reason(RuntimeReason("DatabaseForeign"), {why});
        case SQLITE_CORRUPT:
            return Reason(RuntimeReason("DatabaseDamaged"), {why});
        default:
            return why;
    }
}

/// Compares by the root collation of the Unicode Collation Algorithm, which is the same on every machine. Texts that
/// are equal by the collation are then compared by their bytes, so that only identical texts are equal.
///
/// Most texts are printable ASCII and do not need ICU: such characters neither combine nor are ignored, so texts
/// compare by their characters' primary weights, then by the first difference in letter case, small before capital.
class UnicodeCollator {
public:
    UnicodeCollator() {
        UErrorCode status = U_ZERO_ERROR;
        FCollator = ucol_open("root", &status);
        if (U_FAILURE(status)) FCollator = nullptr;
        if (FCollator) RankAscii();
    }
    ~UnicodeCollator() {
        if (FCollator) ucol_close(FCollator);
    }
    UnicodeCollator(const UnicodeCollator&) = delete;
    UnicodeCollator& operator=(const UnicodeCollator&) = delete;

    static int Compare(void*, int sizeA, const void* a, int sizeB, const void* b) {
        static const UnicodeCollator collator;
        if (const auto order = collator.CompareAscii(static_cast<const unsigned char*>(a), sizeA,
                                                     static_cast<const unsigned char*>(b), sizeB))
            return *order;
        if (collator.FCollator) {
            UErrorCode status = U_ZERO_ERROR;
            const auto order = ucol_strcollUTF8(collator.FCollator, static_cast<const char*>(a), sizeA,
                                                static_cast<const char*>(b), sizeB, &status);
            if (U_SUCCESS(status) && order != UCOL_EQUAL) return order;
        }
        const int order = std::memcmp(a, b, static_cast<std::size_t>(std::min(sizeA, sizeB)));
        return order != 0 ? order : sizeA - sizeB;
    }

private:
    static constexpr int kFirstPrintable = 0x20, kLastPrintable = 0x7E;

    /// Ranks each printable character by its primary weight; both cases of a letter have one rank.
    void RankAscii() {
        UErrorCode status = U_ZERO_ERROR;
        UCollator* const primary = ucol_open("root", &status);
        if (U_FAILURE(status)) return;
        ucol_setStrength(primary, UCOL_PRIMARY);
        std::vector<UChar> characters;
        for (int c = kFirstPrintable; c <= kLastPrintable; ++c) characters.push_back(static_cast<UChar>(c));
        const auto isLess = [&](UChar a, UChar b) { return ucol_strcoll(primary, &a, 1, &b, 1) == UCOL_LESS; };
        std::stable_sort(characters.begin(), characters.end(), isLess);
        unsigned char rank = 0;
        for (std::size_t i = 0; i < characters.size(); ++i) {
            if (i == 0 || isLess(characters[i - 1], characters[i])) ++rank;
            FRanks[characters[i]] = rank;
        }
        ucol_close(primary);
    }

    /// Nothing if the comparison comes upon a character that is not printable ASCII.
    std::optional<int> CompareAscii(const unsigned char* a, int sizeA, const unsigned char* b, int sizeB) const {
        const int size = std::min(sizeA, sizeB);
        int order = 0, caseOrder = 0, i = 0;
        for (; i < size; ++i) {
            if (a[i] == b[i]) {
                if (FRanks[a[i]] == 0) return std::nullopt;
                continue;
            }
            const int rankA = FRanks[a[i]], rankB = FRanks[b[i]];
            if (rankA == 0 || rankB == 0) return std::nullopt;
            if (rankA != rankB) {
                order = rankA - rankB;
                break;
            }
            if (caseOrder == 0) caseOrder = b[i] - a[i];  // small letters have the larger codes
        }
        // The following characters could combine with the last ones compared.
        for (int j = i; j < std::min(sizeA, i + 2); ++j)
            if (FRanks[a[j]] == 0) return std::nullopt;
        for (int j = i; j < std::min(sizeB, i + 2); ++j)
            if (FRanks[b[j]] == 0) return std::nullopt;
        if (order != 0) return order;
        for (int j = i; j < sizeA; ++j)
            if (FRanks[a[j]] == 0) return std::nullopt;
        for (int j = i; j < sizeB; ++j)
            if (FRanks[b[j]] == 0) return std::nullopt;
        return sizeA != sizeB ? sizeA - sizeB : caseOrder;
    }

    UCollator* FCollator;
    std::array<unsigned char, 256> FRanks{};  // 0: not printable ASCII
};

std::string_view ArgumentBytes(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value))) : std::string_view();
}

void Upper(sqlite3_context* context, int, sqlite3_value** arguments) {
    if (sqlite3_value_type(arguments[0]) == SQLITE_NULL) return sqlite3_result_null(context);
    const std::string_view text = ArgumentBytes(arguments[0]);
    auto* out = static_cast<char*>(sqlite3_malloc64(text.size() + 1));
    if (!out) return sqlite3_result_error_nomem(context);
    std::size_t i = 0;
    for (; i < text.size() && static_cast<unsigned char>(text[i]) < 0x80; ++i)
        out[i] = text[i] >= 'a' && text[i] <= 'z' ? static_cast<char>(text[i] - 0x20) : text[i];
    if (i == text.size()) return sqlite3_result_text64(context, out, i, sqlite3_free, SQLITE_UTF8);
    sqlite3_free(out);
    const std::string upper = ToUtf8(FromUtf8(text).toUpper());  // Qt's mapping does not depend on the locale
    sqlite3_result_text64(context, upper.data(), upper.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

template <class Function>
void CallFunction(sqlite3_context* context, int, sqlite3_value** arguments) {
    const auto function = reinterpret_cast<Function>(sqlite3_user_data(context));
    try {
        const auto result = function(FromUtf8(ArgumentBytes(arguments[0])));
        if constexpr (std::is_same_v<decltype(result), const int>) {
            sqlite3_result_int(context, result);
        } else {
            const std::string bytes = ToUtf8(result);
            sqlite3_result_text64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
        }
    } catch (const std::exception& error) {
        sqlite3_result_error(context, error.what(), -1);
    }
}

}  // namespace

SqliteError::~SqliteError() = default;

bool SqliteError::IsBusy() const noexcept {
    return (FCode & 0xFF) == SQLITE_BUSY;
}

bool SqliteError::IsOfStatement() const noexcept {
    return FCode == SQLITE_ERROR || FCode == SQLITE_TOOBIG;
}

bool SqliteError::IsDamage(int code) noexcept {
    return (code & 0xFF) == SQLITE_CORRUPT || (code & 0xFF) == SQLITE_NOTADB;
}

/// Owns one prepared statement.
class SqliteConnection::Statement {
public:
    Statement(SqliteConnection& connection, std::string_view sql, const char** tail = nullptr) {
        const char* rest = nullptr;
        const int code =
            sqlite3_prepare_v2(connection.FHandle, sql.data(), static_cast<int>(sql.size()), &FStatement, &rest);
        if (code != SQLITE_OK) connection.Raise(RuntimeReason("DatabaseUse"), code);
        if (tail) *tail = rest;
    }
    ~Statement() { sqlite3_finalize(FStatement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* Get() const { return FStatement; }
    sqlite3_stmt* Release() { return std::exchange(FStatement, nullptr); }

private:
    sqlite3_stmt* FStatement = nullptr;
};

// ---- SqliteConnection ----

SqliteConnection::~SqliteConnection() {
    Close();
}

void SqliteConnection::Close() noexcept {
    // Otherwise the last connection would write to the file what the log holds.
    if (FHandle && *FIsDamaged) sqlite3_db_config(FHandle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_close_v2(FHandle);
    FHandle = nullptr;
}

void SqliteConnection::OpenConnection(const QString& fileName, int flags) {
    FFileName = fileName;
    if (fileName.startsWith(kInMemory)) flags |= SQLITE_OPEN_URI;
    // NOMUTEX: this class ensures that only one thread at a time uses a connection.
    const int code =
        sqlite3_open_v2(QFile::encodeName(fileName).constData(), &FHandle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabaseOpen"), code);
    sqlite3_extended_result_codes(FHandle, 1);
    sqlite3_busy_timeout(FHandle, kBusyMilliseconds);
    RegisterUnicode();
}

void SqliteConnection::RegisterUnicode() {
    constexpr int kDeterministic = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    int code =
        sqlite3_create_function_v2(FHandle, "UPPER", 1, kDeterministic, nullptr, Upper, nullptr, nullptr, nullptr);
    if (code == SQLITE_OK)
        code = sqlite3_create_collation_v2(FHandle, "UNICODE", SQLITE_UTF8, nullptr, UnicodeCollator::Compare, nullptr);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabasePrepare"), code);
}

std::unique_ptr<SqliteCursor> SqliteConnection::Query(std::string_view sql, std::unique_lock<TRecursiveMutex> lock) {
    Statement statement(*this, sql);
    const int code = sqlite3_step(statement.Get());
    if (code == SQLITE_DONE) return nullptr;
    if (code != SQLITE_ROW) Raise(RuntimeReason("DatabaseRead"), code);
    return std::unique_ptr<SqliteCursor>(new SqliteCursor(*this, std::move(lock), statement.Release()));
}

// ---- SqliteReader ----

SqliteReader::SqliteReader(const QString& fileName) {
    try {
        // Not SQLITE_OPEN_READONLY: the first reader in WAL mode may have to create the shared-memory file.
        OpenConnection(fileName, SQLITE_OPEN_READWRITE);
        ExecuteSQL("PRAGMA query_only=1");
    } catch (...) {
        Close();
        throw;
    }
}

qint64 SqliteReader::QueryInteger(std::string_view sql) {
    const auto cursor = Query(sql);
    return cursor ? cursor->Integer64(0) : -1;
}

void SqliteReader::ExecuteSQL(std::string_view sql) {
    const auto cursor = Query(sql);
}

SqliteSnapshot::~SqliteSnapshot() {
    try {
        FReader.ExecuteSQL("COMMIT");
    } catch (const SqliteError& error) {
        qCWarning(LogDatabase) << error.what();
    }
}

// ---- SqliteDatabase ----

SqliteDatabase::~SqliteDatabase() = default;

QString SqliteDatabase::NameInMemory() {
    static std::atomic<quint64> number{0};
    return kInMemory + QString::number(++number) + u"?vfs=memdb";
}

void SqliteDatabase::Open(const QString& fileName) {
    try {
        OpenConnection(fileName, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        // SQLite silently opens a file without write permission as read-only.
        if (sqlite3_db_readonly(FHandle, "main") == 1) Raise(RuntimeReason("DatabaseOpen"), SQLITE_READONLY);
        InitializeFunctions();
        VerifyLayout();
        ExecuteSQL("PRAGMA page_size=" + std::to_string(kPageSize));  // only affects a new file
        EnterWal();
        ExecuteSQL("PRAGMA synchronous=FULL; PRAGMA cache_size=-16000; PRAGMA wal_autocheckpoint=" +
                   std::to_string(kCheckpointPages));
        InitializeTables();
    } catch (...) {
        Close();
        throw;
    }
}

void SqliteDatabase::EnterWal() {
    // SQLite's busy time-out does not apply here, so two programs that create a file at the same time would fail.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kBusyMilliseconds);
    for (;;) {
        try {
            return ExecuteSQL("PRAGMA journal_mode=WAL");
        } catch (const SqliteError& error) {
            if (!error.IsBusy() || std::chrono::steady_clock::now() > deadline) throw;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void SqliteDatabase::RegisterFunction(const char* name, TextFunction function) {
    const int code = sqlite3_create_function_v2(FHandle, name, 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                                reinterpret_cast<void*>(function), CallFunction<TextFunction>, nullptr,
                                                nullptr, nullptr);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabasePrepare"), code);
}

void SqliteDatabase::RegisterFunction(const char* name, IntegerFunction function) {
    const int code = sqlite3_create_function_v2(FHandle, name, 1, SQLITE_UTF8, reinterpret_cast<void*>(function),
                                                CallFunction<IntegerFunction>, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) Raise(RuntimeReason("DatabasePrepare"), code);
}

void SqliteConnection::Raise(const ReasonText& what, int code) const {
    const char* words =
        FHandle && sqlite3_errcode(FHandle) != SQLITE_OK ? sqlite3_errmsg(FHandle) : sqlite3_errstr(code);
    // Of a damaged format number in the file's header SQLite tells as of an error in the statement.
    if (code == SQLITE_ERROR && std::string_view(words) == "unsupported file format") code = SQLITE_CORRUPT;
    if (SqliteError::IsDamage(code)) *FIsDamaged = true;
    if (*FIsDamaged && (code & 0xFF) == SQLITE_READONLY) {  // see RefuseWritesIfDamaged
        code = SQLITE_CORRUPT;
        words = sqlite3_errstr(code);
    }
    const Reason why = WithAdvice(Reason(what, {FFileName, SqliteReason(QString::fromUtf8(words))}), code);
    qCDebug(LogDatabase).noquote() << why.English();
    throw SqliteError(why, code);
}

void SqliteDatabase::RefuseWritesIfDamaged() noexcept {
    if (*FIsDamaged) sqlite3_exec(FHandle, "PRAGMA query_only=1", nullptr, nullptr, nullptr);
}

void SqliteDatabase::ExecuteSQL(std::string_view sql) {
    const TLock lock(FMutex);
    RefuseWritesIfDamaged();
    while (!sql.empty()) {
        const char* tail = nullptr;
        const Statement statement(*this, sql, &tail);
        sql.remove_prefix(static_cast<std::size_t>(tail - sql.data()));
        if (!statement.Get()) continue;  // blanks or a comment
        int code;
        while ((code = sqlite3_step(statement.Get())) == SQLITE_ROW) {
        }
        if (code != SQLITE_DONE) Raise(RuntimeReason("DatabaseWrite"), code);
    }
}

SqliteBorrowedReader SqliteDatabase::BorrowReader() {
    std::unique_ptr<SqliteReader> reader;
    {
        const TLock lock(FReadersMutex);
        if (!FIdleReaders.empty()) {
            reader = std::move(FIdleReaders.back());
            FIdleReaders.pop_back();
        }
    }
    if (!reader) reader = std::make_unique<SqliteReader>(FFileName);
    reader->FIsDamaged = FIsDamaged;
    return SqliteBorrowedReader(reader.release(), {this});
}

void SqliteReturnReader::operator()(SqliteReader* reader) const noexcept {
    std::unique_ptr<SqliteReader> owned(reader);
    const TLock lock(Database->FReadersMutex);
    if (Database->FIdleReaders.size() < kMaxIdleReaders) Database->FIdleReaders.push_back(std::move(owned));
}

std::unique_ptr<SqliteCursor> SqliteDatabase::Read(std::string_view sql) {
    if (FTransactionThread.load() == std::this_thread::get_id()) return Query(sql);
    auto reader = BorrowReader();
    auto cursor = reader->Query(sql);
    if (cursor) cursor->FReader = std::move(reader);
    return cursor;
}

int SqliteDatabase::ReadInteger(std::string_view sql) {
    const auto cursor = Read(sql);
    return cursor ? cursor->Integer(0) : -1;
}

int SqliteDatabase::QueryInteger(std::string_view sql) {
    const auto cursor = Query(sql);
    return cursor ? cursor->Integer(0) : -1;
}

void SqliteDatabase::ExecuteWithBlob(std::string_view sql, const void* data, std::size_t size) {
    const TLock lock(FMutex);
    RefuseWritesIfDamaged();
    const Statement statement(*this, sql);
    if (const int code = sqlite3_bind_blob64(statement.Get(), 1, data, size, SQLITE_STATIC); code != SQLITE_OK)
        Raise(RuntimeReason("DatabaseWrite"), code);
    if (const int code = sqlite3_step(statement.Get()); code != SQLITE_DONE)
        Raise(RuntimeReason("DatabaseWrite"), code);
}

void SqliteDatabase::RunInTransaction(const std::function<void()>& procedure) {
    const TLock lock(FMutex);
    const bool nested = FTransactionDepth > 0;
    // Immediate: a transaction that begins with a read cannot write any more once another writer has committed.
    ExecuteSQL(nested ? "SAVEPOINT Nested" : "BEGIN IMMEDIATE");
    ++FTransactionDepth;
    const auto outer = FTransactionThread.exchange(std::this_thread::get_id());
    struct Ending {
        std::atomic<std::thread::id>& Thread;
        std::thread::id Outer;
        ~Ending() { Thread = Outer; }
    } const ending{FTransactionThread, outer};
    try {
        procedure();
        ExecuteSQL(nested ? "RELEASE Nested" : "COMMIT");
    } catch (...) {
        --FTransactionDepth;
        try {
            // SQLite may have rolled back the whole transaction already, for instance when the disk is full.
            if (!sqlite3_get_autocommit(FHandle))
                ExecuteSQL(nested ? "ROLLBACK TO Nested; RELEASE Nested" : "ROLLBACK");
        } catch (const SqliteError& error) {
            qCWarning(LogDatabase) << error.what();
        }
        throw;
    }
    --FTransactionDepth;
}

std::vector<std::string> SqliteDatabase::TableColumns(std::string_view table) {
    std::vector<std::string> columns;
    if (const auto cursor = Query("PRAGMA table_info(" + std::string(table) + ")")) do
            columns.emplace_back(cursor->Utf8(1));
        while (cursor->Next());
    return columns;
}

int SqliteDatabase::ChangedRows() const {
    return sqlite3_changes(FHandle);
}

// ---- SqliteStatement ----

SqliteStatement::SqliteStatement(SqliteDatabase& database, std::string_view sql) : FDatabase(database) {
    const TLock lock(FDatabase.FMutex);
    FStatement = SqliteConnection::Statement(FDatabase, sql).Release();
}

SqliteStatement::SqliteStatement(SqliteStatement&& other) noexcept
    : FDatabase(other.FDatabase),
      FStatement(std::exchange(other.FStatement, nullptr)),
      FParameter(other.FParameter),
      FTexts(std::move(other.FTexts)),
      FPieces(std::move(other.FPieces)) {}

SqliteStatement::~SqliteStatement() {
    const TLock lock(FDatabase.FMutex);
    sqlite3_finalize(FStatement);
}

SqliteStatement& SqliteStatement::Text(QStringView value) {
    const std::size_t begin = FTexts.size();
    AppendUtf8(FTexts, value);
    FPieces.push_back({++FParameter, begin, FTexts.size()});
    return *this;
}

SqliteStatement& SqliteStatement::Integer(qint64 value) {
    sqlite3_bind_int64(FStatement, ++FParameter, value);
    return *this;
}

SqliteStatement& SqliteStatement::Double(double value) {
    sqlite3_bind_double(FStatement, ++FParameter, value);
    return *this;
}

void SqliteStatement::Run() {
    const TLock lock(FDatabase.FMutex);
    // Bind the texts only now that their memory does not move any more.
    for (const auto& [parameter, begin, end] : FPieces)
        sqlite3_bind_text64(FStatement, parameter, FTexts.data() + begin, end - begin, SQLITE_STATIC, SQLITE_UTF8);
    int code;
    while ((code = sqlite3_step(FStatement)) == SQLITE_ROW) {
    }
    FPieces.clear();
    FTexts.clear();
    FParameter = 0;
    if (code != SQLITE_DONE) {
        // Read the error before the reset, which ends the statement's transaction and clears the error.
        try {
            FDatabase.Raise(RuntimeReason("DatabaseWrite"), code);
        } catch (...) {
            sqlite3_reset(FStatement);
            throw;
        }
    }
    sqlite3_reset(FStatement);
}

}  // namespace vexa
