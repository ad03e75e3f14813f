#pragma once
// Translates the host's filters to SQL, and returns the rows of SQL statements to the host.

#include "VEXA.Runtime.SQLite.h"
#include "apiWrappers.h"

#include <QHash>
#include <QString>

#include <memory>
#include <stdexcept>
#include <vector>

namespace vexa {

/// Translates a host filter into the conditions, order and range of an SQL statement. One object serves one statement;
/// one thread at a time. Derived classes adapt it to a schema.
///
/// There is one field map in the process, from field names to column expressions: the first adapter created fills it by
/// the function of its class, and it never changes again.
class TVEXAMLSQLAdapter {
public:
    using FieldMap = QHash<QString, QString>;

    TVEXAMLSQLAdapter(const TVEXAMLSQLAdapter&) = delete;
    TVEXAMLSQLAdapter& operator=(const TVEXAMLSQLAdapter&) = delete;
    virtual ~TVEXAMLSQLAdapter() = default;

    /// Appends conditions, order and range. `fields` holds the names of the fields asked for, in which the search text
    /// is searched for; it may be null. `isAndNeeded`: the text has a condition already. Throws std::invalid_argument
    /// for a condition on a field without a name or with a name that cannot be a column's, for an unknown operation,
    /// and for groups nested too deeply for SQLite; EHostError when an operation of the host fails.
    void Build(IVEXAMLDataFilter* filter, IVEXAObjectList* fields, bool isAndNeeded);
    /// Appends the columns of the fields asked for.
    void AddSelectList(IVEXAObjectList* fields);

    // The steps of Build, for building other statements from the same filter.
    struct Search {
        QString Text;  // empty: no search
        QStringList Columns;
    };
    struct SortKey {
        QString Column;
        bool IsDescending = false;
    };
    void AddConditions(IVEXAMLDataFilter& filter, bool isAndNeeded);
    Search SearchOf(IVEXAMLDataFilter& filter, IVEXAObjectList* fields) const;
    /// Call it after AddConditions.
    void AddSearch(const Search& search);
    std::vector<SortKey> SortKeysOf(IVEXAMLDataFilter& filter) const;
    void AddOrder(const std::vector<SortKey>& keys);
    void AddRange(IVEXAMLDataFilter& filter);
    /// The columns in the conditions that AddConditions has appended, except those that a derived class appends itself.
    const QStringList& ConditionColumns() const noexcept { return FConditionColumns; }

    void Append(const QString& text) { FText += text; }

    /// The column expression of a field; empty for a field that has no column, and for the empty name. Throws
    /// std::invalid_argument for a name that is not an SQL identifier, because it would become a part of the statement.
    QString MapField(const QString& field) const;
    /// The same for a condition or an order, which needs a column: throws std::invalid_argument when there is none.
    QString RequireColumn(const QString& field) const;
    QString ToString() const { return FText; }

    /// A value as an SQL literal.
    static QString Literal(const QString& text);
    static QString Literal(const Variant& value);

protected:
    /// The type of the static function InitializeFieldMap of a derived class.
    using InitializeFieldMapFunction = void (*)(FieldMap& map);
    explicit TVEXAMLSQLAdapter(InitializeFieldMapFunction initialize = InitializeFieldMap);

    /// Whether the search leaves out a field.
    virtual bool IsFieldExcludedFromSearch(const QString& field) const;
    /// Whether a field contains a list of keys.
    virtual bool IsKeyField(const QString& field) const;
    static void InitializeFieldMap(FieldMap&) {}
    /// Appends a comparison for equality or inequality.
    virtual void AddComparison(const QString& field, const QString& value, std::int32_t operation);

private:
    void AddJoiner();
    void AddGroup(IVEXAMLGroupFilter& group, int depth);
    void AddChild(IVEXAMLGroupFilter& group, std::int32_t index, int depth);
    void AddFieldCondition(IVEXAMLFieldFilter& condition);
    void AddArrayCondition(IVEXAMLArrayFieldFilter& condition);
    QString ConditionColumn(const QString& field);

    QString FText;
    QStringList FConditionColumns;
    bool FIsAndNeeded = false;
};

/// The texts in a list of host strings; other objects are left out.
QStringList StringsOf(IVEXAObjectList* list);

/// A cursor over rows for the host. Without rows it does not offer IVEXAMLDataProviderSelection. After the last row, or
/// when reading the next row has failed, it stays at the end, where values are 0 and texts null.
class TVEXAMLSQLTableDataProvider : public TInterfacedObjectEx, public IVEXAMLDataProviderSelection {
public:
    /// Runs the statement on a reader of its own, which this object keeps until its end.
    TVEXAMLSQLTableDataProvider(const SqliteDatabase& database, const QString& sql);
    /// Returns rows that have been read already; null when there are none.
    explicit TVEXAMLSQLTableDataProvider(std::unique_ptr<SqliteRows> rows);

    HResult QueryInterface(const Guid& iid, void** object) noexcept override;
    std::int32_t AddRef() noexcept override { return TInterfacedObjectEx::AddRef(); }
    std::int32_t Release() noexcept override { return TInterfacedObjectEx::Release(); }

    double GetValueAsFloat(std::int32_t column) noexcept override;
    std::int32_t GetValueAsInt32(std::int32_t column) noexcept override;
    std::int64_t GetValueAsInt64(std::int32_t column) noexcept override;
    const char16_t* GetValueAsString(std::int32_t column, std::int32_t* length) noexcept override;
    Bool32 NextRow() noexcept override;

private:
    bool IsColumn(std::int32_t column) const noexcept;

    std::unique_ptr<SqliteReader> FReader;  // the reader of FRows, which must be destroyed first
    std::unique_ptr<SqliteRows> FRows;      // null at the end
    const bool FHasRows;
    std::vector<QString> FTexts;  // the texts of the current row that were returned, by column
};

}  // namespace vexa
