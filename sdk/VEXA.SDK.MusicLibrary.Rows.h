#pragma once
// The music library's data: the fields of a storage, the filters that select rows, and the rows.

#include "VEXA.SDK.Objects.h"

namespace vexa {

// ---- Fields ----

/// Turns a field's value into a text for the user, where the raw value means little to a person.
struct IVEXAMLDataFieldDisplayValue : IUnknown {
    static constexpr Guid IID = ParseGuid("{5BAB0889-60A8-49C8-AE10-CAA6D8AB308B}");

    /// 3: `*length` characters, valid until the next call or the object's end. Null on failure.
    virtual const char16_t* GetDisplayValue(const Variant* value, std::int32_t* length) noexcept = 0;

protected:
    ~IVEXAMLDataFieldDisplayValue() = default;
};

/// A column of a storage. Core creates an empty one. The field's caption comes from the language file, by its name.
struct IVEXAMLDataField : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{38827400-0EAF-4734-9397-EC3198550DAA}");

    enum Property : std::int32_t {
        Name = 1,            // text
        Type = 2,            // FieldType
        FlagBits = 3,        // Flags
        GroupingImage = 4,   // index of the icon for tree nodes of this field, see NodeImage
        DisplayValue = 5,    // IVEXAMLDataFieldDisplayValue
        Role = 6,            // Roles; initially None
        UntouchedValue = 7,  // text; of a field with the role State: its value in rows that the user has not turned to
        DoneValue = 8,       // text; of a field with the role State: its value in rows that the user is done with
    };
    enum FieldType : std::int32_t {
        FileName = 0,
        Text = 4,
        DateTime = 10,  // OLE Automation date in UTC
        Duration = 11,  // seconds
    };
    /// What a field means to its row. A host that treats a field in a special way decides by the role, never by the
    /// name. If several fields have one role, the first readable field counts. A storage may set no roles: then all its
    /// fields are plain columns. A host treats numbers that it does not know as None.
    enum Roles : std::int32_t {
        None = 0,
        Title = 1,      // what the row is called
        Container = 2,  // what the row is a part of, such as an album or a series
        Performer = 3,  // who is heard
        Date = 4,       // a DateTime: when the row was published
        Length = 5,     // a Duration: the playing time
        State = 6,      // what the user has done with the row, or has marked it as
        LocalFile = 7,  // the name of the row's copy on this machine; empty while there is none
    };
    enum Flags : std::int32_t {
        Filterable = 1,  // users may set conditions on the field, search it and group by it
        Readable = 2,    // rows have a value for the field
        Internal = 4,    // the field is not offered to the user as a column
    };

protected:
    ~IVEXAMLDataField() = default;
};

/// The purpose for which a storage is asked for fields or grouping presets.
enum LibrarySchema : std::int32_t {
    kSchemaAllFields = 0,       // IVEXAMLDataField objects; no grouping presets
    kSchemaTree = 1,            // grouping presets of the library's tree
    kSchemaPlaylistGroups = 2,  // names: what playlist entries are grouped by
    kSchemaTableGroups = 3,     // names: what table rows are grouped by
    kSchemaTable = 10,          // names: the table's initial columns
    kSchemaTableAlbums = 11,    // names: the columns when the table is grouped with pictures
    kSchemaSearch = 12,         // names: what the search field searches
};

// ---- Filters ----

/// One condition: compares a field with one value, or with two.
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
        Equals = 0,  // texts: ignores ASCII letter case, as NotEquals does
        NotEquals = 1,
        Between = 2,  // includes both values
        Less = 3,
        LessOrEqual = 4,
        Greater = 5,
        GreaterOrEqual = 6,
        Contains = 7,  // ignores letter case, as the next two do; "%" and "_" are wildcards
        BeginsWith = 8,
        EndsWith = 9,
    };

protected:
    ~IVEXAMLFieldFilter() = default;
};

