#include "apiWrappers.SQL.h"

#include "VEXA.Runtime.Text.h"

#include <algorithm>
#include <mutex>

namespace vexa {

namespace {

// SQLite's parser fails at about 30 nested groups, and earlier if they are negated.
constexpr int kMaxGroupDepth = 100;

TVEXAMLSQLAdapter::FieldMap& SharedFieldMap() {
    static TVEXAMLSQLAdapter::FieldMap map;
    return map;
}

bool IsIdentifier(const QString& name) {
    const auto isLetter = [](QChar c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') || c == u'_'; };
    return isLetter(name[0]) &&
           std::all_of(name.begin(), name.end(), [&](QChar c) { return isLetter(c) || (c >= u'0' && c <= u'9'); });
}

QString OperatorText(std::int32_t operation) {
    static const QString texts[] = {
        QStringLiteral(" = "),    QStringLiteral(" <> "),   QStringLiteral(" BETWEEN "), QStringLiteral(" < "),
        QStringLiteral(" <= "),   QStringLiteral(" > "),    QStringLiteral(" >= "),      QStringLiteral(" LIKE "),
        QStringLiteral(" LIKE "), QStringLiteral(" LIKE "),
    };
    if (operation < 0 || operation >= std::int32_t(std::size(texts)))
        throw std::invalid_argument("there is no operation " + std::to_string(operation));
    return texts[operation];
}

QString FieldName(IVEXAPropertyList& condition) {
    static_assert(int(IVEXAMLFieldFilter::Field) == int(IVEXAMLArrayFieldFilter::Field));
    const QString name = ReadPropertyString(&condition, IVEXAMLFieldFilter::Field);
    if (name.isEmpty()) throw std::invalid_argument("Field name cannot be set to an empty string");
    return name;
}

template <class Interface>
Ref<Interface> ItemOf(IVEXAObjectList& list, std::int32_t index) {
    Ref<Interface> item;
    return Succeeded(list.GetObject(index, Interface::IID, item.PutVoid())) ? item : Ref<Interface>();
}

}  // namespace

QStringList StringsOf(IVEXAObjectList* list) {
    QStringList result;
    const std::int32_t count = list ? list->GetCount() : 0;
    for (std::int32_t i = 0; i < count; ++i)
        if (const auto text = ItemOf<IVEXAString>(*list, i)) result += FromHostString(text.Get());
    return result;
}

TVEXAMLSQLAdapter::TVEXAMLSQLAdapter(InitializeFieldMapFunction initialize) {
    static std::once_flag once;
    std::call_once(once, [&] { initialize(SharedFieldMap()); });
}

QString TVEXAMLSQLAdapter::MapField(const QString& field) const {
    if (const auto found = SharedFieldMap().constFind(field); found != SharedFieldMap().constEnd()) return *found;
    if (!field.isEmpty() && !IsIdentifier(field))
        throw std::invalid_argument('"' + field.toStdString() + "\" is no name of a field");
    return field;
}

QString TVEXAMLSQLAdapter::RequireColumn(const QString& field) const {
    QString column = MapField(field);
    if (column.isEmpty()) throw std::invalid_argument("the field \"" + field.toStdString() + "\" has no column");
    return column;
}

QString TVEXAMLSQLAdapter::ConditionColumn(const QString& field) {
    FConditionColumns += RequireColumn(field);
    return FConditionColumns.last();
}

QString TVEXAMLSQLAdapter::Literal(const QString& text) {
    return FromUtf8(SqlBuilder().Text(text).Sql());
}

QString TVEXAMLSQLAdapter::Literal(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
        case VariantType::Int64:
            return QString::number(value.Integer);
        case VariantType::Float:
            return FromUtf8(SqlBuilder().Double(value.Float).Sql());
        case VariantType::Text:
            return Literal(FromHostString(value.Text.Get()));
        case VariantType::Empty:
            break;
    }
    return QStringLiteral("NULL");
}

bool TVEXAMLSQLAdapter::IsFieldExcludedFromSearch(const QString&) const {
    return false;
}

bool TVEXAMLSQLAdapter::IsKeyField(const QString&) const {
    return false;
}

void TVEXAMLSQLAdapter::AddJoiner() {
    if (FIsAndNeeded) FText += u" AND ";
    FIsAndNeeded = true;
}

void TVEXAMLSQLAdapter::Build(IVEXAMLDataFilter* filter, IVEXAObjectList* fields, bool isAndNeeded) {
    AddConditions(*filter, isAndNeeded);
    AddSearch(SearchOf(*filter, fields));
    if (!FIsAndNeeded) FText += u"(1 = 1)";
    AddOrder(SortKeysOf(*filter));
    AddRange(*filter);
}

void TVEXAMLSQLAdapter::AddConditions(IVEXAMLDataFilter& filter, bool isAndNeeded) {
    FIsAndNeeded = isAndNeeded;
    const std::int32_t children = filter.GetChildCount();
    if (children <= 0) return;
    // AND binds more tightly than OR, so after an earlier condition the alternatives need parentheses.
    const bool isEnclosed = isAndNeeded && children > 1 &&
                            ReadPropertyInt32(&filter, IVEXAMLGroupFilter::Operation) == IVEXAMLGroupFilter::Or;
    AddJoiner();
    if (isEnclosed) FText += u'(';
    AddGroup(filter, 0);
    if (isEnclosed) FText += u')';
}

void TVEXAMLSQLAdapter::AddGroup(IVEXAMLGroupFilter& group, int depth) {
    if (depth > kMaxGroupDepth) throw std::invalid_argument("the filter's groups are nested too deeply");
    const std::int32_t operation = ReadPropertyInt32(&group, IVEXAMLGroupFilter::Operation);
    // An unknown operation would be written as OR, which Build would not enclose in parentheses.
    if (operation < IVEXAMLGroupFilter::Or || operation > IVEXAMLGroupFilter::NotAnd)
        throw std::invalid_argument("there is no operation " + std::to_string(operation) + " of a group");
    const bool isNegated = operation == IVEXAMLGroupFilter::NotOr || operation == IVEXAMLGroupFilter::NotAnd;
    const bool isAnd = operation == IVEXAMLGroupFilter::And || operation == IVEXAMLGroupFilter::NotAnd;
    const std::int32_t children = group.GetChildCount();
    if (isNegated) FText += u" NOT ";
    // A group without conditions restricts nothing, like a whole filter without conditions.
    if (children <= 0) FText += u"1 = 1";
    if (isNegated && children > 1) FText += u'(';
    for (std::int32_t i = 0; i < children; ++i) {
        if (i > 0) FText += isAnd ? u" AND " : u" OR ";
        FText += u'(';
        AddChild(group, i, depth);
        FText += u')';
    }
    if (isNegated && children > 1) FText += u')';
}

void TVEXAMLSQLAdapter::AddChild(IVEXAMLGroupFilter& group, std::int32_t index, int depth) {
    Ref<IUnknown> child;
    RaiseIfFailed(group.GetChild(index, IUnknown::IID, child.PutVoid()));
    if (const auto nested = Query<IVEXAMLGroupFilter>(child.Get()))
        AddGroup(*nested, depth + 1);
    else if (const auto condition = Query<IVEXAMLFieldFilter>(child.Get()))
        AddFieldCondition(*condition);
    else if (const auto values = Query<IVEXAMLArrayFieldFilter>(child.Get()))
        AddArrayCondition(*values);
}

void TVEXAMLSQLAdapter::AddFieldCondition(IVEXAMLFieldFilter& condition) {
    using Filter = IVEXAMLFieldFilter;
    const QString field = FieldName(condition);
    const std::int32_t operation = ReadPropertyInt32(&condition, Filter::Operation);
    const QString value = ReadPropertyString(&condition, Filter::Value1);
    switch (operation) {
        case Filter::Between:
        case Filter::Less:
        case Filter::LessOrEqual:
        case Filter::Greater:
        case Filter::GreaterOrEqual:
            FText += ConditionColumn(field) + OperatorText(operation) + Literal(value);
            if (operation == Filter::Between)
                FText += u" AND " + Literal(ReadPropertyString(&condition, Filter::Value2));
            break;
        case Filter::Contains:
        case Filter::BeginsWith:
        case Filter::EndsWith: {
            const QString before = operation == Filter::BeginsWith ? QString() : QStringLiteral("%");
            const QString after = operation == Filter::EndsWith ? QString() : QStringLiteral("%");
            FText += u"UPPER(" + ConditionColumn(field) + u')' + OperatorText(operation) +
                     Literal(QString(before + value.toUpper() + after));
            break;
        }
        default:
            AddComparison(field, value, operation);
    }
}

void TVEXAMLSQLAdapter::AddComparison(const QString& field, const QString& value, std::int32_t operation) {
    if (IsKeyField(field))
        FText += u"KeyContains(" + ConditionColumn(field) + u", " + Literal(value) + u')';
    else
        FText += ConditionColumn(field) + OperatorText(operation) + Literal(value) + u" COLLATE NOCASE ";
}

void TVEXAMLSQLAdapter::AddArrayCondition(IVEXAMLArrayFieldFilter& condition) {
    const QString field = FieldName(condition);
    std::int32_t count = 0;
    RaiseIfFailed(condition.GetData(nullptr, &count));
    std::vector<Variant> values(static_cast<std::size_t>(std::max(count, 0)));
    if (count > 0) {
        RaiseIfFailed(condition.GetData(values.data(), &count));
        values.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(count, 0, std::int64_t(values.size()))));
    }
    if (IsKeyField(field)) {
        FText += u"KeyContainsOneFrom(" + ConditionColumn(field);
        for (const Variant& value : values) FText += u", " + Literal(value);
    } else {
        FText += ConditionColumn(field) + u" IN (";
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (i > 0) FText += u", ";
            FText += Literal(values[i]);
        }
    }
    FText += u')';
}

