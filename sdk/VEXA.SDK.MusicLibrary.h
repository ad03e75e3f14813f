#pragma once
// The music library. It shows one storage at a time: a table of rows, and beside it a tree that narrows the table.
//
// A storage is an extension of the music-library service. It lists its fields, returns rows for a list of fields and a
// filter (VEXA.SDK.MusicLibrary.Rows.h), and returns nodes for its trees. The host asks for ranges of rows on a reader
// thread of its own; it calls everything else on the main thread, unless a comment says otherwise. A storage may also
// find what it could add (VEXA.SDK.MusicLibrary.Finding.h).

#include "VEXA.SDK.Files.h"
#include "VEXA.SDK.MusicLibrary.Finding.h"
#include "VEXA.SDK.MusicLibrary.Rows.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

// ---- Trees ----

/// A path in a tree: one pair of field and value for each level, from the top. Empty: the root.
struct IVEXAMLGroupingTreeSelection : IUnknown {
    static constexpr Guid IID = ParseGuid("{8CCE8C70-A3C5-41C4-B518-412A20A80E7C}");

    /// 3
    virtual std::int32_t GetCount() noexcept = 0;
    /// 4: E_INVALIDARG, with both outputs cleared, when `index` is out of range.
    virtual HResult GetValue(std::int32_t index, IVEXAString** field, Variant* value) noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeSelection() = default;
};

/// A cursor over nodes, initially on the first one.
struct IVEXAMLGroupingTreeDataProviderSelection : IUnknown {
    static constexpr Guid IID = ParseGuid("{27598104-D1D0-4684-9543-63803BAFA9E4}");

    enum NodeFlags : std::uint32_t {
        HasChildren = 1,
        Standalone = 2,  // shown with the weight of a heading, and kept when its children are merged
    };
    /// The host's icons for nodes.
    enum NodeImage : std::int32_t {
        Folder = 0,
        Source = 3,  // where rows come from, such as a feed or a station
        New = 4,     // rows that the user has not dealt with yet
        Later = 5,   // rows that the user has postponed
    };

    /// 3: The caption, which the host shows unchanged.
    virtual HResult GetDisplayValue(IVEXAString** text) noexcept = 0;
    /// 4
    virtual std::uint32_t GetFlags() noexcept = 0;
    /// 5: A NodeImage.
    virtual HResult GetImageIndex(std::int32_t* index) noexcept = 0;
    /// 6: The pair that the node appends to a selection.
    virtual HResult GetValue(IVEXAString** field, Variant* value) noexcept = 0;
    /// 7: kFalse at the end.
    virtual Bool32 NextRow() noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeDataProviderSelection() = default;
};

/// Returns a tree's nodes, and the conditions that a selected node stands for.
struct IVEXAMLGroupingTreeDataProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{0D8BE7BF-850A-49B6-BC57-61A9296850C2}");

    enum Capabilities : std::uint32_t {
        HideAllData = 1,  // the host shows no "all" node of its own
        DontSort = 2,     // the host shows the nodes in the order in which they come
    };

    /// 3
    virtual HResult AddSelectionConditions(IVEXAMLDataFilter* filter,
                                           IVEXAMLGroupingTreeSelection* selection) noexcept = 0;
    /// 4: A set of Capabilities.
    virtual std::uint32_t GetCapabilities() noexcept = 0;
    /// 5: The children of the node that the selection's first pair names; the top level for an empty selection. The
    /// host passes only the opened node's own pair. E_FAIL when the node has no children.
    virtual HResult ListChildren(IVEXAMLGroupingTreeSelection* selection,
                                 IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept = 0;
    /// 6: The field of the alphabetic index; E_NOTIMPL when the tree has none.
    virtual HResult GetFieldForAlphabeticIndex(IVEXAString** field) noexcept = 0;

protected:
    ~IVEXAMLGroupingTreeDataProvider() = default;
};

/// Collects a storage's trees.
struct IVEXAMLGroupingPresets : IUnknown {
    static constexpr Guid IID = ParseGuid("{A4068D34-A849-4064-BBE8-0F969EF4F221}");

