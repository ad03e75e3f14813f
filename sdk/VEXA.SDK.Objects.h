#pragma once
// The plain objects that cross between host and plug-in: strings, variants, lists, property lists, streams, events.
//
// Conventions of every interface of this SDK:
// - Operations are noexcept and numbered by their slot; 0 to 2 are those of IUnknown.
// - An out argument of an interface type is null on failure; on success it holds a reference that the caller owns
//   (Ref::Put takes it). An in argument is borrowed for the call; a callee that keeps it adds a reference (Ref does).
// - A null pointer where an operation needs an object or a place for a result is E_POINTER, unless its comment says
//   otherwise.
// - Texts are UTF-16 code units with their count, or IVEXAString. A null IVEXAString reads as the empty text.
// - Dates are OLE Automation dates in UTC: days since 1899-12-30 as a double. Durations are seconds.
// - An interface that extends an interface other than IUnknown names it as `Base`; objects answer queries for both.

#include "VEXA.SDK.Base.h"

namespace vexa {

/// A 32-bit Boolean; true has all bits set.
using Bool32 = std::int32_t;
inline constexpr Bool32 kTrue = -1;
inline constexpr Bool32 kFalse = 0;

/// The windowing system's number for a window (under X11 the window's XID, which Qt calls WId). 0 is no window. Host
/// and plug-in share one process and one toolkit, so a handle from either side can be looked up among the toolkit's own
/// windows.
using WindowHandle = std::uintptr_t;

/// A text owned by the host. Any thread may read it while another thread writes it: each call sees one whole text.
struct IVEXAString : IUnknown {
    static constexpr Guid IID = ParseGuid("{3734B7CA-47B7-4E9F-BA1C-43BDF4863C6E}");

    /// 3: Copies at most `capacity` code units into `buffer` (which may be null when `capacity` is 0) and returns the
    /// length of the whole text. When that is more than `capacity`, call again with a larger buffer.
    virtual std::int32_t GetChars(char16_t* buffer, std::int32_t capacity) noexcept = 0;
    /// 4: Replaces the text. E_INVALIDARG when `length` is negative.
    virtual HResult SetChars(const char16_t* chars, std::int32_t length) noexcept = 0;

protected:
    ~IVEXAString() = default;
};

/// What a Variant holds.
enum class VariantType : std::int32_t { Empty, Int32, Int64, Float, Text };

/// A value of one of a few types, with the usual value semantics. An in argument of this type may be null where the
/// operation's comment says so.
struct Variant {
    VariantType Type = VariantType::Empty;
    union {
        std::int64_t Integer = 0;  // Int32 and Int64
        double Float;              // Float
    };
    Ref<IVEXAString> Text;  // Text; null is the empty text
};

/// An ordered list of objects; indexes count from 0.
struct IVEXAObjectList : IUnknown {
    static constexpr Guid IID = ParseGuid("{6E9A84DF-18B9-4DB0-880E-E68ACEFF4808}");

    /// 3: Appends; a null object is E_INVALIDARG.
    virtual HResult Add(IUnknown* object) noexcept = 0;
    /// 4
    virtual HResult Clear() noexcept = 0;
    /// 5: E_INVALIDARG when `index` is out of range, as for 6, 8 and 9.
    virtual HResult Delete(std::int32_t index) noexcept = 0;
    /// 6: `index` may be the count.
    virtual HResult Insert(std::int32_t index, IUnknown* object) noexcept = 0;
    /// 7
    virtual std::int32_t GetCount() noexcept = 0;
    /// 8: The object as the interface `iid`; E_NOINTERFACE when the object does not offer that.
    virtual HResult GetObject(std::int32_t index, const Guid& iid, void** object) noexcept = 0;
    /// 9: Replaces the object at `index`.
    virtual HResult SetObject(std::int32_t index, IUnknown* object) noexcept = 0;

protected:
    ~IVEXAObjectList() = default;
};

/// Numbered properties; the interface of each object defines their numbers and meanings. A getter converts between
/// numbers and texts where that loses nothing; a property that the object does not have is E_NOTIMPL (E_INVALIDARG from
/// GetValueAsObject).
struct IVEXAPropertyList : IUnknown {
    static constexpr Guid IID = ParseGuid("{3B8303DE-20F1-4E9F-8AAA-B8C1AEF55F0C}");

