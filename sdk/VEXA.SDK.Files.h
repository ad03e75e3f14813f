#pragma once
// Files and addresses: what they are called, how they play, what they look like, where they lie. For each of these the
// host has a service, which asks the extensions that plug-ins registered with it.
//
// The host calls extensions on its own threads (player, tag reading, pictures); they may block for as long as their
// data takes to come.

#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Objects.h"

namespace vexa {

/// Which files of a window or a playlist are asked for.
enum FileSelection : std::uint32_t {
    kFilesAll = 0,
    kFilesSelected = 1,
    kFilesFocused = 2,  // the focused one alone
};

/// What is known of a file or address. Core creates an empty one. One thread at a time.
struct IVEXAFileInfo : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{6301300F-BA03-49A5-9300-C2BB8F3AAF3A}");

    enum Property : std::int32_t {
        Album = 1,        // text; for an episode its podcast
        AlbumArtist = 3,  // text
        Artist = 6,       // text
        Comment = 10,     // text, plain or HTML; for an episode the show notes
        Copyright = 12,   // text
        Date = 14,        // text, "yyyy.MM.dd" or its first parts
        Duration = 17,    // float, seconds
        FileName = 18,    // text, the name or address that the rest is about
        Genre = 20,       // text; for an episode its podcast's category
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

    /// 3: Asks the extensions in the order registered, then reads a local file's tags. E_FAIL when nobody knows it.
    virtual HResult GetFileInfo(IVEXAString* file, std::uint32_t flags, IVEXAFileInfo* info) noexcept = 0;

protected:
    ~IVEXAServiceFileInfo() = default;
};

/// Extension of the file-information service.
struct IVEXAExtensionFileInfoProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{96C2CFB3-5F11-4999-AAA9-E6F057526CCB}");

    /// 3: S_OK when `file` is the extension's and was described; E_FAIL otherwise.
    virtual HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept = 0;

protected:
    ~IVEXAExtensionFileInfoProvider() = default;
};

/// Something that can be played.
struct IVEXAAudioDecoder : IUnknown {
    static constexpr Guid IID = ParseGuid("{6DF59844-81E9-4A00-B893-97ACFC6B358F}");

    /// 3: The local file or web address that the host's player opens.
    virtual HResult GetSource(IVEXAString** source) noexcept = 0;
    /// 4: What the file says of itself; 0 for what is unknown. Each argument may be null.
    virtual HResult GetStreamInfo(std::int32_t* sampleRate, std::int32_t* channels, double* duration) noexcept = 0;

protected:
    ~IVEXAAudioDecoder() = default;
};

/// Service: audio decoders.
struct IVEXAServiceAudioDecoder : IUnknown {
    static constexpr Guid IID = ParseGuid("{454415E6-30D3-482C-B996-6ADF1523669F}");

    /// 3: Asks the extensions in the order registered, then opens a local audio file itself. The first answer other
    /// than E_NOTIMPL stands. E_NOTIMPL when nobody knows the file, E_FAIL when it cannot be opened; `error` may be
    /// null and is filled on failure. `flags` are handed on; none is defined.
    virtual HResult CreateDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                  IVEXAAudioDecoder** decoder) noexcept = 0;

protected:
    ~IVEXAServiceAudioDecoder() = default;
};

/// Extension of the audio-decoder service, in the form that takes a file's name.
struct IVEXAExtensionAudioDecoderOld : IUnknown {
    static constexpr Guid IID = ParseGuid("{5CD123E0-94F7-4736-8A69-7F5B90DEC78F}");

    /// 3: E_NOTIMPL leaves the file to others; E_ABORT, with `error` filled, ends the search.
    virtual HResult OpenDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                IVEXAAudioDecoder** decoder) noexcept = 0;

protected:
    ~IVEXAExtensionAudioDecoderOld() = default;
};

/// Service: the player. The file that plays keeps the name it was started by; what a hook makes of it stays inside.
struct IVEXAServicePlayer : IUnknown {
    static constexpr Guid IID = ParseGuid("{A00F2BDB-0A8D-4E25-BFB4-1F50FA0B71C5}");

    /// 3: Of the file that plays; E_FAIL when none does. Main thread.
    virtual HResult GetInfo(IVEXAFileInfo** info) noexcept = 0;
    /// 4: Starts a file: the decoders are asked first, then the hooks, then the file is opened as it is. Main thread.
    virtual HResult Play(IVEXAString* file, IVEXAErrorInfo* error) noexcept = 0;
    /// 5: Main thread.
    virtual HResult Stop() noexcept = 0;

protected:
    ~IVEXAServicePlayer() = default;
};

