#pragma once
// Builds the text of SQL statements, in UTF-8. The only place where literals are written.

#include "VEXA.Runtime.Export.h"

#include <QString>

#include <span>
#include <string>
#include <string_view>

namespace vexa {

/// How a column is declared by CreateTable.
struct SqlColumn {
    enum class Type {
        Key,      // INTEGER PRIMARY KEY AUTOINCREMENT: assigned on insert, never reused
        Integer,  // 32-bit
        Double,
        Text,       // identifiers: compared byte by byte
        ShownText,  // names and other text for the user: sorted by the collation UNICODE
        Blob,
    };
    std::string_view Name;
    Type Kind;
};

class VEXA_RUNTIME_API SqlBuilder {
public:
    SqlBuilder() = default;
    explicit SqlBuilder(std::string_view sql) : FSql(sql) {}

    /// Appends SQL unchanged.
    SqlBuilder& Raw(std::string_view sql) {
        FSql += sql;
        return *this;
    }
    /// A text literal. Quotes are doubled; text with U+0000 becomes CAST(x'…' AS TEXT), since SQLite ends a statement
    /// at that character.
    SqlBuilder& Text(QStringView value);
    SqlBuilder& Integer(qint64 value);
    /// Writes 17 significant digits, so that the number reads back bit for bit (except below 1e-280, where SQLite's own
    /// parser is less exact); infinities as ±9e999, not-a-number as NULL.
    SqlBuilder& Double(double value);

    /// CREATE TABLE IF NOT EXISTS with an optional table constraint.
    SqlBuilder& CreateTable(std::string_view name, std::span<const SqlColumn> columns,
                            std::string_view constraint = {});
    /// ALTER TABLE … ADD COLUMN.
    SqlBuilder& AddColumn(std::string_view table, const SqlColumn& column);

    const std::string& Sql() const noexcept { return FSql; }
    bool IsEmpty() const noexcept { return FSql.empty(); }
    /// Empties the text but keeps its memory, for building many statements one after another.
    void Clear() noexcept { FSql.clear(); }

private:
    SqlBuilder& Declare(const SqlColumn& column);

    std::string FSql;
};

}  // namespace vexa