TVEXAMLSQLAdapter::Search TVEXAMLSQLAdapter::SearchOf(IVEXAMLDataFilter& filter, IVEXAObjectList* fields) const {
    Search search;
    if (!fields) return search;
    search.Text = ReadPropertyString(&filter, IVEXAMLDataFilter::SearchText);
    for (const QString& field : StringsOf(fields)) {
        if (IsFieldExcludedFromSearch(field)) continue;
        if (const QString column = MapField(field); !column.isEmpty()) search.Columns += column;
    }
    return search;
}

void TVEXAMLSQLAdapter::AddSearch(const Search& search) {
    if (search.Text.isEmpty()) return;
    AddJoiner();
    FText += u'(';
    const QString pattern = Literal(QString(u'%' + search.Text.toUpper() + u'%'));
    bool isFirst = true;
    for (const QString& column : search.Columns) {
        if (!isFirst) FText += u" OR ";
        FText += u"(UPPER(" + column + u") LIKE " + pattern + u')';
        isFirst = false;
    }
    // Without columns to search, nothing is found.
    if (isFirst) FText += u"1 = 0";
    FText += u')';
}

std::vector<TVEXAMLSQLAdapter::SortKey> TVEXAMLSQLAdapter::SortKeysOf(IVEXAMLDataFilter& filter) const {
    std::vector<SortKey> keys;
    Ref<IVEXAObjectList> list;
    if (Failed(filter.GetValueAsObject(IVEXAMLDataFilter::SortList, IVEXAObjectList::IID, list.PutVoid()))) return keys;
    const std::int32_t count = list->GetCount();
    for (std::int32_t i = 0; i < count; ++i) {
        const auto field = ItemOf<IVEXAString>(*list, i);
        const auto direction = ItemOf<IVEXAMLSortDirection>(*list, i);
        std::int32_t value = 0;
        if (!field || !direction || Failed(direction->GetValue(&value))) continue;
        keys.push_back({RequireColumn(FromHostString(field.Get())), value == IVEXAMLSortDirection::Descending});
    }
    return keys;
}

