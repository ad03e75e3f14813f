#include "FilterJson.h"

#include "Filters.h"
#include "ObjectList.h"
#include "Properties.h"

#include <QJsonArray>

namespace vexa::host {

namespace {

// Groups nested deeper than any storage could answer are refused, so that they cannot exhaust the stack.
constexpr int kMaxDepth = 64;

const QString kChildren = QStringLiteral("children"), kDirection = QStringLiteral("direction"),
              kField = QStringLiteral("field"), kInt32 = QStringLiteral("int32"), kInt64 = QStringLiteral("int64"),
              kLimit = QStringLiteral("limit"), kOffset = QStringLiteral("offset"),
              kOperation = QStringLiteral("operation"), kSearch = QStringLiteral("search"),
              kSort = QStringLiteral("sort"), kValue = QStringLiteral("value"), kValue2 = QStringLiteral("value2"),
              kValues = QStringLiteral("values");

QJsonValue ToJson(const Variant& value) {
    switch (value.Type) {
        case VariantType::Int32:
            return QJsonObject{{kInt32, static_cast<qint64>(value.Integer)}};
        case VariantType::Int64:
            return QJsonObject{{kInt64, QString::number(value.Integer)}};  // JSON numbers would round it
        case VariantType::Float:
            return value.Float;
        case VariantType::Text:
            return ToQString(value.Text.Get());
        case VariantType::Empty:
            break;
    }
    return QJsonValue::Null;
}

/// Nothing when `json` is not a value as ToJson writes them.
std::optional<Variant> FromJson(const QJsonValue& json) {
    if (json.isString()) return ToVariant(json.toString());
    if (json.isDouble()) return ToVariant(json.toDouble());
    if (json.isNull() || json.isUndefined()) return Variant();
    const QJsonObject number = json.toObject();
    if (number.contains(kInt32)) return ToVariant(static_cast<std::int32_t>(number[kInt32].toInt()));
    bool isNumber = false;
    const qint64 wide = number[kInt64].toString().toLongLong(&isNumber);
    return isNumber ? std::optional(ToVariant(static_cast<std::int64_t>(wide))) : std::nullopt;
}

QJsonValue ValueOf(IVEXAMLFieldFilter& condition, std::int32_t property) {
    Variant value;
    if (const auto values = Query<IVEXAPropertyList2>(&condition);
        values && Succeeded(values->GetValueAsVariant(property, &value)))
        return ToJson(value);
    return QJsonValue::Null;
}

QJsonObject ToJson(IVEXAMLFieldFilter& condition) {
    QJsonObject json{{kField, TextOf(&condition, IVEXAMLFieldFilter::Field)},
                     {kOperation, NumberOf(&condition, IVEXAMLFieldFilter::Operation)},
                     {kValue, ValueOf(condition, IVEXAMLFieldFilter::Value1)}};
    if (const QJsonValue second = ValueOf(condition, IVEXAMLFieldFilter::Value2); !second.isNull())
        json.insert(kValue2, second);
    return json;
}

QJsonObject ToJson(IVEXAMLArrayFieldFilter& condition) {
    std::int32_t count = 0;
    condition.GetData(nullptr, &count);
    std::vector<Variant> values(static_cast<std::size_t>(std::max(count, 0)));
    condition.GetData(values.data(), &count);
    QJsonArray list;
    for (const Variant& value : values) list += ToJson(value);
    return {{kField, TextOf(&condition, IVEXAMLArrayFieldFilter::Field)}, {kValues, list}};
}

QJsonObject ToJson(IVEXAMLGroupFilter& group, int depth) {
    QJsonArray children;
    for (std::int32_t i = 0; i < group.GetChildCount(); ++i) {
        Ref<IVEXAMLFieldFilter> condition;
        Ref<IVEXAMLArrayFieldFilter> array;
        Ref<IVEXAMLGroupFilter> inner;
        if (Succeeded(group.GetChild(i, IVEXAMLFieldFilter::IID, condition.PutVoid())))
            children += ToJson(*condition);
        else if (Succeeded(group.GetChild(i, IVEXAMLArrayFieldFilter::IID, array.PutVoid())))
            children += ToJson(*array);
        else if (depth < kMaxDepth && Succeeded(group.GetChild(i, IVEXAMLGroupFilter::IID, inner.PutVoid())))
            children += ToJson(*inner, depth + 1);
    }
    return {{kOperation, NumberOf(&group, IVEXAMLGroupFilter::Operation)}, {kChildren, children}};
}

QJsonArray SortToJson(IVEXAMLDataFilter& filter) {
    QJsonArray list;
    Ref<IVEXAObjectList> sort;
    filter.GetValueAsObject(IVEXAMLDataFilter::SortList, IVEXAObjectList::IID, sort.PutVoid());
    for (std::int32_t i = 0; sort && i < sort->GetCount(); ++i) {
        Ref<IVEXAString> field;
        Ref<IVEXAMLSortDirection> direction;
        std::int32_t value = IVEXAMLSortDirection::Ascending;
        if (Failed(sort->GetObject(i, IVEXAString::IID, field.PutVoid()))) continue;
        if (Succeeded(sort->GetObject(i, IVEXAMLSortDirection::IID, direction.PutVoid()))) direction->GetValue(&value);
        list += QJsonObject{{kField, ToQString(field.Get())}, {kDirection, value}};
    }
    return list;
}

bool AddChild(const QJsonObject& child, IVEXAMLGroupFilter& group, int depth);

bool AddGroup(const QJsonObject& json, IVEXAMLGroupFilter& group, int depth) {
    bool isWhole = depth <= kMaxDepth;
    const int operation = json[kOperation].toInt(IVEXAMLGroupFilter::Or);
    isWhole = operation >= IVEXAMLGroupFilter::Or && operation <= IVEXAMLGroupFilter::NotAnd && isWhole;
    group.SetValueAsInt32(IVEXAMLGroupFilter::Operation, operation);
    if (depth <= kMaxDepth)
        for (const QJsonValue child : json[kChildren].toArray())
            isWhole = AddChild(child.toObject(), group, depth) && isWhole;
    return isWhole;
}

bool AddChild(const QJsonObject& child, IVEXAMLGroupFilter& group, int depth) {
    if (child.contains(kChildren)) {
        Ref<IVEXAMLGroupFilter> inner;
        return Succeeded(group.AddGroup(inner.Put())) && AddGroup(child, *inner, depth + 1);
    }
    const QString name = child[kField].toString();
    if (name.isEmpty()) return false;
    const Ref<IVEXAString> field = MakeString(name);
    if (child.contains(kValues)) {
        std::vector<Variant> values;
        for (const QJsonValue value : child[kValues].toArray()) {
            auto read = FromJson(value);
            if (!read) return false;
            values.push_back(*std::move(read));
        }
        return Succeeded(group.AddArray(field.Get(), values.data(), static_cast<std::int32_t>(values.size()), nullptr));
    }
    const auto value1 = FromJson(child[kValue]), value2 = FromJson(child[kValue2]);
    if (!value1 || !value2) return false;
    return Succeeded(group.Add(field.Get(), &*value1, child.contains(kValue2) ? &*value2 : nullptr,
                               child[kOperation].toInt(-1), nullptr));
}

void AddFieldsOf(const QJsonObject& json, int depth, QStringList& fields) {
    for (const QJsonValue value : json[kChildren].toArray()) {
        const QJsonObject child = value.toObject();
        if (const QString field = child[kField].toString(); !field.isEmpty() && !fields.contains(field))
            fields += field;
        if (depth < kMaxDepth) AddFieldsOf(child, depth + 1, fields);
    }
}

}  // namespace

QJsonObject FilterToJson(IVEXAMLGroupFilter& filter) {
    QJsonObject json = ToJson(filter, 0);
    const auto whole = Query<IVEXAMLDataFilter>(&filter);
    if (!whole) return json;
    if (const QString text = TextOf(whole.Get(), IVEXAMLDataFilter::SearchText); !text.isEmpty())
        json.insert(kSearch, text);
    if (const int limit = NumberOf(whole.Get(), IVEXAMLDataFilter::Limit)) json.insert(kLimit, limit);
    if (const int offset = NumberOf(whole.Get(), IVEXAMLDataFilter::Offset)) json.insert(kOffset, offset);
    if (const QJsonArray sort = SortToJson(*whole); !sort.isEmpty()) json.insert(kSort, sort);
    return json;
}

bool AddJsonToFilter(const QJsonObject& json, IVEXAMLGroupFilter& filter) {
    const bool isWhole = AddGroup(json, filter, 0);
    const auto whole = Query<IVEXAMLDataFilter>(&filter);
    if (!whole) return isWhole;
    if (json.contains(kSearch))
        whole->SetValueAsObject(IVEXAMLDataFilter::SearchText, MakeString(json[kSearch].toString()).Get());
    whole->SetValueAsInt32(IVEXAMLDataFilter::Limit, std::max(json[kLimit].toInt(), 0));
    whole->SetValueAsInt32(IVEXAMLDataFilter::Offset, std::max(json[kOffset].toInt(), 0));
    const Ref<IVEXAObjectList> sort(new ObjectList);
    for (const QJsonValue value : json[kSort].toArray()) {
        const bool isDown = value[kDirection].toInt() == IVEXAMLSortDirection::Descending;
        const auto direction = isDown ? IVEXAMLSortDirection::Descending : IVEXAMLSortDirection::Ascending;
        sort->Add(Ref<IVEXAString>(new SortItem(value[kField].toString(), direction)).Get());
    }
    if (sort->GetCount() > 0) whole->SetValueAsObject(IVEXAMLDataFilter::SortList, sort.Get());
    return isWhole;
}

QStringList FieldsOfFilter(const QJsonObject& json) {
    QStringList fields;
    AddFieldsOf(json, 0, fields);
    return fields;
}

}  // namespace vexa::host
