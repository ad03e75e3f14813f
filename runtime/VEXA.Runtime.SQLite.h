#pragma once
// An SQLite database: one connection that writes, shared by all threads because a reentrant lock serialises its calls,
// and further connections that only read, each used by one thread at a time.
//
// The file is opened in WAL mode, so that readers never wait for a writer, other processes can read and write it too,
// and a crash leaves the last committed state. Every error is thrown as an SqliteError. A "busy" error is thrown after
// five seconds of waiting.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.Runtime.SQLite.Builder.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_value;

namespace vexa {

/// The reason says what failed, on which file, why, and what to do about it. Code() is SQLite's extended result code.
class VEXA_RUNTIME_API SqliteError : public ReasonError {
public:
    SqliteError(const Reason& why, int code) : ReasonError(why), FCode(code) {}
    SqliteError(const SqliteError&) = default;
    ~SqliteError() override;
    int Code() const noexcept { return FCode; }
    /// Whether another connection held the lock during the whole wait: the same call may succeed later.
    bool IsBusy() const noexcept;
    /// Whether the statement itself cannot be run: it exceeds SQLite's limits, or names something that does not exist.
    bool IsOfStatement() const noexcept;

private:
    int FCode;
};

/// A cursor over a query's rows, initially on the first one. Columns are addressed by 0-based index; NULL reads as
/// empty or 0.
class VEXA_RUNTIME_API SqliteRows {
public:
    virtual ~SqliteRows();
    /// Steps to the next row; false at the end.
    [[nodiscard]] virtual bool Next() = 0;
    virtual int ColumnCount() const = 0;
    virtual QString Text(int column) const = 0;
    virtual int Integer(int column) const = 0;
    virtual qint64 Integer64(int column) const = 0;
    virtual double Double(int column) const = 0;
};

class SqliteConnection;
class SqliteReader;
class SqliteDatabase;

/// Returns a borrowed reader to its database.
struct SqliteReturnReader {
    SqliteDatabase* Database = nullptr;
    void operator()(SqliteReader* reader) const noexcept;
};
using SqliteBorrowedReader = std::unique_ptr<SqliteReader, SqliteReturnReader>;

/// Rows that are read from the database step by step. During its lifetime a cursor on the writing connection holds the
/// database's lock, and a cursor on a reader keeps the reader from others; so do not keep cursors longer than needed.
/// Columns can also be addressed by name.
class VEXA_RUNTIME_API SqliteCursor final : public SqliteRows {
public:
    ~SqliteCursor() override;
    SqliteCursor(const SqliteCursor&) = delete;
    SqliteCursor& operator=(const SqliteCursor&) = delete;

    bool Next() override;
    int ColumnCount() const override;
    /// −1 when there is no such column.
    int ColumnIndex(std::string_view name) const;
    bool IsNull(int column) const;
    QString Text(int column) const override;
    /// The text in UTF-8, valid until the next step.
    std::string_view Utf8(int column) const;
    int Integer(int column) const override;
    qint64 Integer64(int column) const override;
    double Double(int column) const override;
    QByteArray Blob(int column) const;

    QString Text(std::string_view name) const { return Text(Require(name)); }
    int Integer(std::string_view name) const { return Integer(Require(name)); }
    double Double(std::string_view name) const { return Double(Require(name)); }
    QByteArray Blob(std::string_view name) const { return Blob(Require(name)); }

private:
    friend class SqliteConnection;
    friend class SqliteDatabase;
    friend class SqliteRowSet;
    SqliteCursor(SqliteConnection& connection, std::unique_lock<TRecursiveMutex> lock, sqlite3_stmt* statement)
        : FConnection(connection), FLock(std::move(lock)), FStatement(statement) {}
    int Require(std::string_view name) const;