void TVEXAMLSQLAdapter::AddOrder(const std::vector<SortKey>& keys) {
    bool isFirst = true;
    for (const SortKey& key : keys) {
        FText += isFirst ? u" ORDER BY " : u", ";
        FText += key.Column;
        if (key.IsDescending) FText += u" DESC";
        isFirst = false;
    }
}

void TVEXAMLSQLAdapter::AddRange(IVEXAMLDataFilter& filter) {
    const std::int32_t offset = ReadPropertyInt32(&filter, IVEXAMLDataFilter::Offset);
    const std::int32_t count = ReadPropertyInt32(&filter, IVEXAMLDataFilter::Limit);
    if (count > 0) FText += u" LIMIT " + QString::number(offset) + u", " + QString::number(count);
}

void TVEXAMLSQLAdapter::AddSelectList(IVEXAObjectList* fields) {
    bool isFirst = true;
    for (const QString& field : StringsOf(fields)) {
        const QString column = MapField(field);
        if (column.isEmpty()) continue;
        if (!isFirst) FText += u", ";
        FText += column;
        isFirst = false;
    }
}

// ---- TVEXAMLSQLTableDataProvider ----

TVEXAMLSQLTableDataProvider::TVEXAMLSQLTableDataProvider(const SqliteDatabase& database, const QString& sql)
    : FReader(std::make_unique<SqliteReader>(database.FileName())),
      FRows(FReader->Query(ToUtf8(sql))),
      FHasRows(FRows != nullptr) {}

