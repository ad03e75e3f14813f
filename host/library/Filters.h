#pragma once
// The host's filters: conditions, groups of conditions, whole requests, and the items of a request's sort order. One
// thread at a time, as every property list; a filter may be built on one thread and handed to another.

#include "PropertyList.h"
#include "VEXA.SDK.MusicLibrary.Rows.h"

#include <vector>

namespace vexa::host {

class FieldFilter final : public PropertyList<IVEXAMLFieldFilter> {
public:
    /// The operation is Equals, everything else empty.
    FieldFilter();
};

class ArrayFieldFilter final : public PropertyList<IVEXAMLArrayFieldFilter> {
public:
    ArrayFieldFilter();

    HResult GetData(Variant* values, std::int32_t* count) noexcept override;
    HResult SetData(const Variant* values, std::int32_t count) noexcept override;

private:
    std::vector<Variant> FValues;
};

/// The conditions and groups of a filter, in order: the common part of a group filter and a whole request.
class FilterChildren {
public:
    HResult Add(IVEXAString* field, const Variant* value1, const Variant* value2, std::int32_t operation,
                IVEXAMLFieldFilter** condition) noexcept;
    HResult AddArray(IVEXAString* field, const Variant* values, std::int32_t count,
                     IVEXAMLArrayFieldFilter** condition) noexcept;
    HResult AddGroup(IVEXAMLGroupFilter** group) noexcept;
    HResult Clear() noexcept;
    HResult Delete(std::int32_t index) noexcept;
    std::int32_t Count() const noexcept { return static_cast<std::int32_t>(FItems.size()); }
    HResult Get(std::int32_t index, const Guid& iid, void** child) const noexcept;

private:
    bool Has(std::int32_t index) const noexcept {
        return index >= 0 && static_cast<std::size_t>(index) < FItems.size();
    }

    std::vector<Ref<IUnknown>> FItems;
};

/// Implements IVEXAMLGroupFilter for `Interface`, which is that interface or extends it.
template <class Interface>
class GroupFilterBase : public PropertyList<Interface> {
public:
    using PropertyList<Interface>::PropertyList;

    HResult Add(IVEXAString* field, const Variant* value1, const Variant* value2, std::int32_t operation,
                IVEXAMLFieldFilter** condition) noexcept override {
        return FChildren.Add(field, value1, value2, operation, condition);
    }
    HResult AddArray(IVEXAString* field, const Variant* values, std::int32_t count,
                     IVEXAMLArrayFieldFilter** condition) noexcept override {
        return FChildren.AddArray(field, values, count, condition);
    }
    HResult AddGroup(IVEXAMLGroupFilter** group) noexcept override { return FChildren.AddGroup(group); }
    HResult Clear() noexcept override { return FChildren.Clear(); }
    HResult Delete(std::int32_t index) noexcept override { return FChildren.Delete(index); }
    std::int32_t GetChildCount() noexcept override { return FChildren.Count(); }
    HResult GetChild(std::int32_t index, const Guid& iid, void** child) noexcept override {
        return FChildren.Get(index, iid, child);
    }

private:
    FilterChildren FChildren;
};

class GroupFilter final : public GroupFilterBase<IVEXAMLGroupFilter> {
public:
    /// The operation is Or; there are no conditions.
    GroupFilter();
};

class DataFilter final : public GroupFilterBase<IVEXAMLDataFilter> {
public:
    /// Selects all rows, in no particular order.
    DataFilter();

    HResult Reset() noexcept override;

private:
    void SetDefaults();
};

/// The name of a field with a sort direction.
class SortItem final : public RefCountedObject<IVEXAString, IVEXAMLSortDirection> {
public:
    SortItem(const QString& field, IVEXAMLSortDirection::Direction direction)
        : FField(MakeString(field)), FDirection(direction) {}

    std::int32_t GetChars(char16_t* buffer, std::int32_t capacity) noexcept override {
        return FField->GetChars(buffer, capacity);
    }
    HResult SetChars(const char16_t* chars, std::int32_t length) noexcept override {
        return FField->SetChars(chars, length);
    }
    HResult GetValue(std::int32_t* direction) noexcept override;
    /// E_INVALIDARG when `direction` is not a Direction.
    HResult SetValue(std::int32_t direction) noexcept override;

private:
    Ref<IVEXAString> FField;
    std::int32_t FDirection;
};

/// A column of a storage.
class DataField final : public PropertyList<IVEXAMLDataField> {
public:
    DataField();
};

}  // namespace vexa::host