    /// 3: `caption` may be null; then the storage's own is shown. `flags`: 0, since none is defined.
    virtual HResult Add(IVEXAString* id, IVEXAString* caption, std::uint32_t flags,
                        IVEXAMLGroupingTreeDataProvider* provider) noexcept = 0;

protected:
    ~IVEXAMLGroupingPresets() = default;
};

// ---- Storages ----

/// The interface through which a storage reports to the library. Main thread.
struct IVEXAMLDataStorageManager : IUnknown {
    static constexpr Guid IID = ParseGuid("{EE649E0D-F52D-47F5-A23F-DA6BA0A0EB28}");

    /// 3: Background work has begun. While it runs, any thread may change the caption's text. `cancel` null: the work
    /// cannot be cancelled. A task with the same number is replaced.
    virtual void BackgroundTaskStarted(std::int32_t taskID, IVEXAString* caption,
                                       IVEXAActionEvent* cancel) noexcept = 0;
    /// 4
    virtual void BackgroundTaskFinished(std::int32_t taskID) noexcept = 0;
    /// 5: Rows or nodes have changed; the host reads again what it shows.
    virtual void Changed() noexcept = 0;

protected:
    ~IVEXAMLDataStorageManager() = default;
};

/// Extension of the music-library service: a storage. The object also offers IVEXAPropertyList, for its properties, and
/// IVEXAMLDataProvider, for its rows.
struct IVEXAMLExtensionDataStorage : IUnknown {
    static constexpr Guid IID = ParseGuid("{A7A3FC37-3915-41C2-93A5-22CAD0DD5E44}");

    enum Property : std::int32_t {
        ID = 0,            // text
        Caption = 1,       // text
        Capabilities = 2,  // CapabilityFlags
    };
    enum CapabilityFlags : std::int32_t { Filtering = 1, Grouping = 2, Searching = 4 };

    /// 3: The storage must not use the manager any more.
    virtual void Finalize() noexcept = 0;
    /// 4
    virtual void Initialize(IVEXAMLDataStorageManager* manager) noexcept = 0;
    /// 5: `config` offers IVEXAServiceConfig; keys begin with the storage's ID.
    virtual HResult LoadConfig(IUnknown* config) noexcept = 0;
    /// 6
    virtual HResult SaveConfig(IUnknown* config) noexcept = 0;
    /// 7: For kSchemaAllFields, IVEXAMLDataField objects; for the other schemas, names as IVEXAString.
    virtual HResult GetFields(std::int32_t schema, IVEXAObjectList** fields) noexcept = 0;
    /// 8
    virtual HResult GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept = 0;
    /// 9: The host is about to become idle; write everything that is still unwritten.
    virtual void FlushCache() noexcept = 0;

protected:
    ~IVEXAMLExtensionDataStorage() = default;
};

/// A storage's pictures, by row.
struct IVEXAMLAlbumArtProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{FE7AE7AE-F715-415C-95C7-2C362B52494B}");

    /// 3: `fields` holds names as IVEXAString, `values` one value for each. E_FAIL when there is no picture. Any
    /// thread.
    virtual HResult GetAlbumArt(IVEXAObjectList* fields, const Variant* values, IVEXAPropertyList* options,
                                IVEXAImageContainer** image) noexcept = 0;

protected:
    ~IVEXAMLAlbumArtProvider() = default;
};

/// Command of a storage: finds a file in the library.
struct IVEXAMLDataStorageCommandFindInLibrary : IUnknown {
    static constexpr Guid IID = ParseGuid("{49EAF9C7-6695-4776-99E3-5596282E0B08}");

    /// 3: `filter` selects the rows; it may be null on success, which means the row of the file itself. `selection` is
    /// the path to the node that holds them.
    virtual HResult Find(IVEXAFileInfo* info, IVEXAMLDataFilter** filter,
                         IVEXAMLGroupingTreeSelection** selection) noexcept = 0;

protected:
    ~IVEXAMLDataStorageCommandFindInLibrary() = default;
};

/// Command of a storage: the library's "add" button.
struct IVEXAMLDataStorageCommandAddFilesDialog : IUnknown {
    static constexpr Guid IID = ParseGuid("{704CCC29-5F87-4846-AAA3-62CFF0ECE2EC}");

