#pragma once
// Finding what a storage could add, by words, and a look at it before it is added. Both are optional interfaces of a
// storage (VEXA.SDK.MusicLibrary.h). All texts come from servers and are not to be trusted.

#include "VEXA.SDK.MusicLibrary.Rows.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

/// Something that a storage could add, such as a podcast. Properties that are not known are missing or empty.
struct IVEXAMLFound : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{EC1B5EE4-6419-4C9A-98FD-12A53718D6A1}");

    enum Property : std::int32_t {
        Address = 1,         // text: the web address by which to add it
        Title = 2,           // text
        Author = 3,          // text
        Description = 4,     // plain text
        PictureAddress = 5,  // text: a web address
        RowCount = 6,        // number of rows that it has; 0 when that is not known
        Newest = 7,          // OLE Automation date in UTC of the newest row; 0 when that is not known
        IsSubscribed = 8,    // 1: the storage has it already
        Source = 9,          // text: the ID of the source that found it first; empty when none was asked
    };

protected:
    ~IVEXAMLFound() = default;
};

/// A place where a storage searches, such as a directory of podcasts. The object is a copy.
struct IVEXAMLFindSource : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{827BDA99-38AB-4143-A340-AB270E6E1C70}");

    enum Property : std::int32_t {
        ID = 1,       // text, the storage's own name for the source
        Caption = 2,  // text, in the user's language
        IsAsked = 3,  // 1: searches ask it; 0: the user has switched it off, or it cannot be asked
        Learns = 4,   // text, in the user's language: what the source learns of the user when it is asked
    };

protected:
    ~IVEXAMLFindSource() = default;
};

/// Receives the results of one search while they arrive. Main thread.
struct IVEXAMLFinderEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{F8C02C7B-F24C-43FA-B1C3-79C9CF6CAD86}");

    /// 3: Called again with the same address when another source knows more of it; the later object replaces the
    /// earlier one.
    virtual void OnFound(IVEXAMLFound* found) noexcept = 0;
    /// 4: Called once for each source that is asked. `source`: its ID. `result`: S_OK; S_FALSE when it was not asked,
    /// since it lately refused to answer; else E_FAIL. `text`: the reason, in the user's language; empty with S_OK.
    virtual void OnSourceDone(IVEXAString* source, HResult result, IVEXAString* text) noexcept = 0;
    /// 5: Nothing more will follow. Called once for every search that began, also when it is cancelled or the storage
    /// ends first; then sources may be missing.
    virtual void OnCompleted() noexcept = 0;

protected:
    ~IVEXAMLFinderEvents() = default;
};

/// Offered by a storage that finds by words what it could add. Main thread.
struct IVEXAMLFinder : IUnknown {
    static constexpr Guid IID = ParseGuid("{1DD4CB90-A9D0-426B-A2DD-4DC7C6028922}");

    /// 3: IVEXAMLFindSource objects, in the order in which to show them.
    virtual HResult GetSources(IVEXAObjectList** sources) noexcept = 0;
    /// 4: Asks all sources at once, in the background. An empty text finds what is most popular. `limit`: the number of
    /// results wanted from each source; 0 leaves it to the storage. `events` is first called after Find has returned.
    virtual HResult Find(IVEXAString* text, std::int32_t limit, IVEXAMLFinderEvents* events,
                         std::int64_t* search) noexcept = 0;
    /// 5: Ends a search: of its events only OnCompleted follows. S_FALSE for one that has ended.
    virtual HResult CancelSearch(std::int64_t search) noexcept = 0;
    /// 6: Shows the storage's own window for searching, or brings it to the front, with `text` in its field; without a
    /// text nothing is searched for yet. Returns at once, or when the user has closed the window. E_FAIL in a program
    /// without windows.
    virtual HResult ShowSearchWindow(WindowHandle owner, IVEXAString* text) noexcept = 0;

protected:
    ~IVEXAMLFinder() = default;
};

/// Receives what an address leads to. May offer IVEXAMLSubscriptionChoices. Main thread.
struct IVEXAMLPreviewEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{3C67057A-8E51-44F0-876E-2CCF96B61A59}");

    /// 3: Called once for every IVEXAMLPreview::Open that returned success. With S_OK, `rows` gives the rows and `info`
    /// says what is known of them, `Address` included, which may differ from the one opened. Otherwise both are null:
    /// S_FALSE when the address leads to several and the events object was given them by OnChoices; E_ABORT when the
    /// opening was cancelled or the storage has ended; E_INVALIDARG when the address is none that could be added; else
    /// E_FAIL. `text`: the reason, in the user's language; else empty.
    virtual void OnOpened(HResult result, IVEXAMLDataProvider* rows, IVEXAMLFound* info,
                          IVEXAString* text) noexcept = 0;

protected:
    ~IVEXAMLPreviewEvents() = default;
};

/// Offered by a storage that shows what it could add before it is added. Nothing is stored. Main thread.
struct IVEXAMLPreview : IUnknown {
    static constexpr Guid IID = ParseGuid("{30BA9561-74FB-423C-9370-73F008730A79}");

    /// 3: Reads in the background what an address, as users write it, leads to. `events` is first called after Open has
    /// returned. The rows have the storage's fields; the values of a FileName field are plain web addresses, which play
    /// as such: the storage knows no file of that name, and so neither marks it nor tells anything about it. They last
    /// as long as the host holds them; once the storage has ended they answer E_FAIL.
    virtual HResult Open(IVEXAString* address, IVEXAMLPreviewEvents* events, std::int64_t* opening) noexcept = 0;
    /// 4: Ends an opening. S_FALSE for one that has ended. A host that needs the result no more calls it.
    virtual HResult CancelOpening(std::int64_t opening) noexcept = 0;

protected:
    ~IVEXAMLPreview() = default;
};

}  // namespace vexa
