#pragma once
// The music library's data: the fields of a storage, the filters by which rows are asked for, and the rows.

#include "VEXA.SDK.Objects.h"

namespace vexa {

// ---- Fields ----

/// Shows a field's value where the value itself says little to a person.
struct IVEXAMLDataFieldDisplayValue : IUnknown {
    static constexpr Guid IID = ParseGuid("{5BAB0889-60A8-49C8-AE10-CAA6D8AB308B}");

    /// 3: The characters, `*length` of them, valid until the next call or the object's end. Null when it fails.
    virtual const char16_t* GetDisplayValue(const Variant* value, std::int32_t* length) noexcept = 0;

protected:
    ~IVEXAMLDataFieldDisplayValue() = default;
};

/// A column of a storage. Core creates an empty one. Its caption comes from the language file, by its name.
struct IVEXAMLDataField : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{38827400-0EAF-4734-9397-EC3198550DAA}");

    enum Property : std::int32_t {
        Name = 1,           // text
        Type = 2,           // FieldType
        FlagBits = 3,       // Flags
        GroupingImage = 4,  // index of the icon for tree nodes of this field, see NodeImage
        DisplayValue = 5,   // IVEXAMLDataFieldDisplayValue
        Role = 6,           // Roles; None where it is not set
    };
    enum FieldType : std::int32_t {
        FileName = 0,
        Text = 4,
        DateTime = 10,  // OLE Automation date in UTC
        Duration = 11,  // seconds
    };
    /// What a field is to its row. A host goes by the role where it treats a field in a way of its own, never by the
    /// name. A role has one field; of several, the first that rows have counts. A storage may set none: then all its
    /// fields are plain columns. Numbers that a host does not know are None to it.
    enum Roles : std::int32_t {
        None = 0,
        Title = 1,      // what the row is called
        Container = 2,  // what the row is a part of, such as an album or a series
        Performer = 3,  // who is heard
        Date = 4,       // a DateTime: when it came out
        Length = 5,     // a Duration: how long it plays
        State = 6,      // what the user has done with the row, or has marked it as
        LocalFile = 7,  // the name of its copy on this machine; empty while there is none
    };
    enum Flags : std::int32_t {
        Filterable = 1,  // users may set conditions on it, search it and group by it
        Readable = 2,    // rows have it
        Internal = 4,    // not offered to the user as a column
    };

protected:
    ~IVEXAMLDataField() = default;
};

/// For which purpose fields or grouping presets are asked.
enum LibrarySchema : std::int32_t {
    kSchemaAllFields = 0,       // IVEXAMLDataField objects; as for the presets: none
    kSchemaTree = 1,            // grouping presets of the library's tree
    kSchemaPlaylistGroups = 2,  // names: what playlist entries are grouped by
    kSchemaTableGroups = 3,     // names: what table rows are grouped by
    kSchemaTable = 10,          // names: the table's columns at first
    kSchemaTableAlbums = 11,    // names: the columns when grouped with pictures
    kSchemaSearch = 12,         // names: what the search field searches
};

// ---- Filters ----

/// One condition: a field against one value, or two.
struct IVEXAMLFieldFilter : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{455D6408-6926-4E0C-BCCF-1854B8511EDB}");

    enum Property : std::int32_t {
        Field = 1,      // text
        Operation = 2,  // Operations
        Value1 = 3,
        Value2 = 4,  // for Between
    };
    enum Operations : std::int32_t {
        Equals = 0,  // texts regardless of ASCII letter case, as in NotEquals
        NotEquals = 1,
        Between = 2,  // both ends included
        Less = 3,
        LessOrEqual = 4,
        Greater = 5,
        GreaterOrEqual = 6,
        Contains = 7,  // regardless of letter case, as in the next two; "%" and "_" are wildcards
        BeginsWith = 8,
        EndsWith = 9,
    };

protected:
    ~IVEXAMLFieldFilter() = default;
};

/// One condition: a field against a list of values, of which one must be equal.
struct IVEXAMLArrayFieldFilter : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{451E1C9D-E06D-409F-B4C8-46E575509391}");

    enum Property : std::int32_t {
        Field = 1,  // text
    };

    /// 14: With `values` null, sets `*count` to the number of values. Else fills up to `*count` of them and sets it to
    /// the number filled.
    virtual HResult GetData(Variant* values, std::int32_t* count) noexcept = 0;
    /// 15
    virtual HResult SetData(const Variant* values, std::int32_t count) noexcept = 0;

protected:
    ~IVEXAMLArrayFieldFilter() = default;
};