    /// 3: Runs a dialog of the storage and returns when the user has closed it. The storage itself reports failures to
    /// the user.
    virtual HResult Execute(WindowHandle owner) noexcept = 0;

protected:
    ~IVEXAMLDataStorageCommandAddFilesDialog() = default;
};

// ---- Storages of subscriptions: optional ----

/// Receives the results of a request that runs in the background. Main thread.
struct IVEXAMLSubscriptionEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{FBD001A4-CD9F-48CC-8A42-C239DC1A98AC}");

    /// 3: Called once for each address. `result`: S_OK; S_FALSE when the work was stopped before the address's turn
    /// came; E_INVALIDARG when the address is not that of a feed; E_ABORT when the feed was subscribed already; else
    /// E_FAIL. `text`: the feed's title, or the reason for the failure. When there is a feed, `address` is the address
    /// under which it is stored.
    virtual void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept = 0;
    /// 4: Nothing more will follow. Called once for every request that returned success, also when the storage ends
    /// first.
    virtual void OnCompleted() noexcept = 0;

protected:
    ~IVEXAMLSubscriptionEvents() = default;
};

/// Offered by the events object of a host whose user can choose. Receives the feeds of an address that leads to
/// several, such as a page with links to them. Main thread.
struct IVEXAMLSubscriptionChoices : IUnknown {
    static constexpr Guid IID = ParseGuid("{0D5C1F36-9A4E-4C0B-8F4D-6B1E52C7A9D3}");

    /// 3: Called in place of OnSubscribed for `address`. `feeds` holds addresses to subscribe to, `titles` a title for
    /// each, which may be empty; both hold IVEXAString. The storage does not wait for the choice: the host calls
    /// Subscribe for the feeds that the user has chosen.
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
        Caption = 2,   // text: the title of the feed or episode; the value of Item when no title is known
        NewCount = 3,  // new episodes of the feed
        FileName = 4,  // text: the episode's local copy
        Error = 5,     // text: why the item failed; empty when it did not
        Dropped = 6,   // 1: the task was stopped before its turn came
        MovedTo = 7,   // text: the feed's new address if the feed has moved; else empty
        Refused = 8,   // 1: another subscription has the new address already, so both stay unchanged
    };

protected:
    ~IVEXAMLTaskOutcome() = default;
};

/// What a storage of subscriptions offers beyond rows and nodes. Optional. Main thread, unless a comment says
/// otherwise.
struct IVEXAMLSubscriptionStorage : IUnknown {
    static constexpr Guid IID = ParseGuid("{3C7A1D24-326A-45DF-A077-373F8A9B0875}");

    enum TaskID : std::int32_t { Downloads = 1, Refresh = 2 };

    /// 3: The number of rows that GetData would return without a range. Any thread.
    virtual HResult GetRowCount(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, std::int64_t* count) noexcept = 0;
    /// 4: Fetches, checks and stores feeds in the background. `addresses` holds what users have written, which may also
    /// be the address of a page that names a feed. `events` may be null, and may offer IVEXAMLSubscriptionChoices.
    virtual HResult Subscribe(IVEXAObjectList* addresses, IVEXAMLSubscriptionEvents* events) noexcept = 0;
    /// 5: The same for all feeds of an OPML file. E_FAIL, with `error` filled, when the file cannot be read.
    virtual HResult ImportOPML(IVEXAString* fileName, IVEXAMLSubscriptionEvents* events,
                               IVEXAErrorInfo* error) noexcept = 0;
    /// 6: Writes all subscriptions to an OPML file. E_FAIL, with `error` filled, when writing fails.
    virtual HResult ExportOPML(IVEXAString* fileName, IVEXAErrorInfo* error) noexcept = 0;
    /// 7: IVEXAMLTaskOutcome objects of the last task of kind `taskID`, from index `first` on, also while that task
    /// runs. Any thread.
    virtual HResult GetOutcomes(std::int32_t taskID, std::int32_t first, IVEXAObjectList** outcomes) noexcept = 0;

protected:
    ~IVEXAMLSubscriptionStorage() = default;
};

/// Offered by a storage that knows how far its background tasks are. Its tasks can be cancelled here, including those
/// that began without a `cancel`, whose work is begun anew by itself and so is not lost.
struct IVEXAMLTaskProgress : IUnknown {
    static constexpr Guid IID = ParseGuid("{5E0C9B0E-7B43-4B7E-9F0C-2D61A4C8F3B7}");

