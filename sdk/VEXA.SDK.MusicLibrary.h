#pragma once
// The music library. It shows one storage at a time: a table of rows, and beside it a tree that narrows the table.
//
// A storage is an extension of the music-library service. It names its fields, and gives rows for a list of fields and
// a filter (VEXA.SDK.MusicLibrary.Rows.h), and nodes for its trees. The host asks for rows by range on a reader thread
// of its own, everything else on the main thread unless said.

#include "VEXA.SDK.Files.h"
#include "VEXA.SDK.MusicLibrary.Rows.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

// ---- Trees ----

/// A way in a tree: one pair of field and value for each level, the top one first. Empty: the root.
struct IVEXAMLGroupingTreeSelection : IUnknown {
    static constexpr Guid IID = ParseGuid("{8CCE8C70-A3C5-41C4-B518-412A20A80E7C}");

    /// 3
    virtual std::int32_t GetCount() noexcept = 0;
    /// 4: E_INVALIDARG, with both outputs cleared, when `index` is out of range.
    virtual HResult GetValue(std::int32_t index, IVEXAString** field, Variant* value) noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeSelection() = default;
};

/// Nodes, on one of which it stands; on the first one at first.
struct IVEXAMLGroupingTreeDataProviderSelection : IUnknown {
    static constexpr Guid IID = ParseGuid("{27598104-D1D0-4684-9543-63803BAFA9E4}");

    enum NodeFlags : std::uint32_t {
        HasChildren = 1,
        Standalone = 2,  // a place of its own: shown in the weight of a heading, kept when its children are merged
    };
    /// The host's icons for nodes.
    enum NodeImage : std::int32_t {
        Folder = 0,
        Source = 3,  // where rows come from, such as a feed or a station
        New = 4,     // rows that the user has not seen to yet
        Later = 5,   // rows that the user has put off
    };

    /// 3: The caption, shown as it is.
    virtual HResult GetDisplayValue(IVEXAString** text) noexcept = 0;
    /// 4
    virtual std::uint32_t GetFlags() noexcept = 0;
    /// 5: A NodeImage.
    virtual HResult GetImageIndex(std::int32_t* index) noexcept = 0;
    /// 6: What the node adds to a selection.
    virtual HResult GetValue(IVEXAString** field, Variant* value) noexcept = 0;
    /// 7: kFalse at the end.
    virtual Bool32 NextRow() noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeDataProviderSelection() = default;
};

/// Gives a tree's nodes, and the conditions that a selected node means.
struct IVEXAMLGroupingTreeDataProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{0D8BE7BF-850A-49B6-BC57-61A9296850C2}");

    enum Capabilities : std::uint32_t {
        HideAllData = 1,  // the tree needs no "all" node of the host's
        DontSort = 2,     // nodes come in the order to be shown in
    };

    /// 3
    virtual HResult AddSelectionConditions(IVEXAMLDataFilter* filter,
                                           IVEXAMLGroupingTreeSelection* selection) noexcept = 0;
    /// 4: A set of Capabilities.
    virtual std::uint32_t GetCapabilities() noexcept = 0;
    /// 5: The children of the node that the selection's first pair names; the top level for an empty selection. The
    /// host passes the selected node's own pair alone. E_FAIL when there are none.
    virtual HResult ListChildren(IVEXAMLGroupingTreeSelection* selection,
                                 IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept = 0;
    /// 6: The field of an alphabetic index; E_NOTIMPL for none.
    virtual HResult GetFieldForAlphabeticIndex(IVEXAString** field) noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeDataProvider() = default;
};

/// Takes a storage's trees.
struct IVEXAMLGroupingPresets : IUnknown {
    static constexpr Guid IID = ParseGuid("{A4068D34-A849-4064-BBE8-0F969EF4F221}");

    /// 3: `caption` may be null: the storage's own is shown. `flags`: 0, none is defined.
    virtual HResult Add(IVEXAString* id, IVEXAString* caption, std::uint32_t flags,
                        IVEXAMLGroupingTreeDataProvider* provider) noexcept = 0;

protected:
    ~IVEXAMLGroupingPresets() = default;
};

// ---- Storages ----

/// What a storage tells the library. Main thread.
struct IVEXAMLDataStorageManager : IUnknown {
    static constexpr Guid IID = ParseGuid("{EE649E0D-F52D-47F5-A23F-DA6BA0A0EB28}");

    /// 3: Work goes on in the background. The caption's text may change all the while, on any thread. `cancel` null:
    /// the work cannot be cancelled. A task of the same number is replaced.
    virtual void BackgroundTaskStarted(std::int32_t taskID, IVEXAString* caption,
                                       IVEXAActionEvent* cancel) noexcept = 0;
    /// 4
    virtual void BackgroundTaskFinished(std::int32_t taskID) noexcept = 0;
    /// 5: Rows or nodes changed: what is shown is to be read again.
    virtual void Changed() noexcept = 0;

protected:
    ~IVEXAMLDataStorageManager() = default;
};

