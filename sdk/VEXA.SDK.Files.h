#pragma once
// Files and addresses: their tags, how they are played, their pictures, where they are stored. For each of these the
// host has a service, which asks the extensions that plug-ins have registered with it.
//
// The host calls extensions on its own threads (player, tag reading, pictures); an extension may block until its data
// has arrived.

#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

/// Which files of a window or a playlist are asked for.
enum FileSelection : std::uint32_t {
    kFilesAll = 0,
    kFilesSelected = 1,
    kFilesFocused = 2,  // only the focused file
};

/// What is known about a file or address. Core creates an empty one. One thread at a time.
struct IVEXAFileInfo : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{6301300F-BA03-49A5-9300-C2BB8F3AAF3A}");

    enum Property : std::int32_t {
        Album = 1,        // text; for an episode, its podcast's title
        AlbumArtist = 3,  // text
        Artist = 6,       // text
        Comment = 10,     // text, plain or HTML; for an episode, the show notes
        Copyright = 12,   // text
        Date = 14,        // text, "yyyy.MM.dd", "yyyy.MM" or "yyyy"
        Duration = 17,    // float, seconds
        FileName = 18,    // text, the name or address of the file described
        Genre = 20,       // text; for an episode, its podcast's category
        Title = 25,       // text
        URL = 30,         // text, the address of a web page
    };

protected:
    ~IVEXAFileInfo() = default;
};

/// Service: file information.
struct IVEXAServiceFileInfo : IUnknown {
    static constexpr Guid IID = ParseGuid("{FA1E7186-403A-4919-A715-18AAFF04C1E0}");

    enum Flags : std::uint32_t {
        FromFileOnly = 1,  // read a local file's own tags; ask no extension
    };

    /// 3: Asks the extensions in the order registered, then reads a local file's tags. E_FAIL when neither gives any
    /// information about the file.
    virtual HResult GetFileInfo(IVEXAString* file, std::uint32_t flags, IVEXAFileInfo* info) noexcept = 0;

protected:
    ~IVEXAServiceFileInfo() = default;
};

/// Extension of the file-information service.
struct IVEXAExtensionFileInfoProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{96C2CFB3-5F11-4999-AAA9-E6F057526CCB}");

    /// 3: S_OK when the extension recognises `file` and has filled `info`; E_FAIL otherwise.
    virtual HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept = 0;

protected:
    ~IVEXAExtensionFileInfoProvider() = default;
};

/// Something that can be played.
struct IVEXAAudioDecoder : IUnknown {
    static constexpr Guid IID = ParseGuid("{6DF59844-81E9-4A00-B893-97ACFC6B358F}");

    /// 3: The local file or web address that the host's player opens.
    virtual HResult GetSource(IVEXAString** source) noexcept = 0;
    /// 4: The sample rate in Hz, the number of channels and the duration in seconds; 0 for an unknown value. Each
    /// argument may be null.
    virtual HResult GetStreamInfo(std::int32_t* sampleRate, std::int32_t* channels, double* duration) noexcept = 0;

protected:
    ~IVEXAAudioDecoder() = default;
};

/// Service: audio decoders.
struct IVEXAServiceAudioDecoder : IUnknown {
    static constexpr Guid IID = ParseGuid("{454415E6-30D3-482C-B996-6ADF1523669F}");

    /// 3: Asks the extensions in the order registered, then opens a local audio file itself. The first result other
    /// than E_NOTIMPL is returned. E_NOTIMPL when nothing recognises the file, E_FAIL when it cannot be opened; `error`
    /// may be null and is filled on failure. `flags` are passed on to the extensions; none is defined.
    virtual HResult CreateDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                  IVEXAAudioDecoder** decoder) noexcept = 0;

protected:
    ~IVEXAServiceAudioDecoder() = default;
};

/// Extension of the audio-decoder service, in the form that takes a file's name.
struct IVEXAExtensionAudioDecoderOld : IUnknown {
    static constexpr Guid IID = ParseGuid("{5CD123E0-94F7-4736-8A69-7F5B90DEC78F}");

    /// 3: E_NOTIMPL leaves the file to the next extension; E_ABORT, with `error` filled, ends the search.
    virtual HResult OpenDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                IVEXAAudioDecoder** decoder) noexcept = 0;

protected:
    ~IVEXAExtensionAudioDecoderOld() = default;
};

/// Service: the player. The playing file keeps the name by which it was started, even if a hook resolved that name to
/// another address.
struct IVEXAServicePlayer : IUnknown {
    static constexpr Guid IID = ParseGuid("{A00F2BDB-0A8D-4E25-BFB4-1F50FA0B71C5}");

    /// 3: Information about the playing file; E_FAIL when nothing plays. Main thread.
    virtual HResult GetInfo(IVEXAFileInfo** info) noexcept = 0;
    /// 4: Starts a file: the decoders are asked first, then the hooks, then the file is opened as it is. Main thread.
    virtual HResult Play(IVEXAString* file, IVEXAErrorInfo* error) noexcept = 0;
    /// 5: Main thread.
    virtual HResult Stop() noexcept = 0;

protected:
    ~IVEXAServicePlayer() = default;
};

/// Offered by the player of a host that keeps where files were left. Plays a file that the user only wants to hear
/// into, such as an episode of a podcast before subscribing to it. Main thread.
struct IVEXAPlayerPreview : IUnknown {
    static constexpr Guid IID = ParseGuid("{CCC970BA-8D7E-407B-9DE3-305D0EA50747}");