    /// 3: `item` of `count`: what the task works on, such as the third of ten feeds, and `share` of the whole task that
    /// is done, from 0 to 1. S_FALSE, with all outputs 0, for a task that does not run or does not know. Any thread.
    virtual HResult GetProgress(std::int32_t taskID, std::int32_t* item, std::int32_t* count,
                                double* share) noexcept = 0;
    /// 4: Stops the task; what it has done stays. S_FALSE for a task that does not run. Main thread.
    virtual HResult Cancel(std::int32_t taskID) noexcept = 0;

protected:
    ~IVEXAMLTaskProgress() = default;
};

// ---- Pictures of nodes: optional ----

/// Offered by a storage whose nodes have pictures, such as podcasts' covers. `field` and `value` are a node's own pair
/// in a selection, or the field of a row's file with its value: then the picture is that of the node that the row
/// belongs to, not one of the row's own. Any thread.
struct IVEXAMLNodeImage : IUnknown {
    static constexpr Guid IID = ParseGuid("{2321F1C9-3E07-4950-AE7D-1BE0C1B392F7}");

    enum Flags : std::uint32_t { LocalOnly = 1 };

    /// 3: A text that belongs to one picture of the storage and no other, so that a host can keep copies by it. E_FAIL
    /// when no picture is stored. Does not use the network.
    virtual HResult GetVersion(IVEXAString* field, const Variant* value, IVEXAString** version) noexcept = 0;
    /// 4: E_FAIL when there is no picture. Without LocalOnly it may fetch the picture, and so block as long as that
    /// takes.
    virtual HResult GetImage(IVEXAString* field, const Variant* value, std::uint32_t flags,
                             IVEXAImageContainer** image) noexcept = 0;

protected:
    ~IVEXAMLNodeImage() = default;
};

// ---- What is known of nodes: optional ----

/// Offered by a storage that knows more of its nodes than their captions, such as what a podcast says of itself. Any
/// thread.
struct IVEXAMLNodeInfo : IUnknown {
    static constexpr Guid IID = ParseGuid("{5C0B6C1E-6A57-4E0B-9B46-7D1F3C9D2A84}");

    enum Property : std::int32_t {
        Title = 1,           // text
        Author = 2,          // text
        Description = 3,     // text, perhaps with HTML; not to be trusted
        WebAddress = 4,      // text: of a page about what the node stands for
        RowCount = 5,        // number of rows below the node
        UntouchedCount = 6,  // number of those to which the user has not turned
        Newest = 7,          // OLE Automation date in UTC of the newest row; 0 without one
    };

    /// 3: Sets what is known of the node with that pair in a selection; any property may be missing. E_FAIL when
    /// nothing is known. Does not use the network.
    virtual HResult GetInfo(IVEXAString* field, const Variant* value, IVEXAPropertyList* info) noexcept = 0;

protected:
    ~IVEXAMLNodeInfo() = default;
};

// ---- Undoing: optional ----

/// Receives what has become of an act that was to be undone. Main thread.
struct IVEXAMLUndoEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{9E8E452D-6F63-4833-9836-87DE0131E7FD}");

    /// 3: Called once for every IVEXAMLUndo::Undo that returned success. `result`: S_OK when everything is as before
    /// the act; S_FALSE when something is not, such as what was changed again since then; E_FAIL when nothing was
    /// undone, so that Undo may be called again. `text` says what is not as before, and why; empty with S_OK.
    virtual void OnUndone(HResult result, IVEXAString* text) noexcept = 0;

protected:
    ~IVEXAMLUndoEvents() = default;
};

/// Offered by a storage that can undo what the user did with its commands. After every such act it notifies the library
/// of changed data. Main thread.
struct IVEXAMLUndo : IUnknown {
    static constexpr Guid IID = ParseGuid("{3EF5BAB0-5356-4D04-B6FA-DC2B3AF645DA}");