/// Extension of the music-library service: a storage. Its properties are those of its IVEXAPropertyList; its rows come
/// from its IVEXAMLDataProvider.
struct IVEXAMLExtensionDataStorage : IUnknown {
    static constexpr Guid IID = ParseGuid("{A7A3FC37-3915-41C2-93A5-22CAD0DD5E44}");

    enum Property : std::int32_t {
        ID = 0,            // text
        Caption = 1,       // text
        Capabilities = 2,  // CapabilityFlags
    };
    enum CapabilityFlags : std::int32_t { Filtering = 1, Grouping = 2, Searching = 4 };

    /// 3: The manager is not to be used any more.
    virtual void Finalize() noexcept = 0;
    /// 4
    virtual void Initialize(IVEXAMLDataStorageManager* manager) noexcept = 0;
    /// 5: `config` as the service's; keys begin with the storage's ID.
    virtual HResult LoadConfig(IUnknown* config) noexcept = 0;
    /// 6
    virtual HResult SaveConfig(IUnknown* config) noexcept = 0;
    /// 7: For LibrarySchema kSchemaAllFields IVEXAMLDataField objects, else IVEXAString names.
    virtual HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept = 0;
    /// 8
    virtual HResult GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept = 0;
    /// 9: The host is about to rest: write what is not written.
    virtual void FlushCache() noexcept = 0;

protected:
    ~IVEXAMLExtensionDataStorage() = default;
};

/// A storage's pictures, by row.
struct IVEXAMLAlbumArtProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{FE7AE7AE-F715-415C-95C7-2C362B52494B}");

    /// 3: `fields` holds names as IVEXAString, `values` as many values. E_FAIL when there is no picture. Any thread.
    virtual HResult GetAlbumArt(IVEXAObjectList* fields, const Variant* values, IVEXAPropertyList* options,
                                IVEXAImageContainer** image) noexcept = 0;

protected:
    ~IVEXAMLAlbumArtProvider() = default;
};

/// Command of a storage: where in the library a file is.
struct IVEXAMLDataStorageCommandFindInLibrary : IUnknown {
    static constexpr Guid IID = ParseGuid("{49EAF9C7-6695-4776-99E3-5596282E0B08}");

    /// 3: `filter`: the rows to select; may be null on success, which means the row of the file itself. `selection`:
    /// the node that holds them.
    virtual HResult Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                         IVEXAMLGroupingTreeSelection** selection) noexcept = 0;

protected:
    ~IVEXAMLDataStorageCommandFindInLibrary() = default;
};

/// Command of a storage: the library's "add" button.
struct IVEXAMLDataStorageCommandAddFilesDialog : IUnknown {
    static constexpr Guid IID = ParseGuid("{704CCC29-5F87-4846-AAA3-62CFF0ECE2EC}");

    /// 3: Waits for the user in a dialog of the storage's, and tells the user itself of what fails.
    virtual HResult Execute(WindowHandle owner) noexcept = 0;

protected:
    ~IVEXAMLDataStorageCommandAddFilesDialog() = default;
};

// ---- Storages of subscriptions: optional ----

/// Hears how a request ended that went on in the background. Main thread.
struct IVEXAMLSubscriptionEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{FBD001A4-CD9F-48CC-8A42-C239DC1A98AC}");

    /// 3: Once for each address: S_OK, S_FALSE when the work was stopped before the address's turn came, E_INVALIDARG
    /// when it is no feed's, E_ABORT when it was subscribed already, else E_FAIL. `text`: the feed's title, or the
    /// reason. With a feed, `address` is the one that it is stored under.
    virtual void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept = 0;
    /// 4: Nothing more will come. Called once for every request that was answered with success, also at the storage's
    /// end.
    virtual void OnCompleted() noexcept = 0;

protected:
    ~IVEXAMLSubscriptionEvents() = default;
};

/// Offered by the events of a host whose user can choose: hears of an address that leads to several feeds, such as a
/// page that names them. Main thread.
struct IVEXAMLSubscriptionChoices : IUnknown {
    static constexpr Guid IID = ParseGuid("{0D5C1F36-9A4E-4C0B-8F4D-6B1E52C7A9D3}");

    /// 3: In place of OnSubscribed for `address`. `feeds`: addresses to subscribe to, `titles`: as many; a title may be
    /// empty. Both hold IVEXAString. Nothing is waited for: subscribe to what the user has chosen.
    virtual void OnChoices(IVEXAString* address, IVEXAObjectList* feeds, IVEXAObjectList* titles) noexcept = 0;

protected:
    ~IVEXAMLSubscriptionChoices() = default;
};

/// What happened to one item of a background task.
struct IVEXAMLTaskOutcome : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{CCC5C38B-1F11-4EC9-9868-594E22651BD1}");

    enum Property : std::int32_t {
        Item = 1,      // text: a feed's address, or an episode's key
        Caption = 2,   // text: the title of the feed or episode; the item where none is known
        NewCount = 3,  // new episodes of the feed
        FileName = 4,  // text: the episode's local copy
        Error = 5,     // text: why it failed; empty when it did not
        Dropped = 6,   // 1: the task was stopped before its turn came
        MovedTo = 7,   // text: the feed's new address, where it was found to have moved; else empty
        Refused = 8,   // 1: another subscription has the new address already, so both stay as they are
    };

