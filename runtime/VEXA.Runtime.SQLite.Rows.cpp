#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.SQLite.h"
#include "VEXA.Runtime.Text.h"

#include <sqlite3.h>

#include <new>

namespace vexa {

namespace {

std::string_view Bytes(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value))) : std::string_view();
}

}  // namespace

SqliteRows::~SqliteRows() = default;

// ---- SqliteCursor ----

SqliteCursor::~SqliteCursor() {
    sqlite3_finalize(FStatement);
}

bool SqliteCursor::Next() {
    const int code = sqlite3_step(FStatement);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) FConnection.Raise(RuntimeReason("DatabaseRead"), code);
    return false;
}

int SqliteCursor::ColumnCount() const {
    return sqlite3_column_count(FStatement);
}

int SqliteCursor::ColumnIndex(std::string_view name) const {
    for (int i = 0; i < ColumnCount(); ++i)
        if (name == sqlite3_column_name(FStatement, i)) return i;
    return -1;
}

int SqliteCursor::Require(std::string_view name) const {
    const int column = ColumnIndex(name);
    if (column < 0) throw SqliteError(QString(u"a query gives no column " + FromUtf8(name)), SQLITE_ERROR);
    return column;
}

bool SqliteCursor::IsNull(int column) const {
    return sqlite3_column_type(FStatement, column) == SQLITE_NULL;
}

std::string_view SqliteCursor::Utf8(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(FStatement, column));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(FStatement, column)))
                : std::string_view();
}

QString SqliteCursor::Text(int column) const {
    return FromUtf8(Utf8(column));
}

int SqliteCursor::Integer(int column) const {
    return sqlite3_column_int(FStatement, column);
}

qint64 SqliteCursor::Integer64(int column) const {
    return sqlite3_column_int64(FStatement, column);
}

double SqliteCursor::Double(int column) const {
    return sqlite3_column_double(FStatement, column);
}

QByteArray SqliteCursor::Blob(int column) const {
    const auto* data = static_cast<const char*>(sqlite3_column_blob(FStatement, column));
    return data ? QByteArray(data, sqlite3_column_bytes(FStatement, column)) : QByteArray();
}

// ---- SqliteRowSet ----

void SqliteRowSet::FreeValue::operator()(sqlite3_value* value) const noexcept {
    sqlite3_value_free(value);
}

void SqliteRowSet::Append(SqliteCursor& cursor) {
    FColumns = cursor.ColumnCount();
    do {
        for (int i = 0; i < FColumns; ++i) {
            FValues.emplace_back(sqlite3_value_dup(sqlite3_column_value(cursor.FStatement, i)));
            if (!FValues.back()) throw std::bad_alloc();
        }
    } while (cursor.Next());
}

bool SqliteRowSet::Next() {
    return ++FRow * static_cast<std::size_t>(FColumns) < FValues.size();
}

sqlite3_value* SqliteRowSet::At(int column) const {
    return FValues[FRow * static_cast<std::size_t>(FColumns) + static_cast<std::size_t>(column)].get();
}

QString SqliteRowSet::Text(int column) const {
    return FromUtf8(Bytes(At(column)));
}

int SqliteRowSet::Integer(int column) const {
    return sqlite3_value_int(At(column));
}

qint64 SqliteRowSet::Integer64(int column) const {
    return sqlite3_value_int64(At(column));
}

double SqliteRowSet::Double(int column) const {
    return sqlite3_value_double(At(column));
}

}  // namespace vexa
