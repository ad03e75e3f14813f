#pragma once
// Builds the text of SQL statements, in UTF-8. The one place that spells literals.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <span>
#include <string>
#include <string_view>

namespace vexa {

/// How a column is declared by CreateTable.
struct SqlColumn {
    enum class Type {
        Key,      // INTEGER PRIMARY KEY AUTOINCREMENT: assigned on insert, never used again
        Integer,  // 32-bit
        Double,
        Text,       // identities: compares byte by byte
        ShownText,  // names and what else people read: sorts by the collation UNICODE
        Blob,
    };
    std::string_view Name;
    Type Kind;
};

class VEXA_RUNTIME_API SqlBuilder {
public:
    SqlBuilder() = default;
    explicit SqlBuilder(std::string_view sql) : FSql(sql) {}

    /// SQL as it stands.
    SqlBuilder& Raw(std::string_view sql) {
        FSql += sql;
        return *this;
    }
    /// A text literal. Quotes are doubled; text with U+0000 becomes CAST(x'…' AS TEXT), since a statement ends at it.
    SqlBuilder& Text(QStringView value);
    SqlBuilder& Integer(qint64 value);
    /// 17 significant digits, so that it reads back bit for bit (but for numbers below 1e-280, which SQLite itself
    /// reads with less care); infinities as ±9e999, not-a-number as NULL.
    SqlBuilder& Double(double value);

    /// CREATE TABLE IF NOT EXISTS with an optional table constraint.
    SqlBuilder& CreateTable(std::string_view name, std::span<const SqlColumn> columns,
                            std::string_view constraint = {});
    /// ALTER TABLE … ADD COLUMN.
    SqlBuilder& AddColumn(std::string_view table, const SqlColumn& column);

    const std::string& Sql() const noexcept { return FSql; }
    bool IsEmpty() const noexcept { return FSql.empty(); }
    /// Empties the text and keeps its memory, for statements built in a row.
    void Clear() noexcept { FSql.clear(); }

private:
    SqlBuilder& Declare(const SqlColumn& column);

    std::string FSql;
};

}  // namespace vexa
