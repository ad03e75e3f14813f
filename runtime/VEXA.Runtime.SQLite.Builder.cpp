#include "VEXA.Runtime.SQLite.Builder.h"

#include "VEXA.Runtime.Text.h"

#include <charconv>
#include <cmath>

namespace vexa {

SqlBuilder& SqlBuilder::Text(QStringView value) {
    if (value.contains(u'\0')) {
        static constexpr char digits[] = "0123456789abcdef";
        FSql += "CAST(x'";
        for (const char c : ToUtf8(value)) {
            FSql += digits[static_cast<unsigned char>(c) >> 4];
            FSql += digits[c & 0xF];
        }
        FSql += "' AS TEXT)";
        return *this;
    }
    FSql += '\'';
    for (qsizetype quote; (quote = value.indexOf(u'\'')) >= 0; value = value.sliced(quote + 1)) {
        AppendUtf8(FSql, value.first(quote + 1));
        FSql += '\'';
    }
    AppendUtf8(FSql, value);
    FSql += '\'';
    return *this;
}

SqlBuilder& SqlBuilder::Integer(qint64 value) {
    FSql += std::to_string(value);
    return *this;
}

SqlBuilder& SqlBuilder::Double(double value) {
    if (std::isnan(value)) return Raw("NULL");
    if (std::isinf(value)) return Raw(value > 0 ? "9e999" : "-9e999");
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific, 16).ptr;
    FSql.append(text, end);
    return *this;
}

SqlBuilder& SqlBuilder::Declare(const SqlColumn& column) {
    FSql.append(column.Name).append(" ");
    switch (column.Kind) {
        case SqlColumn::Type::Key:
            return Raw("INTEGER PRIMARY KEY AUTOINCREMENT");
        case SqlColumn::Type::Integer:
            return Raw("INTEGER");
        case SqlColumn::Type::Double:
            return Raw("DOUBLE");
        case SqlColumn::Type::Text:
            return Raw("TEXT");
        case SqlColumn::Type::ShownText:
            return Raw("TEXT COLLATE UNICODE");
        case SqlColumn::Type::Blob:
            return Raw("BLOB");
    }
    return *this;
}

SqlBuilder& SqlBuilder::CreateTable(std::string_view name, std::span<const SqlColumn> columns,
                                    std::string_view constraint) {
    FSql.append("CREATE TABLE IF NOT EXISTS ").append(name).append(" (");
    const char* separator = "";
    for (const SqlColumn& column : columns) {
        Raw(separator).Declare(column);
        separator = ", ";
    }
    if (!constraint.empty()) FSql.append(separator).append(constraint);
    return Raw(");");
}

SqlBuilder& SqlBuilder::AddColumn(std::string_view table, const SqlColumn& column) {
    return Raw("ALTER TABLE ").Raw(table).Raw(" ADD COLUMN ").Declare(column).Raw(";");
}

}  // namespace vexa