    /// 3: The newest act that can be undone: its number, which grows with every act and is never used again, and what
    /// the user did, in the user's language. S_FALSE, with 0 and null, when there is none.
    virtual HResult Describe(std::int64_t* act, IVEXAString** text) noexcept = 0;
    /// 4: Undoes an act in the background. E_FAIL when it cannot be undone any more. `events` may be null.
    virtual HResult Undo(std::int64_t act, IVEXAMLUndoEvents* events) noexcept = 0;

protected:
    ~IVEXAMLUndo() = default;
};

// ---- Options of storages: optional ----

/// One option that a storage lets the host show to the user. The object is a copy: changing it changes no option.
struct IVEXAMLOption : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{889FBF76-3C28-47B2-AC03-617D2C2FC1B0}");

    enum Property : std::int32_t {
        ID = 1,       // text, the storage's own name for the option
        Caption = 2,  // text, in the user's language
        Kind = 3,     // Kinds; a host leaves out an option of a kind that it does not know
        Value = 4,    // as Kind defines it
        Choices = 5,  // text, for Choice: what to choose from, in the user's language, separated by "|"
        Least = 6,    // for Number
        Most = 7,     // for Number
        // text, in the user's language, for Choice: what a more general option says, which the first choice follows;
        // empty when there is none
        General = 8,
    };
    enum Kinds : std::int32_t {
        Check = 0,   // the value is 1 or 0
        Number = 1,  // a number from Least to Most
        Choice = 2,  // the index of a choice, from 0
    };

protected:
    ~IVEXAMLOption() = default;
};

/// Offered by a storage that asks a new user about some of its options. While the storage has no subscription, a host
/// shows these options with the values that the storage proposes, and sets them when the user begins to subscribe. Main
/// thread.
struct IVEXAMLStartOptions : IUnknown {
    static constexpr Guid IID = ParseGuid("{C9D482A2-BCC7-4477-90BB-5A358C3230BF}");

    /// 3: IVEXAMLOption objects in the order in which to show them; only a few. Their values are proposals: the options
    /// keep their own values until SetOption is called.
    virtual HResult GetOptions(IVEXAObjectList** options) noexcept = 0;
    /// 4: Sets an option and stores it. E_INVALIDARG for an ID that GetOptions does not return.
    virtual HResult SetOption(IVEXAString* id, const Variant* value) noexcept = 0;

protected:
    ~IVEXAMLStartOptions() = default;
};

/// Offered by a storage whose nodes have options of their own, such as how many of a podcast's files are kept. `field`
/// and `value` are a node's own pair in a selection. Main thread.
struct IVEXAMLNodeOptions : IUnknown {
    static constexpr Guid IID = ParseGuid("{3D0A1F57-6C2B-4E0E-9A4D-7C1B52E4A9D6}");

    /// 3: IVEXAMLOption objects in the order in which to show them. E_FAIL for a node without options of its own.
    virtual HResult GetOptions(IVEXAString* field, const Variant* value, IVEXAObjectList** options) noexcept = 0;
    /// 4: Sets an option of the node and stores it. E_INVALIDARG for an ID that GetOptions does not return, and for a
    /// value that Kind does not allow; E_FAIL for a node without options.
    virtual HResult SetOption(IVEXAString* field, const Variant* value, IVEXAString* id,
                              const Variant* optionValue) noexcept = 0;
    /// 5: The node's present pair, so that a host can store data by it: S_OK when it was replaced by another, S_FALSE
    /// when it is as it was, E_FAIL, with nothing replaced, when it is no node with options. `field` and `value` may
    /// also be the field of a row's file with its value; the pair becomes that of the node that the row belongs to.
    virtual HResult GetPresentNode(IVEXAString* field, Variant* value) noexcept = 0;

protected:
    ~IVEXAMLNodeOptions() = default;
};

// ---- Services ----

/// Service: the music library. Its extensions are storages.
struct IVEXAServiceMusicLibrary : IUnknown {
    static constexpr Guid IID = ParseGuid("{6AD09B25-B09B-498B-9AC7-236B85E503D6}");

    /// 3: The storage that is shown; E_FAIL when none is, E_NOINTERFACE when it does not offer `iid`.
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
    /// 4: The conditions that the tree's selected node stands for; E_FAIL when none is selected.
    virtual HResult GetGroupingFilter(IVEXAMLDataFilter** filter) noexcept = 0;

protected:
    ~IVEXAServiceMusicLibraryUI() = default;
};

}  // namespace vexa