    /// 3: Begins a group of changes that counts as one change, until EndUpdate. Groups nest.
    virtual void BeginUpdate() noexcept = 0;
    /// 4
    virtual void EndUpdate() noexcept = 0;
    /// 5: Restores the defaults; E_NOTIMPL for an object that has none.
    virtual HResult Reset() noexcept = 0;
    /// 6
    virtual HResult GetValueAsFloat(std::int32_t propertyID, double* value) noexcept = 0;
    /// 7
    virtual HResult GetValueAsInt32(std::int32_t propertyID, std::int32_t* value) noexcept = 0;
    /// 8
    virtual HResult GetValueAsInt64(std::int32_t propertyID, std::int64_t* value) noexcept = 0;
    /// 9: A text is returned as IVEXAString.
    virtual HResult GetValueAsObject(std::int32_t propertyID, const Guid& iid, void** value) noexcept = 0;
    /// 10
    virtual HResult SetValueAsFloat(std::int32_t propertyID, double value) noexcept = 0;
    /// 11
    virtual HResult SetValueAsInt32(std::int32_t propertyID, std::int32_t value) noexcept = 0;
    /// 12
    virtual HResult SetValueAsInt64(std::int32_t propertyID, std::int64_t value) noexcept = 0;
    /// 13: A text is passed as IVEXAString, whose text is copied; other objects are kept.
    virtual HResult SetValueAsObject(std::int32_t propertyID, IUnknown* value) noexcept = 0;

    /// A property of every list: any object of the caller's, which the list keeps and never uses.
    static constexpr std::int32_t kCustomObject = 0;

protected:
    ~IVEXAPropertyList() = default;
};

/// A property list whose values can also be read and set as variants.
struct IVEXAPropertyList2 : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{D3DC1323-1006-4D0C-8AF9-1BD788A8C497}");

    /// 14
    virtual HResult GetValueAsVariant(std::int32_t propertyID, Variant* value) noexcept = 0;
    /// 15
    virtual HResult SetValueAsVariant(std::int32_t propertyID, const Variant* value) noexcept = 0;

protected:
    ~IVEXAPropertyList2() = default;
};

/// Bytes with a position. One thread at a time.
struct IVEXAStream : IUnknown {
    static constexpr Guid IID = ParseGuid("{A63E6A35-B2BA-48F3-940D-A634016FD447}");

    enum SeekMode : std::int32_t { FromBeginning = 0, FromCurrent = 1, FromEnd = 2 };

    /// 3
    virtual std::int64_t GetSize() noexcept = 0;
    /// 4
    virtual HResult SetSize(std::int64_t size) noexcept = 0;
    /// 5
    virtual std::int64_t GetPosition() noexcept = 0;
    /// 6: E_INVALIDARG for an unknown mode. A stream implemented by the plug-in returns S_OK only when the new position
    /// equals `offset`; for a reliable result seek from the beginning, and call GetPosition after other seeks.
    virtual HResult Seek(std::int64_t offset, std::int32_t mode) noexcept = 0;
    /// 7: Returns the number of bytes read: 0 at the end, −1 on failure.
    virtual std::int32_t Read(void* buffer, std::uint32_t count) noexcept = 0;
    /// 8: `written` may be null.
    virtual HResult Write(const void* buffer, std::uint32_t count, std::uint32_t* written) noexcept = 0;

protected:
    ~IVEXAStream() = default;
};

/// A stream in memory. Core creates it.
struct IVEXAMemoryStream : IVEXAStream {
    using Base = IVEXAStream;
    static constexpr Guid IID = ParseGuid("{6FCF14D1-016C-49A3-A636-E5EDC93F418A}");

    /// 9: The bytes, valid until the next write or change of size. Null while the stream is empty.
    virtual void* GetData() noexcept = 0;

protected:
    ~IVEXAMemoryStream() = default;
};

/// Why an operation failed, as a message for the user. The caller creates the object; the operation that fails fills
/// it.
struct IVEXAErrorInfo : IUnknown {
    static constexpr Guid IID = ParseGuid("{A73042E8-6F7E-4D43-B36F-656D75E9A5B9}");

    /// 3: Each argument may be null. S_OK when an error was set, else E_FAIL.
    virtual HResult GetInfo(std::int32_t* errorCode, IVEXAString** message, IVEXAString** details) noexcept = 0;
    /// 4: `details` may be null.
    virtual void SetInfo(std::int32_t errorCode, IVEXAString* message, IVEXAString* details) noexcept = 0;

protected:
    ~IVEXAErrorInfo() = default;
};

/// A command that can be run, such as that of a menu item, or of the cancel button of a background task.
struct IVEXAActionEvent : IUnknown {
    static constexpr Guid IID = ParseGuid("{7539CDCD-5F34-42A8-A812-94FEEB32A5F4}");

    /// 3: `data` is the object that the command acts on; may be null.
    virtual void OnExecute(IUnknown* data) noexcept = 0;

protected:
    ~IVEXAActionEvent() = default;
};

/// Is notified when an object changes.
struct IVEXAUIChangeEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{39B15254-C890-45F0-A222-1D47BCCB744B}");

    /// 3: `sender` has changed.
    virtual void OnChanged(IUnknown* sender) noexcept = 0;

protected:
    ~IVEXAUIChangeEvents() = default;
};

}  // namespace vexa