    SqliteConnection& FConnection;
    std::unique_lock<TRecursiveMutex> FLock;  // a standard lock, because TLock cannot be moved
    SqliteBorrowedReader FReader;
    sqlite3_stmt* FStatement;
};

/// Rows read into memory. They need neither a connection nor a cursor.
class VEXA_RUNTIME_API SqliteRowSet final : public SqliteRows {
public:
    /// Appends the rows of the cursor, from its current row to the last.
    void Append(SqliteCursor& cursor);

    bool Next() override;
    int ColumnCount() const override { return FColumns; }
    QString Text(int column) const override;
    int Integer(int column) const override;
    qint64 Integer64(int column) const override;
    double Double(int column) const override;

private:
    struct FreeValue {
        void operator()(sqlite3_value* value) const noexcept;
    };
    using Value = std::unique_ptr<sqlite3_value, FreeValue>;

    sqlite3_value* At(int column) const;

    int FColumns = 0;
    std::size_t FRow = 0;
    std::vector<Value> FValues;  // row by row
};

/// The base of all connections. Each has the function UPPER and the collation UNICODE.
class VEXA_RUNTIME_API SqliteConnection {
public:
    virtual ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    QString FileName() const { return FFileName; }

protected:
    friend class SqliteCursor;
    friend class SqliteStatement;
    class Statement;

    SqliteConnection() = default;
    void OpenConnection(const QString& fileName, int flags);
    void Close() noexcept;
    void RegisterUnicode();
    std::unique_ptr<SqliteCursor> Query(std::string_view sql, std::unique_lock<TRecursiveMutex> lock);
    [[noreturn]] void Raise(const ReasonText& what, int code) const;

    QString FFileName;
    sqlite3* FHandle = nullptr;
};

/// A connection that only reads, used by one thread at a time, whichever that is. It never waits for a writer, and sees
/// the state that was committed when its oldest open cursor began.
class VEXA_RUNTIME_API SqliteReader final : public SqliteConnection {
public:
    /// Opens an existing database.
    explicit SqliteReader(const QString& fileName);

    /// A cursor on the first row; null when there are no rows.
    std::unique_ptr<SqliteCursor> Query(std::string_view sql) { return SqliteConnection::Query(sql, {}); }
    /// The first column of the first row; −1 when there is no row.
    qint64 QueryInteger(std::string_view sql);
    /// Runs statements that return no rows, such as those that begin and end a snapshot.
    void ExecuteSQL(std::string_view sql);
    /// A number that changes whenever another connection commits.
    qint64 DataVersion() { return QueryInteger("PRAGMA data_version"); }
};

/// During the lifetime of a snapshot, the reader sees one unchanging state of the database.
class VEXA_RUNTIME_API SqliteSnapshot {
public:
    explicit SqliteSnapshot(SqliteReader& reader) : FReader(reader) { FReader.ExecuteSQL("BEGIN"); }
    ~SqliteSnapshot();
    SqliteSnapshot(const SqliteSnapshot&) = delete;
    SqliteSnapshot& operator=(const SqliteSnapshot&) = delete;

private:
    SqliteReader& FReader;
};

class VEXA_RUNTIME_API SqliteDatabase : public SqliteConnection {
public:
    SqliteDatabase() = default;
    ~SqliteDatabase() override;

    /// The name of a new database in memory, different at every call. All connections of this process that open the
    /// name share the database; it ends with the last of them.
    static QString NameInMemory();