/// Conditions and groups of conditions, joined.
struct IVEXAMLGroupFilter : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{9ABE1B6B-2237-490E-BA75-D27472FB7AE7}");

    enum Property : std::int32_t {
        Operation = 1,  // Operations
    };
    enum Operations : std::int32_t { Or = 0, And = 1, NotOr = 2, NotAnd = 3 };

    /// 14: A new condition at the end. `value2` may be null; `condition` may be null.
    virtual HResult Add(IVEXAString* field, const Variant* value1, const Variant* value2, std::int32_t operation,
                        IVEXAMLFieldFilter** condition) noexcept = 0;
    /// 15: A new array condition at the end.
    virtual HResult AddArray(IVEXAString* field, const Variant* values, std::int32_t count,
                             IVEXAMLArrayFieldFilter** condition) noexcept = 0;
    /// 16: A new, empty group at the end.
    virtual HResult AddGroup(IVEXAMLGroupFilter** group) noexcept = 0;
    /// 17
    virtual HResult Clear() noexcept = 0;
    /// 18
    virtual HResult Delete(std::int32_t index) noexcept = 0;
    /// 19
    virtual std::int32_t GetChildCount() noexcept = 0;
    /// 20: As IUnknown, or as what it is: IVEXAMLGroupFilter, IVEXAMLFieldFilter or IVEXAMLArrayFieldFilter;
    /// E_NOINTERFACE when it is another.
    virtual HResult GetChild(std::int32_t index, const Guid& iid, void** child) noexcept = 0;

protected:
    ~IVEXAMLGroupFilter() = default;
};

/// A whole request: the top group with search text, order and range. Core creates an empty one, which means all rows.
struct IVEXAMLDataFilter : IVEXAMLGroupFilter {
    using Base = IVEXAMLGroupFilter;
    static constexpr Guid IID = ParseGuid("{1ACF6410-3380-40D9-A421-59866297938F}");

    enum Property : std::int32_t {
        Limit = 11,       // rows wanted; 0: all
        Offset = 12,      // rows skipped; counts only with Limit
        SortList = 15,    // IVEXAObjectList of sort items
        SearchText = 20,  // text
        ErrorInfo = 30,   // IVEXAErrorInfo, or none: the storage fills it when it cannot answer, for the user to read
    };

protected:
    ~IVEXAMLDataFilter() = default;
};

/// The direction of a sort item: an object that is also an IVEXAString, the field's name.
struct IVEXAMLSortDirection : IUnknown {
    static constexpr Guid IID = ParseGuid("{71E98A47-9DC8-4D38-90FA-A985F07B0350}");

    enum Direction : std::int32_t { Ascending = 1, Descending = 2 };

    /// 3
    virtual HResult GetValue(std::int32_t* direction) noexcept = 0;
    /// 4
    virtual HResult SetValue(std::int32_t direction) noexcept = 0;

protected:
    ~IVEXAMLSortDirection() = default;
};

// ---- Rows ----

/// Rows, on one of which it stands; on the first one at first. Columns count from 0 in the order of the fields asked
/// for (fields that rows do not have are left out; rows may be asked for none). One thread at a time.
struct IVEXAMLDataProviderSelection : IUnknown {
    static constexpr Guid IID = ParseGuid("{42C14F05-46F4-4B5B-AF9A-66459E4B5054}");

    /// 3
    virtual double GetValueAsFloat(std::int32_t column) noexcept = 0;
    /// 4
    virtual std::int32_t GetValueAsInt32(std::int32_t column) noexcept = 0;
    /// 5
    virtual std::int64_t GetValueAsInt64(std::int32_t column) noexcept = 0;
    /// 6: Valid until the next row or the object's end.
    virtual const char16_t* GetValueAsString(std::int32_t column, std::int32_t* length) noexcept = 0;
    /// 7: kFalse at the end, where it stays; values read there are 0 and null.
    virtual Bool32 NextRow() noexcept = 0;

protected:
    ~IVEXAMLDataProviderSelection() = default;
};

/// Gives rows. Any thread.
struct IVEXAMLDataProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{915D2F5F-5173-4EA8-AB85-F3C2B023CEA2}");

    /// 3: `fields` holds names as IVEXAString. `data` offers IVEXAMLDataProviderSelection unless there is no row.
    /// E_INVALIDARG for a filter that can be none, such as one with a name that is no field's, another failure when it
    /// cannot be answered; then the filter's ErrorInfo, if it has one, says why.
    virtual HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept = 0;

protected:
    ~IVEXAMLDataProvider() = default;
};

}  // namespace vexa
