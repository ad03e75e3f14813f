#pragma once
// How host and plug-in first meet: the entry point, the plug-in object, the host's core, and the services that every
// plug-in uses: configuration, languages, messages, HTTP.
//
// A plug-in's life: VEXAPluginGetHeader; GetInformation and GetCategories any number of times; Initialize once;
// SystemNotify any number of times; Finalize once, also after an Initialize that failed; the last Release. All on the
// host's main thread. The library stays loaded until the process ends.

#include "VEXA.SDK.Objects.h"

namespace vexa {

/// The version of these headers, which is independent of the project's. The major number changes when an existing
/// declaration or promise changes, the minor number when something is added.
inline constexpr std::int32_t kSdkMajor = 1;
inline constexpr std::int32_t kSdkMinor = 1;

/// Offered by a host's core and by a plug-in's object: the version of the headers that the host or plug-in was built
/// with. An object that does not offer this interface was built with version 1.0. Any thread.
struct IVEXASdkVersion : IUnknown {
    static constexpr Guid IID = ParseGuid("{D44FC3FA-4676-42A4-AD38-417DE65B3347}");

    /// 3
    virtual HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept = 0;

protected:
    ~IVEXASdkVersion() = default;
};

/// Whether `other` was built with the same major version of these headers. The host checks a plug-in before Initialize
/// and releases it if this is false; the plug-in checks the host in Initialize and then returns E_NOTIMPL.
inline bool HasThisSdk(IUnknown* other) noexcept {
    std::int32_t major = 1, minor = 0;
    if (const auto version = Query<IVEXASdkVersion>(other)) version->GetSdkVersion(&major, &minor);
    return major == kSdkMajor;
}

/// The host itself. QueryInterface with a service's identifier returns that service, or E_NOINTERFACE when the host
/// does not have it.
struct IVEXACore : IUnknown {
    static constexpr Guid IID = ParseGuid("{733FB1C5-A075-4BC9-AC5A-CDD675E8C1C1}");

    enum PathKind : std::int32_t {
        PathProfile = 6,  // the folder of the user's data
    };

    /// 3: A new object: IVEXAString, IVEXAObjectList, IVEXAMemoryStream, IVEXAErrorInfo, IVEXAFileInfo, IVEXAImage,
    /// IVEXAImageContainer, IVEXAMenuItem, IVEXAMLDataField, IVEXAMLDataFilter. E_NOINTERFACE for others. Any thread.
    virtual HResult CreateObject(const Guid& iid, void** object) noexcept = 0;
    /// 4: The path of a folder, with or without a trailing delimiter. E_INVALIDARG for an unknown kind. Any thread.
    virtual HResult GetPath(std::int32_t kind, IVEXAString** path) noexcept = 0;
    /// 5: Registers an object with a service, which queries the object's interfaces and keeps it until the host ends.
    /// E_NOINTERFACE when the host lacks the service, E_INVALIDARG when the service cannot use the object.
    virtual HResult RegisterExtension(const Guid& service, IUnknown* extension) noexcept = 0;

protected:
    ~IVEXACore() = default;
};

/// A plug-in, as the host uses it.
struct IVEXAPlugin : IUnknown {
    static constexpr Guid IID = ParseGuid("{19753FC3-8123-4680-BBAD-136BAD9474FD}");

    enum Information : std::int32_t { Name = 0, Author = 1, ShortDescription = 2 };
    enum Category : std::uint32_t { CategoryAddon = 1 };