TVEXAMLSQLTableDataProvider::TVEXAMLSQLTableDataProvider(std::unique_ptr<SqliteRows> rows)
    : FRows(std::move(rows)), FHasRows(FRows != nullptr) {}

HResult TVEXAMLSQLTableDataProvider::QueryInterface(const Guid& iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid != IVEXAMLDataProviderSelection::IID) return TInterfacedObjectEx::QueryInterface(iid, object);
    if (!FHasRows) return E_NOINTERFACE;
    *object = static_cast<IVEXAMLDataProviderSelection*>(this);
    AddRef();
    return S_OK;
}

bool TVEXAMLSQLTableDataProvider::IsColumn(std::int32_t column) const noexcept {
    return FRows && column >= 0 && column < FRows->ColumnCount();
}

double TVEXAMLSQLTableDataProvider::GetValueAsFloat(std::int32_t column) noexcept {
    return IsColumn(column) ? FRows->Double(column) : 0;
}

std::int32_t TVEXAMLSQLTableDataProvider::GetValueAsInt32(std::int32_t column) noexcept {
    return IsColumn(column) ? FRows->Integer(column) : 0;
}

std::int64_t TVEXAMLSQLTableDataProvider::GetValueAsInt64(std::int32_t column) noexcept {
    return IsColumn(column) ? FRows->Integer64(column) : 0;
}

const char16_t* TVEXAMLSQLTableDataProvider::GetValueAsString(std::int32_t column, std::int32_t* length) noexcept {
    const char16_t* result = nullptr;
    if (!AreGiven(length)) return result;
    *length = 0;
    GuardedCall("reading a row", [&] {
        if (!IsColumn(column)) return;
        FTexts.resize(static_cast<std::size_t>(FRows->ColumnCount()));
        QString& text = FTexts[static_cast<std::size_t>(column)];
        text = FRows->Text(column);
        *length = static_cast<std::int32_t>(text.size());
        result = reinterpret_cast<const char16_t*>(text.utf16());
    });
    return result;
}

Bool32 TVEXAMLSQLTableDataProvider::NextRow() noexcept {
    bool hasRow = false;
    GuardedCall("reading rows", [&] { hasRow = FRows && FRows->Next(); });
    if (hasRow) return kTrue;
    // At their end the rows must not be read any more, and another step would start the statement again.
    FRows.reset();
    FReader.reset();
    return kFalse;
}

}  // namespace vexa