/// Extension of the player: turns addresses of its own into ones that can be opened.
struct IVEXAExtensionPlayerHook : IUnknown {
    static constexpr Guid IID = ParseGuid("{B5318B69-EC59-435E-A984-2CC07615BF94}");

    /// 3: On success `address` holds the new address and `*handled` is kTrue; otherwise both stay as they are.
    virtual void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept = 0;

protected:
    ~IVEXAExtensionPlayerHook() = default;
};

/// Service: file systems, by scheme.
struct IVEXAServiceFileSystem : IUnknown {
    static constexpr Guid IID = ParseGuid("{57613B18-D882-4CAB-8705-22C08F64673C}");

    /// 3: The extension whose scheme `address` begins with, as the interface asked for: IVEXAExtensionFileSystem or one
    /// of the commands. E_FAIL when the scheme is nobody's, E_NOINTERFACE when its extension lacks the command.
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
        IsRemote = 2,  // 1: its addresses are no files of this machine, whatever copies there may be
    };

protected:
    ~IVEXAExtensionFileSystem() = default;
};

/// Command of a file system: shows where a file lies.
struct IVEXAFileSystemCommandOpenFileFolder : IUnknown {
    static constexpr Guid IID = ParseGuid("{53578E9D-917B-4725-829C-96C271DE5A43}");

    /// 3: S_OK or E_FAIL.
    virtual HResult CanOpenFolder(IVEXAString* address) noexcept = 0;
    /// 4: Opens the desktop's file manager with the file selected.
    virtual HResult OpenFolder(IVEXAString* address) noexcept = 0;

protected:
    ~IVEXAFileSystemCommandOpenFileFolder() = default;
};

/// Command of a file system: what an address is called now. An address moves when what it names is given another one,
/// as when a publisher renames its files; a host asks for the present ones of all that it keeps, so that positions and
/// playlists go on. An address that names something at present has not moved, whatever it named before. Any thread.
struct IVEXAFileSystemCommandPresentAddress : IUnknown {
    static constexpr Guid IID = ParseGuid("{77288258-5DAD-4C01-A044-D5210C52FF0F}");

    /// 3: S_OK: `address` holds another address now, the present one; S_FALSE: it is the present one; E_FAIL: it names
    /// nothing that is known, or cannot be looked up now. It stays as it was unless the answer is S_OK.
    virtual HResult GetPresentAddress(IVEXAString* address) noexcept = 0;
    /// 4: The same for many: IVEXAString objects of the caller's, which get their present addresses; those that name
    /// nothing known, and other objects, stay as they are. `moveCount`: what GetMoveCount gave when these were the
    /// present addresses; one that names something else by now then leads to what it named at that time. Below 0: it
    /// is not known. S_OK: at least one was changed; S_FALSE: none; E_FAIL: they cannot be looked up now, and none was
    /// changed.
    virtual HResult GetPresentAddresses(IVEXAObjectList* addresses, std::int64_t moveCount) noexcept = 0;
    /// 5: A number that grows whenever addresses have moved, whichever process moved them: while it is the same there
    /// is nothing new to ask for. E_FAIL when it cannot be read now. It is to be cheap.
    virtual HResult GetMoveCount(std::int64_t* count) noexcept = 0;

protected:
    ~IVEXAFileSystemCommandPresentAddress() = default;
};

/// Service: album art. Any thread.
struct IVEXAServiceAlbumArt : IUnknown {
    static constexpr Guid IID = ParseGuid("{EEC3C9A5-0705-4A91-A8B7-21C9A787484E}");

    /// 3: The first picture that a provider gives, local ones asked first; E_FAIL when none has one.
    virtual HResult GetAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album,
                                IVEXAPropertyList* options, IVEXAImageContainer** image) noexcept = 0;

protected:
    ~IVEXAServiceAlbumArt() = default;
};

/// Extension of the album-art service.
struct IVEXAExtensionAlbumArtProvider : IUnknown {
    static constexpr Guid IID = ParseGuid("{E27D6BFC-A6E7-418D-BF1E-D33035FAA6F5}");

    enum ProviderCategory : std::int32_t { Tags = 0, Files = 1, Internet = 2 };

    /// 3: S_OK with a picture, E_FAIL without. `options` may be null.
    virtual HResult QueryAlbumArt(IVEXAString* address, IVEXAString* artist, IVEXAString* album,
                                  IVEXAPropertyList* options, IVEXAImageContainer** image) noexcept = 0;
    /// 4: Where its pictures come from: the host asks in the order of the categories.
    virtual std::int32_t QueryProviderCategory() noexcept = 0;

protected:
    ~IVEXAExtensionAlbumArtProvider() = default;
};

}  // namespace vexa
