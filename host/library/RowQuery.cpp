#include "RowQuery.h"

#include "FilterJson.h"
#include "Filters.h"
#include "ObjectList.h"
#include "Tree.h"

#include <QJsonArray>

#include <algorithm>

namespace vexa::host {

namespace {

/// Throws LibraryError for an unlisted field: a storage must not be given a name that it does not know, because it
/// might use the name as it stands.
const LibraryField& RequireField(const LibraryStorage& storage, const QString& name) {
    const LibraryField* field = storage.Field(name);
    if (!field) throw LibraryError(QString(u"the storage has no field \"" + name + u'"'));
    return *field;
}

const LibraryField& OfRows(const LibraryStorage& storage, const QString& name) {
    const LibraryField& field = RequireField(storage, name);
    if (!field.HasRows()) throw LibraryError(QString(u"rows have no field \"" + name + u'"'));
    return field;
}

void AddCondition(IVEXAMLGroupFilter& group, const RowCondition& condition) {
    const Ref<IVEXAString> field = MakeString(condition.Field);
    if (!condition.OneOf.empty()) {
        std::vector<Variant> values(condition.OneOf.size());
        std::transform(condition.OneOf.begin(), condition.OneOf.end(), values.begin(), ToVariant);
        group.AddArray(field.Get(), values.data(), static_cast<std::int32_t>(values.size()), nullptr);
        return;
    }
    const Variant value1 = ToVariant(condition.Value1), value2 = ToVariant(condition.Value2);
    group.Add(field.Get(), &value1, condition.Operation == IVEXAMLFieldFilter::Between ? &value2 : nullptr,
              condition.Operation, nullptr);
}

Ref<IVEXAObjectList> SortList(const LibraryStorage& storage, const RowQuery& query) {
    const Ref<IVEXAObjectList> list(new ObjectList);
    const auto add = [&](const RowOrder& order) {
        list->Add(Ref<IVEXAString>(new SortItem(order.Field, order.Direction)).Get());
    };
    for (const RowOrder& order : query.Sort) add({OfRows(storage, order.Field).Name, order.Direction});
    return list;
}

/// Conditions that are joined by And, as those of the request are, are added without a group of their own, because
/// storages limit the depth of groups.
void AddWithin(const LibraryStorage& storage, const QJsonObject& json, IVEXAMLDataFilter& filter) {
    for (const QString& field : FieldsOfFilter(json)) RequireField(storage, field);
    const qsizetype count = json[QLatin1String("children")].toArray().size();
    const int operation = json[QLatin1String("operation")].toInt();
    if (count == 0) return;
    const bool isPlain = operation == IVEXAMLGroupFilter::And || (operation == IVEXAMLGroupFilter::Or && count == 1);
    QJsonObject conditions = json;
    for (const char* more : {"search", "sort", "limit", "offset"}) conditions.remove(QLatin1String(more));
    Ref<IVEXAMLGroupFilter> group(&filter);
    if (!isPlain && Failed(filter.AddGroup(group.Put()))) throw LibraryError(QStringLiteral("out of memory"));
    if (!AddJsonToFilter(conditions, *group))
        throw LibraryError(QStringLiteral("the filter holds what is no condition"));
    if (isPlain) filter.SetValueAsInt32(IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
}

}  // namespace

Ref<IVEXAMLDataFilter> BuildFilter(const LibraryStorage& storage, const RowQuery& query) {
    const Ref<IVEXAMLDataFilter> filter(new DataFilter);
    filter->SetValueAsInt32(IVEXAMLGroupFilter::Operation, IVEXAMLGroupFilter::And);
    if (query.Tree && !query.Node.empty()) Tree(query.Tree).AddConditions(query.Node, filter.Get());
    for (const RowCondition& condition : query.Where) {
        RequireField(storage, condition.Field);
        AddCondition(*filter, condition);
    }
    AddWithin(storage, query.Within, *filter);
    if (!query.Search.isEmpty())
        filter->SetValueAsObject(IVEXAMLDataFilter::SearchText, MakeString(query.Search).Get());
    if (!query.Sort.empty()) filter->SetValueAsObject(IVEXAMLDataFilter::SortList, SortList(storage, query).Get());
    filter->SetValueAsInt32(IVEXAMLDataFilter::Offset, std::max(query.Offset, 0));
    filter->SetValueAsInt32(IVEXAMLDataFilter::Limit, std::max(query.Limit, 0));
    return filter;
}

std::vector<const LibraryField*> Columns(const LibraryStorage& storage, const RowQuery& query) {
    std::vector<const LibraryField*> columns;
    for (const QString& name : query.Fields) columns.push_back(&OfRows(storage, name));
    if (columns.empty()) throw LibraryError(QStringLiteral("no field was asked for"));
    return columns;
}

}  // namespace vexa::host
