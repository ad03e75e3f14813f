#pragma once
// From the host's filters to SQL, and from SQL's rows to the host.

#include "VEXA.Runtime.SQLite.h"
#include "apiWrappers.h"

#include <QHash>
#include <QString>

#include <memory>
#include <stdexcept>
#include <vector>

namespace vexa {

/// Translates a host filter into the conditions, order and range of an SQL statement. One object serves one statement;
/// one thread at a time. Derived classes fit it to a schema.
///
/// The field map, from field names to column expressions, is one for the process: the first adapter that is made fills
/// it with what its class says, and it stays so.
class TVEXAMLSQLAdapter {
public:
    using FieldMap = QHash<QString, QString>;

    TVEXAMLSQLAdapter(const TVEXAMLSQLAdapter&) = delete;
    TVEXAMLSQLAdapter& operator=(const TVEXAMLSQLAdapter&) = delete;
    virtual ~TVEXAMLSQLAdapter() = default;

    /// Appends conditions, order and range. `fields` holds the names asked for, which the search text is looked for in;
    /// it may be null. `isAndNeeded`: the text holds a condition already. Throws std::invalid_argument for a condition
    /// on a field without a name, or whose name can be no column, for an operation that there is not, or for groups
    /// nested too deeply for SQLite; EHostError when the host fails.
    void Build(IVEXAMLDataFilter* filter, IVEXAObjectList* fields, bool isAndNeeded);
    /// Appends the columns of the fields asked for.
    void AddSelectList(IVEXAObjectList* fields);

    // The steps of Build, for those who make other statements of the same filter.
    struct Search {
        QString Text;  // empty: nothing is looked for
        QStringList Columns;
    };
    struct SortKey {
        QString Column;
        bool IsDescending = false;
    };
    void AddConditions(IVEXAMLDataFilter& filter, bool isAndNeeded);
    Search SearchOf(IVEXAMLDataFilter& filter, IVEXAObjectList* fields) const;
    /// After AddConditions.
    void AddSearch(const Search& search);
    std::vector<SortKey> SortKeysOf(IVEXAMLDataFilter& filter) const;
    void AddOrder(const std::vector<SortKey>& keys);
    void AddRange(IVEXAMLDataFilter& filter);
    /// The columns that AddConditions has written, but for those that a derived class writes itself.
    const QStringList& ConditionColumns() const noexcept { return FConditionColumns; }

    void Append(const QString& text) { FText += text; }

    /// The expression of a field: empty for one that has no column, as for no name. Throws std::invalid_argument for a
    /// name that is no SQL identifier, since it would become a part of the statement.
    QString MapField(const QString& field) const;
    /// The same for a condition or an order, which needs a column: throws std::invalid_argument where there is none.
    QString RequireColumn(const QString& field) const;
    QString ToString() const { return FText; }

    /// A value as SQL spells it.
    static QString Literal(const QString& text);
    static QString Literal(const Variant& value);

protected:
    /// For the class-level InitializeFieldMap of the class that is made.
    using InitializeFieldMapFunction = void (*)(FieldMap& map);
    explicit TVEXAMLSQLAdapter(InitializeFieldMapFunction initialize = InitializeFieldMap);

    /// Whether the search text is not looked for in a field.
    virtual bool IsFieldExcludedFromSearch(const QString& field) const;
    /// Whether a field holds a list of keys.
    virtual bool IsKeyField(const QString& field) const;
    static void InitializeFieldMap(FieldMap&) {}
    /// Writes a comparison for equality or inequality.
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

/// The names in a list of host strings; what is no string is left out.
QStringList StringsOf(IVEXAObjectList* list);

/// Rows for the host. Without a row it offers no IVEXAMLDataProviderSelection. After the last row, or when reading the
/// next one failed, it stays at the end, where its values are 0 and its texts null.
class TVEXAMLSQLTableDataProvider : public TInterfacedObjectEx, public IVEXAMLDataProviderSelection {
public:
    /// Runs the statement on a reader of its own, which it keeps until it is released.
    TVEXAMLSQLTableDataProvider(const SqliteDatabase& database, const QString& sql);
    /// Hands out rows that are there already; null for none.
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

    std::unique_ptr<SqliteReader> FReader;  // of a cursor; freed after it
    std::unique_ptr<SqliteRows> FRows;      // null at the end
    const bool FHasRows;
    std::vector<QString> FTexts;  // of the current row, by column: what was handed out
};

}  // namespace vexa