protected:
    ~IVEXAMLTaskOutcome() = default;
};

/// What a storage of subscriptions offers beyond rows and nodes. A storage may lack it. Main thread unless said.
struct IVEXAMLSubscriptionStorage : IUnknown {
    static constexpr Guid IID = ParseGuid("{3C7A1D24-326A-45DF-A077-373F8A9B0875}");

    enum TaskID : std::int32_t { Downloads = 1, Refresh = 2 };

    /// 3: Rows that GetData would give without a range. Any thread.
    virtual HResult GetRowCount(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept = 0;
    /// 4: Fetches, checks and stores feeds in the background: addresses as users write them, those of pages that name a
    /// feed among them. `events` may be null; they may offer IVEXAMLSubscriptionChoices.
    virtual HResult Subscribe(IVEXAObjectList* addresses, IVEXAMLSubscriptionEvents* events) noexcept = 0;
    /// 5: The same for all feeds of an OPML file. E_FAIL, with `error` filled, when it cannot be read.
    virtual HResult ImportOPML(IVEXAString* fileName, IVEXAMLSubscriptionEvents* events,
                               IVEXAErrorInfo* error) noexcept = 0;
    /// 6: Writes all subscriptions. E_FAIL, with `error` filled, when it cannot.
    virtual HResult ExportOPML(IVEXAString* fileName, IVEXAErrorInfo* error) noexcept = 0;
    /// 7: IVEXAMLTaskOutcome objects of the last task of a kind, from index `first` on, also while it runs. Any thread.
    virtual HResult GetOutcomes(std::int32_t taskID, std::int32_t first, IVEXAObjectList** outcomes) noexcept = 0;

protected:
    ~IVEXAMLSubscriptionStorage() = default;
};

// ---- Options of storages: optional ----

/// One option that a storage lets the host show to the user. A copy: changing it changes nothing.
struct IVEXAMLOption : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{889FBF76-3C28-47B2-AC03-617D2C2FC1B0}");

    enum Property : std::int32_t {
        ID = 1,       // text, the storage's own name for it
        Caption = 2,  // text, in the user's language
        Kind = 3,     // Kinds; a host leaves out an option of a kind that it does not know
        Value = 4,    // as the kind says
    };
    enum Kinds : std::int32_t {
        Check = 0,  // the value is 1 or 0
    };

protected:
    ~IVEXAMLOption() = default;
};

/// Offered by a storage that asks a new user about some of its options. While it has no subscription, a host shows
/// these options with the values that the storage proposes, and sets them when the user begins to subscribe. Main
/// thread.
struct IVEXAMLStartOptions : IUnknown {
    static constexpr Guid IID = ParseGuid("{C9D482A2-BCC7-4477-90BB-5A358C3230BF}");

    /// 3: IVEXAMLOption objects in the order in which to show them, at most a few. Their values are proposals: until
    /// SetOption the options are what they were.
    virtual HResult GetOptions(IVEXAObjectList** options) noexcept = 0;
    /// 4: Sets an option and keeps it. E_INVALIDARG for an ID that GetOptions does not give.
    virtual HResult SetOption(IVEXAString* id, const Variant* value) noexcept = 0;

protected:
    ~IVEXAMLStartOptions() = default;
};

// ---- Services ----

/// Service: the music library. Extensions are storages.
struct IVEXAServiceMusicLibrary : IUnknown {
    static constexpr Guid IID = ParseGuid("{6AD09B25-B09B-498B-9AC7-236B85E503D6}");

    /// 3: The storage that shows; E_FAIL when none does, E_NOINTERFACE when it does not offer `iid`.
    virtual HResult GetActiveStorage(const Guid& iid, void** storage) noexcept = 0;
    /// 4
    virtual HResult GetStorageByID(IVEXAString* id, const Guid& iid, void** storage) noexcept = 0;
    /// 5
    virtual HResult SetActiveStorage(IUnknown* storage) noexcept = 0;

protected:
    ~IVEXAServiceMusicLibrary() = default;
};

/// Service: what is selected in the library's window.
struct IVEXAServiceMusicLibraryUI : IUnknown {
    static constexpr Guid IID = ParseGuid("{C80BA329-640D-4E40-A515-077F92F4FBAF}");

    /// 3: File names of rows as IVEXAString; `flags` is a FileSelection.
    virtual HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept = 0;
    /// 4: The conditions that the selected node of the tree means; E_FAIL when none is selected.
    virtual HResult GetGroupingFilter(IVEXAMLDataFilter** filter) noexcept = 0;

protected:
    ~IVEXAServiceMusicLibraryUI() = default;
};

}  // namespace vexa