    /// 3: Zero-terminated, valid while the library is loaded; the empty text for an unknown index, never null.
    virtual const char16_t* GetInformation(std::int32_t index) noexcept = 0;
    /// 4: A set of Category bits.
    virtual std::uint32_t GetCategories() noexcept = 0;
    /// 5: The calling thread is the main thread from now on; the event loop of the toolkit's application object runs on
    /// it. E_NOTIMPL when the host lacks a service that the plug-in requires, or was built with another major version
    /// of the headers. After any failure the host calls Finalize and releases the plug-in.
    virtual HResult Initialize(IVEXACore* core) noexcept = 0;
    /// 6: May be called at any time, even from inside an operation of the host that the plug-in has called. In that
    /// case Finalize returns early and the plug-in finishes shutting down after that operation has returned, at the
    /// latest from the main thread's event loop; until then Initialize returns E_UNEXPECTED.
    virtual void Finalize() noexcept = 0;
    /// 7: No notification is defined yet; a plug-in ignores those that it does not know.
    virtual void SystemNotify(std::int32_t notification, IUnknown* data) noexcept = 0;

protected:
    ~IVEXAPlugin() = default;
};

/// A plug-in whose settings can be opened from the host's list of plug-ins.
struct IVEXAExternalSettingsDialog : IUnknown {
    static constexpr Guid IID = ParseGuid("{B1F088A4-8751-43A5-B7AD-133F9B30AED3}");

    /// 3
    virtual void Show(WindowHandle parentWindow) noexcept = 0;

protected:
    ~IVEXAExternalSettingsDialog() = default;
};

/// The one function that a plug-in library exports: `extern "C"`, under the name below. `header` gets the first
/// reference to a new plug-in object.
using VEXAPluginGetHeaderFunction = HResult (*)(IVEXAPlugin** header);
inline constexpr char kPluginEntryPoint[] = "VEXAPluginGetHeader";

/// Service: the user's configuration. A key path is "Section\Key". Getters return E_FAIL when the key is missing or its
/// value is not of the type asked for. Main thread.
struct IVEXAServiceConfig : IUnknown {
    static constexpr Guid IID = ParseGuid("{FD695F91-558C-490A-98FE-42E28A88A06D}");

    /// 3: Writes the values that were set to disk, as the host also does when it ends. E_FAIL when writing fails.
    virtual HResult Flush() noexcept = 0;
    /// 4
    virtual HResult GetValueAsFloat(IVEXAString* keyPath, double* value) noexcept = 0;
    /// 5
    virtual HResult GetValueAsInt32(IVEXAString* keyPath, std::int32_t* value) noexcept = 0;
    /// 6
    virtual HResult GetValueAsInt64(IVEXAString* keyPath, std::int64_t* value) noexcept = 0;
    /// 7: Replaces the contents of `value`, from its current position to its end, by the stored bytes.
    virtual HResult GetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept = 0;
    /// 8
    virtual HResult GetValueAsString(IVEXAString* keyPath, IVEXAString** value) noexcept = 0;
    /// 9
    virtual HResult SetValueAsFloat(IVEXAString* keyPath, double value) noexcept = 0;
    /// 10
    virtual HResult SetValueAsInt32(IVEXAString* keyPath, std::int32_t value) noexcept = 0;
    /// 11
    virtual HResult SetValueAsInt64(IVEXAString* keyPath, std::int64_t value) noexcept = 0;
    /// 12: All bytes of `value`.
    virtual HResult SetValueAsStream(IVEXAString* keyPath, IVEXAStream* value) noexcept = 0;
    /// 13
    virtual HResult SetValueAsString(IVEXAString* keyPath, IVEXAString* value) noexcept = 0;

protected:
    ~IVEXAServiceConfig() = default;
};

/// Service: texts in the user's language, by key path "Section\Key". Any thread.
struct IVEXAServiceLanguage : IUnknown {
    static constexpr Guid IID = ParseGuid("{3EDD9E8B-022F-4CC7-9BD3-7FB28FA9FB68}");

