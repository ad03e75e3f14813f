#include "Filters.h"

#include <algorithm>

namespace vexa::host {

namespace {

constexpr PropertyRule kFieldFilterRules[] = {
    {IVEXAMLFieldFilter::Field},
    {IVEXAMLFieldFilter::Operation},
    {IVEXAMLFieldFilter::Value1},
    {IVEXAMLFieldFilter::Value2},
};
constexpr PropertyRule kArrayFieldFilterRules[] = {{IVEXAMLArrayFieldFilter::Field}};
constexpr PropertyRule kGroupFilterRules[] = {{IVEXAMLGroupFilter::Operation}};
constexpr PropertyRule kDataFilterRules[] = {
    {IVEXAMLGroupFilter::Operation}, {IVEXAMLDataFilter::Limit},
    {IVEXAMLDataFilter::Offset},     {IVEXAMLDataFilter::SortList, &IVEXAObjectList::IID},
    {IVEXAMLDataFilter::SearchText}, {IVEXAMLDataFilter::ErrorInfo, &IVEXAErrorInfo::IID},
};
constexpr PropertyRule kDataFieldRules[] = {
    {IVEXAMLDataField::Name},
    {IVEXAMLDataField::Type},
    {IVEXAMLDataField::FlagBits},
    {IVEXAMLDataField::GroupingImage},
    {IVEXAMLDataField::DisplayValue, &IVEXAMLDataFieldDisplayValue::IID},
    {IVEXAMLDataField::Role},
    {IVEXAMLDataField::UntouchedValue},
    {IVEXAMLDataField::DoneValue},
};

/// A copy with a string object of its own, so that a caller who changes the string afterwards does not change the
/// condition.
Variant OwnCopy(const Variant& value) {
    Variant copy = value;
    if (copy.Type == VariantType::Text) copy.Text = MakeString(ToQString(value.Text.Get()));
    return copy;
}

}  // namespace

FieldFilter::FieldFilter() : PropertyList(kFieldFilterRules) {
    Set(Operation, std::int32_t{Equals});
}

ArrayFieldFilter::ArrayFieldFilter() : PropertyList(kArrayFieldFilterRules) {}

HResult ArrayFieldFilter::GetData(Variant* values, std::int32_t* count) noexcept {
    if (!count) return E_POINTER;
    const auto all = static_cast<std::int32_t>(FValues.size());
    if (values)
        *count = static_cast<std::int32_t>(
            std::copy_n(FValues.begin(), std::clamp(*count, std::int32_t{0}, all), values) - values);
    else
        *count = all;
    return S_OK;
}

HResult ArrayFieldFilter::SetData(const Variant* values, std::int32_t count) noexcept {
    if (count < 0) return E_INVALIDARG;
    if (!values && count > 0) return E_POINTER;
    return Guarded("setting a condition's values", [&] {
        std::vector<Variant> copies;
        copies.reserve(static_cast<std::size_t>(count));
        std::transform(values, values + count, std::back_inserter(copies), OwnCopy);
        FValues.swap(copies);
        return S_OK;
    });
}

HResult FilterChildren::Add(IVEXAString* field, const Variant* value1, const Variant* value2, std::int32_t operation,
                            IVEXAMLFieldFilter** condition) noexcept {
    if (condition) *condition = nullptr;
    if (operation < IVEXAMLFieldFilter::Equals || operation > IVEXAMLFieldFilter::EndsWith) return E_INVALIDARG;
    return Guarded("adding a condition", [&] {
        Ref<FieldFilter> made(new FieldFilter);
        made->SetValueAsObject(IVEXAMLFieldFilter::Field, field);
        made->SetValueAsInt32(IVEXAMLFieldFilter::Operation, operation);
        if (value1) made->SetValueAsVariant(IVEXAMLFieldFilter::Value1, value1);
        if (value2) made->SetValueAsVariant(IVEXAMLFieldFilter::Value2, value2);
        Ref<IVEXAMLFieldFilter> item(made);
        FItems.emplace_back(item);
        if (condition) *condition = item.Detach();
        return S_OK;
    });
}

HResult FilterChildren::AddArray(IVEXAString* field, const Variant* values, std::int32_t count,
                                 IVEXAMLArrayFieldFilter** condition) noexcept {
    if (condition) *condition = nullptr;
    return Guarded("adding a condition", [&] {
        Ref<IVEXAMLArrayFieldFilter> item(new ArrayFieldFilter);
        item->SetValueAsObject(IVEXAMLArrayFieldFilter::Field, field);
        if (const HResult result = item->SetData(values, count); Failed(result)) return result;
        FItems.emplace_back(item);
        if (condition) *condition = item.Detach();
        return S_OK;
    });
}

HResult FilterChildren::AddGroup(IVEXAMLGroupFilter** group) noexcept {
    if (!group) return E_POINTER;
    *group = nullptr;
    return Guarded("adding a group of conditions", [&] {
        Ref<IVEXAMLGroupFilter> item(new GroupFilter);
        FItems.emplace_back(item);
        *group = item.Detach();
        return S_OK;
    });
}

HResult FilterChildren::Clear() noexcept {
    FItems.clear();
    return S_OK;
}

HResult FilterChildren::Delete(std::int32_t index) noexcept {
    if (!Has(index)) return E_INVALIDARG;
    FItems.erase(FItems.begin() + index);
    return S_OK;
}

HResult FilterChildren::Get(std::int32_t index, const Guid& iid, void** child) const noexcept {
    if (!child) return E_POINTER;
    *child = nullptr;
    if (!Has(index)) return E_INVALIDARG;
    return FItems[static_cast<std::size_t>(index)]->QueryInterface(iid, child);
}

GroupFilter::GroupFilter() : GroupFilterBase(kGroupFilterRules) {
    Set(Operation, std::int32_t{Or});
}

DataFilter::DataFilter() : GroupFilterBase(kDataFilterRules) {
    SetDefaults();
}

void DataFilter::SetDefaults() {
    Set(IVEXAMLGroupFilter::Operation, std::int32_t{Or});
    Set(Limit, std::int32_t{0});
    Set(Offset, std::int32_t{0});
    Set(SearchText, QString(QLatin1String("")));
}

HResult DataFilter::Reset() noexcept {
    return Guarded("resetting a filter", [this] {
        BeginUpdate();
        Clear();
        ClearAll();
        SetDefaults();
        EndUpdate();
        return S_OK;
    });
}

HResult SortItem::GetValue(std::int32_t* direction) noexcept {
    if (!direction) return E_POINTER;
    *direction = FDirection;
    return S_OK;
}

HResult SortItem::SetValue(std::int32_t direction) noexcept {
    if (direction != Ascending && direction != Descending) return E_INVALIDARG;
    FDirection = direction;
    return S_OK;
}

DataField::DataField() : PropertyList(kDataFieldRules) {}

}  // namespace vexa::host