    /// 3: Starts the file that `info` describes. Its FileName is a web address, which is opened as it is; the other
    /// properties are shown, because no extension knows the file. The host keeps nothing of it: no position, and the
    /// file is not one to continue. Nothing follows it. E_INVALIDARG when FileName is no http or https address;
    /// `error` may be null and is filled on failure.
    virtual HResult PlayPreview(IVEXAFileInfo* info, IVEXAErrorInfo* error) noexcept = 0;

protected:
    ~IVEXAPlayerPreview() = default;
};

/// Extension of the player: turns addresses of its own into addresses that can be opened.
struct IVEXAExtensionPlayerHook : IUnknown {
    static constexpr Guid IID = ParseGuid("{B5318B69-EC59-435E-A984-2CC07615BF94}");

    /// 3: On success `address` holds the new address and `*handled` is kTrue; otherwise both are left unchanged.
    virtual void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept = 0;

protected:
    ~IVEXAExtensionPlayerHook() = default;
};

/// Service: file systems, by scheme.
struct IVEXAServiceFileSystem : IUnknown {
    static constexpr Guid IID = ParseGuid("{57613B18-D882-4CAB-8705-22C08F64673C}");

    /// 3: The extension that claims the scheme of `address`, as the interface `iid`: IVEXAExtensionFileSystem or one of
    /// the commands. E_FAIL when no extension claims the scheme, E_NOINTERFACE when the extension lacks the command.
    virtual HResult GetFileSystem(IVEXAString* address, const Guid& iid, void** fileSystem) noexcept = 0;

protected:
    ~IVEXAServiceFileSystem() = default;
};

/// Extension of the file-system service: claims a scheme.
struct IVEXAExtensionFileSystem : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{50BC89D7-0354-4145-8B32-6DD099D13E2B}");

    enum Property : std::int32_t {
        Scheme = 1,    // text, without "://"
        IsRemote = 2,  // 1: its addresses are not files of this machine, although there may be local copies
    };

protected:
    ~IVEXAExtensionFileSystem() = default;
};

/// Command of a file system: shows a file in its folder.
struct IVEXAFileSystemCommandOpenFileFolder : IUnknown {
    static constexpr Guid IID = ParseGuid("{53578E9D-917B-4725-829C-96C271DE5A43}");

    /// 3: S_OK or E_FAIL.
    virtual HResult CanOpenFolder(IVEXAString* address) noexcept = 0;
    /// 4: Opens the desktop's file manager with the file selected.
    virtual HResult OpenFolder(IVEXAString* address) noexcept = 0;

protected:
    ~IVEXAFileSystemCommandOpenFileFolder() = default;
};

/// Command of a file system: finds the present address of something that has moved. An address moves when the item that
/// it names gets another address, as when a publisher renames files; a host asks for the present addresses of all that
/// it keeps, so that positions and playlists follow. An address that names an item at present has not moved, whatever
/// it named before. Any thread.
struct IVEXAFileSystemCommandPresentAddress : IUnknown {
    static constexpr Guid IID = ParseGuid("{A1D476C1-49B3-4151-8BA5-314655E08A55}");

    /// 3: S_OK: the address had moved, and `address` now holds the present one; S_FALSE: it is the present one; E_FAIL:
    /// it names no known item, or cannot be looked up now. Only S_OK changes `address`.
    virtual HResult GetPresentAddress(IVEXAString* address) noexcept = 0;
    /// 4: The same for many addresses. `addresses` holds IVEXAString objects of the caller, whose texts are replaced by
    /// the present addresses; those that could name an item but name none become empty, and other texts and objects
    /// stay unchanged. `moveCount`: the value
    /// of GetMoveCount when these were the present addresses; an address that names another item by now is then
    /// followed to the item that it named at that time. Below 0: not known. S_OK: at least one text was changed;
    /// S_FALSE: none; E_FAIL: the addresses cannot be looked up now, and none was changed.
    virtual HResult GetPresentAddresses(IVEXAObjectList* addresses, std::int64_t moveCount) noexcept = 0;
    /// 5: A number that grows whenever addresses have moved, whichever process moved them; while it is unchanged there
    /// is nothing new to ask for. E_FAIL when it cannot be read now. Must be cheap.
    virtual HResult GetMoveCount(std::int64_t* count) noexcept = 0;
    /// 6: A number that changes whenever items may have come or gone without a move, as when the user unsubscribes from
    /// a feed. Otherwise as GetMoveCount.
    virtual HResult GetContentVersion(std::int64_t* version) noexcept = 0;

protected:
    ~IVEXAFileSystemCommandPresentAddress() = default;
};

/// Service: album art. Any thread.
struct IVEXAServiceAlbumArt : IUnknown {
    static constexpr Guid IID = ParseGuid("{EEC3C9A5-0705-4A91-A8B7-21C9A787484E}");

    /// 3: The picture of the first provider that has one, local providers asked first; E_FAIL when none has.
    virtual HResult GetAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album,
                                IVEXAPropertyList* options, IVEXAImageContainer** image) noexcept = 0;

protected:
    ~IVEXAServiceAlbumArt() = default;
};

/// Extension of the album-art service.
struct IVEXAExtensionAlbumArtProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{E27D6BFC-A6E7-418D-BF1E-D33035FAA6F5}");

    enum ProviderCategory : std::int32_t { Tags = 0, Files = 1, Internet = 2 };

    /// 3: S_OK with a picture, E_FAIL without one. `options` may be null.
    virtual HResult QueryAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album,
                                  IVEXAPropertyList* options, IVEXAImageContainer** image) noexcept = 0;
    /// 4: A ProviderCategory: where the pictures come from. The host asks providers in the order of their categories.
    virtual std::int32_t QueryProviderCategory() noexcept = 0;

protected:
    ~IVEXAExtensionAlbumArtProvider() = default;
};

}  // namespace vexa
