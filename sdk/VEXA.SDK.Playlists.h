#pragma once
// Playlists: lists of files, and smart playlists, which follow a filter of the music library. Main thread.

#include "VEXA.SDK.MusicLibrary.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

/// An entry of a playlist.
struct IVEXAPlaylistItem : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{1E002EFF-D9A6-44FC-91C8-588C0EBF2486}");

    enum Property : std::int32_t {
        DisplayText = 1,  // text
        FileName = 3,     // text: the name or address under which the entry was added
        Selected = 9,     // 0 or 1
    };

protected:
    ~IVEXAPlaylistItem() = default;
};

/// Entries of a playlist that are shown as a group, for instance those of one podcast.
struct IVEXAPlaylistGroup : IUnknown {
    static constexpr Guid IID = ParseGuid("{4F7FD8F1-6D44-4C06-BD9A-93392C8DDE5F}");

    /// 3
    virtual HResult GetItem(std::int32_t index, const Guid& iid, void** item) noexcept = 0;
    /// 4
    virtual std::int32_t GetItemCount() noexcept = 0;

protected:
    ~IVEXAPlaylistGroup() = default;
};

/// A playlist. The object also offers IVEXAPropertyList, for its properties.
struct IVEXAPlaylist : IUnknown {
    static constexpr Guid IID = ParseGuid("{DF458FE4-58E2-4F86-B681-AD6CD692EA71}");

    enum Property : std::int32_t {
        Name = 1,         // text
        FocusIndex = 2,   // −1: none
        FocusObject = 3,  // IVEXAPlaylistItem, or IVEXAPlaylistGroup when a group's heading has the focus
        Preimage = 60,    // IVEXAPlaylistPreimage: what a smart playlist follows
    };

    /// 3: File names as IVEXAString objects; `flags` is a FileSelection.
    virtual HResult GetFiles(std::uint32_t flags, IVEXAObjectList** files) noexcept = 0;
    /// 4: Adds files at the end, or before `index` when that is not negative.
    virtual HResult AddFiles(IVEXAObjectList* files, std::int32_t index) noexcept = 0;

protected:
    ~IVEXAPlaylist() = default;
};

/// Where the entries of a smart playlist come from.
struct IVEXAPlaylistPreimage : IUnknown {
    static constexpr Guid IID = ParseGuid("{A7B0384F-0D2E-4106-9AB2-C580E65BAAC3}");

    /// 3: The ID of the factory that created the preimage, by which a saved preimage is created again.
    virtual HResult GetFactoryID(IVEXAString** id) noexcept = 0;

protected:
    ~IVEXAPlaylistPreimage() = default;
};

/// A preimage that is a filter over one storage of the music library.
struct IVEXAMLPlaylistPreimage : IVEXAPlaylistPreimage {
    using Base = IVEXAPlaylistPreimage;
    static constexpr Guid IID = ParseGuid("{A03775AC-5CE1-48DE-9921-17A9D070CEB2}");

    /// 4: The filter itself, not a copy: conditions added to it take effect.
    virtual HResult GetFilter(IVEXAMLDataFilter** filter) noexcept = 0;

protected:
    ~IVEXAMLPlaylistPreimage() = default;
};

/// Creates preimages. The host has one factory for each storage of the music library, with the storage's ID.
struct IVEXAPlaylistPreimageFactory : IUnknown {
    static constexpr Guid IID = ParseGuid("{2CE9D72A-9EF4-4150-99A3-F977E2DB1609}");

    /// 3
    virtual HResult CreatePreimage(IVEXAPlaylistPreimage** preimage) noexcept = 0;

protected:
    ~IVEXAPlaylistPreimageFactory() = default;
};

/// Service: the playlist manager.
struct IVEXAServicePlaylistManager : IUnknown {
    static constexpr Guid IID = ParseGuid("{B5A340D4-ED54-41A5-8459-00FE738EB756}");

    /// 3: The playlist that is shown; E_FAIL when there is none.
    virtual HResult GetActivePlaylist(IVEXAPlaylist** playlist) noexcept = 0;

protected:
    ~IVEXAServicePlaylistManager() = default;
};

/// Service: the playlist manager's second version.
struct IVEXAServicePlaylistManager2 : IVEXAServicePlaylistManager {
    using Base = IVEXAServicePlaylistManager;
    static constexpr Guid IID = ParseGuid("{81F0E171-A929-41BC-BE66-C95E21DDCB86}");

    /// 4: E_FAIL when no factory has that ID.
    virtual HResult GetPreimageFactoryByID(IVEXAString* id, IVEXAPlaylistPreimageFactory** factory) noexcept = 0;
    /// 5: `name` null or empty: the host chooses a name, for a smart playlist from its filter. `activate` kTrue: the
    /// host shows the playlist.
    virtual HResult CreatePlaylist(IVEXAString* name, Bool32 activate, IVEXAPlaylist** playlist) noexcept = 0;

protected:
    ~IVEXAServicePlaylistManager2() = default;
};

}  // namespace vexa