    /// Runs statements that return no rows.
    void ExecuteSQL(std::string_view sql);
    void ExecuteSQL(const SqlBuilder& builder) { ExecuteSQL(builder.Sql()); }
    /// The first column of the first row; −1 when there is no row.
    int QueryInteger(std::string_view sql);
    int QueryInteger(const SqlBuilder& builder) { return QueryInteger(builder.Sql()); }
    /// A cursor on the first row; null when there are no rows.
    std::unique_ptr<SqliteCursor> Query(std::string_view sql) {
        return SqliteConnection::Query(sql, std::unique_lock(FMutex));
    }
    std::unique_ptr<SqliteCursor> Query(const SqlBuilder& builder) { return Query(builder.Sql()); }
    /// Like Query and QueryInteger, but on a connection that only reads: they never wait for a thread that writes, and
    /// see everything committed before the call. Inside a transaction of the calling thread they use the writing
    /// connection, and so see the transaction's writes.
    std::unique_ptr<SqliteCursor> Read(std::string_view sql);
    std::unique_ptr<SqliteCursor> Read(const SqlBuilder& builder) { return Read(builder.Sql()); }
    int ReadInteger(std::string_view sql);
    int ReadInteger(const SqlBuilder& builder) { return ReadInteger(builder.Sql()); }
    /// Runs an INSERT whose only "?" is replaced by the bytes.
    void ExecuteWithBlob(std::string_view sql, const void* data, std::size_t size);

    /// Runs `procedure` in one immediate transaction, or in a savepoint when the connection is in a transaction
    /// already. An exception from `procedure` rolls its writes back and is passed on to the caller. Holds the lock
    /// throughout.
    void RunInTransaction(const std::function<void()>& procedure);

    /// Hold it to keep other threads from running statements between those of the calling thread.
    TRecursiveMutex& Mutex() VEXA_RETURNS_MUTEX(FMutex) { return FMutex; }

    /// The names of a table's columns, in order; empty when there is no such table.
    std::vector<std::string> TableColumns(std::string_view table);
    /// The number of rows changed by the last INSERT, UPDATE or DELETE.
    int ChangedRows() const VEXA_REQUIRES(FMutex);

protected:
    /// Opens or creates the file, then calls the three functions below in order. Called by the constructor of the
    /// derived class.
    void Open(const QString& fileName);

    /// Registers SQL functions in addition to UPPER.
    virtual void InitializeFunctions() {}
    /// Checks an existing file before anything is written to it; throws to refuse the file.
    virtual void VerifyLayout() {}
    virtual void InitializeTables() {}

    /// A deterministic SQL function of one text argument (NULL reads as empty).
    using TextFunction = QString (*)(const QString&);
    using IntegerFunction = int (*)(const QString&);
    void RegisterFunction(const char* name, TextFunction function);
    /// The same with an integer result, and not deterministic.
    void RegisterFunction(const char* name, IntegerFunction function);

private:
    friend struct SqliteReturnReader;
    friend class SqliteStatement;
    void EnterWal();
    SqliteBorrowedReader BorrowReader();

    TRecursiveMutex FMutex;  // guards FHandle, too
    int FTransactionDepth VEXA_GUARDED_BY(FMutex) = 0;
    std::atomic<std::thread::id> FTransactionThread{};  // the thread of the open transaction
    TMutex FReadersMutex;
    std::vector<std::unique_ptr<SqliteReader>> FIdleReaders VEXA_GUARDED_BY(FReadersMutex);
};

/// A statement that writes, prepared once and run repeatedly with different values for its parameters ("?"). Any text
/// can be a value, U+0000 and lone surrogates included. The database must outlive the statement. One thread at a time.
class VEXA_RUNTIME_API SqliteStatement {
public:
    SqliteStatement(SqliteDatabase& database, std::string_view sql);
    ~SqliteStatement();
    SqliteStatement(SqliteStatement&& other) noexcept;
    SqliteStatement& operator=(SqliteStatement&&) = delete;

    /// Each of these binds a value to the next parameter.
    SqliteStatement& Text(QStringView value);
    SqliteStatement& Integer(qint64 value);
    SqliteStatement& Double(double value);
    /// Runs the statement with the values bound since the last run.
    void Run();

private:
    struct Piece {
        int Parameter;
        std::size_t Begin, End;
    };

    SqliteDatabase& FDatabase;
    sqlite3_stmt* FStatement = nullptr;
    int FParameter = 0;          // the last parameter that has a value
    std::string FTexts;          // all text values, one after another
    std::vector<Piece> FPieces;  // where each text is in FTexts
};

}  // namespace vexa
