#pragma once
// An SQLite database on one connection that many threads may use: calls are serialised by a reentrant lock.
//
// The file is opened in WAL mode, so that other processes can read and write it too and a crash leaves the last
// committed state. Every error is an SqliteError. Errors of the kind "busy" come after waiting five seconds.

#include "VEXA.Runtime.Export.h"
#include "VEXA.Runtime.SQLite.Builder.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace vexa {

/// What failed, on which file, why, and what to do about it. Code() is SQLite's extended result code.
class VEXA_RUNTIME_API SqliteError : public std::runtime_error {
public:
    SqliteError(const std::string& message, int code) : std::runtime_error(message), FCode(code) {}
    SqliteError(const SqliteError&) = default;
    ~SqliteError() override;
    int Code() const noexcept { return FCode; }

private:
    int FCode;
};

/// A query's rows, positioned on one of them. Holds the connection's lock as long as it lives: read and let go.
/// Columns are named by 0-based index or by name; NULL reads as empty or 0.
class VEXA_RUNTIME_API SqliteCursor {
public:
    ~SqliteCursor();
    SqliteCursor(const SqliteCursor&) = delete;
    SqliteCursor& operator=(const SqliteCursor&) = delete;

    /// Steps to the next row; false at the end.
    bool Next();

    int ColumnCount() const;
    /// −1 when there is no such column.
    int ColumnIndex(std::string_view name) const;
    bool IsNull(int column) const;
    QString Text(int column) const;
    /// The text's bytes, valid until the next step.
    std::string_view Utf8(int column) const;
    int Integer(int column) const;
    qint64 Integer64(int column) const;
    double Double(int column) const;
    QByteArray Blob(int column) const;

    QString Text(std::string_view name) const { return Text(Require(name)); }
    int Integer(std::string_view name) const { return Integer(Require(name)); }
    double Double(std::string_view name) const { return Double(Require(name)); }
    QByteArray Blob(std::string_view name) const { return Blob(Require(name)); }

private:
    friend class SqliteDatabase;
    SqliteCursor(class SqliteDatabase& database, std::unique_lock<std::recursive_mutex> lock, sqlite3_stmt* statement)
        : FDatabase(database), FLock(std::move(lock)), FStatement(statement) {}
    int Require(std::string_view name) const;

    SqliteDatabase& FDatabase;
    std::unique_lock<std::recursive_mutex> FLock;
    sqlite3_stmt* FStatement;
};

class VEXA_RUNTIME_API SqliteDatabase {
public:
    SqliteDatabase() = default;
    virtual ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    QString FileName() const { return FFileName; }

    /// Runs statements that give no rows.
    void ExecuteSQL(std::string_view sql);
    void ExecuteSQL(const SqlBuilder& builder) { ExecuteSQL(builder.Sql()); }
    /// The first column of the first row; −1 when there is no row.
    int QueryInteger(std::string_view sql);
    int QueryInteger(const SqlBuilder& builder) { return QueryInteger(builder.Sql()); }
    /// A cursor on the first row; nothing when there is none.
    std::unique_ptr<SqliteCursor> Query(std::string_view sql);
    std::unique_ptr<SqliteCursor> Query(const SqlBuilder& builder) { return Query(builder.Sql()); }
    /// Runs an insert whose one "?" takes the bytes.
    void ExecuteWithBlob(std::string_view sql, const void* data, std::size_t size);

    /// Runs `procedure` in one immediate transaction, or in a savepoint when the connection is in one already. What it
    /// throws undoes its writes and reaches the caller. Holds the lock all the while.
    void RunInTransaction(const std::function<void()>& procedure);

    /// Groups statements of one thread. Reentrant.
    [[nodiscard]] std::unique_lock<std::recursive_mutex> Lock() { return std::unique_lock(FMutex); }

    /// Names of a table's columns in order; empty when there is no such table.
    std::vector<std::string> TableColumns(std::string_view table);
    /// Rows changed by the last INSERT, UPDATE or DELETE.
    int ChangedRows() const;

protected:
    /// Opens or creates the file, then runs the three steps below in order. For the constructor of the derived class.
    void Open(const QString& fileName);

    /// Registers UPPER and the collation UNICODE.
    virtual void InitializeFunctions();
    /// Looks at an existing file before anything is written; throws to refuse it.
    virtual void VerifyLayout() {}
    virtual void InitializeTables() {}

    /// A deterministic SQL function of one text argument (NULL reads as empty).
    using TextFunction = QString (*)(const QString&);
    using IntegerFunction = int (*)(const QString&);
    void RegisterFunction(const char* name, TextFunction function);
    /// The same with an integer result, which may change from call to call.
    void RegisterFunction(const char* name, IntegerFunction function);

    [[noreturn]] void Raise(const std::string& what, int code) const;

private:
    friend class SqliteCursor;
    class Statement;
    void EnterWal();
    void Close() noexcept;

    QString FFileName;
    sqlite3* FConnection = nullptr;
    std::recursive_mutex FMutex;  // guards FConnection and FTransactionDepth
    int FTransactionDepth = 0;
};

}  // namespace vexa