    /// 3: The language's name in the language itself ("English").
    virtual HResult GetName(IVEXAString** name) noexcept = 0;
    /// 4: The whole value; E_FAIL when there is no such key.
    virtual HResult GetValue(IVEXAString* keyPath, IVEXAString** value) noexcept = 0;
    /// 5: One of the value's parts, counted from 0; E_FAIL when there is no such key or part.
    virtual HResult GetValuePart(IVEXAString* keyPath, std::int32_t part, IVEXAString** value) noexcept = 0;

protected:
    ~IVEXAServiceLanguage() = default;
};

/// The host's messages that plug-ins use. The comments give the parameters that a message uses: 1 is `param1`, 2 is
/// `param2`.
enum HostMessage : std::uint32_t {
    kMsgGetMainWindow = 4118,  // a query; 2: WindowHandle*, receives the main window's handle. E_FAIL without a window
    kMsgShowWindow = 4121,  // a command; 1: kWindowLibrary; 2: int32*, 0 shows the window; receives 0 if it was visible
    kMsgPlaybackStarted = 8195,  // an event: another file plays, and its position has begun to move
    kMsgLanguageChanged = 8209,  // an event: all captions have to be read again
    kMsgFilesHeard = 16385,      // an event: files were marked as heard; 2: IVEXAObjectList* of their names
    kMsgFilesUnheard = 16386,    // an event: such a mark was taken back; 2: IVEXAObjectList* of their names
    // a query: which files must not be deleted now; 2: IVEXAObjectList*, receives the names of those that play, are to
    // play next, or were begun and not heard to their end. Any failure but E_NOTIMPL: it is not known.
    kMsgGetFilesInUse = 16387,
};
inline constexpr std::int32_t kWindowLibrary = 1;

/// Receives every message that is sent, before the host handles it. Main thread.
struct IVEXAMessageHook : IUnknown {
    static constexpr Guid IID = ParseGuid("{3B00F097-A833-45C7-9732-8C00496D2619}");

    /// 3: `*result` is what Send will return; a hook that handles the message sets it.
    virtual void OnMessage(std::uint32_t message, std::int32_t param1, void* param2, HResult* result) noexcept = 0;

protected:
    ~IVEXAMessageHook() = default;
};

/// Service: messages between plug-ins and host. Main thread.
struct IVEXAServiceMessageDispatcher : IUnknown {
    static constexpr Guid IID = ParseGuid("{C3700D79-0E29-4CA9-88EE-7292902CCB02}");

    /// 3: E_NOTIMPL when neither a hook nor the host handles the message.
    virtual HResult Send(std::uint32_t message, std::int32_t param1, void* param2) noexcept = 0;
    /// 4: Hooks are called in the order in which they were added. E_INVALIDARG for a hook that was added already.
    virtual HResult Hook(IVEXAMessageHook* hook) noexcept = 0;
    /// 5
    virtual HResult Unhook(IVEXAMessageHook* hook) noexcept = 0;

protected:
    ~IVEXAServiceMessageDispatcher() = default;
};

/// Observes one transfer. Called on the thread that runs the transfer.
struct IVEXAHttpClientEvents : IUnknown {
    static constexpr Guid IID = ParseGuid("{39495F44-3E63-492E-A923-BE758D074D3B}");

    /// 3: Polled at least ten times a second; kTrue ends the transfer with E_ABORT.
    virtual Bool32 IsCancelled() noexcept = 0;
    /// 4: How the transfer ended: S_OK, E_ABORT, or E_FAIL with the reason in `error`. Called once.
    virtual void OnCompleted(HResult result, IVEXAErrorInfo* error) noexcept = 0;

protected:
    ~IVEXAHttpClientEvents() = default;
};

/// Service: HTTP. Any thread.
struct IVEXAServiceHttpClient : IUnknown {
    static constexpr Guid IID = ParseGuid("{D4628B10-9242-4CDB-A989-FB5C4109C356}");

    enum Flags : std::uint32_t {
        WaitForCompletion = 1,  // Get returns when the body is complete; without this flag, at once
    };
    /// A transfer with a larger body fails.
    static constexpr std::int64_t kMaxBytes = std::int64_t{32} << 20;

    /// 3: GET of an http or https address into `body`. `events` may be null. S_OK when the body is complete (or,
    /// without WaitForCompletion, when the transfer was started); E_ABORT and E_FAIL as OnCompleted reports them;
    /// E_INVALIDARG for an empty address.
    virtual HResult Get(IVEXAString* address, std::uint32_t flags, IVEXAStream* body,
                        IVEXAHttpClientEvents* events) noexcept = 0;

protected:
    ~IVEXAServiceHttpClient() = default;
};

}  // namespace vexa