/// One condition: the field equals one of a list of values.
struct IVEXAMLArrayFieldFilter : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{451E1C9D-E06D-409F-B4C8-46E575509391}");

    enum Property : std::int32_t {
        Field = 1,  // text
    };

    /// 14: With `values` null, sets `*count` to the number of values. Otherwise copies at most `*count` values to
    /// `values` and sets `*count` to the number copied.
    virtual HResult GetData(Variant* values, std::int32_t* count) noexcept = 0;
    /// 15
    virtual HResult SetData(const Variant* values, std::int32_t count) noexcept = 0;

protected:
    ~IVEXAMLArrayFieldFilter() = default;
};

/// Conditions and groups of conditions, joined by one operation.
struct IVEXAMLGroupFilter : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{9ABE1B6B-2237-490E-BA75-D27472FB7AE7}");

    enum Property : std::int32_t {
        Operation = 1,  // Operations
    };
    enum Operations : std::int32_t { Or = 0, And = 1, NotOr = 2, NotAnd = 3 };

    /// 14: Appends a new condition. `value2` may be null; `condition` may be null.
    virtual HResult Add(IVEXAString* field, const Variant* value1, const Variant* value2, std::int32_t operation,
                        IVEXAMLFieldFilter** condition) noexcept = 0;
    /// 15: Appends a new array condition.
    virtual HResult AddArray(IVEXAString* field, const Variant* values, std::int32_t count,
                             IVEXAMLArrayFieldFilter** condition) noexcept = 0;
    /// 16: Appends a new, empty group.
    virtual HResult AddGroup(IVEXAMLGroupFilter** group) noexcept = 0;
    /// 17
    virtual HResult Clear() noexcept = 0;
    /// 18
    virtual HResult Delete(std::int32_t index) noexcept = 0;
    /// 19
    virtual std::int32_t GetChildCount() noexcept = 0;
    /// 20: The child as IUnknown, or as IVEXAMLGroupFilter, IVEXAMLFieldFilter or IVEXAMLArrayFieldFilter, whichever it
    /// is; E_NOINTERFACE for one of the others.
    virtual HResult GetChild(std::int32_t index, const Guid& iid, void** child) noexcept = 0;

protected:
    ~IVEXAMLGroupFilter() = default;
};

/// A whole request for rows: the top group of conditions, with search text, order and range. Core creates an empty one,
/// which selects all rows.
struct IVEXAMLDataFilter : IVEXAMLGroupFilter {
    using Base = IVEXAMLGroupFilter;
    static constexpr Guid IID = ParseGuid("{1ACF6410-3380-40D9-A421-59866297938F}");

    enum Property : std::int32_t {
        Limit = 11,       // number of rows to return; 0: all
        Offset = 12,      // number of rows to skip; ignored without Limit
        SortList = 15,    // IVEXAObjectList of sort items
        SearchText = 20,  // text
        ErrorInfo = 30,   // IVEXAErrorInfo or nothing: on failure the storage puts a message for the user into it
    };

protected:
    ~IVEXAMLDataFilter() = default;
};

/// The direction of a sort item. A sort item also offers IVEXAString, which holds the field's name.
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

/// A cursor over rows, initially on the first one. Columns count from 0 in the order of the fields asked for; fields
/// that rows do not have are left out. A request may ask for no fields at all. One thread at a time.
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
    /// 7: kFalse at the end, where the cursor stays; values read there are 0 and null.
    virtual Bool32 NextRow() noexcept = 0;

protected:
    ~IVEXAMLDataProviderSelection() = default;
};

/// Gives rows. Any thread.
struct IVEXAMLDataProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{915D2F5F-5173-4EA8-AB85-F3C2B023CEA2}");

    /// 3: `fields` holds names as IVEXAString. `data` offers IVEXAMLDataProviderSelection unless there is no row.
    /// E_INVALIDARG for an invalid filter, such as one with an unknown field name; another failure code when the
    /// request cannot be answered, in which case the filter's ErrorInfo, if it has one, gives the reason.
    virtual HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept = 0;

protected:
    ~IVEXAMLDataProvider() = default;
};

}  // namespace vexa
